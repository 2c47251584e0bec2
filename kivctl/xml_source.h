#ifndef KIVCTL_XML_SOURCE_H
#define KIVCTL_XML_SOURCE_H

#include <string>
#include <utility>
#include <vector>

namespace kivctl {

// One part of a document, and what is in it.
struct XmlNode {
    enum class Kind { kElement, kData, kCData, kComment };

    Kind kind;
    std::string text;  // the element's name, or the text
    std::vector<std::pair<std::string, std::string>> attributes;
    std::vector<XmlNode> children;
};

using XmlNodes = std::vector<XmlNode>;

// A document from an outline in UTF-8, where indentation tells what is in what:
//
//     name attribute="value" other='value' | text      an element with attributes and data
//     | text                                           data; lines that follow one another are one text
//     ! text                                           the same as a CDATA section
//     # text                                           a comment
//
// Throws Failure, which names the line.
XmlNodes ReadXmlOutline(const std::string& text);

// A document from JSON: {"name": "...", "attributes": {"...": "..."}, "children": [...]}, where a child is such an
// element, a text, a number or a truth value for data, {"cdata": "..."} or {"comment": "..."}. Comments may stand
// beside the root in an array. Throws Failure.
XmlNodes ReadXmlJson(const std::string& text);

// Brings the texts into the form that the library writes. Throws Failure for whatever a reader of the document would
// not take, or not read as it was meant: wrong names, more or less than one root, characters that ISO-8859-1 lacks.
void PrepareXml(XmlNodes& document);

}  // namespace kivctl

#endif
