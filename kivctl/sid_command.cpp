#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "kivctl/command.h"
#include "kivctl/principal.h"

namespace kivctl {
namespace {

struct Options {
    std::vector<std::string> texts;
    std::string of;
    bool wellKnown = false;
    bool json = false;
};

constexpr CKivSid::WellKnownSid kWellKnown[] = {
    CKivSid::WKS_EVERYONE,
    CKivSid::WKS_GUESTS,
    CKivSid::WKS_USERS,
    CKivSid::WKS_POWER_USERS,
    CKivSid::WKS_AUTHENTICATED_USERS,
    CKivSid::WKS_ADMINISTRATORS,
    CKivSid::WKS_NULL,
    CKivSid::WKS_LOCAL_SYSTEM,
};

CKivSid LogonSid() {
    void* logon = KivGetCurrentProcessLogonSid();
    const CKivSid sid(logon);
    KivFreeSid(logon);
    return sid;
}

CKivSid SidOf(const std::string& what) {
    if (what == "process")
        return CKivSid::FromProcessUser(::GetCurrentProcess());
    if (what == "thread")
        return CKivSid::FromThreadUser(::GetCurrentThread());
    if (what == "logon")
        return LogonSid();
    CKivToken token;
    token.OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY);
    return token.GetOwner();
}

std::vector<CKivSid> Wanted(const Options& options) {
    std::vector<CKivSid> sids;
    for (const std::string& text : options.texts) {
        try {
            sids.push_back(ReadPrincipal(text));
        } catch (const Failure& failure) {
            std::cerr << "kivctl: " << failure.what() << "\n";
            SetExitCode(kExitFailed);  // the others are shown all the same
        }
    }
    if (options.wellKnown) {
        for (const CKivSid::WellKnownSid which : kWellKnown) {
            CKivSid sid;
            sid = which;
            sids.push_back(sid);
        }
    }
    if (!options.of.empty()) {
        const CKivSid sid = SidOf(options.of);
        if (!sid.IsValid())
            throw Failure("the " + options.of + " has no such SID: " + ErrorText(::GetLastError()));
        sids.push_back(sid);
    }
    return sids;
}

void Run(const Options& options) {
    if (options.texts.empty() && !options.wellKnown && options.of.empty())
        throw UsageError("nothing to show: give an account, --well-known or --of");
    RequireNtFamily();
    Json answer = Json::array();
    for (CKivSid& sid : Wanted(options)) {
        if (options.json)
            answer.push_back(SidAsJson(sid));
        else
            std::cout << ShowSid(sid) << "\n";
    }
    if (options.json)
        std::cout << answer.dump() << "\n";
}

}  // namespace

void AddSidCommand(Command program) {
    auto options = std::make_shared<Options>();
    Command command =
        program.AddCommand("sid", "Tells security identifiers and the accounts they stand for.", options, Run);
    command.AddOption("account", options->texts, "text forms (S-1-...) or names of accounts on this machine");
    command.AddFlag("--well-known", options->wellKnown, "the identifiers that the library knows by number");
    command.AddOption("--of", options->of, "the user of this process, thread or token, or the logon session")
        .OneOf({"process", "thread", "token", "logon"});
    command.AddFlag("--json", options->json, "answer as JSON");
}

}  // namespace kivctl
