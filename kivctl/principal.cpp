#include "kivctl/principal.h"

#include <iostream>

#include "kivctl/outcome.h"
#include "tavkivut/system.h"

namespace kivctl {
namespace {

std::string Text(const char* text) {
    return text != nullptr ? text : "";
}

}  // namespace

std::string AccountOf(CKivSid& sid) {
    const std::string domain = Text(sid.GetDomain());
    const std::string name = Text(sid.GetName());
    return domain.empty() ? name : domain + "\\" + name;
}

std::string ShowSid(CKivSid& sid) {
    const std::string account = AccountOf(sid);
    return Text(sid) + (account.empty() ? "" : "  " + account);
}

Json SidAsJson(CKivSid& sid) {
    return {{"sid", Text(sid)}, {"domain", Utf8(Text(sid.GetDomain()))}, {"name", Utf8(Text(sid.GetName()))}};
}

CKivSid ReadPrincipal(const std::string& text) {
    CKivSid sid(text.c_str());
    if (!sid.IsValid())
        throw Failure("no account '" + text + "': " + ErrorText(::GetLastError()));
    const std::string read = Text(sid);
    if (text.compare(0, 4, "S-1-") == 0 && text != read)
        std::cerr << "kivctl: '" << text << "' reads as " << read << "\n";
    return sid;
}

void RequireNtFamily() {
    if (CKivSystem::IsNT() != 0)
        throw Failure("this system has no accounts; the NT family is needed");
}

}  // namespace kivctl
