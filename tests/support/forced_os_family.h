#ifndef KIV_TESTS_SUPPORT_FORCED_OS_FAMILY_H
#define KIV_TESTS_SUPPORT_FORCED_OS_FAMILY_H

#include "system/system_caches.h"

// Only for tests that are linked with the library's objects (SEAM).

namespace kiv::test {

// For as long as it lives, CKivSystem::IsNT gives the forced answer.
class ForcedOsFamily {
public:
    explicit ForcedOsFamily(OsFamily family) : m_previous(Caches().family.exchange(family)) {}
    ~ForcedOsFamily() { Caches().family = m_previous; }
    ForcedOsFamily(const ForcedOsFamily&) = delete;
    ForcedOsFamily& operator=(const ForcedOsFamily&) = delete;

private:
    OsFamily m_previous;
};

// For as long as it lives, every fact that CKivSystem keeps is looked up anew and kept here, so that a test
// can fill a cache itself or see the first call. Texts handed out meanwhile end with it.
class FreshSystemCaches {
public:
    FreshSystemCaches() : m_previous(SwapCaches(&m_caches)) {}
    ~FreshSystemCaches() { SwapCaches(m_previous); }
    FreshSystemCaches(const FreshSystemCaches&) = delete;
    FreshSystemCaches& operator=(const FreshSystemCaches&) = delete;

private:
    SystemCaches m_caches;
    SystemCaches* m_previous;
};

}  // namespace kiv::test

#endif
