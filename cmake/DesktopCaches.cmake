# The caches the desktop builds of the MIME types (share/mime) and of the desktop entries
# (share/applications/mimeinfo.cache): file managers read the caches, not the files we install, so an
# install or uninstall that changed the files refreshes them. Included by the install and by Uninstall.cmake.

# Runs TOOL on FOLDER, or says in one line what to run when TOOL is missing. Under DESTDIR the files are
# staged for a package, whose own install refreshes the system's caches, so nothing is done there.
function(brindle_refresh_cache tool folder)
  if(NOT "$ENV{DESTDIR}" STREQUAL "")
    return()
  endif()
  find_program(program ${tool} NO_CACHE)
  if(NOT program)
    message(STATUS "${tool} is missing; once it is there, run: ${tool} ${folder}")
    return()
  endif()
  # Quiet when it works: update-mime-database notes on every run that a prefix of one's own is not searched.
  execute_process(COMMAND "${program}" "${folder}" RESULT_VARIABLE status OUTPUT_VARIABLE said ERROR_VARIABLE said)
  if(NOT status EQUAL 0)
    message(STATUS "${tool} ${folder} failed (${status}): ${said}")
  endif()
endfunction()
