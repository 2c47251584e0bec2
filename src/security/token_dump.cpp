#include "support/windows_api.h"

#include "security/dump_text.h"
#include "support/nt_family.h"
#include "support/scoped_resource.h"
#include "tavkivut/security.h"

void CKivToken::DumpToLog(const char* label) noexcept {
    if (!kiv::IsNtFamily())
        return;
    const kiv::LastErrorKeeper keeper;
    KIV_LOG(kiv::kLogDetail, kiv::kLogInfo, "\n%s", kiv::kDumpRule);
    KIV_LOG(kiv::kLogDetail, kiv::kLogInfo, "%s%sccess token at 0x%x (%i group entries, %s)\n",
            label != nullptr ? label : "", label != nullptr ? " a" : "A", kiv::DumpAddress(m_token), GetGroupCount(),
            IsImpersonation() ? "impersonation" : "primary");
    CKivSid owner = GetOwner();
    KIV_LOG(kiv::kLogDetail, kiv::kLogInfo, "Token owner:    %s\\%s (%s)", kiv::DumpText(owner.GetDomain()),
            kiv::DumpText(owner.GetName()), kiv::DumpText(owner));
    for (int i = 0; i < GetGroupCount(); ++i) {
        CKivSid group = GetGroupAt(i);
        KIV_LOG(kiv::kLogDetail, kiv::kLogInfo, "Group entry %02i: %s\\%s (%s)", i, kiv::DumpText(group.GetDomain()),
                kiv::DumpText(group.GetName()), kiv::DumpText(group));
    }
    TOKEN_PRIVILEGES* privileges = AllocPrivileges();
    for (unsigned long i = 0; i < GetPrivilegeCount(privileges); ++i) {
        LUID_AND_ATTRIBUTES* privilege = GetPrivilegeAt(privileges, i);
        char name[128];
        DWORD size = sizeof name;
        if (::LookupPrivilegeNameA(nullptr, &privilege->Luid, name, &size))
            KIV_LOG(kiv::kLogDetail, kiv::kLogInfo, "Privilege %02i:   %s is %s", static_cast<int>(i), name,
                    privilege->Attributes != 0 ? "enabled" : "disabled");
    }
    FreePrivileges(privileges);
    KIV_LOG(kiv::kLogDetail, kiv::kLogInfo, "\n%s\n", kiv::kDumpRule);
}
