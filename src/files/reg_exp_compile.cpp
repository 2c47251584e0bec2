// The compiler: one operation for each level of the grammar, and those that emit and link nodes. A pass that only
// measures comes first; in it every node is the dummy and nothing is linked.

#include <cstring>

#include "files/reg_exp_program.h"
#include "tavkivut/reg_exp.h"

namespace {

constexpr const char* kSpecial = "^$.[()|?+*\\";
constexpr int kMostGroups = 9;

bool IsRepetition(char c) noexcept {
    return c == '*' || c == '+' || c == '?';
}

bool EndsBranch(char c) noexcept {
    return c == '\0' || c == '|' || c == ')';
}

}  // namespace

// A pattern, the content of a group when `paren` is not 0:
//
//     OPEN -> BRANCH -> BRANCH -> ... -> CLOSE        the operand of each BRANCH leads to CLOSE (END at top level), too
char* CRegExp::reg(int paren, int* flags) noexcept {
    if (flags == nullptr)
        return nullptr;
    *flags = HAS_WIDTH;
    char* first = nullptr;
    int group = 0;
    if (paren != 0) {
        if (m_nextGroup > kMostGroups)
            return nullptr;
        group = m_nextGroup++;
        first = regnode(static_cast<char>(OP_OPEN + group));
    }
    for (;;) {
        int branchFlags = 0;
        char* branch = regbranch(&branchFlags);
        if (branch == nullptr)
            return nullptr;
        if (first == nullptr)
            first = branch;
        else
            regtail(first, branch);
        if ((branchFlags & HAS_WIDTH) == 0)
            *flags &= ~HAS_WIDTH;
        *flags |= branchFlags & SP_START;
        if (*m_parse != '|')
            break;
        ++m_parse;
    }
    char* end = regnode(static_cast<char>(paren != 0 ? OP_CLOSE + group : OP_END));
    regtail(first, end);
    for (char* node = first; node != nullptr; node = regnext(node))
        regoptail(node, end);
    if (*m_parse != (paren != 0 ? ')' : '\0'))
        return nullptr;
    if (paren != 0)
        ++m_parse;
    return first;
}

// One alternative: its pieces in a row.
char* CRegExp::regbranch(int* flags) noexcept {
    if (flags == nullptr)
        return nullptr;
    *flags = 0;
    char* branch = regnode(OP_BRANCH);
    char* chain = nullptr;
    while (!EndsBranch(*m_parse)) {
        int pieceFlags = 0;
        char* piece = regpiece(&pieceFlags);
        if (piece == nullptr)
            return nullptr;
        *flags |= pieceFlags & HAS_WIDTH;
        if (chain == nullptr)
            *flags |= pieceFlags & SP_START;
        else
            regtail(chain, piece);
        chain = piece;
    }
    if (chain == nullptr)
        regnode(OP_NOTHING);
    return branch;
}

// An atom with its repetition sign, if any:
//
//     x*     STAR x                                       for an atom of one character, with PLUS alike
//     (x)*   BRANCH x -> BACK to this BRANCH; BRANCH NOTHING
//     (x)+   x -> BRANCH BACK to x; BRANCH NOTHING
//     x?     BRANCH x; BRANCH NOTHING
char* CRegExp::regpiece(int* flags) noexcept {
    int atomFlags = 0;
    char* atom = flags == nullptr ? nullptr : regatom(&atomFlags);
    if (atom == nullptr)
        return nullptr;
    const char sign = *m_parse;
    if (!IsRepetition(sign)) {
        *flags = atomFlags;
        return atom;
    }
    if ((atomFlags & HAS_WIDTH) == 0 && sign != '?')
        return nullptr;
    const bool simple = (atomFlags & SIMPLE) != 0;
    if (sign == '?') {
        *flags = 0;
        reginsert(OP_BRANCH, atom);
        regtail(atom, regnode(OP_BRANCH));
        char* nothing = regnode(OP_NOTHING);
        regtail(atom, nothing);
        regoptail(atom, nothing);
    } else {
        *flags = sign == '*' ? SP_START : HAS_WIDTH | SP_START;
        if (simple)
            reginsert(sign == '*' ? OP_STAR : OP_PLUS, atom);
        else if (sign == '*')
            EmitStarLoop(atom);
        else
            EmitPlusLoop(atom);
    }
    ++m_parse;
    return IsRepetition(*m_parse) ? nullptr : atom;
}

void CRegExp::EmitStarLoop(char* atom) noexcept {
    reginsert(OP_BRANCH, atom);
    regoptail(atom, regnode(OP_BACK));
    regoptail(atom, atom);
    regtail(atom, regnode(OP_BRANCH));
    regtail(atom, regnode(OP_NOTHING));
}

void CRegExp::EmitPlusLoop(char* atom) noexcept {
    char* again = regnode(OP_BRANCH);
    regtail(atom, again);
    regtail(regnode(OP_BACK), atom);
    regtail(again, regnode(OP_BRANCH));
    regtail(atom, regnode(OP_NOTHING));
}

char* CRegExp::regatom(int* flags) noexcept {
    if (flags == nullptr)
        return nullptr;
    *flags = 0;
    const char c = *m_parse;
    if (EndsBranch(c) || IsRepetition(c))
        return nullptr;
    switch (c) {
    case '^':
        ++m_parse;
        return regnode(OP_BOL);
    case '$':
        ++m_parse;
        return regnode(OP_EOL);
    case '.':
        ++m_parse;
        *flags = HAS_WIDTH | SIMPLE;
        return regnode(OP_ANY);
    case '(': {
        ++m_parse;
        int groupFlags = 0;
        char* group = reg(1, &groupFlags);
        *flags = groupFlags & (HAS_WIDTH | SP_START);
        return group;
    }
    case '[':
        ++m_parse;
        *flags = HAS_WIDTH | SIMPLE;
        return ParseSet();
    case '\\':
        ++m_parse;
        if (*m_parse == '\0')
            return nullptr;
        *flags = HAS_WIDTH | SIMPLE;
        return EmitLiteral(1);
    default:
        break;
    }
    std::size_t length = std::strcspn(m_parse, kSpecial);
    if (length > 1 && IsRepetition(m_parse[length]))
        --length;  // the sign belongs to the last character alone
    *flags = length == 1 ? HAS_WIDTH | SIMPLE : HAS_WIDTH;
    return EmitLiteral(length);
}

// The next characters of the pattern as they are.
char* CRegExp::EmitLiteral(std::size_t length) noexcept {
    char* node = regnode(OP_EXACTLY);
    for (; length > 0; --length)
        regc(*m_parse++);
    regc('\0');
    return node;
}

// A set, behind its "[". Ranges are written out. One that runs from a byte above 0x7F to an ASCII character crosses
// zero: the set's members end there.
char* CRegExp::ParseSet() noexcept {
    const bool negated = *m_parse == '^';
    if (negated)
        ++m_parse;
    char* node = regnode(negated ? OP_ANYBUT : OP_ANYOF);
    if (*m_parse == ']' || *m_parse == '-')
        regc(*m_parse++);
    while (*m_parse != '\0' && *m_parse != ']') {
        const bool isRange = *m_parse == '-' && m_parse[1] != ']' && m_parse[1] != '\0';
        if (!isRange) {
            regc(*m_parse++);
            continue;
        }
        const auto first = static_cast<signed char>(m_parse[-1]);  // emitted already
        const auto last = static_cast<signed char>(m_parse[1]);
        if (first > last)
            return nullptr;
        for (int member = first + 1; member <= last; ++member)
            regc(static_cast<char>(member));
        m_parse += 2;
    }
    regc('\0');
    if (*m_parse != ']')
        return nullptr;
    ++m_parse;
    return node;
}

// --- Emitting and linking --------------------------------------------------------------------------------------------

char* CRegExp::regnode(char op) noexcept {
    if (m_emitting == 0) {
        m_size += kiv::kNodeSize;
        return m_dummy;
    }
    char* node = m_emit;
    regc(op);
    regc('\0');
    regc('\0');
    return node;
}

void CRegExp::regc(char c) noexcept {
    if (m_emitting == 0)
        ++m_size;
    else
        *m_emit++ = c;
}

void CRegExp::reginsert(char op, char* operand) noexcept {
    if (m_emitting == 0) {
        m_size += kiv::kNodeSize;
        return;
    }
    std::memmove(operand + kiv::kNodeSize, operand, static_cast<std::size_t>(m_emit - operand));
    m_emit += kiv::kNodeSize;
    operand[0] = op;
    kiv::SetNodeDistance(operand, 0);
}

void CRegExp::regtail(char* chain, char* target) noexcept {
    if (m_emitting == 0 || chain == nullptr || target == nullptr)
        return;
    char* last = chain;
    while (char* next = regnext(last))
        last = next;
    kiv::SetNodeDistance(last, OP(last) == OP_BACK ? last - target : target - last);
}

void CRegExp::regoptail(char* node, char* target) noexcept {
    if (m_emitting != 0 && node != nullptr && OP(node) == OP_BRANCH)
        regtail(OPERAND(node), target);
}

char* CRegExp::regnext(char* node) noexcept {
    if (node == nullptr || node == m_dummy)
        return nullptr;
    return const_cast<char*>(kiv::NextNode(node));
}

char CRegExp::OP(char* node) noexcept {
    return node == nullptr ? static_cast<char>(OP_END) : *node;
}

char* CRegExp::OPERAND(char* node) noexcept {
    return node == nullptr ? nullptr : node + kiv::kNodeSize;
}
