#include "support/heap_text.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace kiv {

char* DuplicateText(const char* text) noexcept {
    return text == nullptr ? nullptr : DuplicateText(text, std::strlen(text));
}

char* DuplicateText(const char* text, std::size_t length) noexcept {
    char* copy = static_cast<char*>(std::malloc(length + 1));
    if (copy == nullptr)
        return nullptr;
    std::memcpy(copy, text, length);
    copy[length] = '\0';
    return copy;
}

void FreeText(char*& field) noexcept {
    std::free(field);
    field = nullptr;
}

void ReplaceText(char*& field, const char* text) noexcept {
    if (!TryReplaceText(field, text))
        FreeText(field);
}

bool TryReplaceText(char*& field, const char* text) noexcept {
    char* const copy = DuplicateText(text);
    if (copy == nullptr && text != nullptr)
        return false;
    std::free(field);
    field = copy;
    return true;
}

bool CopyText(char* buffer, std::size_t size, const char* text) noexcept {
    if (size == 0)
        return false;
    const std::size_t length = std::strlen(text);
    const std::size_t copied = std::min(length, size - 1);
    std::memmove(buffer, text, copied);
    buffer[copied] = '\0';
    return copied == length;
}

}  // namespace kiv
