#ifndef KIV_TESTS_SUPPORT_SDDL_TEXT_H
#define KIV_TESTS_SUPPORT_SDDL_TEXT_H

#include "support/windows_api.h"

#include <aclapi.h>
#include <sddl.h>

#include <string>

#include "support/check.h"

namespace kiv::test {

// Security data as the system itself writes and reads it, in its own descriptor language.

inline std::string SddlOf(PSECURITY_DESCRIPTOR descriptor,
                          SECURITY_INFORMATION parts = OWNER_SECURITY_INFORMATION | GROUP_SECURITY_INFORMATION |
                                                       DACL_SECURITY_INFORMATION | SACL_SECURITY_INFORMATION) {
    char* text = nullptr;
    REQUIRE(::ConvertSecurityDescriptorToStringSecurityDescriptorA(descriptor, SDDL_REVISION_1, parts, &text, nullptr));
    const std::string copy = text;
    ::LocalFree(text);
    return copy;
}

// A list as the "D:" part of a descriptor.
inline std::string SddlOf(ACL* list) {
    SECURITY_DESCRIPTOR descriptor;
    REQUIRE(::InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION));
    REQUIRE(::SetSecurityDescriptorDacl(&descriptor, TRUE, list, FALSE));
    return SddlOf(&descriptor, DACL_SECURITY_INFORMATION);
}

inline bool HasNullDacl(PSECURITY_DESCRIPTOR descriptor) {
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    ACL* list = nullptr;
    REQUIRE(::GetSecurityDescriptorDacl(descriptor, &present, &list, &defaulted));
    return present && list == nullptr;
}

// What the system tells about a key; "null" for a null DACL, which not every system can write.
inline std::string SddlOfKey(HKEY key, SECURITY_INFORMATION parts = DACL_SECURITY_INFORMATION) {
    char descriptor[2048];
    DWORD size = sizeof descriptor;
    REQUIRE(::RegGetKeySecurity(key, parts, descriptor, &size) == ERROR_SUCCESS);
    const bool nullDacl = (parts & DACL_SECURITY_INFORMATION) != 0 && HasNullDacl(descriptor);
    return nullDacl ? "null" : SddlOf(descriptor, parts);
}

// A self-relative descriptor that the system made of a text.
class SystemDescriptor {
public:
    explicit SystemDescriptor(const char* text) {
        REQUIRE(::ConvertStringSecurityDescriptorToSecurityDescriptorA(text, SDDL_REVISION_1, &m_descriptor, nullptr));
    }
    ~SystemDescriptor() { ::LocalFree(m_descriptor); }
    SystemDescriptor(const SystemDescriptor&) = delete;
    SystemDescriptor& operator=(const SystemDescriptor&) = delete;

    PSECURITY_DESCRIPTOR Get() const { return m_descriptor; }

    // Its DACL, null for a null or absent one.
    ACL* Dacl() const {
        BOOL present = FALSE;
        BOOL defaulted = FALSE;
        ACL* list = nullptr;
        REQUIRE(::GetSecurityDescriptorDacl(m_descriptor, &present, &list, &defaulted));
        return present ? list : nullptr;
    }

    // Answers a call that asks for it; false when it needs more room.
    bool CopyTo(PSECURITY_DESCRIPTOR buffer, DWORD room, DWORD& needed) const {
        needed = ::GetSecurityDescriptorLength(m_descriptor);
        if (needed <= room)
            ::memcpy(buffer, m_descriptor, needed);
        return needed <= room;
    }

private:
    PSECURITY_DESCRIPTOR m_descriptor = nullptr;
};

}  // namespace kiv::test

#endif
