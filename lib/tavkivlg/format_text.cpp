#include "tavkivlg/format_text.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "support/ascii.h"

namespace kivlg {
namespace {

// No number is wider. Texts may be padded to any width.
constexpr int kMostDigits = 500;
constexpr int kMostWidth = 0xFFFF;

enum class Size { kInt, kChar, kShort, kLong, kLongLong, kLongDouble, kPointer, kWide };

struct Conversion {
    char flags[6] = "";  // those of "-+ #0" that were given, once each
    int width = 0;
    int precision = -1;  // negative: none given
    Size size = Size::kInt;
    char type = '\0';

    bool Has(char flag) const noexcept { return std::strchr(flags, flag) != nullptr; }
    void Add(char flag) noexcept {
        if (!Has(flag))
            flags[std::strlen(flags)] = flag;
    }
};

struct SizePrefix {
    const char* text;
    Size size;
};
// The longer prefix of two that begin alike comes first.
constexpr SizePrefix kSizePrefixes[] = {
    {"I64", Size::kLongLong}, {"I32", Size::kInt},      {"I", Size::kPointer},
    {"ll", Size::kLongLong},  {"l", Size::kLong},       {"hh", Size::kChar},
    {"h", Size::kShort},      {"L", Size::kLongDouble}, {"w", Size::kWide},
};

class Formatter {
public:
    Formatter(TextBuffer& out, const char* format, va_list arguments, WideWriter writeWide) noexcept
        : m_out(out), m_at(format), m_writeWide(writeWide) {
        va_copy(m_arguments, arguments);
    }
    ~Formatter() { va_end(m_arguments); }
    Formatter(const Formatter&) = delete;
    Formatter& operator=(const Formatter&) = delete;

    void Run() noexcept {
        while (*m_at != '\0') {
            const std::size_t plain = std::strcspn(m_at, "%");
            m_out.Append({m_at, plain});
            m_at += plain;
            if (*m_at == '\0')
                return;
            const char* start = m_at;
            if (!Write(ReadConversion())) {
                m_out.Append(start);
                return;
            }
        }
    }

private:
    Conversion ReadConversion() noexcept {
        Conversion conversion;
        ++m_at;
        for (; *m_at != '\0' && std::strchr("-+ #0", *m_at) != nullptr; ++m_at)
            conversion.Add(*m_at);
        conversion.width = ReadNumber();
        if (conversion.width < 0) {
            conversion.Add('-');
            conversion.width = -conversion.width;
        }
        if (*m_at == '.') {
            ++m_at;
            conversion.precision = ReadNumber();
        }
        for (const SizePrefix& prefix : kSizePrefixes) {
            const std::size_t length = std::strlen(prefix.text);
            if (std::strncmp(m_at, prefix.text, length) == 0) {
                conversion.size = prefix.size;
                m_at += length;
                break;
            }
        }
        conversion.type = *m_at;
        if (*m_at != '\0')
            ++m_at;
        return conversion;
    }

    // Digits, "*" or nothing, which is 0.
    int ReadNumber() noexcept {
        if (*m_at == '*') {
            ++m_at;
            return std::clamp(va_arg(m_arguments, int), -kMostWidth, kMostWidth);
        }
        int number = 0;
        for (; kiv::IsDigit(*m_at); ++m_at)
            number = std::min(number * 10 + (*m_at - '0'), kMostWidth);
        return number;
    }

    // False: not a conversion.
    bool Write(const Conversion& conversion) noexcept {
        switch (conversion.type) {
        case 'd':
        case 'i':
            WriteNumber(conversion, "ll", SignedArgument(conversion.size));
            return true;
        case 'o':
        case 'u':
        case 'x':
        case 'X':
            WriteNumber(conversion, "ll", UnsignedArgument(conversion.size));
            return true;
        case 'e':
        case 'E':
        case 'f':
        case 'F':
        case 'g':
        case 'G':
        case 'a':
        case 'A':
            WriteNumber(conversion, "", DoubleArgument(conversion.size));
            return true;
        case 'c':
        case 'C':
            WriteCharacter(conversion);
            return true;
        case 's':
        case 'S':
            WriteText(conversion);
            return true;
        case 'p':
            WritePointer(conversion);
            return true;
        case 'n':
            va_arg(m_arguments, void*);
            return true;
        case '%':
            m_out.Append('%');
            return true;
        default:
            return false;
        }
    }

    std::int64_t SignedArgument(Size size) noexcept {
        switch (size) {
        case Size::kChar:
            return static_cast<signed char>(va_arg(m_arguments, int));
        case Size::kShort:
            return static_cast<short>(va_arg(m_arguments, int));
        case Size::kLong:
            return va_arg(m_arguments, long);
        case Size::kLongLong:
            return va_arg(m_arguments, long long);
        case Size::kPointer:
            return va_arg(m_arguments, std::ptrdiff_t);
        default:
            return va_arg(m_arguments, int);
        }
    }

    std::uint64_t UnsignedArgument(Size size) noexcept {
        switch (size) {
        case Size::kChar:
            return static_cast<unsigned char>(va_arg(m_arguments, unsigned));
        case Size::kShort:
            return static_cast<unsigned short>(va_arg(m_arguments, unsigned));
        case Size::kLong:
            return va_arg(m_arguments, unsigned long);
        case Size::kLongLong:
            return va_arg(m_arguments, unsigned long long);
        case Size::kPointer:
            return va_arg(m_arguments, std::size_t);
        default:
            return va_arg(m_arguments, unsigned);
        }
    }

    double DoubleArgument(Size size) noexcept {
        return size == Size::kLongDouble ? static_cast<double>(va_arg(m_arguments, long double))
                                         : va_arg(m_arguments, double);
    }

    // The C run-time formats one number at a time, with a format made anew from the parts.
    template <class Number>
    void WriteNumber(const Conversion& conversion, const char* size, Number number) noexcept {
        char format[16];
        std::snprintf(format, sizeof format, "%%%s*.*%s%c", conversion.flags, size, conversion.type);
        char text[1024];  // the largest double has 309 digits before its point
        const int length = std::snprintf(text, sizeof text, format, std::min(conversion.width, kMostDigits),
                                         std::min(conversion.precision, kMostDigits), number);
        if (length > 0)
            m_out.Append({text, std::min<std::size_t>(static_cast<std::size_t>(length), sizeof text - 1)});
    }

    void WritePointer(const Conversion& conversion) noexcept {
        char text[2 * sizeof(void*) + 1];
        const auto value = reinterpret_cast<std::uintptr_t>(va_arg(m_arguments, void*));
        std::snprintf(text, sizeof text, "%0*llX", static_cast<int>(2 * sizeof(void*)),
                      static_cast<unsigned long long>(value));
        Pad(conversion, sizeof text - 1, [&] { m_out.Append(text); });
    }

    void WriteCharacter(const Conversion& conversion) noexcept {
        const int code = va_arg(m_arguments, int);  // both kinds are passed as int
        const wchar_t wide = static_cast<wchar_t>(code);
        Pad(conversion, 1, [&] {
            if (IsWide(conversion))
                m_writeWide(m_out, &wide, 1);
            else
                m_out.Append(static_cast<char>(code));
        });
    }

    void WriteText(const Conversion& conversion) noexcept {
        if (IsWide(conversion)) {
            const wchar_t* text = va_arg(m_arguments, const wchar_t*);
            const std::size_t length = TextLength(text, conversion);
            if (text != nullptr) {
                Pad(conversion, length, [&] { m_writeWide(m_out, text, length); });
                return;
            }
        } else if (const char* text = va_arg(m_arguments, const char*)) {
            const std::size_t length = TextLength(text, conversion);
            Pad(conversion, length, [&] { m_out.Append({text, length}); });
            return;
        }
        m_out.Append("(null)");
    }

    static bool IsWide(const Conversion& conversion) noexcept {
        const bool capital = conversion.type == 'S' || conversion.type == 'C';
        return capital ? conversion.size != Size::kShort
                       : conversion.size == Size::kLong || conversion.size == Size::kWide;
    }

    // Up to the terminator or the precision: a text with a precision need not be terminated.
    template <class Character>
    static std::size_t TextLength(const Character* text, const Conversion& conversion) noexcept {
        const std::size_t most =
            conversion.precision < 0 ? static_cast<std::size_t>(-1) : static_cast<std::size_t>(conversion.precision);
        std::size_t length = 0;
        while (text != nullptr && length < most && text[length] != 0)
            ++length;
        return length;
    }

    template <class Writer>
    void Pad(const Conversion& conversion, std::size_t length, const Writer& write) noexcept {
        const auto width = static_cast<std::size_t>(conversion.width);
        const std::size_t padding = width > length ? width - length : 0;
        if (!conversion.Has('-'))
            m_out.Append(padding, ' ');
        write();
        if (conversion.Has('-'))
            m_out.Append(padding, ' ');
    }

    TextBuffer& m_out;
    const char* m_at;
    WideWriter m_writeWide;
    va_list m_arguments;
};

}  // namespace

void FormatText(TextBuffer& out, const char* format, va_list arguments, WideWriter writeWide) noexcept {
    Formatter(out, format, arguments, writeWide).Run();
}

}  // namespace kivlg
