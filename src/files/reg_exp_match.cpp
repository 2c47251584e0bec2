#include "files/reg_exp_match.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>

#include "files/backtrack_stack.h"

namespace kiv {
namespace {

// Marks cost memory for the whole text, so they are made only for a search that visits choices this often for each
// character, and not beyond this size: longer texts do without.
constexpr std::size_t kVisitsForEachCharacter = 16;
constexpr std::size_t kFirstLookAtVisits = 4096;
constexpr std::size_t kMostMarkBytes = std::size_t{64} * 1024 * 1024;
constexpr std::size_t kNever = std::numeric_limits<std::size_t>::max();

struct Release {
    void operator()(void* block) const noexcept { std::free(block); }
};

// One search. Whether a way through the plan succeeds depends on the step and the position alone, not on how they were
// reached. So no way is tried twice, neither from the same start of a match nor from a later one: each repetition
// remembers which part of its last run was tried, and once a search takes long, each choice has one bit for each
// position.
class Matcher {
public:
    // "^" matches at textStart; the search looks at `from` and behind. Of the arrays only what the plan needs is set.
    // cppcheck-suppress uninitMemberVar
    Matcher(const RegExpPlan& plan, const char* textStart, const char* from) noexcept
        : m_plan(plan), m_textStart(textStart), m_from(from) {
        std::fill_n(m_slots, plan.Slots(), nullptr);
        std::fill_n(m_savedAt, plan.Slots(), 0);
        m_exhausted = !MakeRuns();
    }

    bool MatchAt(const char* at, MatchedGroups groups) noexcept {
        const char* const end = Walk(at);
        if (end == nullptr || m_exhausted)
            return false;
        SetGroups(at, end, groups);
        return true;
    }

    bool Search(const char* must, MatchedGroups groups) noexcept {
        const char* mustAt = nullptr;  // the first place of `must` that is not before the last start
        for (const char* at = NextStart(m_from); at != nullptr && !m_exhausted; at = NextStart(at + 1)) {
            if (must != nullptr && (mustAt == nullptr || at > mustAt) && (mustAt = std::strstr(at, must)) == nullptr)
                return false;
            if (MatchAt(at, groups))
                return true;
            at = LastHopelessStart(at);
            if (*at == '\0')
                return false;
        }
        return false;
    }

private:
    struct Run {
        const char* begin;  // the members of the repetition reach from here
        const char* end;    // to here; both null: no run is known
        const char* tried;  // all that can follow from here to the end was tried
    };
    static constexpr std::size_t kOwnRuns = 8;

    bool Contains(ByteSet set, char byte) const noexcept { return m_plan.Contains(set, byte); }

    bool MakeRuns() noexcept {
        const std::size_t count = m_plan.Repeats();
        if (count > kOwnRuns) {
            m_moreRuns.reset(static_cast<Run*>(std::malloc(count * sizeof(Run))));
            m_runs = m_moreRuns.get();
            if (m_runs == nullptr)
                return false;
        }
        std::fill_n(m_runs, count, Run{nullptr, nullptr, nullptr});
        return true;
    }

    void SetGroups(const char* start, const char* end, MatchedGroups groups) const noexcept {
        groups.starts[0] = start;
        groups.ends[0] = end;
        for (std::size_t slot = 2; slot < m_plan.Slots(); slot += 2) {
            groups.starts[slot / 2] = m_slots[slot];
            groups.ends[slot / 2] = m_slots[slot + 1];
        }
    }

    // The next position where a match can begin: the end of the text, too.
    const char* NextStart(const char* at) const noexcept {
        const std::string& prefix = m_plan.Prefix();
        if (!prefix.empty())
            return prefix.size() == 1 ? std::strchr(at, prefix[0]) : std::strstr(at, prefix.c_str());
        if (m_plan.Places() == 1) {
            while ((m_plan.ExcludedPlaces(*at) & 1) != 0) {
                if (*at++ == '\0')
                    return nullptr;
            }
            return at;
        }
        // One bit for each place of a match that the newest byte cannot be, the first place lowest. Two bytes are
        // taken at once, which costs little more than one: the last place may be at either of them.
        const unsigned lastPlaces = 3u << (m_plan.Places() - 1);
        unsigned excluded = ~0u;
        for (;; ++at) {
            if (*at == '\0') {
                excluded = excluded << 1 | m_plan.ExcludedPlaces(*at);
                break;
            }
            excluded = excluded << 2 | (m_plan.ExcludedPlaces(at[0]) << 1 | m_plan.ExcludedPlaces(at[1]));
            ++at;
            if ((~excluded & lastPlaces) != 0 || *at == '\0')
                break;
        }
        for (std::size_t place = m_plan.Places() + 1; place-- > 0;) {
            if ((excluded & 1u << place) == 0)
                return at - place;
        }
        return nullptr;
    }

    // A pattern that begins with a repetition and failed here fails in the rest of the same run as well: what can
    // follow there could follow here.
    const char* LastHopelessStart(const char* at) const noexcept {
        if (m_plan.LeadingRun() == nullptr)
            return at;
        while (Contains(m_plan.LeadingRun()->members, *at))
            ++at;
        return at;
    }

    // Follows the plan from its start until it succeeds or all ways have failed. Returns the end of the match or null.
    const char* Walk(const char* at) noexcept {
        const Step* step = m_plan.Start();
        for (;;) {
            switch (step->kind) {
            case StepKind::kEnd:
                return at;
            case StepKind::kFail:
                break;
            case StepKind::kTextStart:
                if (at != m_textStart)
                    break;
                step = m_plan.At(step->next);
                continue;
            case StepKind::kTextEnd:
                if (*at != '\0')
                    break;
                step = m_plan.At(step->next);
                continue;
            case StepKind::kByte:
                if (!TakeRow(step, at))
                    break;
                step = m_plan.At(step->next);
                continue;
            case StepKind::kLiteral:
                if (!StartsWith(at, m_plan.Literal(*step), step->length))
                    break;
                at += step->length;
                step = m_plan.At(step->next);
                continue;
            case StepKind::kChoice:
                if (!EnterChoice(step, at))
                    break;
                continue;
            case StepKind::kRepeat:
                if (!EnterRepeat(step, at))
                    break;
                continue;
            case StepKind::kSlot:
                NoteSlot(step->index, at);
                step = m_plan.At(step->next);
                continue;
            }
            if (!Backtrack(step, at))
                return nullptr;
        }
    }

    // Goes to the last of a row of steps of one byte each, and behind its byte.
    bool TakeRow(const Step*& step, const char*& at) const noexcept {
        const Step* const last = step + step->row;
        for (;; ++step) {
            if (!Contains(step->members, *at++))
                return false;
            if (step == last)
                return true;
        }
    }

    // The terminator of the text ends the comparison, since a literal has none.
    static bool StartsWith(const char* at, const char* literal, std::size_t length) noexcept {
        std::size_t same = 0;
        while (same < length && at[same] == literal[same])
            ++same;
        return same == length;
    }

    // Takes the first alternative that can go on with the character here, and notes the rest if that can go on, too.
    bool EnterChoice(const Step*& step, const char* at) noexcept {
        if (++m_visits >= m_visitsBeforeMarks)
            MakeMarks();
        if (m_positions != 0 && step->index != kNotCounted && WasHere(step->index, at))
            return false;
        const bool otherCan = Contains(step->otherFirst, *at);
        if (!Contains(step->nextFirst, *at)) {
            step = m_plan.At(step->other);
            return otherCan;
        }
        if (otherCan) {
            Push(BacktrackStack::kChoice, step->other, at);
            m_lastReturn = m_stack.Size();
        }
        step = m_plan.At(step->next);
        return true;
    }

    bool EnterRepeat(const Step*& step, const char*& at) noexcept {
        Run& run = m_runs[step->index];
        if (at < run.begin || at > run.end)
            FindRun(*step, at, run);
        const char* const low = at + step->least;
        const char* const high = std::min(run.end, run.tried - 1);
        if (low > high)
            return false;
        if (!step->possessive)
            return TryRun(step, low, high, at, &run);
        if (high != run.end)
            return false;
        run.tried = at = run.end;
        if (!Contains(step->nextFirst, *at))
            return false;
        step = m_plan.At(step->next);
        return true;
    }

    // Finds the run from here on. One that reaches to the run known so far is the same, only longer, and what was tried
    // of it stays known.
    void FindRun(const Step& step, const char* at, Run& run) const noexcept {
        const char* end = at;
        while (end != run.begin && Contains(step.members, *end))
            ++end;
        if (end == run.begin)
            run.begin = at;
        else
            run = {at, end, end + 1};
    }

    // Goes on behind the longest repetition that ends from `low` to `high` and can be followed by the character there.
    // `run` is what is known of the run; null when that belongs to another one.
    bool TryRun(const Step*& step, const char* low, const char* high, const char*& at, Run* run) noexcept {
        while (high != low && !Contains(step->nextFirst, *high))
            --high;
        if (run != nullptr)
            run->tried = high;
        if (!Contains(step->nextFirst, *high))
            return false;
        if (high != low) {
            Push(BacktrackStack::kLow, 0, low);
            Push(BacktrackStack::kRepeat, m_plan.IndexOf(step), high);
            m_lastReturn = m_stack.Size();
        }
        at = high;
        step = m_plan.At(step->next);
        return true;
    }

    // The same for a repetition that is on the stack; `at` is where it ended last.
    bool ResumeRepeat(const Step*& step, const char*& at) noexcept {
        const char* const low = Position(m_stack.Pop());
        Run& known = m_runs[step->index];
        Run* const run = at >= known.begin && at <= known.end ? &known : nullptr;
        const char* const high = run != nullptr ? std::min(at, run->tried) - 1 : at - 1;
        return high >= low && TryRun(step, low, high, at, run);
    }

    // Goes back to the newest entry of the stack that leads on; slots get their old values. False when none is left.
    bool Backtrack(const Step*& step, const char*& at) noexcept {
        while (m_stack.Size() != 0 && !m_exhausted) {
            const BacktrackStack::Entry entry = m_stack.Pop();
            at = Position(entry);
            if (entry.What() == BacktrackStack::kSlot) {
                m_slots[entry.Index()] = at;
                m_savedAt[entry.Index()] = 0;
                continue;
            }
            m_lastReturn = m_stack.Size();
            step = m_plan.At(static_cast<StepIndex>(entry.Index()));
            if (entry.What() == BacktrackStack::kChoice || ResumeRepeat(step, at))
                return true;
        }
        m_lastReturn = 0;
        return false;
    }

    // Puts a position into a slot. The old value is saved unless it was since the newest entry to come back to: a
    // loop that never needs to come back takes no memory.
    void NoteSlot(std::size_t slot, const char* at) noexcept {
        if (m_savedAt[slot] <= m_lastReturn) {
            Push(BacktrackStack::kSlot, slot, m_slots[slot]);
            m_savedAt[slot] = m_stack.Size();
        }
        m_slots[slot] = at;
    }

    // Whether a marked choice was entered at this position before: then it has failed, since a way through the
    // plan never comes to the same place twice.
    bool WasHere(std::size_t choice, const char* at) noexcept {
        const std::size_t bit = choice * m_positions + static_cast<std::size_t>(at - m_from);
        std::uint8_t& marks = m_marks.get()[bit / 8];
        const auto mask = static_cast<std::uint8_t>(1u << bit % 8);
        const bool marked = (marks & mask) != 0;
        marks |= mask;
        return marked;
    }

    // Makes the marks when the text is short for the number of visits so far, else looks again later.
    void MakeMarks() noexcept {
        const void* const end = std::memchr(m_from, '\0', m_visits / kVisitsForEachCharacter);
        m_visitsBeforeMarks = end == nullptr ? 2 * m_visits : kNever;
        if (end == nullptr)
            return;
        const std::size_t positions = static_cast<std::size_t>(static_cast<const char*>(end) - m_from) + 1;
        if (positions > kMostMarkBytes * 8 / m_plan.Choices())
            return;
        m_marks.reset(static_cast<std::uint8_t*>(std::calloc(m_plan.Choices() * positions / 8 + 1, 1)));
        m_positions = m_marks == nullptr ? 0 : positions;
    }

    void Push(BacktrackStack::Kind kind, std::size_t index, const char* at) noexcept {
        const std::size_t position = at == nullptr ? 0 : static_cast<std::size_t>(at - m_from) + 1;
        if (!m_stack.Push(BacktrackStack::Entry::Of(kind, index, position)))
            m_exhausted = true;
    }

    const char* Position(BacktrackStack::Entry entry) const noexcept {
        return entry.Position() == 0 ? nullptr : m_from + (entry.Position() - 1);
    }

    const RegExpPlan& m_plan;
    const char* const m_textStart;
    const char* const m_from;
    bool m_exhausted = false;  // of memory

    std::size_t m_lastReturn = 0;  // size of the stack with the newest entry to come back to
    const char* m_slots[RegExpPlan::kMostSlots];
    std::size_t m_savedAt[RegExpPlan::kMostSlots];  // size of the stack with the newest saved value; 0: none

    Run* m_runs = m_ownRuns;
    std::unique_ptr<Run, Release> m_moreRuns;
    Run m_ownRuns[kOwnRuns];

    std::size_t m_visits = 0;  // of choices
    std::size_t m_visitsBeforeMarks = kFirstLookAtVisits;
    std::size_t m_positions = 0;  // of the text; 0: there are no marks
    std::unique_ptr<std::uint8_t, Release> m_marks;

    BacktrackStack m_stack;
};

}  // namespace

bool MatchAt(const RegExpPlan& plan, const char* textStart, const char* at, MatchedGroups groups) noexcept {
    return Matcher(plan, textStart, at).MatchAt(at, groups);
}

bool FindMatch(const RegExpPlan& plan, const char* text, const char* must, MatchedGroups groups) noexcept {
    return Matcher(plan, text, text).Search(must, groups);
}

}  // namespace kiv
