#include <iostream>
#include <memory>
#include <string>

#include "kivctl/command.h"
#include "kivctl/descriptor_view.h"
#include "tavkivut/registry.h"
#include "tavkivut/service_control.h"

namespace kivctl {
namespace {

struct Options {
    std::string kind;
    std::string object;
    std::string text;
    bool dryRun = false;
    bool json = false;
};

// The object that is named on the command line, opened for reading its security or for setting it too.
class Target {
public:
    Target(const Options& options, bool toSet) : m_kind(ReadObjectKind(options.kind)), m_path(options.object) {
        const DWORD access = READ_CONTROL | (toSet ? WRITE_DAC : 0);
        if (m_kind == ObjectKind::kKey && !m_key.open(m_path.c_str(), access))
            throw Failure("'" + m_path + "' cannot be opened: " + ErrorText(m_key.getLastError()));
        if (m_kind == ObjectKind::kService)
            OpenService(access);
    }

    ObjectKind Kind() const { return m_kind; }

    CKivSecurityDescriptor Read() const {
        CKivSecurityDescriptor sd;
        const int done = m_kind == ObjectKind::kFile  ? sd.FromFile(m_path.c_str())
                         : m_kind == ObjectKind::kKey ? sd.FromRegKey(m_key)
                                                      : sd.FromService(m_service);
        if (!done)
            throw Failure("the security of '" + m_path + "' cannot be read: " + ErrorText(::GetLastError()));
        return sd;
    }

    void Apply(const CKivSecurityDescriptor& sd) const {
        const int done = m_kind == ObjectKind::kFile  ? sd.SetFileDacl(m_path.c_str())
                         : m_kind == ObjectKind::kKey ? sd.SetRegKeyDacl(m_key)
                                                      : sd.SetServiceDacl(m_service);
        if (!done)
            throw Failure("the DACL of '" + m_path + "' cannot be set: " + ErrorText(::GetLastError()));
    }

private:
    void OpenService(DWORD access) {
        CNTServiceControlManager manager;
        if (!manager.Open(nullptr, SC_MANAGER_CONNECT) || !manager.OpenServiceA(m_path.c_str(), access, m_service))
            throw Failure("'" + m_path + "' cannot be opened: " + ErrorText(manager.GetLastError()));
    }

    ObjectKind m_kind;
    std::string m_path;
    CKivRegKey m_key;
    CNTScmService m_service;
};

void Show(const Options& options) {
    const Target target(options, false);
    if (options.json)
        std::cout << DescriptorAsJson(target.Read(), target.Kind()).dump(2) << "\n";
    else
        PrintDescriptor(target.Read(), target.Kind());
}

void Set(const Options& options) {
    CKivAcl acl = ReadAcl(options.text);
    if (!HasEveryEntryOf(acl, options.text))
        throw Failure("not every entry of the text is usable; nothing was changed");
    const Target target(options, !options.dryRun);
    CKivSecurityDescriptor sd = target.Read();
    std::cout << "Before:\n";
    PrintDescriptor(sd, target.Kind());
    if (!sd.SetDacl(acl))
        throw Failure("no such DACL: " + ErrorText(::GetLastError()));
    if (options.dryRun) {
        std::cout << "\nWould be set:\n" << ShowEntries(acl, target.Kind());
        return;
    }
    target.Apply(sd);
    std::cout << "\nAfter:\n";
    PrintDescriptor(target.Read(), target.Kind());
}

}  // namespace

void AddSdCommand(Command program) {
    auto options = std::make_shared<Options>();
    Command command = program.AddGroup("sd", "Owner and access list of a file, a registry key or a service.");
    const auto add = [&](const char* name, const char* description, void (*run)(const Options&)) {
        Command action = command.AddCommand(name, description);
        action.AddOption("kind", options->kind, "file, key or service").Required().OneOf({"file", "key", "service"});
        action.AddOption("object", options->object, "path, key path or name of the service").Required();
        action.SetAction([options, run] {
            RequireNtFamily();
            run(*options);
        });
        return action;
    };
    add("show", "Shows what the system says.", Show).AddFlag("--json", options->json, "answer as JSON");
    Command set = add("set", "Replaces the access list; shows it before and after.", Set);
    set.AddOption("text", options->text, "the list: {type-flags-0xmask-[sid]}-...").Required();
    set.AddFlag("--dry-run", options->dryRun, "only tell what would be done");
}

}  // namespace kivctl
