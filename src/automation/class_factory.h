// Makes SMS objects; the other classes are handed out by these.
#pragma once

#include <ole2.h>

namespace tavro::automation {

// Throws std::bad_alloc.
HRESULT CreateClassFactory(REFIID iid, void** factory);

}  // namespace tavro::automation
