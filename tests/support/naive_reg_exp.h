#ifndef KIV_TESTS_SUPPORT_NAIVE_REG_EXP_H
#define KIV_TESTS_SUPPORT_NAIVE_REG_EXP_H

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "tavkivut/reg_exp.h"

namespace kiv::test {

// Regular expressions in the plainest way, to compare with: a pattern becomes functions, each of which matches its
// piece and hands over to the rest. That takes exponential time where it must, so steps are counted and a search may
// give up.
class NaiveRegExp {
public:
    // Throws std::invalid_argument for a wrong pattern.
    explicit NaiveRegExp(std::string_view pattern) : m_pattern(pattern) {
        m_whole = Alternatives().match;
        Require(AtEnd());
    }

    // Where a text has the first match, its length and the groups: "3+2 [1] ... [9]", or "none"; nothing where that
    // takes too many steps.
    std::optional<std::string> Find(std::string_view text, long steps = 200000) const {
        for (std::size_t start = 0; start <= text.size(); ++start) {
            Attempt attempt{text, {}, steps};
            std::size_t end = 0;
            const bool found = m_whole(attempt, start, [&end](std::size_t at) { return end = at, true; });
            if ((steps = attempt.steps) <= 0)
                return std::nullopt;
            if (!found)
                continue;
            std::string shown = std::to_string(start) + "+" + std::to_string(end - start);
            for (std::size_t group = 1; group <= 9; ++group) {
                const auto [from, to] = attempt.groups[group];
                shown += " [" + std::string(from && to && *to > *from ? text.substr(*from, *to - *from) : "") + "]";
            }
            return shown;
        }
        return "none";
    }

private:
    struct Attempt {
        std::string_view text;
        std::array<std::pair<std::optional<std::size_t>, std::optional<std::size_t>>, 10> groups;
        long steps;
    };
    using Rest = std::function<bool(std::size_t)>;
    using Matcher = std::function<bool(Attempt&, std::size_t, const Rest&)>;
    struct Piece {
        Matcher match;
        bool canBeEmpty;  // as far as the pattern tells
    };

    static void Require(bool condition) {
        if (!condition)
            throw std::invalid_argument("wrong pattern");
    }

    bool AtEnd() const { return m_at == m_pattern.size(); }
    bool Next(std::string_view oneOf) const {
        return !AtEnd() && oneOf.find(m_pattern[m_at]) != std::string_view::npos;
    }
    char Take() {
        Require(!AtEnd());
        return m_pattern[m_at++];
    }

    Piece Alternatives() {
        Piece all = Sequence();
        while (Next("|")) {
            ++m_at;
            const Piece more = Sequence();
            all = {[first = all.match, second = more.match](Attempt& attempt, std::size_t at, const Rest& rest) {
                       return first(attempt, at, rest) || second(attempt, at, rest);
                   },
                   all.canBeEmpty || more.canBeEmpty};
        }
        return all;
    }

    Piece Sequence() {
        Piece all{[](Attempt&, std::size_t at, const Rest& rest) { return rest(at); }, true};
        while (!AtEnd() && !Next("|)")) {
            const Piece more = Repeated();
            all = {[first = all.match, second = more.match](Attempt& attempt, std::size_t at, const Rest& rest) {
                       return first(attempt, at, [&](std::size_t behind) { return second(attempt, behind, rest); });
                   },
                   all.canBeEmpty && more.canBeEmpty};
        }
        return all;
    }

    static bool Loop(const Matcher& atom, Attempt& attempt, std::size_t at, const Rest& rest) {
        return atom(attempt, at, [&](std::size_t behind) { return Loop(atom, attempt, behind, rest); }) || rest(at);
    }

    Piece Repeated() {
        const Piece atom = Atom();
        if (!Next("*+?"))
            return atom;
        const char sign = Take();
        Require(!Next("*+?") && (sign == '?' || !atom.canBeEmpty));
        return {[sign, one = atom.match](Attempt& attempt, std::size_t at, const Rest& rest) {
                    if (sign == '*')
                        return Loop(one, attempt, at, rest);
                    if (sign == '?')
                        return one(attempt, at, rest) || rest(at);
                    return one(attempt, at, [&](std::size_t behind) { return Loop(one, attempt, behind, rest); });
                },
                sign != '+'};
    }

    Piece Atom() {
        switch (const char c = Take()) {
        case '*':
        case '+':
        case '?':
            throw std::invalid_argument("nothing to repeat");
        case '^':
            return {[](Attempt&, std::size_t at, const Rest& rest) { return at == 0 && rest(at); }, true};
        case '$':
            return {[](Attempt& attempt, std::size_t at, const Rest& rest) {
                        return at == attempt.text.size() && rest(at);
                    },
                    true};
        case '(':
            return Group();
        case '.':
            return Characters("", true);
        case '[':
            return Set();
        default:
            return Characters(std::string(1, c == '\\' ? Take() : c), false);
        }
    }

    // On the way back from a success a group takes the positions that it has not yet.
    Piece Group() {
        const std::size_t group = ++m_groups;
        Require(group <= 9);
        const Piece content = Alternatives();
        Require(Take() == ')');
        return {[group, inner = content.match](Attempt& attempt, std::size_t at, const Rest& rest) {
                    auto& positions = attempt.groups[group];
                    const bool found = inner(attempt, at, [&](std::size_t behind) {
                        const bool all = rest(behind);
                        if (all && !positions.second)
                            positions.second = behind;
                        return all;
                    });
                    if (found && !positions.first)
                        positions.first = at;
                    return found;
                },
                content.canBeEmpty};
    }

    Piece Set() {
        const bool negated = Next("^");
        m_at += negated ? 1 : 0;
        std::string members(1, Take());
        while (!Next("]")) {
            const char c = Take();
            if (c != '-' || Next("]")) {
                members += c;
                continue;
            }
            const int first = static_cast<signed char>(m_pattern[m_at - 2]);
            const int last = static_cast<signed char>(Take());
            Require(first <= last);
            for (int member = first + 1; member <= last; ++member)
                members += static_cast<char>(member);
        }
        ++m_at;
        return Characters(members.c_str(), negated);  // a range that reaches zero ends the set
    }

    static Piece Characters(const std::string& members, bool negated) {
        return {[members, negated](Attempt& attempt, std::size_t at, const Rest& rest) {
                    return --attempt.steps > 0 && at < attempt.text.size() &&
                           (members.find(attempt.text[at]) != std::string::npos) != negated && rest(at + 1);
                },
                false};
    }

    std::string_view m_pattern;
    std::size_t m_at = 0;
    std::size_t m_groups = 0;
    Matcher m_whole;
};

// The naive expression of a pattern, null for a wrong one.
inline std::unique_ptr<NaiveRegExp> ParseNaively(const std::string& pattern) {
    try {
        return pattern.size() > 255 ? nullptr : std::make_unique<NaiveRegExp>(pattern);
    } catch (const std::invalid_argument&) {
        return nullptr;
    }
}

// What the class finds, in the same form; groups come through replacement texts, as callers get them.
inline std::string FoundBy(CRegExp& compiled, const char* text) {
    const int offset = compiled.RegFind(text);
    if (offset < 0)
        return "none";
    std::string shown = std::to_string(offset) + "+" + std::to_string(compiled.GetFindLen());
    for (char group = '1'; group <= '9'; ++group) {
        const char replacement[] = {'\\', group, '\0'};
        std::string content(compiled.GetReplaceString(replacement, nullptr, 0), '\0');
        compiled.GetReplaceString(replacement, content.data(), static_cast<unsigned>(content.size()));
        shown += " [" + std::string(content.c_str()) + "]";
    }
    return shown;
}

}  // namespace kiv::test

#endif
