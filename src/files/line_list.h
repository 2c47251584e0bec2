#ifndef KIV_FILES_LINE_LIST_H
#define KIV_FILES_LINE_LIST_H

#include <cstddef>
#include <string_view>

#include "support/heap_buffer.h"

namespace kiv {

// Lines in memory, each terminated. Those that come from a file stay in its block; a line that is set or added has a
// block of its own. What answers false found memory exhausted and changed nothing.
class LineList {
public:
    LineList() noexcept = default;
    ~LineList();
    LineList(const LineList&) = delete;
    LineList& operator=(const LineList&) = delete;

    std::size_t Count() const noexcept { return m_count; }
    const char* At(std::size_t index) const noexcept { return m_lines[index]; }
    const char* const* All() const noexcept { return m_lines; }

    bool Add(std::string_view line) noexcept;
    bool Set(std::size_t index, std::string_view line) noexcept;
    void Remove(std::size_t index) noexcept;
    void Shorten(std::size_t count) noexcept;  // to that many lines

    // For a list that is empty. Both take the block over: the contents of a file, which are cut into lines where they
    // stand (there is room behind them), and terminated lines one behind the other.
    bool TakeContents(HeapBuffer<char>& contents) noexcept;
    bool TakeLines(HeapBuffer<char>& lines, std::size_t count) noexcept;
    bool TakeCopies(const LineList& other) noexcept;

private:
    bool AddPointer(char* line) noexcept;
    void Free(char* line) noexcept;

    char** m_lines = nullptr;
    std::size_t m_count = 0;
    std::size_t m_room = 0;
    char* m_text = nullptr;
    std::size_t m_textSize = 0;
};

}  // namespace kiv

#endif
