#ifndef TAVKIVUT_REG_EXP_H
#define TAVKIVUT_REG_EXP_H

// Regular expressions over byte texts: compile a pattern once, find its first match in a text, build a replacement
// text from it. Nothing here writes a log line.
//
//     branch|branch      the first branch that lets the whole pattern match; a branch may be empty
//     x*  x+  x?         none or more, one or more, none or one; as many as the rest of the pattern allows
//     (pattern)          a group, at most 9; its text is \1 to \9 in a replacement
//     ^  $  .            start of the text, end of the text, any one character
//     [a-z]  [^a-z]      one character that is in the set, or is not; "]" and "-" stand for themselves directly behind
//                        "[" or "[^", "-" also before the closing "]"; no other character is special in a set
//     \c                 the character c itself; there are no classes such as \d
//
// Characters are bytes and case matters. The ends of a range compare as signed bytes: [a-\xE9] is an error,
// [\xE0-\xFF] is not.
//
// A match begins as early in the text as possible; from there the first way through the pattern counts (branches from
// left to right, the longest repetition first), not the longest match.

#include "tavkivut/export.h"

namespace kiv {
class RegExpPlan;
}

// One compiled pattern and what its last search found.
//
// The object keeps copies of the pattern and of the matched text; neither the pattern nor the searched text needs to
// outlive the call that it is given to. One object serves one thread at a time.
//
// A way that failed at a position is not tried there again, so nested repetitions such as ((a*)b)* take no exponential
// time. A search needs memory where one character does not tell which way to go on: up to 32 bytes for each repetition
// of a group, and when it takes long one bit for each alternative and character, but not beyond 64 MB. Exhausted memory
// counts as no match.
class KIV_API CRegExp {
public:
    // What a program is made of (see the protected part), and what the compiler knows of a piece of a pattern.
    enum : char {
        OP_END = 0,      // success
        OP_BOL = 1,      // start of the text
        OP_EOL = 2,      // end of the text
        OP_ANY = 3,      // one character
        OP_ANYOF = 4,    // one character of the operand
        OP_ANYBUT = 5,   // one character that is not in the operand
        OP_BRANCH = 6,   // an alternative: the operand, or else the next node when that is a branch as well
        OP_BACK = 7,     // nothing, its next node lies before it
        OP_EXACTLY = 8,  // the operand, character by character
        OP_NOTHING = 9,  // nothing
        OP_STAR = 10,    // the operand (one character wide) none or more times
        OP_PLUS = 11,    // the operand (one character wide) one or more times
        OP_OPEN = 20,    // plus 1 to 9: start of that group
        OP_CLOSE = 30    // plus 1 to 9: end of that group
    };
    enum : int {
        HAS_WIDTH = 1,  // never matches the empty text
        SIMPLE = 2,     // matches exactly one character
        SP_START = 4    // starts with a repetition
    };

    CRegExp() noexcept;

    // Compiles the other's last pattern anew and knows nothing of its last match.
    CRegExp(const CRegExp& other) noexcept;

    // Takes over everything, the last match included, as copies of its own; nothing is compiled. Where memory is
    // exhausted the object finds nothing afterwards.
    CRegExp& operator=(const CRegExp& other) noexcept;

    ~CRegExp();

    // Compiles a pattern of at most 255 characters. Returns this object, or null: for a null or longer pattern (all
    // stays as it was), a wrong one (the program of the pattern before stays in use) and exhausted memory. Wrong are:
    // a parenthesis without its partner, a tenth group, "*" or "+" behind what can be empty, a repetition sign behind
    // another or behind nothing, "\" at the end, a range whose end comes before its start, a set without its "]".
    CRegExp* RegComp(const char* pattern) noexcept;

    // Finds the first match: its offset in the text, -1 when there is none, for a null text and without a program.
    // Every call forgets the match before. Matches that begin beyond offset 2147483647 are not found.
    int RegFind(const char* text) noexcept;

    // Length of the match found last, 0 without one; it can be 0 with one, too.
    int GetFindLen() noexcept;

    // Writes the replacement text for the last match and returns the room that it needs, terminator included; only
    // the size when `dest` is null or destSize smaller than that. 0 with nothing written for a null replacement,
    // without a match, and beyond 4294967295 characters. `dest` must not overlap the replacement.
    //
    //     &                  the match
    //     \0 to \9           the match or a group; nothing for a group that took no part
    //     \\  \&             one backslash, one ampersand
    //     \ and another      both characters as they are
    unsigned int GetReplaceString(const char* replacement, char* dest, unsigned int destSize) noexcept;

protected:
    // The steps of the compiler and the matcher, for derived classes that look at programs.
    //
    // A program is a sequence of nodes of three bytes: the opcode and the distance to the next node (16 bits, little
    // end first, 0 for none; backwards for OP_BACK), followed by an operand: a terminated text for OP_EXACTLY,
    // OP_ANYOF and OP_ANYBUT, a node for OP_STAR, OP_PLUS, OP_BRANCH and the groups.
    //
    // The parsing steps return the first node that they emitted, null for a wrong pattern. They run twice: while
    // measuring, what emits only counts and returns a dummy node. Outside of RegComp they measure, too.
    char* reg(int paren, int* flags) noexcept;
    char* regbranch(int* flags) noexcept;
    char* regpiece(int* flags) noexcept;
    char* regatom(int* flags) noexcept;
    char* regnode(char op) noexcept;
    void regc(char c) noexcept;
    void reginsert(char op, char* operand) noexcept;    // puts a node in front of an emitted one
    void regtail(char* chain, char* target) noexcept;   // links the last node of a chain to the target
    void regoptail(char* node, char* target) noexcept;  // the same for the operand of a branch; nothing for others

    int regtry(char* at) noexcept;                // 1 when the whole program matches there: then that is the last match
    int regmatch(char* node) noexcept;            // 1 when the program from that node on matches at the input cursor
    unsigned int regrepeat(char* node) noexcept;  // how often a one-character node matches from the input cursor on
    char* regnext(char* node) noexcept;           // null when there is none
    char OP(char* node) noexcept;
    char* OPERAND(char* node) noexcept;

private:
    friend struct CRegExpLayout;

    void EmitStarLoop(char* atom) noexcept;
    void EmitPlusLoop(char* atom) noexcept;
    char* EmitLiteral(decltype(sizeof 0) length) noexcept;
    char* ParseSet() noexcept;
    void FindShortcuts(int flags) noexcept;
    bool KeepFound(const char* found) noexcept;
    void ForgetMatch() noexcept;
    void DropProgram() noexcept;
    void Clear() noexcept;

    char m_pattern[256];
    int m_emitting;  // 0 while measuring
    int m_compiled;
    char* m_found;             // owned; null without a match
    const char* m_starts[10];  // into the searched text; 0 is the whole match
    const char* m_ends[10];
    char m_startChar;  // 0: a match can begin with different ones
    char m_anchored;
    const char* m_must;  // into m_program; null: no text that every match must have
    int m_mustLength;
    char* m_program;  // owned
    const char* m_parse;
    int m_nextGroup;
    char* m_emit;
    char m_dummy[3];
    long m_size;  // what the measuring pass counted
    const char* m_input;
    const char* m_text;

    long m_programSize;       // bytes of m_program
    kiv::RegExpPlan* m_plan;  // owned; m_program prepared for matching
    char m_shortFound[32];    // m_found points here when the match fits
};

#endif
