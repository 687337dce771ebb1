# Cross-compiles for Windows x64 with mingw-w64 and the POSIX thread model, everything linked statically into the DLL.
set(TAVRO_MINGW x86_64-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)
