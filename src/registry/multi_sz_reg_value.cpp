#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "support/windows_api.h"

#include "registry/value_data.h"
#include "registry/value_text.h"
#include "support/heap_text.h"
#include "tavkivut/registry.h"

CKivMultiSzRegValue::CKivMultiSzRegValue(HKEY key, const char* valueName) noexcept
    : m_key(key), m_begin(nullptr), m_end(nullptr), m_capacity(nullptr) {
    if (key != nullptr)
        Attach(key, valueName);
}

CKivMultiSzRegValue::CKivMultiSzRegValue(const CKivMultiSzRegValue& other) noexcept
    : m_key(nullptr), m_begin(nullptr), m_end(nullptr), m_capacity(nullptr) {
    *this = other;
}

CKivMultiSzRegValue& CKivMultiSzRegValue::operator=(const CKivMultiSzRegValue& other) noexcept {
    if (this == &other)
        return *this;
    Clear();
    m_key = other.m_key;
    for (char** item = other.m_begin; item != other.m_end; ++item)
        Append(*item);
    return *this;
}

CKivMultiSzRegValue::~CKivMultiSzRegValue() {
    Clear();
    std::free(m_begin);
}

// The array stays for the next items.
void CKivMultiSzRegValue::Clear() noexcept {
    while (m_end != m_begin)
        std::free(*--m_end);
}

int CKivMultiSzRegValue::Attach(HKEY key, const char* valueName) noexcept {
    kiv::ValueData data;  // read before the list is emptied: the name may be one of its items
    const LONG status = key == nullptr ? ERROR_SUCCESS : data.Read(key, valueName);
    Clear();
    if (key == nullptr || status == ERROR_MORE_DATA || status == ERROR_NOT_ENOUGH_MEMORY)
        return 0;
    if (status == ERROR_SUCCESS) {
        // Each item is terminated, the last one by the terminators behind the data.
        for (const std::string_view item : kiv::SplitMultiSz(data.Bytes()))
            Append(item.data());
    }
    return 1;
}

// Makes room for one more entry.
bool CKivMultiSzRegValue::Reserve() noexcept {
    if (m_end != m_capacity)
        return true;
    const std::size_t size = static_cast<std::size_t>(m_end - m_begin);
    const std::size_t capacity = size + std::max<std::size_t>(size, 1);
    auto* const grown = static_cast<char**>(std::realloc(m_begin, capacity * sizeof(char*)));
    if (grown == nullptr)
        return false;
    m_begin = grown;
    m_end = grown + size;
    m_capacity = grown + capacity;
    return true;
}

void CKivMultiSzRegValue::Append(const char* item) noexcept {
    char* const copy = kiv::DuplicateText(item == nullptr ? "" : item);
    if (copy != nullptr && Reserve())
        *m_end++ = copy;
    else
        std::free(copy);
}

const char* CKivMultiSzRegValue::GetItemAt(long index) const noexcept {
    return index < 0 || index >= GetCount() ? nullptr : m_begin[index];
}

long CKivMultiSzRegValue::GetCount() const noexcept {
    return static_cast<long>(m_end - m_begin);
}

unsigned int CKivMultiSzRegValue::ToString(char* buffer, unsigned int size) const noexcept {
    std::size_t required = 1;
    for (char** item = m_begin; item != m_end; ++item)
        required += std::strlen(*item) + 1;
    if (buffer == nullptr || size < required)
        return static_cast<unsigned int>(required);
    for (char** item = m_begin; item != m_end; ++item) {
        const std::size_t length = std::strlen(*item) + 1;
        std::memcpy(buffer, *item, length);
        buffer += length;
    }
    *buffer = '\0';
    return static_cast<unsigned int>(required);
}
