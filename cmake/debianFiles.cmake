# Run by CPack between installing and packing: adapts what `cmake --install` leaves to Debian.
file(GLOB_RECURSE files ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*)

# Manual pages are compressed.
set(manuals ${files})
list(FILTER manuals INCLUDE REGEX "/share/man/man[1-9]/[^/]*\\.[1-9]$")
if(manuals)
  execute_process(COMMAND gzip -9nf ${manuals} COMMAND_ERROR_IS_FATAL ANY)
endif()

# Debian's zsh looks for the completions of packages in another folder.
set(completions ${files})
list(FILTER completions INCLUDE REGEX "/share/zsh/site-functions/")
foreach(from IN LISTS completions)
  string(REPLACE "/site-functions/" "/vendor-completions/" to ${from})
  get_filename_component(folder ${to} DIRECTORY)
  file(MAKE_DIRECTORY ${folder})
  file(RENAME ${from} ${to})
  get_filename_component(left ${from} DIRECTORY)
endforeach()
if(completions)
  file(REMOVE_RECURSE ${left})
endif()
