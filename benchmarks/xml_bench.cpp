// 100,000 elements with attributes and data, beside libxml2's text writer. Both indent, and write to a file.

#include <fcntl.h>
#include <libxml/xmlwriter.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "bench.h"
#include "files/xml_layout.h"

namespace {

constexpr unsigned kElements = 100000;
constexpr const char* kData = "Fish & chips for < 5 \xA3, says the \"Golden Lion\"";

bool NoLeadByte(unsigned char) {
    return false;
}

void Require(bool condition) {
    if (!condition)
        std::abort();
}

// What the class adds to the rules: the level, and the file, which is written block by block.
class Document {
public:
    explicit Document(const char* path) : m_file(::open(path, O_WRONLY | O_CREAT | O_TRUNC, 0644)) {
        Require(m_file >= 0);
        kiv::AppendXmlPrologue(m_block, m_position, NoLeadByte);
    }
    ~Document() {
        WriteBlock();
        ::close(m_file);
    }
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;

    void Begin(const char* name, const char* const* attributes, unsigned count) {
        ++m_position.depth;
        Put({kiv::XmlItemKind::kStartTag, name, attributes, count});
    }
    void Data(const char* text) { Put({kiv::XmlItemKind::kData, text}); }
    void End(const char* name) {
        Put({kiv::XmlItemKind::kEndTag, name});
        --m_position.depth;
    }

private:
    void Put(const kiv::XmlItem& item) {
        kiv::AppendXmlItem(m_block, m_position, item, NoLeadByte);
        if (m_block.size() >= kiv::kXmlBlockSize)
            WriteBlock();
    }
    void WriteBlock() {
        Require(::write(m_file, m_block.data(), m_block.size()) == static_cast<ssize_t>(m_block.size()));
        m_block.clear();
    }

    std::string m_block;
    kiv::XmlPosition m_position;
    int m_file;
};

void WriteOurs(const char* path) {
    Document document(path);
    document.Begin("catalogue", nullptr, 0);
    for (unsigned i = 0; i < kElements; ++i) {
        const std::string id = std::to_string(i);
        const char* const attributes[] = {"id",
                                          id.c_str(),
                                          "title",
                                          "Caf\xE9 \xC4"
                                          "rger & Sons",
                                          "kind",
                                          "plain"};
        document.Begin("entry", attributes, 3);
        document.Data(kData);
        document.End("entry");
    }
    document.End("catalogue");
}

const xmlChar* Xml(const char* text) {
    return reinterpret_cast<const xmlChar*>(text);
}

// The same text in UTF-8, which is what that writer takes.
void WriteTheirs(const char* path) {
    const xmlTextWriterPtr writer = xmlNewTextWriterFilename(path, 0);
    Require(writer != nullptr);
    xmlTextWriterSetIndent(writer, 1);
    xmlTextWriterSetIndentString(writer, Xml("\t"));
    xmlTextWriterStartDocument(writer, nullptr, "ISO-8859-1", nullptr);
    xmlTextWriterStartElement(writer, Xml("catalogue"));
    for (unsigned i = 0; i < kElements; ++i) {
        xmlTextWriterStartElement(writer, Xml("entry"));
        xmlTextWriterWriteAttribute(writer, Xml("id"), Xml(std::to_string(i).c_str()));
        xmlTextWriterWriteAttribute(writer, Xml("title"), Xml("Caf\xC3\xA9 \xC3\x84rger & Sons"));
        xmlTextWriterWriteAttribute(writer, Xml("kind"), Xml("plain"));
        xmlTextWriterWriteString(writer, Xml("Fish & chips for < 5 \xC2\xA3, says the \"Golden Lion\""));
        xmlTextWriterEndElement(writer);
    }
    Require(xmlTextWriterEndDocument(writer) >= 0);
    xmlFreeTextWriter(writer);
}

}  // namespace

int main() {
    const char* const folder = std::getenv("TMPDIR");
    const std::string path = std::string(folder == nullptr ? "/tmp" : folder) + "/xml_bench." +
                             std::to_string(static_cast<long>(::getpid()));
    kiv::bench::Compare(
        "XML, 100,000 elements with attributes and data, libxml2", 1.0, 5, [&] { WriteOurs(path.c_str()); },
        [&] { WriteTheirs(path.c_str()); });
    ::unlink(path.c_str());
    return 0;
}
