# kiv_mbedtls: the few modules of Mbed TLS that the encrypted settings need (AES-GCM, HKDF over SHA-256), built from the
# system's source package with a configuration of our own. The sources are not part of this repository: they are
# fetched once per checkout. They compile as they are; their warnings are not ours.
set(KIV_MBEDTLS_SOURCE_DIR ${PROJECT_SOURCE_DIR}/build/mbedtls CACHE PATH "Unpacked sources of Mbed TLS 2.28")

if(NOT EXISTS ${KIV_MBEDTLS_SOURCE_DIR}/library/hkdf.c AND CMAKE_HOST_UNIX)
  execute_process(COMMAND ${PROJECT_SOURCE_DIR}/tools/fetch-mbedtls ${KIV_MBEDTLS_SOURCE_DIR}
    ERROR_VARIABLE KIV_MBEDTLS_ERROR ERROR_STRIP_TRAILING_WHITESPACE)
endif()
if(NOT EXISTS ${KIV_MBEDTLS_SOURCE_DIR}/library/hkdf.c)
  message(FATAL_ERROR "No Mbed TLS in KIV_MBEDTLS_SOURCE_DIR: run tools/fetch-mbedtls ${KIV_MBEDTLS_SOURCE_DIR} "
    "where the network reaches the Debian archive. ${KIV_MBEDTLS_ERROR}")
endif()

set(modules aes cipher cipher_wrap constant_time gcm hkdf md platform_util sha256)
list(TRANSFORM modules REPLACE "(.+)" "${KIV_MBEDTLS_SOURCE_DIR}/library/\\1.c")
add_library(kiv_mbedtls STATIC ${modules})
target_include_directories(kiv_mbedtls SYSTEM PUBLIC ${KIV_MBEDTLS_SOURCE_DIR}/include)
target_compile_definitions(kiv_mbedtls PUBLIC MBEDTLS_CONFIG_FILE="security/mbedtls_config.h")
target_link_libraries(kiv_mbedtls PRIVATE kiv_flags)
target_compile_options(kiv_mbedtls PRIVATE -w $<$<CONFIG:Release>:-Os>)
