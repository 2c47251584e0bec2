#include "support/windows_api.h"

#include "security/dump_text.h"
#include "support/nt_family.h"
#include "support/scoped_resource.h"
#include "tavkivut/security.h"

namespace {

constexpr unsigned kSpecificRights = 16;

// The lines about the other rights, in their order.
constexpr struct {
    unsigned long bit;
    const char* format;
} kNamedRights[] = {
    {DELETE, "  DELETE:            %s"},        {READ_CONTROL, "  READ_CONTROL:      %s"},
    {WRITE_DAC, "  WRITE_DAC:         %s"},     {WRITE_OWNER, "  WRITE_OWNER:       %s"},
    {SYNCHRONIZE, "  SYNCHRONIZE:       %s"},   {MAXIMUM_ALLOWED, "  MAXIMUM_ALLOWED:   %s"},
    {GENERIC_ALL, "  GENERIC_ALL:       %s"},   {GENERIC_EXECUTE, "  GENERIC_EXECUTE:   %s"},
    {GENERIC_WRITE, "  GENERIC_WRITE:     %s"}, {GENERIC_READ, "  GENERIC_READ:      %s"},
};

const char* YesOrNo(unsigned long bit) noexcept {
    return bit != 0 ? "yes" : "no";
}

}  // namespace

void CKivAce::DumpToLog(int index) noexcept {
    if (m_ace == nullptr)
        return;
    const kiv::LastErrorKeeper keeper;
    CKivSid sid(GetSid());
    KIV_LOG(kiv::kLogDetail, kiv::kLogInfo, "Entry %02i: %s\\%s (%s)", index, kiv::DumpText(sid.GetDomain()),
            kiv::DumpText(sid.GetName()), kiv::DumpText(sid));
    const unsigned long mask = GetAccessMask();
    for (unsigned right = 0; right < kSpecificRights; ++right)
        KIV_LOG(kiv::kLogDetail, kiv::kLogInfo, "  Specific right %02i: %s", static_cast<int>(right),
                YesOrNo(mask >> right & 1));
    for (const auto& right : kNamedRights)
        KIV_LOG(kiv::kLogDetail, kiv::kLogInfo, right.format, YesOrNo(mask & right.bit));
}

void CKivAcl::DumpToLog(const char* label) noexcept {
    if (!kiv::IsNtFamily())
        return;
    const kiv::LastErrorKeeper keeper;
    KIV_LOG(kiv::kLogDetail, kiv::kLogInfo, "\n%s", kiv::kDumpRule);
    KIV_LOG(kiv::kLogDetail, kiv::kLogInfo, "%s%sccess-control list at 0x%x (%i entries)\n", kiv::DumpText(label),
            label != nullptr ? " a" : "A", kiv::DumpAddress(m_acl), static_cast<int>(GetAceCount()));
    for (long i = 0; void* const entry = GetAceAt(i); ++i)
        CKivAce(entry).DumpToLog(static_cast<int>(i));
    KIV_LOG(kiv::kLogDetail, kiv::kLogInfo, "%s\n", kiv::kDumpRule);
}
