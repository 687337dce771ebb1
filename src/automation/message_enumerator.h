// What For Each walks an inbox with.
#pragma once

#include <wrl/client.h>

#include <memory>

#include "automation/call_gate.h"
#include "tavro/inbox.h"

namespace tavro::automation {

// Enumerates the messages from `first` on. Throws std::bad_alloc.
Microsoft::WRL::ComPtr<IUnknown> MakeMessageEnumerator(tavro::Inbox::Iterator first, std::shared_ptr<CallGate> gate);

}  // namespace tavro::automation
