#include "support/windows_api.h"

#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "files/file_contents.h"
#include "files/xml_file.h"
#include "files/xml_layout.h"
#include "support/code_page.h"
#include "support/heap_text.h"
#include "support/log.h"
#include "tavkivut/xml.h"

struct kiv::XmlBlock {
    std::string bytes;
};

namespace {

constexpr unsigned kFirstNames = 16;

// The pairs before the first null pointer.
unsigned CountPairs(const char* const* attributes, unsigned most) noexcept {
    unsigned pairs = 0;
    while (attributes != nullptr && pairs < most && attributes[2 * pairs] != nullptr &&
           attributes[2 * pairs + 1] != nullptr)
        ++pairs;
    return pairs;
}

kiv::XmlItemKind KindOf(bool instruction, bool comment, bool endTag, bool data, bool cdata) noexcept {
    if (data)
        return cdata ? kiv::XmlItemKind::kCData : kiv::XmlItemKind::kData;
    if (instruction)
        return kiv::XmlItemKind::kInstruction;
    if (comment)
        return kiv::XmlItemKind::kComment;
    return endTag ? kiv::XmlItemKind::kEndTag : kiv::XmlItemKind::kStartTag;
}

}  // namespace

CKivXmlFactory::CKivXmlFactory() noexcept
    : m_file(nullptr), m_encoding(XML_ENCODING_DEFAULT), m_depth(0), m_names(nullptr), m_nameCount(0),
      m_nameCapacity(0), m_openTag(kiv::kNoOpenTag), m_inline(false), m_readOnlyCleared(false), m_path(),
      m_writeError(NO_ERROR), m_block(new (std::nothrow) kiv::XmlBlock) {}

CKivXmlFactory::CKivXmlFactory(const CKivXmlFactory& other) noexcept : CKivXmlFactory() {
    CopyFields(other);
}

CKivXmlFactory& CKivXmlFactory::operator=(const CKivXmlFactory& other) noexcept {
    endDocument();
    if (this != &other)
        CopyFields(other);
    return *this;
}

CKivXmlFactory::~CKivXmlFactory() {
    endDocument();
    delete m_block;
    std::free(m_names);
}

// The file and its read-only attribute remain the other's.
void CKivXmlFactory::CopyFields(const CKivXmlFactory& other) noexcept {
    m_encoding = other.m_encoding;
    m_depth = other.m_depth;
    m_nameCount = 0;
    for (unsigned i = 0; i < other.m_nameCount; ++i)
        PushName(other.m_names[i]);
    m_openTag = other.m_openTag;
    m_inline = other.m_inline;
    std::memcpy(m_path, other.m_path, sizeof m_path);
    m_writeError = other.m_writeError;
}

bool CKivXmlFactory::PushName(const char* name) noexcept {
    if (m_nameCount == m_nameCapacity) {
        const unsigned capacity = m_nameCapacity == 0 ? kFirstNames : 2 * m_nameCapacity;
        void* const names = std::realloc(m_names, capacity * sizeof *m_names);
        if (names == nullptr)
            return false;
        m_names = static_cast<const char**>(names);
        m_nameCapacity = capacity;
    }
    m_names[m_nameCount++] = name;
    return true;
}

int CKivXmlFactory::beginDocument(const char* path, KivXmlEncoding encoding) noexcept {
    if (m_block == nullptr || m_file != nullptr || path == nullptr || std::strlen(path) >= sizeof m_path)
        return 0;
    kiv::CopyText(m_path, sizeof m_path, path);
    m_readOnlyCleared = false;
    const kiv::XmlFilePath filePath{m_path, m_readOnlyCleared};
    kiv::ScopedFile file = kiv::OpenXmlFile(filePath);
    if (!file) {
        kiv::RestoreReadOnly(filePath);
        return 0;
    }
    m_file = file.Release();
    m_encoding = encoding;
    StartLayout();
    return 1;
}

void CKivXmlFactory::StartLayout() noexcept {
    m_depth = 0;
    m_nameCount = 0;
    m_writeError = NO_ERROR;
    kiv::XmlPosition position;
    Append([&](std::string& bytes) { kiv::AppendXmlPrologue(bytes, position, kiv::IsAnsiLeadByte); });
    m_openTag = position.openTag;
    m_inline = position.inlineText;
}

void CKivXmlFactory::endDocument() noexcept {
    if (m_file == nullptr)
        return;
    while (m_nameCount > 0)
        endElement();
    WriteBlock();
    m_block->bytes.shrink_to_fit();
    ::CloseHandle(m_file);
    m_file = nullptr;
    kiv::RestoreReadOnly({m_path, m_readOnlyCleared});
}

void CKivXmlFactory::beginElementArgv(const char* name, unsigned int attributeCount, const char** attributes) noexcept {
    if (m_file == nullptr || name == nullptr)
        return;
    if (!PushName(name)) {
        StopWithoutMemory();
        return;
    }
    ++m_depth;
    Serialize(name, attributeCount, attributes, 0, 0, 0, 0, 0);
}

void CKivXmlFactory::beginElement(const char* name, ...) noexcept {
    std::vector<const char*> attributes;
    va_list arguments;
    va_start(arguments, name);
    try {
        while (const char* const text = va_arg(arguments, const char*))
            attributes.push_back(text);
    } catch (const std::bad_alloc&) {
        if (m_file != nullptr)
            StopWithoutMemory();
    }
    va_end(arguments);
    beginElementArgv(name, static_cast<unsigned>(attributes.size() / 2), attributes.data());
}

void CKivXmlFactory::endElement() noexcept {
    if (m_file == nullptr || m_nameCount == 0)
        return;
    Serialize(m_names[m_nameCount - 1], 0, nullptr, 0, 0, 1, 0, 0);
    --m_depth;
    --m_nameCount;
}

void CKivXmlFactory::putData(const char* text, int cdata) noexcept {
    Serialize(text, 0, nullptr, 0, 0, 0, 1, cdata);
}

// Comments stand two levels deeper than what is around them.
void CKivXmlFactory::putComment(const char* text) noexcept {
    m_depth += 2;
    Serialize(text, 0, nullptr, 0, 1, 0, 0, 0);
    m_depth -= 2;
}

unsigned long CKivXmlFactory::getWriteError() const noexcept {
    return m_writeError;
}

int CKivXmlFactory::Serialize(const char* text, unsigned int attributeCount, const char** attributes, int instruction,
                              int comment, int endTag, int data, int cdata) noexcept {
    if (m_file == nullptr || text == nullptr)
        return 0;
    const kiv::XmlItem item{KindOf(instruction != 0, comment != 0, endTag != 0, data != 0, cdata != 0), text,
                            attributes, CountPairs(attributes, attributeCount)};
    kiv::XmlPosition position{m_depth, m_openTag, m_inline};
    Append([&](std::string& bytes) { kiv::AppendXmlItem(bytes, position, item, kiv::IsAnsiLeadByte); });
    m_openTag = position.openTag;
    m_inline = position.inlineText;
    if (m_block->bytes.size() >= kiv::kXmlBlockSize)
        WriteBlock();
    return m_writeError == NO_ERROR ? 1 : 0;
}

// Lets `append` add to what waits to be written: all of it, or without memory nothing, and nothing more from then on.
template <class AppendText>
void CKivXmlFactory::Append(const AppendText& append) noexcept {
    const std::size_t before = m_block->bytes.size();
    try {
        append(m_block->bytes);
    } catch (const std::bad_alloc&) {
        m_block->bytes.resize(before);
        StopWithoutMemory();
    }
}

void CKivXmlFactory::StopWithoutMemory() noexcept {
    WriteBlock();
    if (m_writeError == NO_ERROR)
        m_writeError = ERROR_NOT_ENOUGH_MEMORY;
}

// The first failure is told; what follows it would only leave a gap.
void CKivXmlFactory::WriteBlock() noexcept {
    if (m_writeError == NO_ERROR) {
        m_writeError = kiv::WriteContents(m_file, m_block->bytes);
        if (m_writeError != NO_ERROR)
            KIV_LOG_WIN32(m_writeError, kiv::kLogError, "XML Factory : failed to write '%s'", m_path);
    }
    m_block->bytes.clear();
}
