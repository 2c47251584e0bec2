// Bytes that describe a document: what the rules write is read by a small reader of its own and must mean the same.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "support/xml_sample.h"

namespace {

using kiv::test::CanonicalXmlText;

void Require(bool condition) {
    if (!condition)
        std::abort();
}

std::string Unescaped(std::string_view text) {
    static constexpr struct {
        std::string_view entity;
        char character;
    } kEntities[] = {{"&amp;", '&'},     {"&lt;", '<'},      {"&gt;", '>'},      {"&apos;", '\''},   {"&quot;", '"'},
                     {"&reg;", '\xAE'},  {"&copy;", '\xA9'}, {"&Auml;", '\xC4'}, {"&auml;", '\xE4'}, {"&Ouml;", '\xD6'},
                     {"&ouml;", '\xF6'}, {"&Uuml;", '\xDC'}, {"&uuml;", '\xFC'}, {"&szlig;", '\xDF'}};
    std::string plain;
    while (!text.empty()) {
        std::size_t used = 0;
        for (const auto& known : kEntities) {
            if (text.substr(0, known.entity.size()) == known.entity) {
                plain += known.character;
                used = known.entity.size();
            }
        }
        Require(used > 0 || text[0] != '&');
        if (used == 0)
            plain += text[0];
        text.remove_prefix(used == 0 ? 1 : used);
    }
    return plain;
}

class Reader {
public:
    explicit Reader(std::string_view document) : m_rest(document) {}

    std::string Canonical() {
        std::string form;
        while (!m_rest.empty()) {
            if (Skip("<!--"))
                form += "<!--" + kiv::test::CanonicalXmlComment(std::string(Until("-->"))) + "-->";
            else if (Skip("<![CDATA["))
                form += CanonicalXmlText(std::string(Until("]]>")));
            else if (Skip("</"))
                form += "</" + std::string(Until(">")) + ">";
            else if (Skip("<"))
                form += StartTag();
            else
                form += CanonicalXmlText(Unescaped(Take(m_rest.find('<'))));
        }
        return form;
    }

private:
    std::string StartTag() {
        const std::string name(Take(m_rest.find_first_of(" >")));
        std::string tag = "<" + name;
        while (!Skip(">")) {
            if (Skip(" />"))
                return tag + "></" + name + ">";
            Require(Skip(" "));
            tag += std::string(Until("=\""));
            tag += "=\"" + CanonicalXmlText(Unescaped(Until("\"")), true) + "\"";
        }
        return tag + ">";
    }

    bool Skip(std::string_view text) {
        if (m_rest.substr(0, text.size()) != text)
            return false;
        m_rest.remove_prefix(text.size());
        return true;
    }

    std::string_view Until(std::string_view end) {
        const std::string_view text = Take(m_rest.find(end));
        Require(Skip(end));
        return text;
    }

    std::string_view Take(std::size_t size) {
        const std::string_view text = m_rest.substr(0, size);
        m_rest.remove_prefix(text.size());
        return text;
    }

    std::string_view m_rest;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    const kiv::test::XmlSample sample(bytes);
    Require(Reader(sample.document.written).Canonical() == sample.canonical);
    std::string escaped;
    kiv::AppendXmlEscaped(escaped, bytes, [](unsigned char byte) { return byte >= 0x81; });
    Require(escaped.size() >= bytes.size());
    return 0;
}
