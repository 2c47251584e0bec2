#ifndef KIV_TESTS_SUPPORT_NAIVE_REG_EXP_H
#define KIV_TESTS_SUPPORT_NAIVE_REG_EXP_H

#include <array>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kiv::test {

// Regular expressions in the plainest way, to compare with: a tree of the pattern, matched by recursion into the rest
// of the pattern. It takes exponential time where it must, so it counts its steps and gives up.
class NaiveRegExp {
public:
    struct Match {
        std::size_t offset;
        std::size_t length;
        std::array<std::pair<long, long>, 10> groups;  // start and end of 1 to 9; -1: took no part
    };
    enum class Answer { kFound, kNone, kGivenUp };

    // Null: the pattern is wrong.
    static std::optional<NaiveRegExp> Parse(std::string_view pattern) {
        NaiveRegExp made;
        Parser parser{pattern, 0, 0, true};
        made.m_tree = parser.ParseAlternatives();
        if (!parser.good || parser.at != pattern.size())
            return std::nullopt;
        return made;
    }

    Answer Find(std::string_view text, Match& match, long steps) const {
        for (std::size_t start = 0; start <= text.size(); ++start) {
            Search search{text, {}, steps};
            search.groups.fill({-1, -1});
            std::size_t end = 0;
            const bool found = search.Go(*m_tree, start, [&end](std::size_t at) {
                end = at;
                return true;
            });
            if (search.steps <= 0)
                return Answer::kGivenUp;
            steps = search.steps;
            if (found) {
                match = {start, end - start, search.groups};
                return Answer::kFound;
            }
        }
        return Answer::kNone;
    }

private:
    enum class Kind { kAlternatives, kSequence, kCharacters, kStart, kEnd, kGroup, kRepeat };
    struct Node {
        Kind kind;
        std::vector<std::unique_ptr<Node>> parts;
        std::string characters;  // kCharacters: one of these
        bool negated = false;    // or none of these
        int group = 0;
        char sign = 0;
        bool canBeEmpty = false;  // as far as the parser sees
    };
    using Tree = std::unique_ptr<Node>;

    struct Parser {
        std::string_view pattern;
        std::size_t at;
        int groups;
        bool good;

        char Peek(std::size_t ahead = 0) const { return at + ahead < pattern.size() ? pattern[at + ahead] : '\0'; }
        static Tree Make(Kind kind) {
            Tree node = std::make_unique<Node>();
            node->kind = kind;
            return node;
        }
        Tree Fail() {
            good = false;
            return Make(Kind::kSequence);
        }

        Tree ParseAlternatives() {
            Tree node = Make(Kind::kAlternatives);
            for (;;) {
                node->parts.push_back(ParseSequence());
                node->canBeEmpty |= node->parts.back()->canBeEmpty;
                if (!good || Peek() != '|')
                    return node;
                ++at;
            }
        }

        Tree ParseSequence() {
            Tree node = Make(Kind::kSequence);
            node->canBeEmpty = true;
            while (good && at < pattern.size() && Peek() != '|' && Peek() != ')') {
                node->parts.push_back(ParsePiece());
                node->canBeEmpty &= node->parts.back()->canBeEmpty;
            }
            return node;
        }

        Tree ParsePiece() {
            Tree atom = ParseAtom();
            const char sign = Peek();
            if (!good || std::string_view("*+?").find(sign) == std::string_view::npos || at >= pattern.size())
                return atom;
            if (atom->canBeEmpty && sign != '?')
                return Fail();
            ++at;
            if (at < pattern.size() && std::string_view("*+?").find(Peek()) != std::string_view::npos)
                return Fail();
            Tree node = Make(Kind::kRepeat);
            node->sign = sign;
            node->canBeEmpty = sign != '+';
            node->parts.push_back(std::move(atom));
            return node;
        }

        Tree ParseAtom() {
            const char c = pattern[at++];
            switch (c) {
            case '*':
            case '+':
            case '?':
                return Fail();
            case '^':
            case '$': {
                Tree node = Make(c == '^' ? Kind::kStart : Kind::kEnd);
                node->canBeEmpty = true;
                return node;
            }
            case '.': {
                Tree node = Make(Kind::kCharacters);
                node->negated = true;
                return node;
            }
            case '(':
                return ParseGroup();
            case '[':
                return ParseSet();
            case '\\':
                if (at == pattern.size())
                    return Fail();
                return Literal(pattern[at++]);
            default:
                return Literal(c);
            }
        }

        static Tree Literal(char c) {
            Tree node = Make(Kind::kCharacters);
            node->characters = c;
            return node;
        }

        Tree ParseGroup() {
            if (groups == 9)
                return Fail();
            Tree node = Make(Kind::kGroup);
            node->group = ++groups;
            node->parts.push_back(ParseAlternatives());
            node->canBeEmpty = node->parts.back()->canBeEmpty;
            if (!good || Peek() != ')')
                return Fail();
            ++at;
            return node;
        }

        Tree ParseSet() {
            Tree node = Make(Kind::kCharacters);
            if (Peek() == '^' && at < pattern.size()) {
                node->negated = true;
                ++at;
            }
            bool ended = false;  // a range that reaches zero ends the set
            const auto add = [&](int c) {
                ended |= c == 0;
                if (!ended)
                    node->characters += static_cast<char>(c);
            };
            for (bool first = true; at < pattern.size() && (first || Peek() != ']'); first = false) {
                const bool range = !first && Peek() == '-' && at + 1 < pattern.size() && Peek(1) != ']';
                if (!range) {
                    add(pattern[at++]);
                    continue;
                }
                const auto low = static_cast<signed char>(pattern[at - 1]);
                const auto high = static_cast<signed char>(pattern[at + 1]);
                if (low > high)
                    return Fail();
                for (int c = low + 1; c <= high; ++c)
                    add(c);
                at += 2;
            }
            if (at == pattern.size())
                return Fail();
            ++at;
            return node;
        }
    };

    struct Search {
        std::string_view text;
        std::array<std::pair<long, long>, 10> groups;
        long steps;
        using Rest = std::function<bool(std::size_t)>;

        bool Go(const Node& node, std::size_t at, const Rest& rest) {
            if (--steps <= 0)
                return false;
            switch (node.kind) {
            case Kind::kAlternatives:
                for (const Tree& part : node.parts) {
                    if (Go(*part, at, rest))
                        return true;
                }
                return false;
            case Kind::kSequence:
                return GoOn(node, 0, at, rest);
            case Kind::kCharacters:
                return at < text.size() && (node.characters.find(text[at]) != std::string::npos) != node.negated &&
                       rest(at + 1);
            case Kind::kStart:
                return at == 0 && rest(at);
            case Kind::kEnd:
                return at == text.size() && rest(at);
            case Kind::kGroup: {
                auto& [start, end] = groups[static_cast<std::size_t>(node.group)];
                const bool found = Go(*node.parts[0], at, [&](std::size_t behind) {
                    if (!rest(behind))
                        return false;
                    if (end < 0)
                        end = static_cast<long>(behind);
                    return true;
                });
                if (found && start < 0)
                    start = static_cast<long>(at);
                return found;
            }
            case Kind::kRepeat: {
                const Rest again = [&](std::size_t behind) {
                    return node.sign != '?' ? Loop(node, behind, rest) : rest(behind);
                };
                if (Go(*node.parts[0], at, again))
                    return true;
                return node.sign != '+' && rest(at);
            }
            }
            return false;
        }

        bool Loop(const Node& node, std::size_t at, const Rest& rest) {
            return Go(*node.parts[0], at, [&](std::size_t behind) { return Loop(node, behind, rest); }) || rest(at);
        }

        bool GoOn(const Node& sequence, std::size_t part, std::size_t at, const Rest& rest) {
            if (part == sequence.parts.size())
                return rest(at);
            return Go(*sequence.parts[part], at,
                      [&, part](std::size_t behind) { return GoOn(sequence, part + 1, behind, rest); });
        }
    };

    Tree m_tree;
};

}  // namespace kiv::test

#endif
