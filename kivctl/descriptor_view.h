#ifndef KIVCTL_DESCRIPTOR_VIEW_H
#define KIVCTL_DESCRIPTOR_VIEW_H

#include "kivctl/acl_view.h"

namespace kivctl {

// How the subcommands show a security descriptor: owner, group and access list.
void PrintDescriptor(const CKivSecurityDescriptor& sd, ObjectKind kind);
Json DescriptorAsJson(const CKivSecurityDescriptor& sd, ObjectKind kind);

}  // namespace kivctl

#endif
