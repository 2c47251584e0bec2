# kiv_flags carries what every binary of the product is compiled and linked with.
add_library(kiv_flags INTERFACE)
target_compile_features(kiv_flags INTERFACE cxx_std_17)
target_include_directories(kiv_flags INTERFACE
  ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/src ${PROJECT_SOURCE_DIR}/lib)

option(KIV_WARNINGS_AS_ERRORS "Treat compiler warnings as errors" OFF)
target_compile_options(kiv_flags INTERFACE
  -Wall -Wextra -Wshadow -Wcast-qual -Wcast-function-type $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast>
  $<$<BOOL:${KIV_WARNINGS_AS_ERRORS}>:-Werror>)

if(WIN32)
  # Everything is linked statically: a program must not need a run-time DLL that an old system lacks.
  # Sections are collected so that an unused part of the C++ run-time costs nothing.
  target_compile_options(kiv_flags INTERFACE -ffunction-sections -fdata-sections)
  target_link_options(kiv_flags INTERFACE
    -static -static-libgcc -static-libstdc++
    -Wl,--dynamicbase -Wl,--nxcompat -Wl,--gc-sections
    # The loader of Windows 95 refuses a module that asks for more than subsystem 4.0.
    $<$<STREQUAL:${CMAKE_SYSTEM_PROCESSOR},i686>:-Wl,--major-subsystem-version=4,--minor-subsystem-version=0>
    $<$<CONFIG:Release>:-s>)
endif()

set(KIV_SANITIZE "" CACHE STRING "Value for -fsanitize= in native builds, e.g. address,undefined")
if(KIV_SANITIZE)
  target_compile_options(kiv_flags INTERFACE
    -fsanitize=${KIV_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(kiv_flags INTERFACE -fsanitize=${KIV_SANITIZE})
endif()

option(KIV_COVERAGE "Instrument native builds for gcov" OFF)
if(KIV_COVERAGE)
  target_compile_options(kiv_flags INTERFACE --coverage)
  target_link_options(kiv_flags INTERFACE --coverage)
endif()

if(KIV_FUZZ)
  target_compile_options(kiv_flags INTERFACE -fsanitize=fuzzer-no-link)
endif()
