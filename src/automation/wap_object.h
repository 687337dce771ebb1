// The class Wap.
#pragma once

#include <wrl/client.h>

#include <memory>

#include "automation/call_gate.h"
#include "tavro/wap.h"
#include "tavro_idl.h"

namespace tavro::automation {

// Throws std::bad_alloc.
Microsoft::WRL::ComPtr<_Wap> MakeWap(std::shared_ptr<tavro::Wap> wap, std::shared_ptr<CallGate> gate);

}  // namespace tavro::automation
