add_library(zol-warnings INTERFACE)
target_compile_options(
  zol-warnings
  INTERFACE -Wall
            -Wextra
            -Wpedantic
            -Wconversion
            -Wsign-conversion
            -Wshadow
            -Wcast-qual
            -Wformat=2
            -Wimplicit-fallthrough
            -Wnull-dereference
            -Wundef
            -Wunused
            -Wvla)
if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
  # Texts are cut at their buffers on purpose, with snprintf.
  target_compile_options(zol-warnings INTERFACE -Wno-format-truncation)
endif()
if(ZOL_WERROR)
  target_compile_options(zol-warnings INTERFACE -Werror)
endif()
