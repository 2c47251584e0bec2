#ifndef KIV_SUPPORT_HEAP_TEXT_H
#define KIV_SUPPORT_HEAP_TEXT_H

#include <cstddef>

namespace kiv {

// Owned copies of text in fields of exported classes. The blocks come from malloc; exhausted memory gives null.

// A copy of text, or null for null.
char* DuplicateText(const char* text) noexcept;

// A copy of the first `length` characters, terminated.
char* DuplicateText(const char* text, std::size_t length) noexcept;

// Frees what the field holds and makes it null.
void FreeText(char*& field) noexcept;

// Puts a copy of text into the field. The copy is made before the old text is freed, so text may be the field's own.
void ReplaceText(char*& field, const char* text) noexcept;

// The same, but false when memory is exhausted: the field keeps its old text then.
bool TryReplaceText(char*& field, const char* text) noexcept;

// Copies text into a buffer of `size` characters, cut to fit and always terminated; a size of 0 writes nothing.
// Returns whether the whole text fitted.
bool CopyText(char* buffer, std::size_t size, const char* text) noexcept;

}  // namespace kiv

#endif
