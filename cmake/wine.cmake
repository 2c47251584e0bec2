# Tests of a cross build run under Wine, in a prefix of the build folder's own and with one live Wine server.
set(KIV_WINE_PREFIX ${PROJECT_BINARY_DIR}/prefix)
if(CMAKE_SYSTEM_PROCESSOR STREQUAL "i686")
  set(KIV_WINE_ARCH win32)
else()
  set(KIV_WINE_ARCH win64)
endif()
set(KIV_WINE_ENVIRONMENT "WINEPREFIX=${KIV_WINE_PREFIX};WINEARCH=${KIV_WINE_ARCH};WINEDEBUG=err+module")
set(KIV_WINE_FIXTURE wine)
set(KIV_RELEASE_LIST ${PROJECT_BINARY_DIR}/releases.txt)

add_test(NAME wine_start
  COMMAND ${PROJECT_SOURCE_DIR}/tools/wine-prefix start ${KIV_RELEASE_LIST})
add_test(NAME wine_stop
  COMMAND ${PROJECT_SOURCE_DIR}/tools/wine-prefix stop)
set_tests_properties(wine_start PROPERTIES FIXTURES_SETUP wine ENVIRONMENT "${KIV_WINE_ENVIRONMENT}" TIMEOUT 180)
set_tests_properties(wine_stop PROPERTIES FIXTURES_CLEANUP wine ENVIRONMENT "${KIV_WINE_ENVIRONMENT}" TIMEOUT 60)

# Which test program runs as which Windows release, one "program=release" a line.
function(kiv_write_release_list)
  get_property(programs GLOBAL PROPERTY KIV_RELEASE_PROGRAMS)
  list(JOIN programs "\n" lines)
  file(WRITE ${KIV_RELEASE_LIST} "${lines}\n")
endfunction()
