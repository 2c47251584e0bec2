#include <iostream>
#include <memory>
#include <string>

#include "kivctl/command.h"
#include "kivctl/principal.h"

namespace kivctl {
namespace {

struct Options {
    std::string account;
    std::string right;
    std::string machine;
    bool dryRun = false;
};

void Grant(const Options& options) {
    RequireNtFamily();
    std::string account = options.account;
    std::string shown = account + " on " + options.machine;
    if (options.machine.empty()) {
        // By way of the SID, so that every form of an account can be given and the one that is meant is shown.
        CKivSid sid = ReadPrincipal(options.account);
        account = AccountOf(sid);
        shown = ShowSid(sid);
        if (account.empty())
            throw Failure(shown + " stands for no account of this machine");
    }
    if (options.dryRun) {
        std::cout << "would grant " << options.right << " to " << shown << "\n";
        return;
    }
    const char* machine = options.machine.empty() ? nullptr : options.machine.c_str();
    if (!KivAddAccountPrivilege(machine, account.c_str(), options.right.c_str()))
        throw Failure("not granted: " + ErrorText(::GetLastError()));
    std::cout << "granted " << options.right << " to " << shown << "\n";
}

}  // namespace

void AddRightCommand(Command program) {
    auto options = std::make_shared<Options>();
    Command command =
        program.AddCommand("right", "Grants an account right; it stays until it is taken away.", options, Grant);
    command
        .AddOption("account", options->account, "account on this machine, as name or SID; with --machine a name there")
        .Required();
    command.AddOption("right", options->right, "such as SeServiceLogonRight").Required();
    command.AddOption("--machine", options->machine, "another machine");
    command.AddFlag("--dry-run", options->dryRun, "only tell what would be done");
}

}  // namespace kivctl
