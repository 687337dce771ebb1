// The SMS object on this system. Apart from the rest, so that who brings a platform does without this one.
#include "platform/platform.h"
#include "tavro/sms.h"

namespace tavro {

SMS::SMS() : SMS(Options()) {}
SMS::SMS(const Options& options) : SMS(CreateSystemPlatform(options.devices, options.interrupted), options) {}

}  // namespace tavro
