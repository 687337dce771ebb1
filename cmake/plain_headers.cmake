# For a cross-compiler: packages of this machine that are headers alone. Its other headers must not come with them, so
# they are linked into a folder of their own.

# Makes the target that find_package would, when the machine has the folder of headers.
function(tavro_plain_headers target folder)
  find_path(TAVRO_${folder}_HEADERS ${folder} NO_CMAKE_FIND_ROOT_PATH)
  mark_as_advanced(TAVRO_${folder}_HEADERS)
  if(TARGET ${target} OR NOT TAVRO_${folder}_HEADERS)
    return()
  endif()
  set(place ${PROJECT_BINARY_DIR}/plain_headers)
  file(MAKE_DIRECTORY ${place})
  file(CREATE_LINK ${TAVRO_${folder}_HEADERS}/${folder} ${place}/${folder} SYMBOLIC)
  add_library(${target} INTERFACE IMPORTED)
  target_include_directories(${target} SYSTEM INTERFACE ${place})
endfunction()
