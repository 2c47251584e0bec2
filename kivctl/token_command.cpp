#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "kivctl/command.h"
#include "kivctl/principal.h"

namespace kivctl {
namespace {

struct Privilege {
    std::string name;
    bool enabled;
};

// Tokens with their privileges, which the class offers to those that derive from it.
class Token : public CKivToken {
public:
    Token() {
        if (!OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY))
            throw Failure("no token: " + ErrorText(::GetLastError()));
    }

    std::vector<Privilege> Privileges() const {
        std::vector<Privilege> found;
        TOKEN_PRIVILEGES* record = AllocPrivileges();
        for (unsigned long i = 0; i < GetPrivilegeCount(record); ++i) {
            LUID_AND_ATTRIBUTES* privilege = GetPrivilegeAt(record, i);
            char name[128];
            DWORD size = sizeof name;
            if (::LookupPrivilegeNameA(nullptr, &privilege->Luid, name, &size))
                found.push_back({name, privilege->Attributes != 0});
        }
        FreePrivileges(record);
        return found;
    }

    std::vector<CKivSid> Groups() {
        const int count = GetGroupCount();
        std::vector<CKivSid> found;
        found.reserve(static_cast<std::size_t>(count > 0 ? count : 0));
        for (int i = 0; i < count; ++i)
            found.push_back(GetGroupAt(i));
        return found;
    }

    const char* Type() const { return IsPrimary() ? "primary" : "impersonation"; }
};

Json PrivilegesAsJson(const Token& token) {
    Json answer = Json::array();
    for (const Privilege& privilege : token.Privileges())
        answer.push_back({{"name", privilege.name}, {"enabled", privilege.enabled}});
    return answer;
}

void PrintPrivileges(const Token& token, const char* indent) {
    for (const Privilege& privilege : token.Privileges())
        std::cout << indent << privilege.name << (privilege.enabled ? "  enabled" : "  disabled") << "\n";
}

void PrintToken(Token& token) {
    CKivSid user = token.GetOwner();
    std::cout << "User:  " << ShowSid(user) << "\nType:  " << token.Type() << "\nGroups:\n";
    for (CKivSid& group : token.Groups())
        std::cout << "  " << ShowSid(group) << "\n";
    std::cout << "Privileges:\n";
    PrintPrivileges(token, "  ");
}

Json TokenAsJson(Token& token) {
    CKivSid user = token.GetOwner();
    Json groups = Json::array();
    for (CKivSid& group : token.Groups())
        groups.push_back(SidAsJson(group));
    return {
        {"user", SidAsJson(user)}, {"type", token.Type()}, {"groups", groups}, {"privileges", PrivilegesAsJson(token)}};
}

struct Options {
    bool log = false;
    bool json = false;
};

void ShowToken(const Options& options) {
    RequireNtFamily();
    Token token;
    if (options.log)
        token.DumpToLog("kivctl");
    if (options.json)
        std::cout << TokenAsJson(token).dump() << "\n";
    else
        PrintToken(token);
}

void ListPrivileges(const Options& options) {
    RequireNtFamily();
    const Token token;
    if (options.json)
        std::cout << PrivilegesAsJson(token).dump() << "\n";
    else
        PrintPrivileges(token, "");
}

}  // namespace

void AddTokenCommand(Command program) {
    auto options = std::make_shared<Options>();
    Command command = program.AddCommand("token", "Shows user, type, groups and privileges of this process's token.",
                                         options, ShowToken);
    command.AddFlag("--log", options->log, "write the library's dump to the log as well");
    command.AddFlag("--json", options->json, "answer as JSON");
}

void AddPrivilegeCommand(Command program) {
    auto options = std::make_shared<Options>();
    Command command =
        program.AddCommand("privilege", "Lists the privileges of this process's token.", options, ListPrivileges);
    command.AddFlag("--json", options->json, "answer as JSON");
}

}  // namespace kivctl
