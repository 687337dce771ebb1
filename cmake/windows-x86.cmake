# Cross-compiles for Windows x86 with mingw-w64 and the POSIX thread model, everything linked statically into the DLL.
set(TAVRO_MINGW i686-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw.cmake)
