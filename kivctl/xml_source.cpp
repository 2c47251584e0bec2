#include "kivctl/xml_source.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "kivctl/outcome.h"
#include "kivctl/text_lines.h"
#include "support/ascii.h"
#include "support/text_convert.h"

namespace kivctl {
namespace {

using Json = nlohmann::ordered_json;
using Kind = XmlNode::Kind;

constexpr std::size_t kDeepestLevel = 1000;
constexpr const char* kTooDeep = "elements are nested too deeply";

// --- Outlines

constexpr const char* kBlanks = " \t";

// A walk over the one line of an element.
class ElementLine {
public:
    explicit ElementLine(std::string_view rest) : m_rest(rest) {}

    XmlNode Read() {
        XmlNode element{Kind::kElement, std::string(Take(m_rest.find_first_of(" \t|"))), {}, {}};
        for (SkipBlanks(); !m_rest.empty() && m_rest[0] != '|'; SkipBlanks())
            element.attributes.push_back(ReadAttribute());
        if (!m_rest.empty())
            element.children.push_back({Kind::kData, AfterMark(m_rest), {}, {}});
        return element;
    }

    // What stands behind a mark and one blank.
    static std::string AfterMark(std::string_view text) {
        text.remove_prefix(text.size() > 1 && text[1] == ' ' ? 2 : 1);
        return std::string(text);
    }

private:
    std::pair<std::string, std::string> ReadAttribute() {
        const std::string name(Take(m_rest.find('=')));
        const std::string_view equalsAndQuote = Take(2);
        if (equalsAndQuote != "=\"" && equalsAndQuote != "='")
            throw Failure("attribute '" + name + "' needs =\"a value\"");
        const std::size_t end = m_rest.find(equalsAndQuote[1]);
        if (end == std::string_view::npos)
            throw Failure("the value of attribute '" + name + "' has no end");
        const std::string value(Take(end));
        Take(1);
        return {name, value};
    }

    void SkipBlanks() { m_rest.remove_prefix(std::min(m_rest.find_first_not_of(kBlanks), m_rest.size())); }

    std::string_view Take(std::size_t size) {
        const std::string_view text = m_rest.substr(0, size);
        m_rest.remove_prefix(text.size());
        return text;
    }

    std::string_view m_rest;
};

XmlNode ReadLine(std::string_view line) {
    switch (line[0]) {
    case '|':
        return {Kind::kData, ElementLine::AfterMark(line), {}, {}};
    case '!':
        return {Kind::kCData, ElementLine::AfterMark(line), {}, {}};
    case '#':
        return {Kind::kComment, ElementLine::AfterMark(line), {}, {}};
    default:
        return ElementLine(line).Read();
    }
}

// Puts lines where their indentation says. An element's children stand where they are until a line that is indented
// less, so the pointers to the open elements stay valid.
class OutlineReader {
public:
    void Add(std::string_view line) {
        const std::size_t indent = line.find_first_not_of(kBlanks);
        if (indent == std::string_view::npos)
            return;
        while (!m_open.empty() && m_open.back().indent >= indent)
            m_open.pop_back();
        if (m_open.size() > kDeepestLevel)
            throw Failure(kTooDeep);
        XmlNodes& siblings = m_open.empty() ? m_document : m_open.back().element->children;
        XmlNode node = ReadLine(line.substr(indent));
        const bool isText = node.kind == Kind::kData || node.kind == Kind::kCData;
        if (isText && m_text == indent && !siblings.empty() && siblings.back().kind == node.kind) {
            siblings.back().text += "\n" + node.text;
            return;
        }
        m_text = isText ? indent : std::string_view::npos;
        siblings.push_back(std::move(node));
        if (siblings.back().kind == Kind::kElement)
            m_open.push_back({indent, &siblings.back()});
    }

    XmlNodes Document() { return std::move(m_document); }

private:
    struct OpenElement {
        std::size_t indent;
        XmlNode* element;
    };

    XmlNodes m_document;
    std::vector<OpenElement> m_open;
    std::size_t m_text = std::string_view::npos;  // how far the text of the line before is indented
};

// --- JSON

std::string JsonText(const Json& value) {
    if (value.is_string())
        return value.get<std::string>();
    if (value.is_number() || value.is_boolean())
        return value.dump();
    throw Failure("where a text is due there is " + value.dump());
}

XmlNode JsonNode(const Json& value, std::size_t level) {
    if (level > kDeepestLevel)
        throw Failure(kTooDeep);
    if (!value.is_object())
        return {Kind::kData, JsonText(value), {}, {}};
    if (value.size() == 1 && value.contains("cdata"))
        return {Kind::kCData, JsonText(value["cdata"]), {}, {}};
    if (value.size() == 1 && value.contains("comment"))
        return {Kind::kComment, JsonText(value["comment"]), {}, {}};
    XmlNode element{Kind::kElement, "", {}, {}};
    for (const auto& [key, part] : value.items()) {
        if (key == "name") {
            element.text = JsonText(part);
        } else if (key == "attributes" && part.is_object()) {
            for (const auto& [name, text] : part.items())
                element.attributes.emplace_back(name, JsonText(text));
        } else if (key == "children" && part.is_array()) {
            for (const Json& child : part)
                element.children.push_back(JsonNode(child, level + 1));
        } else {
            throw Failure("an element has no \"" + key + "\" of that kind");
        }
    }
    return element;
}

// --- What a reader of the document takes

// In ISO-8859-1, which must be what the code page of this machine writes, too: the library copies bytes.
std::string DocumentText(const std::string& utf8) {
    const std::wstring wide = kiv::WideFromUtf8(utf8);
    for (const wchar_t c : wide) {
        if (c >= ' ' && c < 0x7F)
            continue;
        const std::string byte = kiv::AnsiFromWide(std::wstring(1, c));
        if (c > 0xFF || byte.size() != 1 || static_cast<unsigned char>(byte[0]) != c)
            throw Failure("'" + kiv::AnsiFromWide(wide) + "' has a character that a document cannot hold");
        if (c < ' ' && c != '\t' && c != '\r' && c != '\n')
            throw Failure("'" + kiv::AnsiFromWide(wide) + "' has a control character");
    }
    return kiv::AnsiFromWide(wide);
}

bool BeginsName(char c) {
    const auto code = static_cast<unsigned char>(c);
    return (kiv::ToLower(c) >= 'a' && kiv::ToLower(c) <= 'z') || c == '_' || c == ':' ||
           (code >= 0xC0 && code != 0xD7 && code != 0xF7);
}

std::string DocumentName(const std::string& utf8) {
    std::string name = DocumentText(utf8);
    const auto inName = [](char c) { return BeginsName(c) || kiv::IsDigit(c) || c == '-' || c == '.' || c == '\xB7'; };
    if (name.empty() || !BeginsName(name[0]) || !std::all_of(name.begin(), name.end(), inName))
        throw Failure("'" + name + "' is no name");
    return name;
}

void PrepareAttributes(XmlNode& element) {
    for (auto attribute = element.attributes.begin(); attribute != element.attributes.end(); ++attribute) {
        attribute->first = DocumentName(attribute->first);
        attribute->second = DocumentText(attribute->second);
        if (attribute->second.find_first_of("\t\r\n") != std::string::npos)
            throw Failure("attribute '" + attribute->first + "' has a tab or line break: readers make it a blank");
        if (std::any_of(element.attributes.begin(), attribute,
                        [&](const auto& before) { return before.first == attribute->first; }))
            throw Failure("element '" + element.text + "' has two attributes '" + attribute->first + "'");
    }
}

void Prepare(XmlNode& node) {
    if (node.kind == Kind::kElement) {
        node.text = DocumentName(node.text);
        PrepareAttributes(node);
        std::for_each(node.children.begin(), node.children.end(), Prepare);
        return;
    }
    std::string text;
    for (const TextLine& line : SplitLines(DocumentText(node.text)))
        text += line.text + (line.end.empty() ? "" : "\n");
    if (node.kind == Kind::kCData && text.find("]]>") != std::string::npos)
        throw Failure("a CDATA section cannot hold \"]]>\"");
    if (node.kind == Kind::kComment && text.find("--") != std::string::npos)
        throw Failure("a comment cannot hold \"--\"");
    node.text = node.kind == Kind::kComment ? " " + text + " " : text;
}

}  // namespace

XmlNodes ReadXmlOutline(const std::string& text) {
    OutlineReader reader;
    std::size_t number = 0;
    for (const TextLine& line : SplitLines(text)) {
        ++number;
        try {
            reader.Add(line.text);
        } catch (const Failure& failure) {
            throw Failure("line " + std::to_string(number) + ": " + failure.what());
        }
    }
    return reader.Document();
}

XmlNodes ReadXmlJson(const std::string& text) {
    Json parsed;
    try {
        parsed = Json::parse(text);
    } catch (const Json::exception& error) {
        throw Failure(error.what());
    }
    XmlNodes document;
    if (!parsed.is_array())
        parsed = Json::array({parsed});
    for (const Json& node : parsed)
        document.push_back(JsonNode(node, 0));
    return document;
}

void PrepareXml(XmlNodes& document) {
    const auto roots = std::count_if(document.begin(), document.end(),
                                     [](const XmlNode& node) { return node.kind == Kind::kElement; });
    const auto comments = std::count_if(document.begin(), document.end(),
                                        [](const XmlNode& node) { return node.kind == Kind::kComment; });
    if (roots != 1 || static_cast<std::size_t>(roots + comments) != document.size())
        throw Failure("a document has one outermost element, and nothing but comments beside it");
    std::for_each(document.begin(), document.end(), Prepare);
}

}  // namespace kivctl
