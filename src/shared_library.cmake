# The shared library, made of the same objects as the static one, and the installation of both: as a CMake package with
# Tavro::tavro, the shared one, and Tavro::static, and for pkg-config. A build with sanitizers has no shared library.
if(NOT TAVRO_SANITIZE AND NOT TAVRO_FUZZ AND NOT TAVRO_COVERAGE)
  add_library(tavro_shared SHARED $<TARGET_OBJECTS:tavro_core>)
  set_target_properties(tavro_shared PROPERTIES
    LINKER_LANGUAGE CXX
    OUTPUT_NAME tavro
    EXPORT_NAME tavro
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR})
  target_compile_features(tavro_shared INTERFACE cxx_std_20)
  target_include_directories(tavro_shared INTERFACE $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  if(NOT APPLE)
    set(exported ${CMAKE_CURRENT_SOURCE_DIR}/exported.map)
    target_link_options(tavro_shared PRIVATE -Wl,--version-script=${exported} -Wl,--no-undefined -Wl,--as-needed)
    set_target_properties(tavro_shared PROPERTIES LINK_DEPENDS ${exported})
  endif()
  install(TARGETS tavro_shared EXPORT TavroTargets
    LIBRARY COMPONENT Runtime NAMELINK_COMPONENT Development)
endif()

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/Tavro)
install(TARGETS tavro_core EXPORT TavroTargets COMPONENT Development FILE_SET HEADERS COMPONENT Development)
install(EXPORT TavroTargets NAMESPACE Tavro:: DESTINATION ${package_dir} FILE TavroConfig.cmake COMPONENT Development)
write_basic_package_version_file(TavroConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/TavroConfigVersion.cmake DESTINATION ${package_dir} COMPONENT Development)

# Found from where it lies, so that the whole folder can be moved.
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX
  BASE_DIRECTORY ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig OUTPUT_VARIABLE TAVRO_PREFIX_FROM_PC)
configure_file(tavro.pc.in tavro.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/tavro.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT Development)
