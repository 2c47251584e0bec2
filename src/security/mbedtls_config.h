#ifndef KIV_SECURITY_MBEDTLS_CONFIG_H
#define KIV_SECURITY_MBEDTLS_CONFIG_H

// What is built of Mbed TLS: AES-GCM and HKDF over SHA-256, nothing that asks the system for anything (no files, no
// clock, no entropy, no threads). A C header.

#define MBEDTLS_AES_C
#define MBEDTLS_CIPHER_C
#define MBEDTLS_GCM_C
#define MBEDTLS_HKDF_C
#define MBEDTLS_MD_C
#define MBEDTLS_SHA256_C

// Constant tables, the smaller kind: built at first use they would be written by several threads at once.
#define MBEDTLS_AES_ROM_TABLES
#define MBEDTLS_AES_FEWER_TABLES

// On Windows the check insists on a printing layer that none of these modules calls; the native builds check the same
// choice.
#if !defined(_WIN32)
#include "mbedtls/check_config.h"
#endif

#endif
