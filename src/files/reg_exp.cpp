#include "tavkivut/reg_exp.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

#include "files/reg_exp_match.h"
#include "files/reg_exp_plan.h"
#include "files/reg_exp_program.h"
#include "files/replacement_text.h"
#include "support/heap_text.h"

using kiv::kGroupSlots;
using kiv::MatchedGroups;
using kiv::RegExpPlan;

namespace {

// Null when memory is exhausted.
RegExpPlan* MakePlan(const char* node) noexcept {
    try {
        return new RegExpPlan(node);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

RegExpPlan* CopyPlan(const RegExpPlan* plan) noexcept {
    try {
        return plan == nullptr ? nullptr : new RegExpPlan(*plan);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

// How long an operand of a node is that belongs to a program.
int OperandLength(const char* node) noexcept {
    return static_cast<int>(std::strlen(kiv::NodeOperand(node)));
}

}  // namespace

CRegExp::CRegExp() noexcept
    : m_pattern(), m_emitting(0), m_compiled(0), m_found(nullptr), m_starts(), m_ends(), m_startChar('\0'),
      m_anchored(0), m_must(nullptr), m_mustLength(0), m_program(nullptr), m_parse(m_pattern), m_nextGroup(1),
      m_emit(m_dummy), m_dummy{OP_NOTHING, 0, 0}, m_size(0), m_input(nullptr), m_text(nullptr), m_programSize(0),
      m_plan(nullptr), m_shortFound() {}

CRegExp::CRegExp(const CRegExp& other) noexcept : CRegExp() {
    m_compiled = other.m_compiled;
    if (m_compiled != 0)
        RegComp(other.m_pattern);
}

CRegExp& CRegExp::operator=(const CRegExp& other) noexcept {
    if (this == &other)
        return *this;
    Clear();
    std::memcpy(m_pattern, other.m_pattern, sizeof m_pattern);
    m_compiled = other.m_compiled;
    std::copy_n(other.m_starts, kGroupSlots, m_starts);
    std::copy_n(other.m_ends, kGroupSlots, m_ends);
    m_parse = m_pattern + (other.m_parse - other.m_pattern);
    m_nextGroup = other.m_nextGroup;
    m_size = other.m_size;
    m_input = other.m_input;
    m_text = other.m_text;
    if (other.m_found != nullptr)
        KeepFound(other.m_found);
    if (other.m_program == nullptr)
        return *this;
    m_plan = CopyPlan(other.m_plan);
    m_program = kiv::DuplicateText(other.m_program, static_cast<std::size_t>(other.m_programSize));
    if (m_plan == nullptr || m_program == nullptr) {
        DropProgram();
        return *this;
    }
    m_programSize = other.m_programSize;
    m_startChar = other.m_startChar;
    m_anchored = other.m_anchored;
    m_mustLength = other.m_mustLength;
    m_must = other.m_must == nullptr ? nullptr : m_program + (other.m_must - other.m_program);
    return *this;
}

CRegExp::~CRegExp() {
    Clear();
}

CRegExp* CRegExp::RegComp(const char* pattern) noexcept {
    if (pattern == nullptr)
        return nullptr;
    const char* const end = static_cast<const char*>(std::memchr(pattern, '\0', sizeof m_pattern));
    if (end == nullptr)
        return nullptr;
    m_compiled = 1;
    std::memmove(m_pattern, pattern, static_cast<std::size_t>(end - pattern) + 1);
    std::fill(m_pattern + (end - pattern), std::end(m_pattern), '\0');

    int flags = 0;
    m_parse = m_pattern;
    m_nextGroup = 1;
    m_size = 0;
    if (reg(0, &flags) == nullptr)
        return nullptr;
    DropProgram();
    m_program = static_cast<char*>(std::calloc(static_cast<std::size_t>(m_size), 1));
    if (m_program == nullptr)
        return nullptr;
    m_programSize = m_size;
    m_parse = m_pattern;
    m_nextGroup = 1;
    m_emit = m_program;
    m_emitting = 1;
    const char* const first = reg(0, &flags);
    m_emitting = 0;
    m_emit = m_dummy;
    m_plan = first == nullptr ? nullptr : MakePlan(first);
    if (m_plan == nullptr) {
        DropProgram();
        return nullptr;
    }
    FindShortcuts(flags);
    return this;
}

// What lets a search skip texts and positions without a match: the first character or "^", and, for a pattern that
// starts with a repetition, the longest text that every match must have.
void CRegExp::FindShortcuts(int flags) noexcept {
    if (OP(regnext(m_program)) != OP_END)
        return;  // several alternatives
    char* const alternative = OPERAND(m_program);
    if (OP(alternative) == OP_EXACTLY)
        m_startChar = *OPERAND(alternative);
    else if (OP(alternative) == OP_BOL)
        m_anchored = 1;
    if ((flags & SP_START) == 0)
        return;
    for (char* node = alternative; node != nullptr; node = regnext(node)) {
        if (OP(node) == OP_EXACTLY && OperandLength(node) >= m_mustLength) {
            m_must = OPERAND(node);
            m_mustLength = OperandLength(node);
        }
    }
}

int CRegExp::RegFind(const char* text) noexcept {
    ForgetMatch();
    if (text == nullptr || m_compiled == 0 || m_plan == nullptr)
        return -1;
    m_text = text;
    m_input = text;
    const MatchedGroups groups{m_starts, m_ends};
    const bool found =
        m_anchored != 0 ? kiv::MatchAt(*m_plan, text, text, groups) : kiv::FindMatch(*m_plan, text, m_must, groups);
    if (!found)
        return -1;
    if (m_starts[0] - text > std::numeric_limits<int>::max()) {
        ForgetMatch();
        return -1;
    }
    m_input = m_ends[0];
    const int offset = static_cast<int>(m_starts[0] - text);
    return KeepFound(m_starts[0]) ? offset : -1;
}

int CRegExp::GetFindLen() noexcept {
    if (m_starts[0] == nullptr || m_ends[0] == nullptr)
        return 0;
    return static_cast<int>(std::min<std::ptrdiff_t>(m_ends[0] - m_starts[0], std::numeric_limits<int>::max()));
}

unsigned int CRegExp::GetReplaceString(const char* replacement, char* dest, unsigned int destSize) noexcept {
    if (replacement == nullptr || m_found == nullptr)
        return 0;
    // The searched text may be gone: the groups are taken from the copy of the match.
    std::string_view groups[kGroupSlots];
    for (int group = 0; group < kGroupSlots; ++group) {
        // A derived class can set groups behind the match, which are not in the copy.
        if (m_starts[group] != nullptr && m_ends[group] > m_starts[group] && m_ends[group] <= m_ends[0])
            groups[group] = {m_found + (m_starts[group] - m_starts[0]),
                             static_cast<std::size_t>(m_ends[group] - m_starts[group])};
    }
    const kiv::ReplacementText text(replacement, groups);
    const std::uint64_t length = text.Length();
    if (length >= std::numeric_limits<unsigned int>::max())
        return 0;
    if (dest != nullptr && destSize > length) {
        text.Write(dest);
        dest[length] = '\0';
    }
    return static_cast<unsigned int>(length + 1);
}

// --- For derived classes ---------------------------------------------------------------------------------------------

int CRegExp::regtry(char* at) noexcept {
    ForgetMatch();
    m_input = at;
    if (at == nullptr || regmatch(m_program) == 0)
        return 0;
    m_starts[0] = at;
    m_ends[0] = m_input;
    return KeepFound(at) ? 1 : 0;
}

// Groups that are set already keep their positions.
int CRegExp::regmatch(char* node) noexcept {
    if (node == nullptr || m_input == nullptr)
        return 0;
    RegExpPlan* const made = node == m_program ? nullptr : MakePlan(node);
    const RegExpPlan* const plan = made != nullptr ? made : node == m_program ? m_plan : nullptr;
    const char* starts[kGroupSlots] = {};
    const char* ends[kGroupSlots] = {};
    const bool matches = plan != nullptr && kiv::MatchAt(*plan, m_text, m_input, {starts, ends});
    delete made;
    if (!matches)
        return 0;
    m_input = ends[0];
    for (int group = 1; group < kGroupSlots; ++group) {
        if (m_starts[group] == nullptr)
            m_starts[group] = starts[group];
        if (m_ends[group] == nullptr)
            m_ends[group] = ends[group];
    }
    return 1;
}

unsigned int CRegExp::regrepeat(char* node) noexcept {
    if (node == nullptr || m_input == nullptr)
        return 0;
    const char* const operand = OPERAND(node);
    std::size_t count = 0;
    switch (OP(node)) {
    case OP_ANY:
        count = std::strlen(m_input);
        break;
    case OP_EXACTLY:
        while (m_input[count] != '\0' && m_input[count] == *operand)
            ++count;
        break;
    case OP_ANYOF:
        count = std::strspn(m_input, operand);
        break;
    case OP_ANYBUT:
        count = std::strcspn(m_input, operand);
        break;
    default:
        break;
    }
    return static_cast<unsigned int>(count);
}

// --- Owned fields ----------------------------------------------------------------------------------------------------

// Copies the text of the match, whose positions are set already; false, with the match forgotten, when memory is
// exhausted. Most matches are short and need no block of their own.
bool CRegExp::KeepFound(const char* found) noexcept {
    const auto length = static_cast<std::size_t>(m_ends[0] - m_starts[0]);
    if (length < sizeof m_shortFound) {
        std::memcpy(m_shortFound, found, length);
        m_shortFound[length] = '\0';
        m_found = m_shortFound;
        return true;
    }
    m_found = kiv::DuplicateText(found, length);
    if (m_found == nullptr)
        ForgetMatch();
    return m_found != nullptr;
}

void CRegExp::ForgetMatch() noexcept {
    if (m_found != m_shortFound)
        std::free(m_found);
    m_found = nullptr;
    std::fill_n(m_starts, kGroupSlots, nullptr);
    std::fill_n(m_ends, kGroupSlots, nullptr);
}

void CRegExp::DropProgram() noexcept {
    kiv::FreeText(m_program);
    delete m_plan;
    m_plan = nullptr;
    m_programSize = 0;
    m_startChar = '\0';
    m_anchored = 0;
    m_must = nullptr;
    m_mustLength = 0;
}

void CRegExp::Clear() noexcept {
    ForgetMatch();
    DropProgram();
}
