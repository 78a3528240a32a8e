# Run by CPack between installing and packing: Debian's manual pages are compressed, those of `cmake --install` are not.
file(GLOB_RECURSE manuals ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*)
list(FILTER manuals INCLUDE REGEX "/share/man/man[1-9]/[^/]*\\.[1-9]$")
if(manuals)
  execute_process(COMMAND gzip -9nf ${manuals} COMMAND_ERROR_IS_FATAL ANY)
endif()
