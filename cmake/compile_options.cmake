# Warnings and sanitizers for everything that is built here; a project that includes this one keeps its own.
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  add_compile_options(-Wno-restrict)  # false alarms of GCC 12 in std::string, when it optimises
endif()
if(TAVRO_WERROR)
  add_compile_options(-Werror)
endif()
if(TAVRO_SANITIZE)
  add_compile_options(-fsanitize=${TAVRO_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${TAVRO_SANITIZE})
endif()
if(TAVRO_FUZZ)
  # The whole tree is instrumented, so that the fuzzer sees the decoder's branches.
  add_compile_options(-fsanitize=fuzzer-no-link)
endif()
if(WIN32)
  add_compile_definitions(UNICODE _UNICODE)
  # One small DLL: what it does not use falls out when it is linked.
  add_compile_options(-ffunction-sections -fdata-sections)
  add_link_options(-Wl,--gc-sections $<$<NOT:$<CONFIG:Debug>>:-s>)
endif()
