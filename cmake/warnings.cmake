# Warnings for every target of ours.
add_compile_options(-Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion
                    -Wold-style-cast -Wcast-align -Wnon-virtual-dtor -Woverloaded-virtual)
if(KVR_WARNINGS_AS_ERRORS)
  add_compile_options(-Werror)
endif()
# GCC 12 falsely reports overlapping copies inside std::string.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  add_compile_options(-Wno-restrict)
endif()
