# Removes the sources of the other system from a list: those with posix or windows as a word of
# their name.
function(keep_sources_of_this_system list_name)
  set(other_system windows)
  if(WIN32)
    set(other_system posix)
  endif()
  list(FILTER ${list_name} EXCLUDE REGEX "/([a-z_]*_)?${other_system}(_[a-z_]*)?\\.cpp$")
  set(${list_name} ${${list_name}} PARENT_SCOPE)
endfunction()
