// Bytes that describe a document: the layout adds nothing but white space to its parts.

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "files/xml_layout.h"

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

// The document with its layout, and without any.
class Twins {
public:
    void Begin(const std::string& name, unsigned attributes) {
        const char* const pair[] = {"a", name.c_str()};
        names.push_back(name);
        Put({kiv::XmlItemKind::kStartTag, name, pair, attributes},
            "<" + name + (attributes == 0 ? "" : " a=\"" + Escaped(name) + "\"") + ">");
        m_empty = true;
    }
    void Put(const kiv::XmlItem& item, const std::string& form) {
        m_position.depth = static_cast<unsigned>(names.size()) + (item.kind == kiv::XmlItemKind::kComment ? 2 : 0);
        kiv::AppendXmlItem(written, m_position, item, NoLeadByte);
        plain += form;
        m_empty = false;
    }
    void End() {
        const std::string name = names.back();
        plain.resize(plain.size() - (m_empty ? 1 : 0));
        Put({kiv::XmlItemKind::kEndTag, name}, m_empty ? "/>" : "</" + name + ">");
        names.pop_back();
    }

    std::string written;
    std::string plain;
    std::vector<std::string> names;  // of the open elements

private:
    kiv::XmlPosition m_position;
    bool m_empty = false;
};

}  // namespace

// Items end with a byte that tells what they are: 1 and 2 begin an element, without and with an attribute, 3 to 5 are
// data, CDATA and a comment, 6 ends the element.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    Require(Escaped(bytes).find_first_of("<>'\"") == std::string::npos);
    Twins twins;
    for (std::size_t start = 0, end = 0; (end = bytes.find_first_of("\1\2\3\4\5\6", start)) != std::string::npos;
         start = end + 1) {
        const std::string text = std::string(bytes, start, end - start).c_str();
        if (bytes[end] <= 2)
            twins.Begin(text, bytes[end] - 1U);
        else if (bytes[end] == 3)
            twins.Put({kiv::XmlItemKind::kData, text}, Escaped(text));
        else if (bytes[end] == 4)
            twins.Put({kiv::XmlItemKind::kCData, text}, "<![CDATA[" + text + "]]>");
        else if (bytes[end] == 5)
            twins.Put({kiv::XmlItemKind::kComment, text}, "<!--" + text + "-->");
        else if (!twins.names.empty())
            twins.End();
    }
    while (!twins.names.empty())
        twins.End();
    Require(WithoutBlanks(twins.written) == WithoutBlanks(twins.plain));
    return 0;
}
