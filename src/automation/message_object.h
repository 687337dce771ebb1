// The class Message.
#pragma once

#include <wrl/client.h>

#include <memory>

#include "automation/call_gate.h"
#include "tavro/message.h"
#include "tavro_idl.h"

namespace tavro::automation {

// The one object that stands for the message, as long as somebody holds it: clients see the same identity each time.
// Throws std::bad_alloc.
Microsoft::WRL::ComPtr<_Message> MakeMessage(std::shared_ptr<tavro::Message> message, std::shared_ptr<CallGate> gate);

}  // namespace tavro::automation
