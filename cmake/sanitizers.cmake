# Sanitizers for every target of ours. A finding ends the program, so that a test fails.
if(KVR_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link)
  add_link_options(-fsanitize=fuzzer-no-link)
endif()
if(KVR_SANITIZERS)
  add_compile_options(-fsanitize=${KVR_SANITIZERS} -fno-sanitize-recover=all
                      -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${KVR_SANITIZERS})
endif()
