# Packages that the library does without and some of what is built beside it needs.

# An option that is ON, OFF or AUTO, which leaves out what lacks a package. OFF inside another project, unless set there.
function(tavro_wanted name default description)
  if(NOT PROJECT_IS_TOP_LEVEL)
    set(default OFF)
  endif()
  set(${name} ${default} CACHE STRING "${description}: ON, OFF, or AUTO as far as its packages are installed")
  set_property(CACHE ${name} PROPERTY STRINGS AUTO ON OFF)
endfunction()

# Looks for a package whose presence its `target` shows. Where it is missing, says which Debian package has it; with
# ${option} ON that is an error. Its targets are the caller's, who asks for them with if(TARGET ...).
function(tavro_find package target option debian user)
  if(NOT TARGET ${target})
    find_package(${package} QUIET)
  endif()
  if(TARGET ${target})
    return()
  endif()
  set(text "${package} is not installed (Debian: apt-get install ${debian}); it is needed for ${user}")
  if(${option} STREQUAL "AUTO")
    message(STATUS "${text}, left out")
  else()
    message(FATAL_ERROR "${text}. Configure with -D${option}=OFF to build without.")
  endif()
endfunction()
