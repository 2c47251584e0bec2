#include <iostream>
#include <memory>
#include <string>

#include "kivctl/acl_view.h"
#include "kivctl/command.h"
#include "kivctl/principal.h"
#include "support/scoped_resource.h"
#include "tavkivut/registry.h"

#include <winsvc.h>

namespace kivctl {
namespace {

struct Options {
    std::string kind;
    std::string object;
    std::string text;
    bool dryRun = false;
    bool json = false;
};

struct ServiceTraits {
    using Type = SC_HANDLE;
    static Type Empty() { return nullptr; }
    static void Close(Type service) { ::CloseServiceHandle(service); }
};
using ScopedService = kiv::ScopedResource<ServiceTraits>;

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
                                                      : sd.FromService(m_service.Get());
        if (!done)
            throw Failure("the security of '" + m_path + "' cannot be read: " + ErrorText(::GetLastError()));
        return sd;
    }

    void Apply(const CKivSecurityDescriptor& sd) const {
        const int done = m_kind == ObjectKind::kFile  ? sd.SetFileDacl(m_path.c_str())
                         : m_kind == ObjectKind::kKey ? sd.SetRegKeyDacl(m_key)
                                                      : sd.SetServiceDacl(m_service.Get());
        if (!done)
            throw Failure("the DACL of '" + m_path + "' cannot be set: " + ErrorText(::GetLastError()));
    }

private:
    void OpenService(DWORD access) {
        const ScopedService manager(::OpenSCManagerA(nullptr, nullptr, SC_MANAGER_CONNECT));
        if (manager)
            m_service.Reset(::OpenServiceA(manager.Get(), m_path.c_str(), access));
        if (!m_service)
            throw Failure("'" + m_path + "' cannot be opened: " + ErrorText(::GetLastError()));
    }

    ObjectKind m_kind;
    std::string m_path;
    CKivRegKey m_key;
    ScopedService m_service;
};

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

void PrintDescriptor(const CKivSecurityDescriptor& sd, ObjectKind kind) {
    PrintPrincipal("Owner:  ", sd.GetOwner());
    PrintPrincipal("Group:  ", sd.GetPrimaryGroup());
    std::cout << "DACL:   " << DaclState(sd) << "\n";
    if (sd.GetDacl() == nullptr || sd.GetDacl()->AceCount == 0)
        return;
    CKivAcl acl(sd.GetDacl());
    std::cout << ShowEntries(acl, kind) << "Text:   " << TextOf(acl) << "\n";
}

Json PrincipalAsJson(void* sid) {
    CKivSid principal(sid);
    return principal.GetSid() != nullptr ? SidAsJson(principal) : Json();
}

void Show(const Options& options) {
    const Target target(options, false);
    const CKivSecurityDescriptor sd = target.Read();
    if (!options.json) {
        PrintDescriptor(sd, target.Kind());
        return;
    }
    CKivAcl acl(sd.GetDacl());
    std::cout << Json{{"owner", PrincipalAsJson(sd.GetOwner())},
                      {"group", PrincipalAsJson(sd.GetPrimaryGroup())},
                      {"dacl", DaclState(sd)},
                      {"entries", EntriesAsJson(acl, target.Kind())},
                      {"text", TextOf(acl)}}
                     .dump(2)
              << "\n";
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

void AddSdCommand(CLI::App& app) {
    auto options = std::make_shared<Options>();
    CLI::App* command = app.add_subcommand("sd", "Owner and access list of a file, a registry key or a service.");
    command->require_subcommand(1);
    const auto add = [&](const char* name, const char* description, void (*run)(const Options&)) {
        CLI::App* action = command->add_subcommand(name, description);
        action->add_option("kind", options->kind, "file, key or service")
            ->required()
            ->check(CLI::IsMember({"file", "key", "service"}));
        action->add_option("object", options->object, "path, key path or name of the service")->required();
        action->callback([options, run] {
            RequireNtFamily();
            run(*options);
        });
        return action;
    };
    add("show", "Shows what the system says.", Show)->add_flag("--json", options->json, "answer as JSON");
    CLI::App* set = add("set", "Replaces the access list; shows it before and after.", Set);
    set->add_option("text", options->text, "the list: {type-flags-0xmask-[sid]}-...")->required();
    set->add_flag("--dry-run", options->dryRun, "only tell what would be done");
}

}  // namespace kivctl
