# What Debian wants of the files before they are packed: manual pages and changelogs compressed, the same each time, and
# nothing in the binaries that nobody reads.
set(staged ${CPACK_TEMPORARY_DIRECTORY})
file(GLOB_RECURSE compressed ${staged}/*/usr/share/*.1 ${staged}/*/changelog.Debian)
foreach(file IN LISTS compressed)
  execute_process(COMMAND gzip -9n ${file} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
file(GLOB_RECURSE binaries ${staged}/*/usr/bin/* ${staged}/*.so.${CPACK_PACKAGE_VERSION} ${staged}/*.a)
foreach(file IN LISTS binaries)
  execute_process(COMMAND strip --strip-debug --remove-section=.comment --enable-deterministic-archives ${file}
    COMMAND_ERROR_IS_FATAL ANY)
endforeach()
