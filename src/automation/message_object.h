// The class Message.
#pragma once

#include <wrl/client.h>

#include <memory>

#include "tavro/message.h"
#include "tavro_idl.h"

namespace tavro::automation {

// Throws std::bad_alloc.
Microsoft::WRL::ComPtr<_Message> MakeMessage(std::shared_ptr<tavro::Message> message);

}  // namespace tavro::automation
