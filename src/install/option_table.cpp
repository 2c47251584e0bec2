#include "install/option_table.h"

#include <optional>

#include "support/ascii.h"

namespace kiv {
namespace {

constexpr char kQuote = '"';

constexpr bool IsBlank(char c) noexcept {
    return c == ' ' || c == '\t';
}

// Takes the next token off the front of the line; empty at the line's end.
std::string_view TakeToken(std::string_view& line) noexcept {
    while (!line.empty() && IsBlank(line.front()))
        line.remove_prefix(1);
    bool inQuotes = false;
    std::size_t end = 0;
    for (; end < line.size() && (inQuotes || !IsBlank(line[end])); ++end) {
        if (line[end] == kQuote)
            inQuotes = !inQuotes;
    }
    const std::string_view token = line.substr(0, end);
    line.remove_prefix(end);
    return token;
}

// Where the first such character with an even number of quotes before it stands; npos when there is none.
std::size_t FindUnquoted(std::string_view token, char wanted) noexcept {
    bool inQuotes = false;
    for (std::size_t at = 0; at < token.size(); ++at) {
        if (token[at] == wanted && !inQuotes)
            return at;
        if (token[at] == kQuote)
            inQuotes = !inQuotes;
    }
    return std::string_view::npos;
}

std::string_view WithoutQuotes(std::string_view value) noexcept {
    if (value.size() == 1 && value.front() == kQuote)
        return {};
    if (value.size() >= 2 && value.front() == kQuote && value.back() == kQuote)
        return value.substr(1, value.size() - 2);
    return value;
}

std::optional<CommandLineOption> ParseOption(std::string_view token) {
    if (token.empty() || (token.front() != '/' && token.front() != '-'))
        return std::nullopt;
    token.remove_prefix(1);
    std::size_t separator = FindUnquoted(token, ':');
    if (separator == std::string_view::npos)
        separator = FindUnquoted(token, '=');
    if (separator == std::string_view::npos)
        return std::nullopt;
    const std::string_view value = WithoutQuotes(token.substr(separator + 1));
    if (value.empty())
        return std::nullopt;
    return CommandLineOption{std::string(token.substr(0, separator)), std::string(value)};
}

}  // namespace

std::vector<CommandLineOption> ParseOptions(std::string_view commandLine) {
    std::vector<CommandLineOption> options;
    TakeToken(commandLine);
    for (std::string_view token = TakeToken(commandLine); !token.empty(); token = TakeToken(commandLine)) {
        if (std::optional<CommandLineOption> option = ParseOption(token))
            options.push_back(std::move(*option));
    }
    return options;
}

const std::string* FindOption(const std::vector<CommandLineOption>& options, std::string_view name) noexcept {
    for (const CommandLineOption& option : options) {
        if (EqualsIgnoreCase(option.name, name))
            return &option.value;
    }
    return nullptr;
}

}  // namespace kiv
