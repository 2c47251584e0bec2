#include <iostream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kivctl/command.h"
#include "kivctl/registry_data.h"

namespace kivctl {
namespace {

struct Options {
    std::string key;
    std::string name;                  // get, set
    std::optional<std::string> value;  // delete: this one and not the key
    std::vector<std::string> data;
    std::string machine;
    std::string type = "sz";
    int view = 0;
    int depth = 0;
    bool recursive = false;
    bool json = false;
};

using SharedOptions = std::shared_ptr<Options>;
using Json = nlohmann::ordered_json;

// A registry link that leads to one of its own parents makes a tree endless.
constexpr int kDeepestTree = 64;

const char* Machine(const Options& options) {
    return options.machine.empty() ? nullptr : options.machine.c_str();
}

unsigned long Access(const Options& options, unsigned long access) {
    if (options.view == 0)
        return access;
    return access | (options.view == 64 ? KEY_WOW64_64KEY : KEY_WOW64_32KEY);
}

CKivRegKey Open(const Options& options, unsigned long access) {
    CKivRegKey key(Machine(options), nullptr);
    if (!key.open(options.key.c_str(), Access(options, access)))
        throw Failure("'" + options.key + "' cannot be opened: " + ErrorText(key.getLastError()));
    return key;
}

std::vector<std::string> SubkeyNames(CKivRegKey& key) {
    std::vector<std::string> names;
    const CKivRegKey::iterator end = key.end();
    for (CKivRegKey::iteratorKeys it = key.beginKeys(); it != end; ++it)
        names.emplace_back(it.getName());
    return names;
}

std::vector<std::string> ValueNames(CKivRegKey& key) {
    std::vector<std::string> names;
    const CKivRegKey::iterator end = key.end();
    for (CKivRegKey::iteratorValues it = key.beginValues(); it != end; ++it)
        names.emplace_back(it.getName());
    return names;
}

// "name (sz): text"; more lines are indented.
std::string Line(const std::string& name, const RegistryValue& value) {
    std::string line = (name.empty() ? "(Default)" : name) + " (" + value.type + "): ";
    for (const char c : value.text)
        line.append(c == '\n' ? "\n    " : std::string(1, c));
    return line + "\n";
}

void List(const Options& options) {
    CKivRegKey key = Open(options, KEY_READ);
    Json answer{{"key", Utf8(key.getKey())}, {"subkeys", Json::array()}, {"values", Json::array()}};
    for (const std::string& name : SubkeyNames(key)) {
        answer["subkeys"].push_back(Utf8(name));
        if (!options.json)
            std::cout << name << "\\\n";
    }
    for (const std::string& name : ValueNames(key)) {
        try {
            const RegistryValue value = ReadValue(key, name);
            answer["values"].push_back({{"name", Utf8(name)}, {"type", value.type}, {"data", value.data}});
            if (!options.json)
                std::cout << Line(name, value);
        } catch (const Failure& failure) {
            std::cerr << "kivctl: " << failure.what() << "\n";
            SetExitCode(kExitFailed);  // the others are shown all the same
        }
    }
    if (options.json)
        std::cout << answer.dump(2) << "\n";
}

void Get(const Options& options) {
    CKivRegKey key = Open(options, KEY_READ);
    const RegistryValue value = ReadValue(key, options.name);
    if (options.json)
        std::cout << Json{{"type", value.type}, {"data", value.data}}.dump() << "\n";
    else
        std::cout << value.text << "\n";
}

void Set(const Options& options) {
    const RegistryData data = ParseData(options.type, options.data);
    CKivRegKey key(Machine(options), nullptr);
    if (!key.create(options.key.c_str(), Access(options, KEY_SET_VALUE | KEY_QUERY_VALUE)))
        throw Failure("'" + options.key + "' cannot be created: " + ErrorText(key.getLastError()));
    WriteValue(key, options.name, data);
}

void DeleteValue(const Options& options) {
    CKivRegKey key = Open(options, KEY_SET_VALUE | KEY_QUERY_VALUE);
    CKivRegValue value = key[options.value->c_str()];
    if (!value.remove())
        throw Failure("value '" + *options.value + "' was not deleted: " + ErrorText(value.getLastError()));
}

// Through its parent, on whatever machine both are.
void DeleteKey(const Options& options) {
    CKivRegKey key = Open(options, KEY_READ);
    if (!options.recursive && key.countKeys() > 0)
        throw Failure("'" + options.key + "' has subkeys; --recursive deletes them too");
    std::string parentPath(options.key.size() + 1, '\0');
    key.getParentKey(parentPath.data());
    const std::string name = key.getName();
    if (name.empty() || parentPath.front() == '\0')
        throw UsageError("'" + options.key + "' names no key below a root");
    const unsigned long access = Access(options, KEY_ALL_ACCESS);
    CKivRegKey parent(Machine(options), nullptr);
    if (!parent.open(parentPath.c_str(), access))
        throw Failure("the parent of '" + options.key + "' cannot be opened: " + ErrorText(parent.getLastError()));
    CKivRegKey::iteratorKeys it(parent.getWksta(), parent.getKey(), name.c_str(), access);
    parent.erase(it);
    if (parent.getLastError() != ERROR_SUCCESS)
        throw Failure("'" + options.key + "' was not deleted whole: " + ErrorText(parent.getLastError()));
}

void Delete(const Options& options) {
    if (options.value)
        DeleteValue(options);
    else
        DeleteKey(options);
}

// One key of a tree and, as far down as is wanted, what is below it.
Json Branch(CKivRegKey& key, const std::string& name, int level, const Options& options) {
    Json branch{{"name", Utf8(name)}};
    const std::string indent(static_cast<std::size_t>(level) * 2, ' ');
    if (static_cast<HKEY>(key) == nullptr) {
        branch["error"] = key.getLastError();
        if (!options.json)
            std::cout << indent << name << ": " << ErrorText(key.getLastError()) << "\n";
        SetExitCode(kExitFailed);
        return branch;
    }
    branch["values"] = key.countValues();
    if (!options.json)
        std::cout << indent << name << "\n";
    if (level == options.depth)
        return branch;
    branch["subkeys"] = Json::array();
    const CKivRegKey::iterator end = key.end();
    for (CKivRegKey::iteratorKeys it = key.beginKeys(); it != end; ++it) {
        CKivRegKey subkey = *it;
        branch["subkeys"].push_back(Branch(subkey, it.getName(), level + 1, options));
    }
    return branch;
}

void Tree(const Options& options) {
    CKivRegKey key = Open(options, KEY_READ);
    const Json tree = Branch(key, key.getKey(), 0, options);
    if (options.json)
        std::cout << tree.dump(2) << "\n";
}

Command AddKeyCommand(Command reg, const char* name, const char* help, const SharedOptions& options,
                      void (*run)(const Options&)) {
    Command command = reg.AddCommand(name, help, options, run);
    command.AddOption("KEY", options->key, "such as HKLM\\Software\\TAV").Required();
    command.AddOption("--machine", options->machine, "the computer (default: this one)");
    command.AddOption("--view", options->view, "32 or 64: which view of the registry (default: the program's)")
        .OneOf({32, 64});
    return command;
}

void AddJsonFlag(Command command, const SharedOptions& options) {
    command.AddFlag("--json", options->json, "answer as JSON");
}

}  // namespace

void AddRegCommand(Command program) {
    const auto options = std::make_shared<Options>();
    Command reg = program.AddGroup("reg", "Shows, writes and deletes registry keys and values.");
    AddJsonFlag(AddKeyCommand(reg, "list", "Shows the subkeys and values of a key.", options, List), options);

    Command get = AddKeyCommand(reg, "get", "Shows a value.", options, Get);
    get.AddOption("NAME", options->name, "the value (default: the key's default value)");
    AddJsonFlag(get, options);

    Command set = AddKeyCommand(reg, "set", "Writes a value, making the key when it is missing.", options, Set);
    set.AddOption("NAME", options->name, "the value; \"\" is the key's default value").Required();
    set.AddOption("DATA", options->data,
                  "a text; a number, decimal or 0x...; the items of a list; bytes as hexadecimal digits");
    set.AddOption("--type", options->type, "sz, dword, expand, multi or binary").ShowDefault().OneOf(kWritableTypes);

    Command erase = AddKeyCommand(reg, "delete", "Deletes a key, or one of its values. Asks nothing.", options, Delete);
    erase.AddOption("--value", options->value, "the value, instead of the key; \"\" is the default value");
    erase.AddFlag("--recursive", options->recursive, "also a key that has subkeys, with everything below it");

    Command tree = AddKeyCommand(reg, "tree", "Shows the keys below a key.", options, Tree);
    options->depth = kDeepestTree;
    tree.AddOption("--depth", options->depth, "how far down").ShowDefault().InRange(0, kDeepestTree);
    AddJsonFlag(tree, options);
}

}  // namespace kivctl
