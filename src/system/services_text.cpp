#include "system/services_text.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "support/ascii.h"
#include "support/heap_text.h"
#include "support/line_walk.h"

namespace kiv {
namespace {

constexpr std::string_view kBlanks = " \t";
constexpr std::string_view kLineEnd = "\r\n";

// The gaps between the columns.
constexpr std::size_t kPortGap = 5;
constexpr std::size_t kAliasGap = 4;
constexpr std::size_t kCommentGap = 6;
constexpr std::size_t kSpareRoom = 32;

using PortDigits = char[std::numeric_limits<long>::digits10 + 2];

constexpr long kFirstListRoom = 64;
constexpr std::int64_t kMostPort = std::numeric_limits<std::int32_t>::max();

// Takes the next word and the blanks in front of it off; empty at the end.
std::string_view TakeWord(std::string_view& text) noexcept {
    text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    const std::string_view word = text.substr(0, text.find_first_of(kBlanks));
    text.remove_prefix(word.size());
    return word;
}

// As the C run-time reads a number (blanks, a sign, digits up to anything else; 0 without a digit), but within what
// an entry can have: its smallest number stands for no port.
long PortFromText(std::string_view text) noexcept {
    text.remove_prefix(std::min(text.find_first_not_of(" \t\v\f"), text.size()));
    const bool negative = text.substr(0, 1) == "-";
    if (negative || text.substr(0, 1) == "+")
        text.remove_prefix(1);
    std::int64_t number = 0;
    for (; !text.empty() && IsDigit(text[0]); text.remove_prefix(1))
        number = std::min(10 * number + (text[0] - '0'), kMostPort);
    return static_cast<long>(negative ? -number : number);
}

// "port/protocol", without its end, and the aliases behind it.
bool ParsePortAndAliases(std::string_view text, NETSERVICE& entry) noexcept {
    const std::size_t slash = text.find('/');
    entry.port = PortFromText(text.substr(0, slash));
    text.remove_prefix(slash + 1);
    const std::string_view protocol = text.substr(0, text.find_first_of(kBlanks));
    text.remove_prefix(protocol.size());
    entry.protocol = DuplicateText(protocol.data(), protocol.size());
    bool done = entry.protocol != nullptr;
    for (std::string_view alias = TakeWord(text); done && !alias.empty(); alias = TakeWord(text))
        done = AddServiceAlias(entry, alias);
    return done;
}

bool IsService(const NETSERVICE& entry) noexcept {
    return entry.name != nullptr && entry.protocol != nullptr && entry.port != NETSERVICE_NO_PORT;
}

std::string_view PortText(long port, PortDigits& digits) noexcept {
    const char* end = std::to_chars(digits, digits + sizeof digits, port).ptr;
    return {digits, static_cast<std::size_t>(end - digits)};
}

std::size_t PortLength(const NETSERVICE& entry) noexcept {
    PortDigits digits;
    return PortText(entry.port, digits).size() + 1 + std::strlen(entry.protocol);
}

std::size_t AliasLength(const NETSERVICE& entry) noexcept {
    std::size_t length = entry.aliasCount > 0 ? static_cast<std::size_t>(entry.aliasCount - 1) : 0;
    for (int i = 0; i < entry.aliasCount; ++i)
        length += std::strlen(entry.aliases[i]);
    return length;
}

void Widen(unsigned long& width, std::size_t length) noexcept {
    width = std::max(width, static_cast<unsigned long>(length));
}

// A line that is filled from left to right; blanks only where something follows.
class LineWriter {
public:
    explicit LineWriter(char* line) noexcept : m_line(line) {}

    std::size_t Length() const noexcept { return m_length; }

    void Put(std::size_t column, std::string_view text) noexcept {
        if (text.empty())
            return;
        std::memset(m_line + m_length, ' ', column - m_length);
        std::memcpy(m_line + column, text.data(), text.size());
        m_length = column + text.size();
    }

private:
    char* m_line;
    std::size_t m_length = 0;
};

}  // namespace

NETSERVICE* MakeServiceEntry() noexcept {
    auto* entry = static_cast<NETSERVICE*>(std::calloc(1, sizeof(NETSERVICE)));
    if (entry != nullptr)
        entry->port = NETSERVICE_NO_PORT;
    return entry;
}

void FreeServiceAliases(NETSERVICE& entry) noexcept {
    for (int i = 0; i < entry.aliasCount; ++i)
        std::free(entry.aliases[i]);
    std::free(entry.aliases);
    entry.aliases = nullptr;
    entry.aliasCount = 0;
}

void FreeServiceEntry(NETSERVICE* entry) noexcept {
    if (entry == nullptr)
        return;
    FreeServiceAliases(*entry);
    std::free(entry->name);
    std::free(entry->protocol);
    std::free(entry->comment);
    std::free(entry);
}

bool AddServiceAlias(NETSERVICE& entry, std::string_view alias) noexcept {
    const auto count = static_cast<std::size_t>(entry.aliasCount);
    char* copy = DuplicateText(alias.data(), alias.size());
    // Room doubles, so that a line of nothing but aliases takes no quadratic time.
    void* grown = entry.aliases;
    if (copy != nullptr && (count & (count - 1)) == 0)
        grown = std::realloc(entry.aliases, std::max<std::size_t>(2 * count, 1) * sizeof *entry.aliases);
    if (copy == nullptr || grown == nullptr) {
        std::free(copy);
        return false;
    }
    entry.aliases = static_cast<char**>(grown);
    entry.aliases[entry.aliasCount++] = copy;
    return true;
}

bool AddServiceEntry(NETSERVICELIST& list, NETSERVICE* entry) noexcept {
    if (list.count == list.room) {
        const long room = list.room == 0 ? kFirstListRoom : 2 * list.room;
        void* grown = std::realloc(list.entries, static_cast<std::size_t>(room) * sizeof(void*));
        if (grown == nullptr)
            return false;
        list.entries = static_cast<NETSERVICE**>(grown);
        list.room = room;
    }
    list.entries[list.count++] = entry;
    return true;
}

NETSERVICE* ParseServiceLine(std::string_view line) noexcept {
    NETSERVICE* entry = MakeServiceEntry();
    if (entry == nullptr)
        return nullptr;
    line = line.substr(0, line.find('\0'));
    const std::size_t mark = line.find('#');
    bool done = true;
    if (mark != std::string_view::npos) {
        entry->comment = DuplicateText(line.data() + mark + 1, line.size() - mark - 1);
        done = entry->comment != nullptr;
        line = line.substr(0, mark);
    }
    const std::string_view name = TakeWord(line);
    line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
    // A blank in front of the "/" spoils the line; a tab does not.
    const std::size_t slash = line.find('/');
    if (done && slash != std::string_view::npos && line.find(' ') > slash) {
        entry->name = DuplicateText(name.data(), name.size());
        done = entry->name != nullptr && ParsePortAndAliases(line, *entry);
    }
    if (done)
        return entry;
    FreeServiceEntry(entry);
    return nullptr;
}

void ParseServices(std::string_view contents, NETSERVICELIST& list) noexcept {
    LineWalk<char> walk(contents);
    for (std::string_view line; walk.Next(line);) {
        NETSERVICE* entry = ParseServiceLine(line);
        if (entry != nullptr && !AddServiceEntry(list, entry))
            FreeServiceEntry(entry);
    }
}

NETSERVICEWIDTHS MeasureServices(const NETSERVICELIST& list) noexcept {
    NETSERVICEWIDTHS widths{};
    for (long i = 0; i < list.count; ++i) {
        const NETSERVICE& entry = *list.entries[i];
        const std::size_t comment = entry.comment == nullptr ? 0 : std::strlen(entry.comment);
        Widen(widths.longestComment, comment);
        if (!IsService(entry))
            continue;
        Widen(widths.name, std::strlen(entry.name));
        Widen(widths.port, PortLength(entry));
        Widen(widths.aliases, AliasLength(entry));
        Widen(widths.comment, comment);
    }
    return widths;
}

std::size_t ServiceLineRoom(const NETSERVICEWIDTHS& widths) noexcept {
    const std::size_t service =
        std::size_t{widths.name} + widths.port + widths.aliases + widths.comment + kPortGap + kAliasGap + kCommentGap;
    return std::max<std::size_t>(widths.longestComment, service) + kSpareRoom;
}

std::size_t FormatService(const NETSERVICE& entry, const NETSERVICEWIDTHS& widths, char* line) noexcept {
    LineWriter writer(line);
    std::size_t commentColumn = 0;
    if (IsService(entry)) {
        PortDigits digits;
        const std::size_t portEnd = widths.name + kPortGap + widths.port;
        writer.Put(0, entry.name);
        writer.Put(portEnd - PortLength(entry), PortText(entry.port, digits));
        writer.Put(writer.Length(), "/");
        writer.Put(writer.Length(), entry.protocol);
        std::size_t column = portEnd + kAliasGap;
        for (int i = 0; i < entry.aliasCount; ++i) {
            const std::string_view alias = entry.aliases[i];
            writer.Put(column, alias);
            column += alias.size() + 1;
        }
        commentColumn = portEnd + kAliasGap + widths.aliases + kCommentGap;
    }
    if (entry.comment != nullptr) {
        writer.Put(commentColumn, "#");
        writer.Put(writer.Length(), entry.comment);
    }
    return writer.Length();
}

bool FormatServices(const NETSERVICELIST& list, HeapBuffer<char>& contents) noexcept {
    const NETSERVICEWIDTHS widths = MeasureServices(list);
    const std::size_t room = ServiceLineRoom(widths);
    for (long i = 0; i < list.count; ++i) {
        if (!contents.Reserve(room))
            return false;
        const std::size_t length = FormatService(*list.entries[i], widths, contents.Data() + contents.Size());
        contents.SetSize(contents.Size() + length);
        if (!contents.Append(kLineEnd))
            return false;
    }
    return true;
}

}  // namespace kiv
