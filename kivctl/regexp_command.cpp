#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "kivctl/command.h"
#include "kivctl/text_lines.h"
#include "tavkivut/reg_exp.h"

namespace kivctl {
namespace {

struct Options {
    std::string pattern;
    std::string text;
    std::string replacement = "&";
    std::vector<std::string> files;
    bool countOnly = false;
    bool dryRun = false;
    bool json = false;
};

using SharedOptions = std::shared_ptr<Options>;
using Json = nlohmann::ordered_json;

void Compile(CRegExp& compiled, const Options& options) {
    if (compiled.RegComp(options.pattern.c_str()) == nullptr)
        throw UsageError("'" + options.pattern + "' is no regular expression of at most 255 characters");
}

std::string Replacement(CRegExp& compiled, const std::string& replacement) {
    std::vector<char> text(compiled.GetReplaceString(replacement.c_str(), nullptr, 0));
    if (text.empty())
        throw Failure("the replacement text would be too long");
    compiled.GetReplaceString(replacement.c_str(), text.data(), static_cast<unsigned>(text.size()));
    return text.data();
}

// Whether the pattern has a "^" that means the start of the text.
bool HasTextStart(const std::string& pattern) {
    for (std::size_t at = 0; at < pattern.size(); ++at) {
        if (pattern[at] == '^')
            return true;
        if (pattern[at] == '\\')
            ++at;
        else if (pattern[at] == '[')
            at = pattern.find(']', at + (pattern[at + 1] == '^' ? 3 : 2));
    }
    return false;
}

// The matches of a line from left to right, none inside another. An empty one does not count directly behind another
// match. What lies behind a match is searched as a text of its own, so that "^" would match there: patterns with it are
// taken once a line.
template <class Found>
void ForEachMatch(CRegExp& compiled, bool onlyOne, const std::string& line, const Found& found) {
    std::size_t behindLast = std::string::npos;
    for (std::size_t from = 0; from <= line.size();) {
        const int offset = compiled.RegFind(line.c_str() + from);
        if (offset < 0)
            return;
        const std::size_t start = from + static_cast<std::size_t>(offset);
        const auto length = static_cast<std::size_t>(compiled.GetFindLen());
        from = length == 0 ? start + 1 : start + length;
        if (length == 0 && start == behindLast)
            continue;
        behindLast = start + length;
        found(start, length);
        if (onlyOne)
            return;
    }
}

// --- match -----------------------------------------------------------------------------------------------------------

void Match(const Options& options) {
    CRegExp compiled;
    Compile(compiled, options);
    const int offset = compiled.RegFind(options.text.c_str());
    if (offset < 0) {
        SetExitCode(kExitFailed);
        if (options.json)
            std::cout << "null\n";
        return;
    }
    if (!options.json) {
        std::cout << offset << " " << compiled.GetFindLen() << " " << Replacement(compiled, options.replacement)
                  << "\n";
        return;
    }
    Json groups = Json::array();
    for (char group = '1'; group <= '9'; ++group)
        groups.push_back(Utf8(Replacement(compiled, std::string("\\") + group)));
    const Json answer{{"offset", offset},
                      {"length", compiled.GetFindLen()},
                      {"text", Utf8(Replacement(compiled, options.replacement))},
                      {"groups", groups}};
    std::cout << answer.dump() << "\n";
}

// --- find ------------------------------------------------------------------------------------------------------------

struct Place {
    std::size_t line;
    std::size_t column;  // in bytes, from 1
    std::string text;
};

std::vector<Place> FindAll(CRegExp& compiled, const Options& options, const std::string& file) {
    std::vector<Place> places;
    const bool onlyOne = HasTextStart(options.pattern);
    std::size_t number = 0;
    for (const TextLine& line : SplitLines(ReadTextFile(file))) {
        ++number;
        ForEachMatch(compiled, onlyOne, line.text, [&](std::size_t start, std::size_t length) {
            places.push_back({number, start + 1, line.text.substr(start, length)});
        });
    }
    return places;
}

void Find(const Options& options) {
    CRegExp compiled;
    Compile(compiled, options);
    Json all = Json::array();
    std::size_t count = 0;
    for (const std::string& file : options.files) {
        const std::vector<Place> places = FindAll(compiled, options, file);
        count += places.size();
        if (options.countOnly)
            all.push_back({{"file", Utf8(file)}, {"count", places.size()}});
        if (options.countOnly && !options.json)
            std::cout << file << ": " << places.size() << "\n";
        for (const Place& place : options.countOnly ? std::vector<Place>() : places) {
            all.push_back(
                {{"file", Utf8(file)}, {"line", place.line}, {"column", place.column}, {"text", Utf8(place.text)}});
            if (!options.json)
                std::cout << file << ":" << place.line << ":" << place.column << ": " << place.text << "\n";
        }
    }
    if (options.json)
        std::cout << all.dump() << "\n";
    SetExitCode(count != 0 ? kExitDone : kExitFailed);
}

// --- replace ---------------------------------------------------------------------------------------------------------

// The line with every match replaced.
std::string ReplacedLine(CRegExp& compiled, const Options& options, const std::string& line, std::size_t& count) {
    std::string replaced;
    std::size_t kept = 0;
    ForEachMatch(compiled, HasTextStart(options.pattern), line, [&](std::size_t start, std::size_t length) {
        replaced.append(line, kept, start - kept);
        replaced += Replacement(compiled, options.replacement);
        kept = start + length;
        ++count;
    });
    return replaced.append(line, kept, std::string::npos);
}

std::size_t ReplaceInFile(CRegExp& compiled, const Options& options, const std::string& file) {
    const std::string content = ReadTextFile(file);
    std::string replaced;
    std::size_t count = 0;
    std::size_t number = 0;
    for (const TextLine& line : SplitLines(content)) {
        ++number;
        const std::size_t before = count;
        const std::string changed = ReplacedLine(compiled, options, line.text, count);
        replaced += changed + line.end;
        if (options.dryRun && !options.json && count != before)
            std::cout << file << ":" << number << ": " << changed << "\n";
    }
    if (!options.dryRun && replaced != content)
        RewriteTextFile(file, content, replaced);
    return count;
}

void Replace(const Options& options) {
    CRegExp compiled;
    Compile(compiled, options);
    Json all = Json::array();
    for (const std::string& file : options.files) {
        const std::size_t count = ReplaceInFile(compiled, options, file);
        all.push_back({{"file", Utf8(file)}, {"replaced", count}});
        if (!options.json)
            std::cout << file << ": " << count << (options.dryRun ? " would be replaced" : " replaced") << "\n";
    }
    if (options.json)
        std::cout << all.dump() << "\n";
}

Command AddAction(Command regexp, const char* name, const char* help, const SharedOptions& options,
                  void (*run)(const Options&)) {
    Command command = regexp.AddCommand(name, help, options, run);
    command.AddOption("PATTERN", options->pattern, "a regular expression").Required();
    command.AddFlag("--json", options->json, "answer as JSON");
    return command;
}

}  // namespace

void AddRegexpCommand(Command program) {
    const auto options = std::make_shared<Options>();
    Command regexp = program.AddGroup("regexp", "Finds and replaces by regular expression.");
    Command match = AddAction(
        regexp, "match", "Shows offset, length and text of the first match; exit code 1 without one.", options, Match);
    match.AddOption("TEXT", options->text).Required();
    match.AddOption("--replacement", options->replacement, "shown for the match, with & and \\1 to \\9");
    Command find =
        AddAction(regexp, "find", "Shows every match in the lines of files; exit code 1 without one.", options, Find);
    find.AddOption("FILE", options->files).Required();
    find.AddFlag("--count", options->countOnly, "only how many there are in each file");
    Command replace = AddAction(regexp, "replace", "Replaces every match in the lines of files.", options, Replace);
    replace.AddOption("REPLACEMENT", options->replacement, "with & for the match, \\1 to \\9 for its groups")
        .Required();
    replace.AddOption("FILE", options->files).Required();
    replace.AddFlag("--dry-run", options->dryRun, "only show the lines that would change");
}

}  // namespace kivctl
