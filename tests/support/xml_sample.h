#ifndef KIV_TESTS_SUPPORT_XML_SAMPLE_H
#define KIV_TESTS_SUPPORT_XML_SAMPLE_H

#include <string>
#include <vector>

#include "files/xml_layout.h"

namespace kiv::test {

// A document as the rules write it, put together item by item.
class XmlText {
public:
    void Begin(const std::string& name, const std::vector<const char*>& attributes = {}) {
        m_names.push_back(name);
        Put({XmlItemKind::kStartTag, name, attributes.data(), static_cast<unsigned>(attributes.size() / 2)}, 0);
    }
    void End() {
        Put({XmlItemKind::kEndTag, m_names.back()}, 0);
        m_names.pop_back();
    }
    void Data(const std::string& text) { Put({XmlItemKind::kData, text}, 0); }
    void CData(const std::string& text) { Put({XmlItemKind::kCData, text}, 0); }
    void Comment(const std::string& text) { Put({XmlItemKind::kComment, text}, 2); }

    std::size_t Depth() const { return m_names.size(); }
    std::string written;

private:
    void Put(const XmlItem& item, unsigned deeper) {
        m_position.depth = static_cast<unsigned>(m_names.size()) + deeper;
        AppendXmlItem(written, m_position, item, [](unsigned char) { return false; });
    }

    XmlPosition m_position;
    std::vector<std::string> m_names;
};

// The canonical form of a text, as independent programs write it, without any whitespace.
inline std::string CanonicalXmlText(const std::string& latin1, bool attribute = false) {
    std::string text;
    for (const char c : latin1) {
        const auto code = static_cast<unsigned char>(c);
        if (c == '&')
            text += "&amp;";
        else if (c == '<')
            text += "&lt;";
        else if (c == '>' && !attribute)
            text += "&gt;";
        else if (c == '"' && attribute)
            text += "&quot;";
        else if (code >= 0x80)
            text.append({static_cast<char>(0xC0 | code >> 6), static_cast<char>(0x80 | (code & 0x3F))});
        else if (c != ' ' && c != '\t' && c != '\r' && c != '\n')
            text += c;
    }
    return text;
}

// The same of a comment, which is written as it is.
inline std::string CanonicalXmlComment(const std::string& latin1) {
    std::string text;
    for (const char c : latin1)
        text += c == '&' || c == '<' || c == '>' ? std::string(1, c) : CanonicalXmlText(std::string(1, c));
    return text;
}

// A legal document that any bytes describe, and its canonical form without whitespace.
class XmlSample {
public:
    explicit XmlSample(const std::string& bytes) : m_bytes(bytes) {
        Begin();
        while (m_at < m_bytes.size())
            Add(Next() % 8);
        while (document.Depth() > 0)
            End();
    }

    XmlText document;
    std::string canonical;

private:
    unsigned Next() { return m_at < m_bytes.size() ? static_cast<unsigned char>(m_bytes[m_at++]) : 0; }

    // The next bytes without control characters and a forbidden one.
    std::string NextText(char forbidden = '\0') {
        std::string text;
        for (std::size_t left = Next() * (Next() % 4 == 0 ? 4 : 1) / 4; left > 0 && m_at < m_bytes.size(); --left) {
            const char c = static_cast<char>(Next());
            if (c != forbidden && (static_cast<unsigned char>(c) >= ' ' || c == '\t' || c == '\n' || c == '\r'))
                text += c;
        }
        return text;
    }

    void Add(unsigned what) {
        const std::string text = what < 5 ? NextText(what == 3 ? ']' : what == 4 ? '-' : '\0') : "";
        canonical += what < 4 ? CanonicalXmlText(text) : what == 4 ? "<!--" + CanonicalXmlComment(text) + "-->" : "";
        if (what < 3)
            document.Data(text);
        else if (what == 3)
            document.CData(text);
        else if (what == 4)
            document.Comment(text);
        else if (what < 7)
            Begin();
        else if (document.Depth() > 1)
            End();
    }

    void Begin() {
        const std::string name(1 + Next() % 3, static_cast<char>('a' + Next() % 26));
        const std::size_t count = Next() % 4;
        std::vector<std::string> values;
        std::vector<const char*> attributes;
        canonical += "<" + name;
        for (std::size_t i = 0; i < count; ++i)
            values.push_back(NextText());
        for (std::size_t i = 0; i < count; ++i) {
            attributes.insert(attributes.end(), {kAttributeNames[i], values[i].c_str()});
            canonical += kAttributeNames[i] + ("=\"" + CanonicalXmlText(values[i], true) + "\"");
        }
        document.Begin(name, attributes);
        canonical += ">";
        m_names.push_back(name);
    }

    void End() {
        document.End();
        canonical += "</" + m_names.back() + ">";
        m_names.pop_back();
    }

    static constexpr const char* kAttributeNames[] = {"a", "b-2", "c"};
    std::string m_bytes;
    std::size_t m_at = 0;
    std::vector<std::string> m_names;
};

}  // namespace kiv::test

#endif
