#include "security/descriptor_parts.h"

namespace kiv {
namespace {

bool ReadControl(void* descriptor, SECURITY_DESCRIPTOR_CONTROL& control) noexcept {
    DWORD revision = 0;
    return ::GetSecurityDescriptorControl(descriptor, &control, &revision) != FALSE;
}

}  // namespace

bool IsDescriptor(void* descriptor) noexcept {
    SECURITY_DESCRIPTOR_CONTROL control;
    return ReadControl(descriptor, control);
}

SECURITY_DESCRIPTOR_CONTROL DescriptorControl(void* descriptor) noexcept {
    SECURITY_DESCRIPTOR_CONTROL control = 0;
    return ReadControl(descriptor, control) ? control : 0;
}

void* DescriptorOwner(void* descriptor) noexcept {
    PSID owner = nullptr;
    BOOL defaulted;
    return ::GetSecurityDescriptorOwner(descriptor, &owner, &defaulted) ? owner : nullptr;
}

void* DescriptorGroup(void* descriptor) noexcept {
    PSID group = nullptr;
    BOOL defaulted;
    return ::GetSecurityDescriptorGroup(descriptor, &group, &defaulted) ? group : nullptr;
}

bool DescriptorDacl(void* descriptor, ACL*& list) noexcept {
    BOOL present = FALSE;
    BOOL defaulted;
    list = nullptr;
    if (!::GetSecurityDescriptorDacl(descriptor, &present, &list, &defaulted) || !present) {
        list = nullptr;
        return false;
    }
    return true;
}

}  // namespace kiv
