#include <cstring>

#include "support/windows_api.h"

#include "install/server_paths.h"
#include "support/heap_text.h"
#include "support/nt_family.h"
#include "support/win32_error.h"
#include "tavkivut/inst_server.h"
#include "tavkivut/registry.h"
#include "tavkivut/security.h"

namespace {

// Whether the open failed because there is no such key, not because it or its computer refused.
bool IsMissing(CKivRegKey& key) noexcept {
    return kiv::IsNotFound(key.getLastError());
}

bool OpenForReading(CKivRegKey& key) noexcept {
    if (const char* const share = CKivInstServer::GetServerShare()) {
        if (key.open(kiv::kPoliciesKeyPath, share, KEY_READ))
            return true;
        if (!IsMissing(key))
            return false;
    }
    return key.open(kiv::kPoliciesKeyPath, KEY_READ);
}

// Lets everyone read a key, beside whom its list lets in already. A key without a list, or with a null one, is open to
// all as it is. A list that cannot be copied, as one with entries of other types, stays as it is too.
void LetEveryoneRead(HKEY key) noexcept {
    CKivSecurityDescriptor sd;
    ACL* list = nullptr;
    if (!kiv::IsNtFamily() || !sd.FromRegKey(key) || !sd.GetDacl(&list) || list == nullptr)
        return;
    CKivAcl acl(list);
    if (acl.GetAcl() == nullptr)
        return;
    CKivSid everyone;
    everyone = CKivSid::WKS_EVERYONE;
    if (!acl.AddAce(CKivAce(everyone, GENERIC_READ, 1)) || !sd.SetDacl(acl))
        return;
    // A copy of a list has its denied entries in front, inherited ones too. So the order is mended in the descriptor's
    // own list, by a list of the same size.
    acl = sd.GetDacl();
    if (acl.GetAcl() == nullptr)
        return;
    acl.SetPreferredDaclOrder();
    std::memcpy(sd.GetDacl(), acl.GetAcl(), acl.GetAcl()->AclSize);
    sd.SetRegKeyDacl(key);
}

// The share's own key, else the plain one for a server without a share; made when it is missing. The share's key is for
// every workstation to read.
bool OpenForWriting(CKivRegKey& key) noexcept {
    const char* const share = CKivInstServer::GetServerShare();
    if (key.open(kiv::kPoliciesKeyPath, share, KEY_ALL_ACCESS))
        return true;
    if (!IsMissing(key) || !key.create(kiv::kPoliciesKeyPath, share, KEY_ALL_ACCESS, 0, nullptr))
        return false;
    if (share != nullptr && share[0] != '\0')
        LetEveryoneRead(key);
    return true;
}

}  // namespace

unsigned int CKivInstServer::GetServerPolicy(const char* name, char* out, unsigned int outSize) noexcept {
    if (out == nullptr || outSize == 0)
        return 0;
    out[0] = '\0';
    if (name == nullptr)
        return 0;
    CKivRegKey key(GetServerHost(), nullptr, nullptr, KEY_READ);
    if (!OpenForReading(key))
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
    // Through the key that is open already: its access list may not let the same key be opened once more.
    const auto* bytes = reinterpret_cast<const BYTE*>(value);
    const DWORD size = static_cast<DWORD>(std::strlen(value)) + 1;
    return ::RegSetValueExA(key, name, 0, REG_SZ, bytes, size) == ERROR_SUCCESS ? 1 : 0;
}
