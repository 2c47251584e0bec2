#ifndef KIV_TESTS_SUPPORT_REG_EXP_LAYOUT_H
#define KIV_TESTS_SUPPORT_REG_EXP_LAYOUT_H

#include <cstddef>

#include "tavkivut/reg_exp.h"

// The order of the fields, and a look at what the compiler found out.
struct CRegExpLayout {
    static constexpr std::size_t kPointer = sizeof(void*);
    static_assert(offsetof(CRegExp, m_emitting) == 256 && offsetof(CRegExp, m_compiled) == 260);
    static_assert(offsetof(CRegExp, m_found) == 264 && offsetof(CRegExp, m_starts) == 264 + kPointer);
    static_assert(offsetof(CRegExp, m_ends) == 264 + 11 * kPointer);
    static_assert(offsetof(CRegExp, m_startChar) == 264 + 21 * kPointer);
    static_assert(offsetof(CRegExp, m_anchored) == 265 + 21 * kPointer);
    static_assert(offsetof(CRegExp, m_must) == 264 + 22 * kPointer);
    static_assert(offsetof(CRegExp, m_mustLength) == 264 + 23 * kPointer);
    static_assert(offsetof(CRegExp, m_program) == 264 + 24 * kPointer);
    static_assert(offsetof(CRegExp, m_nextGroup) == 264 + 26 * kPointer);
    static_assert(offsetof(CRegExp, m_dummy) == 264 + 28 * kPointer);
    static_assert(offsetof(CRegExp, m_input) == (sizeof(long) == 8 ? 280 : 272) + 28 * kPointer);
    static_assert(offsetof(CRegExp, m_programSize) > offsetof(CRegExp, m_text));

    static char StartChar(const CRegExp& compiled) { return compiled.m_startChar; }
    static bool IsAnchored(const CRegExp& compiled) { return compiled.m_anchored != 0; }
    static const char* Must(const CRegExp& compiled) { return compiled.m_must; }
};

#endif
