#include "tavkivlg/line_layout.h"

namespace kivlg {
namespace {

constexpr char kDelete = '\x7F';

bool IsControl(char c) noexcept {
    return static_cast<unsigned char>(c) < ' ' || c == kDelete;
}

// One word: what would end it early is replaced.
void AppendWord(TextBuffer& out, const char* word) noexcept {
    if (*word == '\0')
        out.Append('-');
    for (; *word != '\0'; ++word)
        out.Append(IsControl(*word) || *word == ' ' ? '_' : *word);
}

void AppendHead(TextBuffer& out, const LineHead& head) noexcept {
    const struct {
        std::uint32_t number;
        std::size_t digits;
        char end;
    } fields[] = {
        {head.year, 4, '-'},        {head.month, 2, '-'},   {head.day, 2, ' '},
        {head.hour, 2, ':'},        {head.minute, 2, ':'},  {head.second, 2, '.'},
        {head.millisecond, 3, ' '}, {head.process, 1, ' '}, {head.thread, 1, ' '},
    };
    for (const auto& field : fields) {
        out.AppendNumber(field.number, field.digits);
        out.Append(field.end);
    }
    AppendWord(out, head.component);
    out.Append(' ');
    out.AppendNumber(head.level);
    out.Append(IsControl(head.kind) || head.kind == ' ' ? '-' : head.kind);
    out.Append(' ');
}

void AppendControl(TextBuffer& out, char c) noexcept {
    constexpr const char* kHexDigits = "0123456789ABCDEF";
    switch (c) {
    case '\t':
        out.Append(c);
        return;
    case '\n':
        out.Append("\\n");
        return;
    case '\r':
        out.Append("\\r");
        return;
    default:
        out.Append("\\x");
        out.Append(kHexDigits[static_cast<unsigned char>(c) >> 4]);
        out.Append(kHexDigits[c & 0xF]);
    }
}

}  // namespace

void AppendLine(TextBuffer& out, const LineHead& head, std::string_view text) noexcept {
    AppendHead(out, head);
    while (!text.empty() && (text.back() == '\r' || text.back() == '\n'))
        text.remove_suffix(1);
    std::size_t plain = 0;  // where the run without control characters began
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (!IsControl(text[at]))
            continue;
        out.Append(text.substr(plain, at - plain));
        AppendControl(out, text[at]);
        plain = at + 1;
    }
    out.Append(text.substr(plain));
    out.Append("\r\n");
}

}  // namespace kivlg
