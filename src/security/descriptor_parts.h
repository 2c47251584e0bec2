#ifndef KIV_SECURITY_DESCRIPTOR_PARTS_H
#define KIV_SECURITY_DESCRIPTOR_PARTS_H

#include "support/windows_api.h"

namespace kiv {

// The parts of a security descriptor of either form, as the system tells them; they still belong to it.

bool IsDescriptor(void* descriptor) noexcept;  // of the revision that the system knows

SECURITY_DESCRIPTOR_CONTROL DescriptorControl(void* descriptor) noexcept;

void* DescriptorOwner(void* descriptor) noexcept;  // null when there is none
void* DescriptorGroup(void* descriptor) noexcept;  // null when there is none

// Whether a DACL is present; the list is null for a null DACL and for an absent one.
bool DescriptorDacl(void* descriptor, ACL*& list) noexcept;

}  // namespace kiv

#endif
