#include <algorithm>
#include <cstring>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "support/windows_api.h"

#include "kivctl/command.h"
#include "kivctl/text_lines.h"
#include "support/text_convert.h"
#include "tavkivut/line_file.h"

namespace kivctl {
namespace {

struct Options {
    std::string file;
    long line = 0;
    long count = -1;
    std::string text;
    std::string encoding;
    bool numbers = false;
    bool json = false;
};

using SharedOptions = std::shared_ptr<Options>;

constexpr std::string_view kMark = "\xFF\xFE";

std::wstring Wide(const std::string& text) {
    return kiv::WideFromAnsi(text);
}

// Also finds out that the file is there and can be read: opening it to write would make a new one.
bool IsLossless(const std::string& file) {
    const std::string bytes = ReadWholeFile(file);
    if (bytes.compare(0, kMark.size(), kMark) != 0)
        return bytes.find('\0') == std::string::npos;
    std::wstring text((bytes.size() - kMark.size()) / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), bytes.data() + kMark.size(), text.size() * sizeof(wchar_t));
    return bytes.size() % sizeof(wchar_t) == 0 && text.find(L'\0') == std::wstring::npos &&
           Wide(kiv::AnsiFromWide(text)) == text;
}

void Open(CKivIsamFile& opened, const std::string& file, bool readOnly,
          unsigned long encoding = CKivIsamFile::ENCODING_KEEP) {
    if (!opened.open(Wide(file).c_str(), readOnly, encoding)) {
        const DWORD error = ::GetLastError();
        throw Failure("'" + file + "' cannot be opened: " + ErrorText(error));
    }
}

// A file to be edited. One that would lose something by being rewritten stays as it is.
void OpenToEdit(CKivIsamFile& opened, const std::string& file, unsigned long encoding = CKivIsamFile::ENCODING_KEEP) {
    if (!IsLossless(file))
        throw Failure("'" + file +
                      "' holds zeros, or characters that the system code page lacks: writing it would lose them");
    Open(opened, file, false, encoding);
    if (!opened.can_write())
        throw Failure("'" + file + "' cannot be read whole");
}

std::string Line(CKivIsamFile& opened, long index) {
    std::vector<wchar_t> line(static_cast<std::size_t>(opened.get(index, nullptr, 0)) + 1);
    opened.get(index, line.data(), static_cast<long>(line.size()));
    return kiv::AnsiFromWide(line.data());
}

std::vector<std::string> AllLines(CKivIsamFile& opened) {
    std::vector<std::string> lines;
    for (long i = 0; i < opened.lines(); ++i)
        lines.push_back(Line(opened, i));
    return lines;
}

// The library tells in its log only whether a file was written, so it is read once more.
void Close(CKivIsamFile& opened, const std::string& file) {
    const std::vector<std::string> lines = AllLines(opened);
    const bool wide = opened.GetEncoding() == CKivIsamFile::ENCODING_UTF16;
    opened.close();
    CKivIsamFile written;
    Open(written, file, true);
    if (AllLines(written) != lines || (written.GetEncoding() == CKivIsamFile::ENCODING_UTF16) != wide)
        throw Failure("'" + file + "' was not written");
}

long IndexOf(const CKivIsamFile& opened, const Options& options) {
    if (options.line < 1 || options.line > opened.lines())
        throw Failure("'" + options.file + "' has no line " + std::to_string(options.line) + ", it has " +
                      std::to_string(opened.lines()));
    return options.line - 1;
}

void RequireOneLine(const std::string& text) {
    if (text.find_first_of("\r\n") != std::string::npos)
        throw UsageError("a line cannot hold a line break");
}

std::string NameOf(unsigned long encoding) {
    return encoding == CKivIsamFile::ENCODING_UTF16 ? "utf-16" : "ansi";
}

// --- actions ---------------------------------------------------------------------------------------------------------

void Show(const Options& options) {
    CKivIsamFile file;
    Open(file, options.file, true);
    const long first = std::max(options.line, 1L) - 1;
    const long rest = std::max(file.lines() - first, 0L);
    const long end = first + (options.count < 0 ? rest : std::min(rest, options.count));
    nlohmann::ordered_json lines = nlohmann::ordered_json::array();
    for (long i = first; i < end; ++i) {
        const std::string line = Line(file, i);
        if (options.json)
            lines.push_back(Utf8(line));
        else
            std::cout << (options.numbers ? std::to_string(i + 1) + ": " : "") << line << "\n";
    }
    if (options.json)
        std::cout << nlohmann::ordered_json{{"encoding", NameOf(file.GetEncoding())}, {"lines", lines}}.dump() << "\n";
}

void Set(const Options& options) {
    RequireOneLine(options.text);
    CKivIsamFile file;
    OpenToEdit(file, options.file);
    file.set(IndexOf(file, options), Wide(options.text).c_str());
    Close(file, options.file);
    std::cout << options.file << ": line " << options.line << " set\n";
}

void Append(const Options& options) {
    RequireOneLine(options.text);
    CKivIsamFile file;
    OpenToEdit(file, options.file);
    file.append(options.text.c_str());
    const long lines = file.lines();
    Close(file, options.file);
    std::cout << options.file << ": line " << lines << " appended\n";
}

void Remove(const Options& options) {
    CKivIsamFile file;
    OpenToEdit(file, options.file);
    file.remove(IndexOf(file, options));
    Close(file, options.file);
    std::cout << options.file << ": line " << options.line << " removed\n";
}

void Convert(const Options& options) {
    CKivIsamFile file;
    OpenToEdit(file, options.file,
               options.encoding == "ansi" ? CKivIsamFile::ENCODING_ANSI : CKivIsamFile::ENCODING_UTF16);
    Close(file, options.file);
    std::cout << options.file << ": now " << options.encoding << "\n";
}

Command AddAction(Command lines, const char* name, const char* help, const SharedOptions& options,
                  void (*run)(const Options&)) {
    Command command = lines.AddCommand(name, help, options, run);
    command.AddOption("FILE", options->file).Required();
    return command;
}

void AddLine(Command command, const SharedOptions& options) {
    command.AddOption("LINE", options->line, "its number, from 1").Required();
}

}  // namespace

void AddLinesCommand(Command program) {
    const auto options = std::make_shared<Options>();
    Command lines = program.AddGroup("lines", "Shows and edits text files by line.");
    Command show = AddAction(lines, "show", "Shows the lines.", options, Show);
    show.AddOption("--from", options->line, "the first line to show, from 1");
    show.AddOption("--count", options->count, "how many to show");
    show.AddFlag("--numbers", options->numbers, "put its number in front of each line");
    show.AddFlag("--json", options->json, "answer as JSON, with the encoding");
    Command set = AddAction(lines, "set", "Replaces a line.", options, Set);
    AddLine(set, options);
    set.AddOption("TEXT", options->text).Required();
    // One text only: of several, the command-line library would take "[Net]" for a list.
    AddAction(lines, "append", "Inserts a line at the end.", options, Append)
        .AddOption("TEXT", options->text)
        .Required();
    AddLine(AddAction(lines, "remove", "Removes a line.", options, Remove), options);
    AddAction(lines, "convert", "Rewrites the file in another encoding.", options, Convert)
        .AddOption("ENCODING", options->encoding, "ansi (the system code page) or utf-16")
        .Required()
        .OneOf({"ansi", "utf-16"});
}

}  // namespace kivctl
