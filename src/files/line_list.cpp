#include "files/line_list.h"

#include <cstdint>
#include <cstring>
#include <functional>
#include <limits>

#include "support/heap_text.h"
#include "support/line_walk.h"

using namespace std::string_view_literals;

namespace kiv {
namespace {

// Indexes are signed numbers of 32 bits for the callers.
constexpr std::size_t kMostLines = std::numeric_limits<std::int32_t>::max();

constexpr std::size_t kFirstRoom = 64;

}  // namespace

LineList::~LineList() {
    Shorten(0);
    std::free(m_lines);
    std::free(m_text);
}

bool LineList::AddPointer(char* line) noexcept {
    if (m_count == m_room) {
        const std::size_t room = m_room == 0 ? kFirstRoom : 2 * m_room;
        void* grown = m_count == kMostLines ? nullptr : std::realloc(m_lines, room * sizeof *m_lines);
        if (grown == nullptr)
            return false;
        m_lines = static_cast<char**>(grown);
        m_room = room;
    }
    m_lines[m_count++] = line;
    return true;
}

void LineList::Free(char* line) noexcept {
    const std::less<const char*> before;
    if (before(line, m_text) || !before(line, m_text + m_textSize))
        std::free(line);
}

bool LineList::Add(std::string_view line) noexcept {
    char* copy = DuplicateText(line.data(), line.size());
    if (copy == nullptr || AddPointer(copy))
        return copy != nullptr;
    std::free(copy);
    return false;
}

bool LineList::Set(std::size_t index, std::string_view line) noexcept {
    char* copy = DuplicateText(line.data(), line.size());
    if (copy == nullptr)
        return false;
    Free(m_lines[index]);
    m_lines[index] = copy;
    return true;
}

void LineList::Remove(std::size_t index) noexcept {
    Free(m_lines[index]);
    --m_count;
    std::memmove(m_lines + index, m_lines + index + 1, (m_count - index) * sizeof *m_lines);
}

void LineList::Shorten(std::size_t count) noexcept {
    while (m_count > count)
        Free(m_lines[--m_count]);
}

bool LineList::TakeContents(HeapBuffer<char>& contents) noexcept {
    m_textSize = contents.Size() + 1;
    m_text = contents.Release();
    LineWalk<char> walk({m_text, m_textSize - 1});
    for (std::string_view line; walk.Next(line);) {
        char* start = m_text + (line.data() - m_text);
        start[line.size()] = '\0';
        if (!AddPointer(start))
            return false;
    }
    return true;
}

bool LineList::TakeLines(HeapBuffer<char>& lines, std::size_t count) noexcept {
    m_textSize = lines.Size();
    m_text = lines.Release();
    for (char* line = m_text; count > 0; --count) {
        if (!AddPointer(line))
            return false;
        line += std::strlen(line) + 1;
    }
    return true;
}

bool LineList::TakeCopies(const LineList& other) noexcept {
    HeapBuffer<char> lines;
    for (std::size_t i = 0; i < other.m_count; ++i) {
        const std::string_view line = other.m_lines[i];
        if (!lines.Append(line) || !lines.Append("\0"sv))
            return false;
    }
    return TakeLines(lines, other.m_count);
}

}  // namespace kiv
