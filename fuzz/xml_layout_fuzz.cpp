// Bytes that describe a document: the layout adds nothing but white space to its parts.

#include "files/xml_layout.h"

#include <cstring>
#include <vector>

#include "require.h"

namespace {

bool NoLeadByte(unsigned char) {
    return false;
}

std::string Escaped(const std::string& text) {
    std::string escaped;
    kiv::AppendXmlEscaped(escaped, text, NoLeadByte);
    return escaped;
}

std::string WithoutBlanks(const std::string& text) {
    std::string rest;
    for (const char c : text)
        rest.append(std::strchr(" \t\r\n", c) == nullptr ? 1 : 0, c);
    return rest;
}

}  // namespace

// Items end with a byte that tells what they are: 1 and 2 begin an element, without and with an attribute, 3 to 5 are
// data, CDATA and a comment, 6 ends the element.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    Require(Escaped(bytes).find_first_of("<>'\"") == std::string::npos);
    kiv::XmlPosition position;
    std::vector<std::string> open;
    bool isTagOpen = false;  // the next item closes it
    const auto put = [&](const kiv::XmlItem& item, const std::string& form) {
        std::string written;
        position.depth = static_cast<unsigned>(open.size()) + (item.kind == kiv::XmlItemKind::kComment ? 2 : 0);
        kiv::AppendXmlItem(written, position, item, NoLeadByte);
        const bool closes = isTagOpen && item.kind != kiv::XmlItemKind::kEndTag;
        Require(WithoutBlanks(written) == (closes ? ">" : "") + WithoutBlanks(form));
        isTagOpen = item.kind == kiv::XmlItemKind::kStartTag;
    };
    for (std::size_t start = 0, end = 0; (end = bytes.find_first_of("\1\2\3\4\5\6", start)) != std::string::npos;
         start = end + 1) {
        const std::string text = std::string(bytes, start, end - start).c_str();
        const char* const pair[] = {"a", text.c_str()};
        if (bytes[end] <= 2)
            open.push_back(text);
        if (bytes[end] == 1)
            put({kiv::XmlItemKind::kStartTag, text}, "<" + text);
        else if (bytes[end] == 2)
            put({kiv::XmlItemKind::kStartTag, text, pair, 1}, "<" + text + " a=\"" + Escaped(text) + "\"");
        else if (bytes[end] == 3)
            put({kiv::XmlItemKind::kData, text}, Escaped(text));
        else if (bytes[end] == 4)
            put({kiv::XmlItemKind::kCData, text}, "<![CDATA[" + text + "]]>");
        else if (bytes[end] == 5)
            put({kiv::XmlItemKind::kComment, text}, "<!--" + text + "-->");
        else if (!open.empty()) {
            put({kiv::XmlItemKind::kEndTag, open.back()}, isTagOpen ? "/>" : "</" + open.back() + ">");
            open.pop_back();
        }
    }
    return 0;
}
