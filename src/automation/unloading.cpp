// What the run-time of mingw-w64 would leave behind each time that the DLL is unloaded, and does not.
#include <ole2.h>
#include <pthread.h>

namespace __gnu_cxx {
void __freeres();  // in libstdc++, declared in none of its headers
}

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void* processEnds) {
  // libstdc++ takes memory for its exceptions when it is loaded.
  if (reason == DLL_PROCESS_DETACH && processEnds == nullptr) __gnu_cxx::__freeres();
  return TRUE;
}

// Takes the place of pthread_once, by a linker option. That of winpthreads takes one of the process's thread-local
// indexes, of which there are about a thousand, and never gives it back; the x86 run-time calls it when it is loaded.
extern "C" int __wrap_pthread_once(pthread_once_t* once, void (*function)()) {
  constexpr LONG kNew = PTHREAD_ONCE_INIT, kRunning = 1, kDone = 2;
  static_assert(sizeof *once == sizeof(LONG));
  auto* state = reinterpret_cast<volatile LONG*>(once);
  for (;;) {
    const LONG was = InterlockedCompareExchange(state, kRunning, kNew);
    if (was == kDone) return 0;
    if (was == kNew) {
      function();
      InterlockedExchange(state, kDone);
      return 0;
    }
    Sleep(0);
  }
}
