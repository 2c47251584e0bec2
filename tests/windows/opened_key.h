#ifndef KIV_TESTS_WINDOWS_OPENED_KEY_H
#define KIV_TESTS_WINDOWS_OPENED_KEY_H

#include "support/check.h"
#include "support/redirected_key.h"
#include "support/registry_data.h"
#include "tavkivut/registry.h"

namespace kiv::test {

// A scratch key with these subkeys and with these values, each the text of its own name, opened by the class under
// test.
struct OpenedKey {
    explicit OpenedKey(const Names& subkeys = {}, const Names& values = {}) : key(nullptr, path.c_str()) {
        CreateSubkeys(scratch.Handle(), subkeys);
        for (const std::string& name : values)
            SetText(scratch.Handle(), name.c_str(), name);
    }

    ScratchKey scratch;
    std::string path = scratch.Path();
    CKivRegKey key;
    CKivRegKey::iterator foreign{nullptr, "HKCU\\elsewhere", nullptr};  // an end that walks of the key never meet
};

}  // namespace kiv::test

#endif
