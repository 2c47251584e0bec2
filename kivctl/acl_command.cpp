#include <iostream>
#include <memory>
#include <string>

#include "kivctl/acl_view.h"
#include "kivctl/command.h"
#include "kivctl/principal.h"

namespace kivctl {
namespace {

struct Options {
    std::string text;
    std::string account;
    std::string kind;
    bool log = false;
    bool json = false;
};

void Answer(const Json& answer) {
    std::cout << answer.dump(2) << "\n";
}

void Parse(const Options& options) {
    const CKivAcl acl = ReadAcl(options.text);
    if (options.json)
        Answer(EntriesAsJson(acl, ReadObjectKind(options.kind)));
    else
        std::cout << ShowEntries(acl, ReadObjectKind(options.kind));
}

void Print(const Options& options) {
    CKivAcl acl = ReadAcl(options.text);
    std::cout << TextOf(acl) << "\n";
}

void Dump(const Options& options) {
    CKivAcl acl = ReadAcl(options.text);
    if (options.log)
        acl.DumpToLog("kivctl");
    std::cout << ShowEntriesInFull(acl, ReadObjectKind(options.kind));
}

void Order(const Options& options) {
    CKivAcl acl = ReadAcl(options.text);
    acl.SetPreferredDaclOrder();
    std::cout << TextOf(acl) << "\n";
}

void ShowEffectiveRights(const Options& options) {
    CKivAcl acl = ReadAcl(options.text);
    const CKivSid sid = ReadPrincipal(options.account);
    ::SetLastError(ERROR_SUCCESS);
    const unsigned long rights = acl.GetEffectiveRights(sid);
    const unsigned long error = ::GetLastError();
    if (rights == 0 && error != ERROR_SUCCESS)
        throw Failure("the system cannot tell: " + ErrorText(error));
    const ObjectKind kind = ReadObjectKind(options.kind);
    if (options.json)
        Answer({{"mask", rights}, {"rights", ShowRights(rights, kind)}});
    else
        std::cout << ShowMask(rights) << "  " << (rights != 0 ? ShowRights(rights, kind) : "none") << "\n";
    if (rights == 0)
        SetExitCode(kExitFailed);
}

}  // namespace

void AddAclCommand(Command program) {
    auto options = std::make_shared<Options>();
    Command command = program.AddGroup("acl", "Access lists in their text form: {type-flags-0xmask-[sid]}-...");
    const auto add = [&](const char* name, const char* description, void (*run)(const Options&)) {
        Command action = command.AddCommand(name, description);
        action.AddOption("text", options->text, "the list").Required();
        action.SetAction([options, run] {
            RequireNtFamily();
            run(*options);
        });
        return action;
    };
    const auto withKind = [&](Command action) {
        action.AddOption("--for", options->kind, "name the rights as those of such an object")
            .OneOf({"file", "key", "service"});
        return action;
    };
    const auto withJson = [&](Command action) { action.AddFlag("--json", options->json, "answer as JSON"); };

    withJson(withKind(add("parse", "Shows the entries that the library reads.", Parse)));
    add("print", "Prints the text that the library writes.", Print);
    withKind(add("dump", "Shows every right of every entry.", Dump))
        .AddFlag("--log", options->log, "write the library's dump to the log as well");
    add("order", "Prints the list in the preferred order: own before inherited, denied before allowed.", Order);
    Command rights =
        add("rights", "Shows what the system says that the list grants to an account.", ShowEffectiveRights);
    rights.AddOption("account", options->account, "account on this machine, as name or SID").Required();
    withJson(withKind(rights));
}

}  // namespace kivctl
