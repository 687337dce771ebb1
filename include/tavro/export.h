// What a program may use of the library: the classes and functions marked TAVRO_API. Where a shared library is an ELF
// file all else in it is hidden; in the static library, and on Windows, where Tavro.dll is a COM server, the mark means
// nothing. TAVRO_PRIVATE is for what stands inside a public class and is no part of it.
#pragma once

#if defined(__ELF__)
#define TAVRO_API __attribute__((visibility("default")))
#define TAVRO_PRIVATE __attribute__((visibility("hidden")))
#else
#define TAVRO_API
#define TAVRO_PRIVATE
#endif
