#include "security/acl_text.h"

#include <charconv>
#include <cstring>
#include <iterator>

#include "security/acl_layout.h"
#include "security/sid_text.h"
#include "support/ascii.h"

namespace kiv {
namespace {

constexpr std::uint32_t kGenericRead = 0x80000000;

void AppendNumber(std::string& text, std::uint32_t number, int base) {
    char digits[10];
    text.append(digits, std::to_chars(digits, std::end(digits), number, base).ptr);
}

void AppendSid(std::string& text, const std::uint8_t* sid) {
    char buffer[SidTextSize(kSidSubAuthorityLimit)];
    text.append(buffer, WriteSidText(sid, buffer));
}

// A cursor over the numbers of an entry, which reads as the C run-time's formatted input does.
class NumberScan {
public:
    explicit NumberScan(const char* text) noexcept : m_at(text) {}

    // "%i": the prefix tells the base. False, when no number stands here.
    bool ReadInteger(std::uint32_t& number) noexcept {
        const bool negative = SkipBlanksAndSign();
        if (SkipHexPrefix())
            return ReadDigits(16, negative, number);
        return ReadDigits(*m_at == '0' ? 8 : 10, negative, number);
    }

    // "%x": the prefix may be there.
    bool ReadHex(std::uint32_t& number) noexcept {
        const bool negative = SkipBlanksAndSign();
        SkipHexPrefix();
        return ReadDigits(16, negative, number);
    }

    bool Skip(const char* literal) noexcept {
        const std::size_t length = std::strlen(literal);
        if (std::strncmp(m_at, literal, length) != 0)
            return false;
        m_at += length;
        return true;
    }

private:
    bool SkipBlanksAndSign() noexcept {
        while (IsBlank(*m_at))
            ++m_at;
        const bool negative = *m_at == '-';
        if (negative || *m_at == '+')
            ++m_at;
        return negative;
    }

    bool SkipHexPrefix() noexcept {
        if (m_at[0] != '0' || ToLower(m_at[1]) != 'x')
            return false;
        m_at += 2;
        return true;
    }

    bool ReadDigits(unsigned base, bool negative, std::uint32_t& number) noexcept {
        std::uint32_t value = 0;
        const char* const begin = m_at;
        for (; IsHexDigit(*m_at) && HexDigitValue(*m_at) < base; ++m_at)
            value = value * base + HexDigitValue(*m_at);
        if (m_at == begin)
            return false;
        number = negative ? 0 - value : value;
        return true;
    }

    const char* m_at;
};

// Reads "type-flags-0xmask" as far as it goes.
void ReadNumbers(const char* text, AclTextEntry& entry) noexcept {
    NumberScan scan(text);
    std::uint32_t number;
    if (!scan.ReadInteger(number))
        return;
    entry.type = static_cast<std::uint8_t>(number);
    if (!scan.Skip("-") || !scan.ReadInteger(number))
        return;
    entry.flags = static_cast<std::uint8_t>(number);
    if (scan.Skip("-0x") && scan.ReadHex(number))
        entry.mask = number;
}

// Ends a text where the character stands and gives what follows it; null when there is none.
char* CutAt(char* text, char character) noexcept {
    char* const found = std::strchr(text, character);
    if (found == nullptr)
        return nullptr;
    *found = '\0';
    return found + 1;
}

}  // namespace

std::string WriteAclText(const std::uint8_t* list) {
    std::string text;
    text.reserve(2 * AclSize(list));  // enough for SIDs of usual numbers
    AceWalk walk(list);
    while (walk.Next()) {
        const AceView ace = walk.Entry();
        text += text.empty() ? "{" : "-{";
        AppendNumber(text, ace.Type(), 10);
        text += '-';
        AppendNumber(text, ace.Flags(), 10);
        text += "-0x";
        AppendNumber(text, ace.Mask(), 16);
        text += "-[";
        if (ace.Sid() != nullptr)
            AppendSid(text, ace.Sid());
        text += "]}";
    }
    return text;
}

bool AclTextReader::Next(AclTextEntry& entry) noexcept {
    if (m_at == nullptr || *m_at != '{')
        return false;
    char* const numbers = m_at + 1;
    char* const rest = CutAt(numbers, '}');
    m_at = nullptr;
    if (rest == nullptr)
        return false;
    if (*rest == '-')
        m_at = rest + 1;
    char* sid = CutAt(numbers, '[');
    if (sid != nullptr && CutAt(sid, ']') == nullptr)
        sid = nullptr;
    entry = {0, 0, kGenericRead, sid};
    ReadNumbers(numbers, entry);
    return true;
}

}  // namespace kiv
