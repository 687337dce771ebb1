// The class Inbox.
#pragma once

#include <wrl/client.h>

#include <memory>

#include "automation/call_gate.h"
#include "tavro/inbox.h"
#include "tavro_idl.h"

namespace tavro::automation {

// Throws std::bad_alloc.
Microsoft::WRL::ComPtr<_Inbox> MakeInbox(std::shared_ptr<tavro::Inbox> inbox, std::shared_ptr<CallGate> gate);

}  // namespace tavro::automation
