add_library(zol-sanitizers INTERFACE)
if(ZOL_SANITIZE)
  target_compile_options(zol-sanitizers INTERFACE -fsanitize=${ZOL_SANITIZE} -fno-omit-frame-pointer
                                                  -fno-sanitize-recover=all)
  target_compile_definitions(zol-sanitizers INTERFACE ZOL_SANITIZED)
  target_link_options(zol-sanitizers INTERFACE -fsanitize=${ZOL_SANITIZE})
endif()
