# The Debian packages, one for each component of the installation.
# What all of them have in /usr/share/doc: the changelog and the licence.
file(STRINGS ${CMAKE_CURRENT_LIST_DIR}/changelog head LIMIT_COUNT 1)
if(NOT head MATCHES "^tavro \\(${PROJECT_VERSION}-([^)]+)\\)")
  message(FATAL_ERROR "packaging/debian/changelog begins with another version than ${PROJECT_VERSION}")
endif()
set(CPACK_DEBIAN_PACKAGE_RELEASE ${CMAKE_MATCH_1})
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/changelog)

# tavro_debian_package(COMPONENT NAME SECTION MULTI_ARCH DESCRIPTION): the description's first line is the summary.
# NAME.lintian-overrides is installed when it is there. What else a package needs is set with CPack's own variables,
# CPACK_DEBIAN_<COMPONENT>_PACKAGE_...
set(CPACK_COMPONENTS_ALL)
macro(tavro_debian_package component name section multi_arch description)
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${description}")
  if(NOT ${name} STREQUAL tavro)
    set(CPACK_DEBIAN_${upper}_PACKAGE_SOURCE tavro)
  endif()
  list(APPEND TAVRO_MULTI_ARCH ${name}:${multi_arch})
  set(doc ${CMAKE_INSTALL_DATADIR}/doc/${name})
  install(FILES ${CMAKE_CURRENT_SOURCE_DIR}/debian/changelog DESTINATION ${doc} RENAME changelog.Debian
    COMPONENT ${component})
  install(FILES ${CMAKE_CURRENT_SOURCE_DIR}/debian/copyright DESTINATION ${doc} COMPONENT ${component})
  set(overrides ${CMAKE_CURRENT_SOURCE_DIR}/debian/${name}.lintian-overrides)
  if(EXISTS ${overrides})
    install(FILES ${overrides} DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME ${name}
      COMPONENT ${component})
  endif()
endmacro()

tavro_debian_package(Runtime libtavro${PROJECT_VERSION_MAJOR} libs same
"send and receive short messages through a GSM modem (library)
Tavro talks to a GSM modem, or a phone that acts as one, on a serial port or
behind a terminal server: it sends texts, long ones in parts, and binary
messages, reads what comes, and follows delivery reports and USSD dialogues.
.
This package has the shared library.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

tavro_debian_package(Development libtavro-dev libdevel same
"send and receive short messages through a GSM modem (development)
Tavro talks to a GSM modem, or a phone that acts as one, on a serial port or
behind a terminal server: it sends texts, long ones in parts, and binary
messages, reads what comes, and follows delivery reports and USSD dialogues.
.
This package has the headers, the static library, and the files with which
CMake and pkg-config find them.")
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS Runtime)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
install(FILES ${PROJECT_SOURCE_DIR}/examples/native_client.cpp
  DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libtavro-dev/examples COMPONENT Development)

tavro_debian_package(Programs tavro comm foreign
"send and receive short messages through a GSM modem (command line)
The program tavro sends short messages, lists, watches for and deletes
received ones, follows delivery reports and USSD dialogues, and tells what
modem, SIM and network say of themselves, as text or as JSON.
.
The program tavro-modem is a simulated modem on a pseudo-terminal or a TCP
port, to try programs without hardware.")
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PROGRAMS_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/prerm ${CMAKE_CURRENT_LIST_DIR}/postrm)

tavro_debian_package(Python python3-tavro python foreign
"send and receive short messages through a GSM modem (Python)
The Python package tavro sends short messages, waits for and deletes received
ones, also with asyncio, follows delivery reports and USSD dialogues, and takes
PDUs apart.
.
tavro.testing is a simulated modem for the tests of programs that use it, also
as a fixture of pytest. It needs the package tavro.")
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
  "libtavro${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}), python3:any (>= 3.9)")
set(CPACK_DEBIAN_PYTHON_PACKAGE_RECOMMENDS tavro)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS python3-pytest)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
  ${CMAKE_CURRENT_LIST_DIR}/python/postinst ${CMAKE_CURRENT_LIST_DIR}/python/prerm)

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PACKAGE_CONTACT "The Tavro developers <tavro@packages.invalid>" CACHE STRING "Maintainer of the packages")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/prepare.cmake)
configure_file(${CMAKE_CURRENT_LIST_DIR}/finish.cmake.in finish.cmake @ONLY)
set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_CURRENT_BINARY_DIR}/finish.cmake)
include(CPack)
