# kiv_fuzzer(<name> SOURCES <file>...)
#   A libFuzzer program over kiv_core. Its CTest test replays the checked-in corpus; `./build.sh fuzz` lets it search.
function(kiv_fuzzer name)
  cmake_parse_arguments(arg "" "" "SOURCES" ${ARGN})
  set(target ${name}_fuzz)
  set(corpus ${PROJECT_SOURCE_DIR}/fuzz/corpus/${name})
  add_executable(${target} ${arg_SOURCES})
  target_link_libraries(${target} PRIVATE kiv_core kiv_flags)
  target_link_options(${target} PRIVATE -fsanitize=fuzzer)
  set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/fuzz)
  add_test(NAME fuzz_${name} COMMAND ${target} -runs=0 -timeout=10 ${corpus})
  # A run that read nothing proves nothing: libFuzzer names the number of files that it replayed.
  set_tests_properties(fuzz_${name} PROPERTIES TIMEOUT 120 FAIL_REGULAR_EXPRESSION "files: 0")
endfunction()
