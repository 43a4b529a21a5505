# Counts the executed lines of src/ and virtual_instrument/, for gcov. The tests themselves are not
# counted. The counters are atomic, since tests run threads.
set(coverage_options --coverage -fprofile-update=atomic)
add_link_options(--coverage)

add_library(count_until_exit STATIC tests/coverage/count_until_exit.cpp)
add_link_options(-Wl,--wrap=_Exit -Wl,--wrap=_exit -Wl,--wrap=execv)
link_libraries(count_until_exit)
