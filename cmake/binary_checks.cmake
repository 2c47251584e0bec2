# What the finished DLLs import and export, and whether each header stands alone.
set(arch ${CMAKE_SYSTEM_PROCESSOR})
set(data ${PROJECT_SOURCE_DIR}/tests/data)
set(check ${PROJECT_SOURCE_DIR}/tools/check-binary)

add_test(NAME headers COMMAND ${PROJECT_SOURCE_DIR}/tools/check-headers ${arch})

set(import_lists ${data}/imports.txt)
if(arch STREQUAL "x86_64")
  list(APPEND import_lists ${data}/imports-x86_64.txt)
endif()
foreach(library tavkivut tavkivlg)
  add_test(NAME imports_${library} COMMAND ${check} imports $<TARGET_FILE:${library}> ${import_lists})
  add_test(NAME exports_${library}
    COMMAND ${check} exports $<TARGET_FILE:${library}> ${data}/exports-${library}-${arch}.txt)
endforeach()
