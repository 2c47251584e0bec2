#ifndef KIV_TESTS_SUPPORT_REDIRECTED_KEY_H
#define KIV_TESTS_SUPPORT_REDIRECTED_KEY_H

#include <string>

#include "support/windows_api.h"

namespace kiv::test {

// A new empty key below HKCU\Software, deleted with its contents at the end.
class ScratchKey {
public:
    ScratchKey();
    ~ScratchKey();
    ScratchKey(const ScratchKey&) = delete;
    ScratchKey& operator=(const ScratchKey&) = delete;

    HKEY Handle() const { return m_key; }
    const std::string& Path() const { return m_path; }  // "HKCU\Software\..."

private:
    std::string m_path;
    HKEY m_key = nullptr;
};

// For as long as it lives, this process sees an empty scratch key in place of a predefined root, so that a test can
// fill "HKLM\Software\..." without touching the machine's own.
class RedirectedKey {
public:
    explicit RedirectedKey(HKEY root);
    ~RedirectedKey();
    RedirectedKey(const RedirectedKey&) = delete;
    RedirectedKey& operator=(const RedirectedKey&) = delete;

    HKEY Handle() const { return m_scratch.Handle(); }

private:
    ScratchKey m_scratch;
    HKEY m_root;
};

void DeleteKeyTree(HKEY parent, const char* name);

}  // namespace kiv::test

#endif
