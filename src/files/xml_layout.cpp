#include "files/xml_layout.h"

#include <array>
#include <cstddef>

namespace kiv {
namespace {

constexpr const char* kLineEnd = "\r\n";
constexpr std::size_t kLongestInline = 260;  // bytes of escaped text

struct Entity {
    unsigned char character;
    std::string_view text;
};

constexpr Entity kEntities[] = {
    {0x26, "&amp;"},  {0x3C, "&lt;"},   {0x3E, "&gt;"},   {0x27, "&apos;"},  {0x22, "&quot;"},
    {0xAE, "&reg;"},  {0xA9, "&copy;"}, {0xC4, "&Auml;"}, {0xE4, "&auml;"},  {0xD6, "&Ouml;"},
    {0xF6, "&ouml;"}, {0xDC, "&Uuml;"}, {0xFC, "&uuml;"}, {0xDF, "&szlig;"},
};

constexpr const char* kDocumentType = " <!DOCTYPE database [\r\n"
                                      "\t<!ENTITY copy          \"&#169;\">\r\n"
                                      "\t<!ENTITY reg           \"&#174;\">\r\n"
                                      "\t<!ENTITY Auml          \"&#196;\">\r\n"
                                      "\t<!ENTITY auml          \"&#228;\">\r\n"
                                      "\t<!ENTITY Ouml          \"&#214;\">\r\n"
                                      "\t<!ENTITY ouml          \"&#246;\">\r\n"
                                      "\t<!ENTITY Uuml          \"&#220;\">\r\n"
                                      "\t<!ENTITY uuml          \"&#252;\">\r\n"
                                      "\t<!ENTITY szlig         \"&#223;\">\r\n"
                                      " ]>\r\n";

// The entity of each byte; empty for one that is written as it is.
constexpr std::array<std::string_view, 256> EntityTable() {
    std::array<std::string_view, 256> table{};
    for (const Entity& entity : kEntities)
        table[entity.character] = entity.text;
    return table;
}

constexpr std::array<std::string_view, 256> kEntityOf = EntityTable();

// Hands over, in order, the pieces that escaped text is put together from.
template <class Sink>
void ForEachEscapedPart(std::string_view text, LeadByteTest isLead, const Sink& sink) {
    std::size_t start = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const auto byte = static_cast<unsigned char>(text[at]);
        if (byte > 0x7F && isLead(byte)) {
            ++at;
        } else if (!kEntityOf[byte].empty()) {
            sink(text.substr(start, at - start));
            sink(kEntityOf[byte]);
            start = at + 1;
        }
    }
    sink(text.substr(start));
}

bool FitsOnLine(const XmlItem& item, LeadByteTest isLead) {
    if (item.text.size() > kLongestInline || item.text.find('\n') != std::string_view::npos)
        return false;
    if (item.kind == XmlItemKind::kCData)
        return true;
    std::size_t length = 0;
    ForEachEscapedPart(item.text, isLead, [&length](std::string_view part) { length += part.size(); });
    return length <= kLongestInline;
}

bool IsData(const XmlItem& item) {
    return item.kind == XmlItemKind::kData || item.kind == XmlItemKind::kCData;
}

void AppendLines(std::string& out, std::string_view text, unsigned tabs) {
    for (std::size_t end = 0; (end = text.find('\n')) != std::string_view::npos; text.remove_prefix(end + 1)) {
        out.append(text.substr(0, end)).append(kLineEnd);
        out.append(tabs, '\t');
    }
    out.append(text);
}

void AppendData(std::string& out, const XmlItem& item, unsigned depth, LeadByteTest isLead) {
    if (item.kind == XmlItemKind::kCData)
        AppendLines(out, item.text, depth + 1);
    else
        ForEachEscapedPart(item.text, isLead,
                           [&out, depth](std::string_view part) { AppendLines(out, part, depth + 1); });
}

void AppendAttributes(std::string& out, const XmlItem& item, LeadByteTest isLead) {
    const char* const* pair = item.attributes;
    for (unsigned i = 0; i < item.attributeCount; ++i, pair += 2) {
        out.append(1, ' ').append(pair[0]).append("=\"");
        AppendXmlEscaped(out, pair[1], isLead);
        out.append(1, '"');
    }
}

const char* Opening(XmlItemKind kind) {
    switch (kind) {
    case XmlItemKind::kStartTag:
        return "<";
    case XmlItemKind::kEndTag:
        return "</";
    case XmlItemKind::kCData:
        return "<![CDATA[";
    case XmlItemKind::kComment:
        return "<!--";
    case XmlItemKind::kInstruction:
        return "<?";
    default:
        return "";
    }
}

const char* Closing(XmlItemKind kind) {
    switch (kind) {
    case XmlItemKind::kEndTag:
        return ">";
    case XmlItemKind::kCData:
        return "]]>";
    case XmlItemKind::kComment:
        return "-->";
    case XmlItemKind::kInstruction:
        return "?>";
    default:
        return "";
    }
}

// Closes a start tag that is still open; an element that has nothing in it is ended with it.
// Returns whether the item is done, being that element's end.
bool CloseOpenTag(std::string& out, XmlPosition& position, const XmlItem& item, bool onLine) {
    if (position.openTag == kNoOpenTag)
        return false;
    const bool sameLevel = position.openTag == static_cast<int>(position.depth);
    position.openTag = kNoOpenTag;
    out.append(sameLevel && !IsData(item) ? " />" : ">");
    if (onLine)
        return false;
    out.append(kLineEnd);
    position.inlineText = false;
    return sameLevel && item.kind == XmlItemKind::kEndTag;
}

}  // namespace

void AppendXmlEscaped(std::string& out, std::string_view text, LeadByteTest isLead) {
    ForEachEscapedPart(text, isLead, [&out](std::string_view part) { out.append(part); });
}

void AppendXmlItem(std::string& out, XmlPosition& position, const XmlItem& item, LeadByteTest isLead) {
    const bool onLine = position.inlineText && IsData(item) && FitsOnLine(item, isLead);
    if (CloseOpenTag(out, position, item, onLine))
        return;
    if (!onLine) {
        out.append(position.inlineText ? 0 : position.depth, '\t');
        position.inlineText = false;
    }
    out.append(Opening(item.kind));
    if (IsData(item)) {
        out.append(onLine ? 0 : 1, ' ');
        AppendData(out, item, position.depth, isLead);
    } else {
        out.append(item.text);
        AppendAttributes(out, item, isLead);
    }
    out.append(Closing(item.kind));
    if (item.kind == XmlItemKind::kStartTag) {
        position.openTag = static_cast<int>(position.depth);
        position.inlineText = item.attributeCount == 0;
    } else if (!onLine) {
        out.append(kLineEnd);
    }
}

void AppendXmlPrologue(std::string& out, XmlPosition& position, LeadByteTest isLead) {
    static constexpr const char* kDeclaration[] = {"version", "1.0", "encoding", "ISO-8859-1"};
    AppendXmlItem(out, position, {XmlItemKind::kInstruction, "xml", kDeclaration, 2}, isLead);
    out.append(kDocumentType);
    AppendXmlItem(out, position, {XmlItemKind::kData, ""}, isLead);
}

}  // namespace kiv
