# Warnings, hardening and sanitizers, for this project's own targets: each links morvik_options.
include(CheckPIESupported)
check_pie_supported()
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

add_library(morvik_options INTERFACE)
target_compile_options(morvik_options INTERFACE -Wall -Wextra -Wpedantic -Wconversion -Wshadow)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # GCC 12 reports overlapping copies inside std::string's own operator+ that cannot happen
  # (GCC bug 105329).
  target_compile_options(morvik_options INTERFACE -Wno-restrict)
endif()

# Files of more than 2 GiB on 32 bits.
target_compile_definitions(morvik_options INTERFACE _FILE_OFFSET_BITS=64)

if(CMAKE_UNITY_BUILD AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # An included file is a header to GCC, which must not use an unnamed namespace.
  target_compile_options(morvik_options INTERFACE -Wno-subobject-linkage)
endif()

# An index outside its container ends the program. This costs one part in a hundred of the processor
# time of reading XML, and less elsewhere.
target_compile_definitions(morvik_options INTERFACE _GLIBCXX_ASSERTIONS)

if(MORVIK_SANITIZE)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    message(FATAL_ERROR "MORVIK_SANITIZE needs Clang: libFuzzer is a part of it")
  endif()
  # The fuzzer's instrumentation does nothing in programs that the fuzzer does not drive, so the tests and the
  # fuzz targets share one build.
  target_compile_options(morvik_options INTERFACE
    -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(morvik_options INTERFACE -fsanitize=address,undefined)
else()
  target_compile_options(morvik_options INTERFACE -fstack-protector-strong -fstack-clash-protection)
  if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64|i.86")
    target_compile_options(morvik_options INTERFACE -fcf-protection)
  endif()
  # Fortified library calls need an optimising build; GCC has the third level since version 12.
  set(fortify_level 3)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 12)
    set(fortify_level 2)
  endif()
  target_compile_options(morvik_options INTERFACE
    $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE>
    $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=${fortify_level}>)
  target_link_options(morvik_options INTERFACE
    -Wl,-z,relro,-z,now,-z,noexecstack,-z,separate-code)
endif()
