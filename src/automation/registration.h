// The server's entries in the registry.
#pragma once

#include <ole2.h>

namespace tavro::automation {

// Whom the server is registered for: HKEY_LOCAL_MACHINE\Software\Classes or HKEY_CURRENT_USER\Software\Classes.
enum class Scope { kMachine, kUser };

// Both may be called again and again. A registration that fails leaves the registry as it was. They throw
// std::bad_alloc.
HRESULT Register(Scope scope);
HRESULT Unregister(Scope scope);

}  // namespace tavro::automation
