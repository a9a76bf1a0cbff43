# This machine with the C library musl, by Debian's musl-tools: proves that the library needs nothing of glibc.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${CMAKE_HOST_SYSTEM_PROCESSOR})
set(CMAKE_C_COMPILER musl-gcc)
set(CMAKE_CXX_COMPILER g++)
# Programs with the C++ runtime library, which is linked with glibc, would not link. The library is linked as C.
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)

# The C++ library's own headers, then musl's and the kernel's: nothing of glibc's is left to be found.
execute_process(COMMAND g++ -print-file-name=include OUTPUT_VARIABLE compiler_headers OUTPUT_STRIP_TRAILING_WHITESPACE)
execute_process(COMMAND g++ -dumpmachine OUTPUT_VARIABLE machine OUTPUT_STRIP_TRAILING_WHITESPACE)
execute_process(COMMAND g++ -dumpversion OUTPUT_VARIABLE release OUTPUT_STRIP_TRAILING_WHITESPACE)
string(REPLACE -gnu -musl musl_machine ${machine})
set(kernel_headers ${CMAKE_BINARY_DIR}/kernel-headers)
file(MAKE_DIRECTORY ${kernel_headers})
foreach(folder linux asm-generic ${machine}/asm)
  get_filename_component(name ${folder} NAME)
  file(CREATE_LINK /usr/include/${folder} ${kernel_headers}/${name} SYMBOLIC)
endforeach()
string(CONCAT CMAKE_CXX_FLAGS_INIT "-nostdinc -nostdinc++ -isystem /usr/include/c++/${release}"
       " -isystem /usr/include/${machine}/c++/${release} -isystem /usr/include/${musl_machine}"
       " -isystem ${compiler_headers} -isystem ${kernel_headers} -include ${CMAKE_CURRENT_LIST_DIR}/musl/glibc_names.h")
