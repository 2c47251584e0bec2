#include <cstdio>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "support/windows_api.h"

#include "kivctl/cab_create.h"
#include "kivctl/command.h"
#include "kivctl/long_work.h"
#include "support/ascii.h"
#include "tavkivut/cabinet.h"

namespace kivctl {
namespace {

struct Options {
    std::string cabinet;
    std::vector<std::string> sources;
    std::string folder;
    std::string name;
    bool json = false;
};

using SharedOptions = std::shared_ptr<Options>;
using Json = nlohmann::ordered_json;

constexpr unsigned kNotOpened = 0xFFFFFFFF;

struct Entry {
    std::string name;
    unsigned long size;
    unsigned date;
    unsigned time;
    unsigned attributes;
};

// An open cabinet. Neither this program nor a failed Open closes it: that would delete files beside it.
class Cabinet : private CKivCabArchive {
public:
    int Close() noexcept override { return 1; }

    explicit Cabinet(const std::string& path) : m_path(path) {
        if (Open(FullPath(path).c_str()) == kNotOpened || EnumEntries(Keep, this) != 1)
            Fail("cannot be read");
    }

    const std::vector<Entry>& Entries() const { return m_entries; }

    bool Holds(const std::string& name) const {
        for (const Entry& entry : m_entries) {
            if (kiv::EqualsIgnoreCase(entry.name, name))
                return true;
        }
        return false;
    }

    // Unpacks all files, or the one of that name, into a folder; without a folder they are only checked.
    void Unpack(const std::string& folder, const std::string& name) {
        std::uint64_t total = 0;
        for (const Entry& entry : m_entries)
            total += entry.size;
        LongWork work(folder.empty() ? "tested" : "extracted", total);
        SetProgress(OnUnpacked, &work);
        tagExtractHandlerInfo info{};
        info.destination = folder.c_str();
        info.filter = name.empty() ? nullptr : name.c_str();
        info.discard = folder.empty() ? 1 : 0;
        info.afterExtract = Unpacked;
        info.context = &work;
        if (ExtractImpl(&info) == 1)
            return;
        if (LongWork::IsInterrupted())
            throw Failure("interrupted");
        Fail(folder.empty() ? "is not sound" : "cannot be extracted");
    }

private:
    static int Keep(const KIV_ARCHIVE_ENTRY* entry, void* context) {
        static_cast<Cabinet*>(context)->m_entries.push_back(
            {entry->name, entry->size, entry->date, entry->time, entry->attributes});
        return 1;
    }

    static int OnUnpacked(unsigned long bytes, unsigned long, void* context) {
        return static_cast<LongWork*>(context)->Advance(bytes) ? 1 : 0;
    }

    static int Unpacked(const char*, void* context) { return static_cast<LongWork*>(context)->Advance(0) ? 1 : 0; }

    [[noreturn]] void Fail(const char* what) const {
        throw Failure("'" + m_path + "' " + what + ": " + CabinetError(*this, CabinetSide::kReading));
    }

    std::string m_path;
    std::vector<Entry> m_entries;
};

std::string Files(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " file" : " files");
}

// The date and time of DOS, local.
std::string TimeText(const Entry& entry) {
    char text[32];
    std::snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u:%02u", 1980 + (entry.date >> 9), entry.date >> 5 & 15,
                  entry.date & 31, entry.time >> 11, entry.time >> 5 & 63, (entry.time & 31) * 2);
    return text;
}

struct AttributeName {
    unsigned bit;
    char letter;
    const char* name;
};
constexpr AttributeName kAttributes[] = {{FILE_ATTRIBUTE_READONLY, 'r', "readOnly"},
                                         {FILE_ATTRIBUTE_HIDDEN, 'h', "hidden"},
                                         {FILE_ATTRIBUTE_SYSTEM, 's', "system"},
                                         {FILE_ATTRIBUTE_ARCHIVE, 'a', "archive"}};

std::string AttributeLetters(const Entry& entry) {
    std::string letters;
    for (const AttributeName& attribute : kAttributes)
        letters += (entry.attributes & attribute.bit) != 0 ? attribute.letter : '-';
    return letters;
}

Json AsJson(const Entry& entry) {
    Json attributes = Json::array();
    for (const AttributeName& attribute : kAttributes) {
        if ((entry.attributes & attribute.bit) != 0)
            attributes.push_back(attribute.name);
    }
    return {
        {"name", Utf8(entry.name)}, {"size", entry.size}, {"modified", TimeText(entry)}, {"attributes", attributes}};
}

void Create(const Options& options) {
    const CabinetContent content = CreateCabinet(options.cabinet, options.sources);
    std::cout << options.cabinet << ": " << Files(content.files) << ", " << content.bytes << " bytes stored\n";
}

void List(const Options& options) {
    const Cabinet cabinet(options.cabinet);
    Json answer = Json::array();
    for (const Entry& entry : cabinet.Entries()) {
        answer.push_back(AsJson(entry));
        if (!options.json)
            std::printf("%10lu  %s  %s  %s\n", entry.size, TimeText(entry).c_str(), AttributeLetters(entry).c_str(),
                        entry.name.c_str());
    }
    if (options.json)
        std::printf("%s\n", answer.dump().c_str());
}

void Extract(const Options& options) {
    Cabinet cabinet(options.cabinet);
    if (!options.name.empty() && !cabinet.Holds(options.name))
        throw Failure("'" + options.cabinet + "' holds no '" + options.name + "'");
    cabinet.Unpack(FullPath(options.folder), options.name);
    std::cout << options.folder << ": " << Files(options.name.empty() ? cabinet.Entries().size() : 1) << " extracted\n";
}

void Test(const Options& options) {
    Cabinet cabinet(options.cabinet);
    cabinet.Unpack("", "");
    std::cout << options.cabinet << ": " << Files(cabinet.Entries().size()) << ", all sound\n";
}

Command AddAction(Command cab, const char* name, const char* help, const SharedOptions& options,
                  void (*action)(const Options&)) {
    Command command = cab.AddCommand(name, help, options, action);
    command.AddOption("CABINET", options->cabinet).Required();
    return command;
}

}  // namespace

void AddCabCommand(Command program) {
    const auto options = std::make_shared<Options>();
    Command cab = program.AddGroup("cab", "Makes, lists, tests and extracts cabinets.");
    Command create = AddAction(
        cab, "create", "Makes a cabinet of files, under their names, and of what is below folders.", options, Create);
    create.AddOption("SOURCE", options->sources, "files and folders").Required();
    AddAction(cab, "list", "Shows what a cabinet holds.", options, List)
        .AddFlag("--json", options->json, "answer as JSON");
    Command extract = AddAction(
        cab, "extract", "Extracts all files, or one, into a folder; existing ones are replaced.", options, Extract);
    extract.AddOption("FOLDER", options->folder, "made when it is missing").Required();
    extract.AddOption("NAME", options->name, "the only file to extract");
    AddAction(cab, "test", "Unpacks every file without writing it; exit code 1 unless all are sound.", options, Test);
}

}  // namespace kivctl
