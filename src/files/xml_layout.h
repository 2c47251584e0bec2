#ifndef KIV_FILES_XML_LAYOUT_H
#define KIV_FILES_XML_LAYOUT_H

#include <cstddef>
#include <string>
#include <string_view>

#include "support/characters.h"

namespace kiv {

// How the items of an XML document are written; see tavkivut/xml.h for the result.

// Appends the text with its special characters as entities. A two-byte character is copied whole, also one whose second
// byte is missing. The test is asked only about bytes above 0x7F.
void AppendXmlEscaped(std::string& out, std::string_view text, LeadByteTest isLead);

enum class XmlItemKind { kStartTag, kEndTag, kData, kCData, kComment, kInstruction };

struct XmlItem {
    XmlItemKind kind;
    std::string_view text;                    // the name, or the text of data and comments
    const char* const* attributes = nullptr;  // pairs of name and value
    unsigned attributeCount = 0;              // pairs
};

constexpr int kNoOpenTag = -1;

// So much of a document is collected before it is written.
constexpr std::size_t kXmlBlockSize = 32768;

// Where a document stands between two items.
struct XmlPosition {
    unsigned depth = 0;        // the item's own level, set by the caller
    int openTag = kNoOpenTag;  // depth of a start tag that still lacks its ">"
    bool inlineText = false;   // what comes next may stay on the line
};

// Appends one item and what the items before it left to be written.
void AppendXmlItem(std::string& out, XmlPosition& position, const XmlItem& item, LeadByteTest isLead);

// Appends what every document begins with: the declaration, the entities, and an empty line.
void AppendXmlPrologue(std::string& out, XmlPosition& position, LeadByteTest isLead);

}  // namespace kiv

#endif
