# Warnings for every target of ours.
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
                    -Wold-style-cast -Wcast-align -Wnon-virtual-dtor -Woverloaded-virtual)
if(KVR_WARNINGS_AS_ERRORS)
  add_compile_options(-Werror)
endif()
