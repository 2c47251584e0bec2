#include "kivctl/descriptor_view.h"

#include <iostream>
#include <string>

namespace kivctl {
namespace {

// What there is to say about a DACL before its entries.
std::string DaclState(const CKivSecurityDescriptor& sd) {
    ACL* list = nullptr;
    if (!sd.GetDacl(&list))
        return "absent";
    if (list == nullptr)
        return "null: everyone may do everything";
    if (sd.GetDacl() == nullptr)
        return "of entry types that the library does not edit";
    return list->AceCount != 0 ? "entries" : "empty: nobody may do anything";
}

void PrintPrincipal(const char* title, void* sid) {
    CKivSid principal(sid);
    if (principal.GetSid() != nullptr)
        std::cout << title << ShowSid(principal) << "\n";
}

Json PrincipalAsJson(void* sid) {
    CKivSid principal(sid);
    return principal.GetSid() != nullptr ? SidAsJson(principal) : Json();
}

}  // namespace

void PrintDescriptor(const CKivSecurityDescriptor& sd, ObjectKind kind) {
    PrintPrincipal("Owner:  ", sd.GetOwner());
    PrintPrincipal("Group:  ", sd.GetPrimaryGroup());
    std::cout << "DACL:   " << DaclState(sd) << "\n";
    if (sd.GetDacl() == nullptr || sd.GetDacl()->AceCount == 0)
        return;
    CKivAcl acl(sd.GetDacl());
    std::cout << ShowEntries(acl, kind) << "Text:   " << TextOf(acl) << "\n";
}

Json DescriptorAsJson(const CKivSecurityDescriptor& sd, ObjectKind kind) {
    CKivAcl acl(sd.GetDacl());
    return {{"owner", PrincipalAsJson(sd.GetOwner())},
            {"group", PrincipalAsJson(sd.GetPrimaryGroup())},
            {"dacl", DaclState(sd)},
            {"entries", EntriesAsJson(acl, kind)},
            {"text", TextOf(acl)}};
}

}  // namespace kivctl
