#ifndef KIV_FILES_REG_EXP_PLAN_H
#define KIV_FILES_REG_EXP_PLAN_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kiv {

// A compiled regular expression as the matcher walks it: nodes that do nothing are gone, and each step knows with which
// bytes a match can go on from it. The terminator of the text counts as byte 0 here.

// A set of bytes: where its table of 256 begins, and its bit in there.
struct ByteSet {
    std::uint32_t table;
    std::uint8_t bit;
};

enum class StepKind : std::uint8_t {
    kFail,
    kEnd,
    kTextStart,
    kTextEnd,
    kByte,     // one byte of `members`
    kLiteral,  // the bytes of the literal
    kChoice,   // `next`, or else `other`
    kRepeat,   // bytes of `members`, as many as there are down to `least`, then `next`
    kSlot      // notes the position in the slot `index`: 2n and 2n+1 are start and end of group n
};

using StepIndex = std::uint16_t;

struct Step {
    StepKind kind;
    std::uint8_t least;  // kRepeat: 0 or 1
    bool possessive;     // kRepeat: a member cannot be what follows, or nothing does, so only the whole run is tried
    std::uint8_t row;    // kByte: how many more steps of this kind come next, each behind the other in memory
    StepIndex next;
    StepIndex other;
    std::uint16_t index;   // kSlot: the slot; kRepeat and the first kChoice of a branch: which one of its kind it is
    std::uint16_t length;  // kLiteral
    std::uint32_t offset;  // kLiteral: in the plan's literals
    ByteSet members;
    ByteSet nextFirst;   // the bytes that a match can go on with from `next`
    ByteSet otherFirst;  // kChoice: the same from `other`
};

constexpr std::uint16_t kNotCounted = 0xFFFF;

class RegExpPlan {
public:
    static constexpr std::size_t kMostSlots = 20;
    static constexpr std::size_t kPlaces = 8;

    // The plan of the program from this node on. The node and all that can be reached from it are read, not kept.
    explicit RegExpPlan(const char* node);

    const Step* At(StepIndex index) const noexcept { return m_steps.data() + index; }
    std::size_t IndexOf(const Step* step) const noexcept { return static_cast<std::size_t>(step - m_steps.data()); }
    const Step* Start() const noexcept { return At(m_start); }
    const char* Literal(const Step& step) const noexcept { return m_literals.data() + step.offset; }
    bool Contains(ByteSet set, char byte) const noexcept {
        return (m_tables[set.table + static_cast<unsigned char>(byte)] & set.bit) != 0;
    }

    // What every match begins with; "" when that can differ.
    const std::string& Prefix() const noexcept { return m_prefix; }

    // How many of the first places of a match exclude bytes, at least 1.
    std::size_t Places() const noexcept { return m_placeCount; }

    // One bit for each of the first places of a match where the byte cannot stand.
    std::uint8_t ExcludedPlaces(char byte) const noexcept { return m_excludedPlaces[static_cast<unsigned char>(byte)]; }

    // The repetition that every match begins with; null when there is none.
    const Step* LeadingRun() const noexcept { return m_leadingRun == 0 ? nullptr : At(m_leadingRun); }

    std::size_t Slots() const noexcept { return m_slots; }
    std::size_t Repeats() const noexcept { return m_repeats; }
    std::size_t Choices() const noexcept { return m_choices; }

private:
    friend class RegExpPlanner;
    std::vector<Step> m_steps;
    std::vector<std::uint8_t> m_tables;
    std::string m_literals;
    std::string m_prefix;
    std::size_t m_placeCount = 1;
    std::array<std::uint8_t, 256> m_excludedPlaces{};
    StepIndex m_start = 0;
    StepIndex m_leadingRun = 0;
    std::size_t m_slots = 0;
    std::size_t m_repeats = 0;
    std::size_t m_choices = 0;
};

}  // namespace kiv

#endif
