# kiv_native_test(<name> SOURCES <file>...)
#   A doctest program of pure rules, linked with kiv_core; one CTest test. Only in native builds.
#
# kiv_windows_test(<name> SOURCES <file>... [SEAM | REAL_LOG] [SHARES] [LONG] [RELEASES <release>...] [LOCK <resource>...])
#   A doctest program for Windows (under Wine in cross builds); one CTest test.
#   Without SEAM it uses the library through the DLL's exports; with SEAM the same objects are linked into it, so that
#   it can swap function tables and force the OS family.
#   With REAL_LOG it stands in a folder of its own, beside the libraries as they are shipped, and loads what it tests.
#   With SHARES it runs in a copy of the prefix that has shares and is thrown away afterwards; only in cross builds.
#   LONG leaves it out of every run but that of `ctest -C long` (`./build.sh check --long`), and gives it ten minutes.
#   RELEASES copies it under names that the Wine prefix runs as those releases (win95 win98 nt40 win2k winxp win2003):
#   one more CTest test each. tests/support/this_release.h tells a test which one it runs as.
#   LOCK names what tests share that must not run side by side (a registry key, a named object).
#
# kiv_transcript_test(<name>)
#   Runs the commands of tests/data/transcripts/<name>.txt with kivctl and compares what they print and their exit codes
#   (tests/support/run-transcript tells the form). Only in cross builds, whose host has a shell.
#
# kiv_document_test(<page> [SHARES] [LOCK <resource>...])
#   Executes the examples of docs/<page>.md (tests/support/document-test). Only in cross builds.
#
# The first two add to every program the doctest entry point and the fixtures of tests/support.

set(KIV_TEST_DIRECTORY ${PROJECT_BINARY_DIR}/tests)
set(KIV_REAL_LOG_DIRECTORY ${KIV_TEST_DIRECTORY}/real_log)
set(KIV_WITH_SHARES ${PROJECT_SOURCE_DIR}/tests/support/share-test $<TARGET_FILE:share_stand_in>)

function(kiv_native_test name)
  if(WIN32)
    return()
  endif()
  cmake_parse_arguments(arg "" "" "SOURCES" ${ARGN})
  add_executable(${name}_native_test ${arg_SOURCES})
  target_include_directories(${name}_native_test PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${name}_native_test PRIVATE kiv_test_main kiv_core kiv_flags kiv_host_headers)
  add_test(NAME ${name}_native COMMAND ${name}_native_test)
  set_tests_properties(${name}_native PROPERTIES TIMEOUT 60
    ENVIRONMENT "KIV_TEST_DATA=${PROJECT_SOURCE_DIR}/tests/data")
endfunction()

function(_kiv_register_windows_test test program locks)
  add_test(NAME ${test} COMMAND ${wrapper} ${CMAKE_CROSSCOMPILING_EMULATOR} ${program} ${ARGN})
  set_tests_properties(${test} PROPERTIES TIMEOUT 120 WORKING_DIRECTORY ${KIV_TEST_DIRECTORY}
    ENVIRONMENT "${KIV_WINE_ENVIRONMENT};KIV_TEST_DATA=${PROJECT_SOURCE_DIR}/tests/data"
    RESOURCE_LOCK "${locks}" FIXTURES_REQUIRED "${KIV_WINE_FIXTURE}")
endfunction()

function(kiv_windows_test name)
  if(NOT WIN32)
    return()
  endif()
  cmake_parse_arguments(arg "SEAM;REAL_LOG;SHARES;LONG" "" "SOURCES;RELEASES;LOCK" ${ARGN})
  set(wrapper)
  if(arg_SHARES)
    if(NOT CMAKE_CROSSCOMPILING)
      return()
    endif()
    set(wrapper ${KIV_WITH_SHARES})
  endif()
  set(target ${name}_test)
  set(directory ${KIV_TEST_DIRECTORY})
  if(arg_REAL_LOG)
    set(directory ${KIV_REAL_LOG_DIRECTORY})
  endif()
  add_executable(${target} ${arg_SOURCES})
  set_target_properties(${target} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${directory})
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
  target_link_libraries(${target} PRIVATE kiv_test_main kiv_test_support kiv_system_libraries kiv_flags kiv_host_headers)
  if(arg_REAL_LOG)
    add_dependencies(${target} kiv_tested_real_log)
  else()
    target_link_libraries(${target} PRIVATE kiv_test_recording tavkivlg_recording)
  endif()
  if(arg_SEAM)
    target_compile_definitions(${target} PRIVATE KIV_BUILD)
    target_link_libraries(${target} PRIVATE kiv_core kiv_windows)
  elseif(NOT arg_REAL_LOG)
    target_link_libraries(${target} PRIVATE tavkivut)
    add_dependencies(${target} kiv_tested_library)
  endif()
  if(arg_LONG)
    _kiv_register_windows_test(${name} ${directory}/${target}.exe "${arg_LOCK}" CONFIGURATIONS long)
    set_tests_properties(${name} PROPERTIES TIMEOUT 600)
  else()
    _kiv_register_windows_test(${name} ${directory}/${target}.exe "${arg_LOCK}")
  endif()
  foreach(release ${arg_RELEASES})
    set(copy ${directory}/${target}_${release}.exe)
    add_custom_command(TARGET ${target} POST_BUILD
      COMMAND ${CMAKE_COMMAND} -E create_hardlink $<TARGET_FILE:${target}> ${copy})
    _kiv_register_windows_test(${name}_${release} ${copy} "${arg_LOCK}")
    set_property(GLOBAL APPEND PROPERTY KIV_RELEASE_PROGRAMS ${target}_${release}.exe=${release})
  endforeach()
endfunction()

function(kiv_transcript_test name)
  if(NOT CMAKE_CROSSCOMPILING)
    return()
  endif()
  add_test(NAME ${name} COMMAND ${PROJECT_SOURCE_DIR}/tests/support/run-transcript
    ${PROJECT_SOURCE_DIR}/tests/data/transcripts/${name}.txt ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:kivctl>)
  set_tests_properties(${name} PROPERTIES TIMEOUT 120 WORKING_DIRECTORY ${KIV_TEST_DIRECTORY}
    ENVIRONMENT "${KIV_WINE_ENVIRONMENT}" FIXTURES_REQUIRED "${KIV_WINE_FIXTURE}")
endfunction()

function(kiv_document_test page)
  if(NOT CMAKE_CROSSCOMPILING)
    return()
  endif()
  cmake_parse_arguments(arg "SHARES" "" "LOCK" ${ARGN})
  set(wrapper)
  if(arg_SHARES)
    set(wrapper ${KIV_WITH_SHARES})
  endif()
  add_test(NAME document_${page} COMMAND ${wrapper} ${PROJECT_SOURCE_DIR}/tests/support/document-test ${page}
    ${PROJECT_BINARY_DIR} ${CMAKE_CROSSCOMPILING_EMULATOR})
  set_tests_properties(document_${page} PROPERTIES TIMEOUT 120 ENVIRONMENT "${KIV_WINE_ENVIRONMENT}"
    RESOURCE_LOCK "${arg_LOCK}" FIXTURES_REQUIRED "${KIV_WINE_FIXTURE}")
endfunction()

# kiv_document_program(<name> <page> [<language>])
#   <name>_example.exe, made from the first C++ (or c) block of a page of docs/; the test of the page runs it.
function(kiv_document_program name page)
  if(NOT WIN32)
    return()
  endif()
  set(language cpp)
  if(ARGC GREATER 2)
    set(language ${ARGV2})
  endif()
  set(document ${PROJECT_SOURCE_DIR}/docs/${page})
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${document})
  file(READ ${document} text)
  set(fence "```${language}\n")
  string(FIND "${text}" "${fence}" begin)
  string(LENGTH "${fence}" length)
  math(EXPR begin "${begin} + ${length}")
  string(SUBSTRING "${text}" ${begin} -1 text)
  string(FIND "${text}" "```" end)
  string(SUBSTRING "${text}" 0 ${end} text)
  set(source ${CMAKE_CURRENT_BINARY_DIR}/${name}_example.${language})
  file(CONFIGURE OUTPUT ${source} CONTENT "${text}" @ONLY)
  add_executable(${name}_example ${source})
  set_target_properties(${name}_example PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${KIV_TEST_DIRECTORY})
  target_link_libraries(${name}_example PRIVATE tavkivut kiv_flags)
endfunction()
