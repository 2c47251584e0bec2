# Header-only libraries of the host (doctest for the tests, CLI11 and JSON for kivctl) serve the cross builds too.
# Only their own folders are linked in: the host's system headers must never reach a Windows compile.
set(KIV_HOST_HEADERS ${PROJECT_BINARY_DIR}/host-headers)
set(KIV_HOST_INCLUDE_DIR /usr/include CACHE PATH "Folder that holds doctest/, CLI/ and nlohmann/")
file(MAKE_DIRECTORY ${KIV_HOST_HEADERS})
foreach(library doctest CLI nlohmann)
  if(EXISTS ${KIV_HOST_INCLUDE_DIR}/${library})
    file(CREATE_LINK ${KIV_HOST_INCLUDE_DIR}/${library} ${KIV_HOST_HEADERS}/${library} SYMBOLIC COPY_ON_ERROR)
  endif()
endforeach()
add_library(kiv_host_headers INTERFACE)
target_include_directories(kiv_host_headers SYSTEM INTERFACE ${KIV_HOST_HEADERS})
