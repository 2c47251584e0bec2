#include <algorithm>
#include <cstring>

#include "support/windows_api.h"

#include "install/server_paths.h"
#include "support/heap_text.h"
#include "tavkivut/inst_server.h"
#include "tavkivut/registry.h"

namespace {

bool OpenForReading(CKivRegKey& key) noexcept {
    const char* const share = CKivInstServer::GetServerShare();
    return (share != nullptr && key.open(kiv::kPoliciesKeyPath, share, KEY_READ)) ||
           key.open(kiv::kPoliciesKeyPath, KEY_READ);
}

// The share's own key, else the plain one for a server without a share; made when it is missing.
bool OpenForWriting(CKivRegKey& key) noexcept {
    const char* const share = CKivInstServer::GetServerShare();
    return key.open(kiv::kPoliciesKeyPath, share, KEY_ALL_ACCESS) ||
           key.create(kiv::kPoliciesKeyPath, share, KEY_ALL_ACCESS, 0, nullptr);
}

}  // namespace

unsigned int CKivInstServer::GetServerPolicy(const char* name, char* out, unsigned int outSize) noexcept {
    if (out == nullptr || outSize == 0)
        return 0;
    out[0] = '\0';
    CKivRegKey key(GetServerHost(), nullptr, nullptr, KEY_READ);
    if (name == nullptr || !OpenForReading(key))
        return 0;
    CKivRegValue value = key[name];
    const char* const text = value;
    if (text == nullptr)
        return 0;
    kiv::CopyText(out, outSize, text);
    return static_cast<unsigned int>(std::strlen(out));
}

int CKivInstServer::SetServerPolicy(const char* name, const char* value) noexcept {
    if (name == nullptr || value == nullptr)
        return 0;
    CKivRegKey key(GetServerHost(), nullptr, nullptr, KEY_ALL_ACCESS);
    if (!OpenForWriting(key))
        return 0;
    CKivRegValue policy = key[name];
    policy = value;
    return policy.getLastError() == ERROR_SUCCESS ? 1 : 0;
}
