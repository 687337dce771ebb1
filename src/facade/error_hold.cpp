#include "facade/error_hold.h"

#include "facade/sms_state.h"

namespace tavro {

ErrorHold::ErrorHold(SMS& sms) : errors_(sms.state_->Errors()) { errors_.Hold(); }
ErrorHold::~ErrorHold() { errors_.LetGo(); }

}  // namespace tavro
