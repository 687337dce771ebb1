// The creatable class SMS.
#pragma once

#include <ole2.h>

namespace tavro::automation {

// Throws std::bad_alloc.
HRESULT CreateSmsObject(REFIID iid, void** object);

}  // namespace tavro::automation
