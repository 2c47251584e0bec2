#include <algorithm>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "support/windows_api.h"

#include "kivctl/command.h"
#include "kivctl/text_lines.h"
#include "support/ascii.h"
#include "support/line_walk.h"
#include "tavkivut/net_services.h"

namespace kivctl {
namespace {

struct Options {
    std::string name;
    std::string service;  // "21/tcp"
    std::string protocol;
    std::string comment;
    std::vector<std::string> aliases;
    bool force = false;
    bool dryRun = false;
    bool json = false;
};

using SharedOptions = std::shared_ptr<Options>;
using Json = nlohmann::ordered_json;

struct PortAndProtocol {
    long port;
    std::string protocol;
};

bool IsService(const NETSERVICE& entry) {
    return entry.name != nullptr && entry.protocol != nullptr && entry.port != NETSERVICE_NO_PORT;
}

// The services file: its entries, its lines as they stand and as they would be written.
class ServicesFile : public CKivNetServiceConfig {
public:
    // Throws Failure when there is a file that cannot be read: the library takes it for an empty one.
    ServicesFile() : m_entries(Entries()) {
        if (m_entries.empty() && ::GetFileAttributesA(getFileName()) == INVALID_FILE_ATTRIBUTES)
            return;
        const std::string contents = ReadWholeFile(getFileName());
        kiv::LineWalk<char> walk(contents);
        for (std::string_view line; walk.Next(line);)
            m_lines.emplace_back(line);
        if (m_lines.size() != m_entries.size())
            throw Failure(std::string("'") + getFileName() + "' was not read whole");
    }

    std::vector<NETSERVICE*> Entries() {
        std::vector<NETSERVICE*> entries;
        for (long i = 0; NETSERVICE* entry = at(i); ++i)
            entries.push_back(entry);
        return entries;
    }

    const std::vector<std::string>& Lines() const { return m_lines; }

    // Whether writing the file would lose more of the line than blanks.
    bool IsLost(std::size_t index) const {
        const std::string_view line = m_lines[index];
        return !IsService(*m_entries[index]) && line.substr(0, line.find('#')).find_first_not_of(" \t") < line.size();
    }

    // Prints "- " and each line that goes or changes, "+ " and each that comes or has changed.
    void PrintDifference() {
        std::vector<NETSERVICE*> entries = Entries();
        const std::vector<std::string> written = WrittenLines(entries);
        std::size_t next = 0;
        for (std::size_t i = 0; i < m_entries.size(); ++i) {
            const bool stays = next < entries.size() && entries[next] == m_entries[i];
            if (!stays || written[next] != m_lines[i])
                std::cout << "- " << m_lines[i] << "\n";
            if (stays && written[next] != m_lines[i])
                std::cout << "+ " << written[next] << "\n";
            next += stays ? 1 : 0;
        }
        for (; next < entries.size(); ++next)
            std::cout << "+ " << written[next] << "\n";
    }

private:
    static std::vector<std::string> WrittenLines(std::vector<NETSERVICE*>& entries) {
        const auto count = static_cast<long>(entries.size());
        NETSERVICEWIDTHS widths{};
        getPrettyPrinterInfo({entries.data(), count, count}, widths);
        const unsigned long service = widths.name + widths.port + widths.aliases + widths.comment + 15;
        std::vector<char> line(std::max(widths.longestComment, service) + 32);
        std::vector<std::string> lines;
        lines.reserve(entries.size());
        for (const NETSERVICE* entry : entries)
            lines.emplace_back(line.data(), createServiceConfigEntry(entry, widths, line.data()));
        return lines;
    }

    std::vector<NETSERVICE*> m_entries;  // as they were loaded
    std::vector<std::string> m_lines;
};

// "21/tcp"; false for anything else.
bool ReadService(const std::string& text, PortAndProtocol& service) {
    const std::size_t slash = text.find('/');
    const bool number = slash != std::string::npos && slash > 0 && slash < 6 &&
                        std::all_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(slash), kiv::IsDigit);
    service.port = number ? std::stol(text) : -1;
    service.protocol = number ? text.substr(slash + 1) : "";
    return service.port >= 0 && service.port <= 65535 && !service.protocol.empty();
}

void RequireWord(const std::string& text, const char* what) {
    if (text.empty() || text.find_first_of(" \t\r\n#/") != std::string::npos)
        throw UsageError(std::string(what) + " is one word, without \"#\" and \"/\"");
}

std::string Shown(const NETSERVICE& entry) {
    std::string shown = std::string(entry.name) + " " + std::to_string(entry.port) + "/" + entry.protocol;
    for (int i = 0; i < entry.aliasCount; ++i)
        shown += std::string(" ") + entry.aliases[i];
    return entry.comment == nullptr ? shown : shown + " #" + entry.comment;
}

Json AsJson(const NETSERVICE& entry) {
    Json aliases = Json::array();
    for (int i = 0; i < entry.aliasCount; ++i)
        aliases.push_back(Utf8(entry.aliases[i]));
    Json shown{
        {"name", Utf8(entry.name)}, {"port", entry.port}, {"protocol", Utf8(entry.protocol)}, {"aliases", aliases}};
    if (entry.comment != nullptr)
        shown["comment"] = Utf8(entry.comment);
    return shown;
}

// --- questions -------------------------------------------------------------------------------------------------------

void List(const Options& options) {
    ServicesFile file;
    Json all = Json::array();
    for (const NETSERVICE* entry : file.Entries()) {
        if (!IsService(*entry))
            continue;
        all.push_back(AsJson(*entry));
        if (!options.json)
            std::cout << Shown(*entry) << "\n";
    }
    if (options.json)
        std::cout << all.dump() << "\n";
}

void Find(const Options& options) {
    ServicesFile file;
    PortAndProtocol wanted;
    const NETSERVICE* found = ReadService(options.service, wanted) ? file.find(wanted.port, wanted.protocol.c_str())
                                                                   : file.find(options.service.c_str());
    SetExitCode(found != nullptr ? kExitDone : kExitFailed);
    if (options.json)
        std::cout << (found == nullptr ? Json() : AsJson(*found)).dump() << "\n";
    else if (found != nullptr)
        std::cout << Shown(*found) << "\n";
}

// What is wrong with an entry, in view of those before it; "" for nothing.
std::string Finding(const ServicesFile& file, const std::vector<NETSERVICE*>& entries, std::size_t index,
                    std::map<std::string, std::size_t>& known) {
    const NETSERVICE& entry = *entries[index];
    if (file.IsLost(index))
        return "is no service and would be lost: " + file.Lines()[index];
    if (!IsService(entry))
        return "";
    if (entry.port < 0 || entry.port > 65535)
        return "has a port out of range: " + Shown(entry);
    std::string name = std::string(entry.name) + "/" + entry.protocol;
    std::transform(name.begin(), name.end(), name.begin(), kiv::ToLower);
    const auto [first, isNew] = known.emplace(name, index + 1);
    return isNew ? "" : "has the service of line " + std::to_string(first->second) + " again: " + Shown(entry);
}

void Check(const Options& options) {
    ServicesFile file;
    const std::vector<NETSERVICE*> entries = file.Entries();
    std::map<std::string, std::size_t> known;
    Json all = Json::array();
    for (std::size_t i = 0; i < entries.size(); ++i) {
        const std::string finding = Finding(file, entries, i, known);
        if (finding.empty())
            continue;
        all.push_back({{"line", i + 1}, {"finding", Utf8(finding)}});
        if (!options.json)
            std::cout << "line " << i + 1 << " " << finding << "\n";
    }
    SetExitCode(all.empty() ? kExitDone : kExitFailed);
    if (options.json)
        std::cout << all.dump() << "\n";
    else if (all.empty())
        std::cout << known.size() << " services, nothing wrong\n";
}

// --- changes ---------------------------------------------------------------------------------------------------------

void RequireNothingLost(const ServicesFile& file, const Options& options) {
    for (std::size_t i = 0; i < file.Lines().size() && !options.force; ++i) {
        if (file.IsLost(i))
            throw Failure("line " + std::to_string(i + 1) + " would be lost (" + file.Lines()[i] +
                          "): services-file check tells more, --force accepts it");
    }
}

void Save(ServicesFile& file, const Options& options, const std::string& done) {
    if (options.dryRun) {
        file.PrintDifference();
        return;
    }
    if (!file.save()) {
        const DWORD error = ::GetLastError();
        throw Failure(std::string("'") + CKivNetServiceConfig::getFileName() +
                      "' was not written: " + ErrorText(error));
    }
    std::cout << done << "\n";
}

// Whether the entry is a service with this name, and this protocol unless it is empty.
bool Has(const NETSERVICE& entry, const std::string& name, const std::string& protocol) {
    return IsService(entry) && kiv::EqualsIgnoreCase(entry.name, name) &&
           (protocol.empty() || kiv::EqualsIgnoreCase(entry.protocol, protocol));
}

void Add(const Options& options) {
    PortAndProtocol service;
    if (!ReadService(options.service, service))
        throw UsageError("'" + options.service + "' is no port and protocol, as 21/tcp");
    RequireWord(options.name, "a name");
    RequireWord(service.protocol, "a protocol");
    for (const std::string& alias : options.aliases)
        RequireWord(alias, "an alias");
    if (options.comment.find_first_of("\r\n") != std::string::npos)
        throw UsageError("a comment cannot hold a line break");
    ServicesFile file;
    RequireNothingLost(file, options);
    for (const NETSERVICE* entry : file.Entries()) {
        if (Has(*entry, options.name, service.protocol))
            throw Failure("it is there already: " + Shown(*entry));
    }
    NETSERVICE* added = file.append(options.name.c_str(), service.port, service.protocol.c_str());
    if (added == nullptr)
        throw Failure("out of memory");
    for (const std::string& alias : options.aliases)
        CKivNetServiceConfig::addAlias(added, alias.c_str());
    if (!options.comment.empty())
        CKivNetServiceConfig::setComment(added, (" " + options.comment).c_str());
    Save(file, options, "added: " + Shown(*added));
}

void Remove(const Options& options) {
    ServicesFile file;
    RequireNothingLost(file, options);
    std::string done;
    for (NETSERVICE* entry : file.Entries()) {
        if (!Has(*entry, options.name, options.protocol))
            continue;
        done += (done.empty() ? "removed: " : "\nremoved: ") + Shown(*entry);
        file.remove(&entry);
    }
    if (done.empty())
        throw Failure("no service '" + options.name + "'");
    Save(file, options, done);
}

Command AddQuestion(Command services, const char* name, const char* help, const SharedOptions& options,
                    void (*run)(const Options&)) {
    Command command = services.AddCommand(name, help, options, run);
    command.AddFlag("--json", options->json, "answer as JSON");
    return command;
}

Command AddChange(Command services, const char* name, const char* help, const SharedOptions& options,
                  void (*run)(const Options&)) {
    Command command = services.AddCommand(name, help, options, run);
    command.AddOption("NAME", options->name).Required();
    command.AddFlag("--dry-run", options->dryRun, "only show which lines would change");
    command.AddFlag("--force", options->force, "also where lines that are no services are lost");
    return command;
}

}  // namespace

void AddServicesFileCommand(Command program) {
    const auto options = std::make_shared<Options>();
    Command services = program.AddGroup("services-file", "Shows and edits the system's TCP/IP services file.");
    AddQuestion(services, "list", "Shows all services.", options, List);
    AddQuestion(services, "find", "Shows a service; exit code 1 when there is none.", options, Find)
        .AddOption("SERVICE", options->service, "a name, or a port and protocol as 21/tcp")
        .Required();
    AddQuestion(services, "check", "Looks for lines that are wrong; exit code 1 when there are.", options, Check);
    Command add = AddChange(services, "add", "Adds a service at the end.", options, Add);
    add.AddOption("SERVICE", options->service, "port and protocol, as 21/tcp").Required();
    add.AddOption("--alias", options->aliases, "another name; may be given again");
    add.AddOption("--comment", options->comment);
    AddChange(services, "remove", "Removes a service, for every protocol.", options, Remove)
        .AddOption("--protocol", options->protocol, "only for this one");
}

}  // namespace kivctl
