#include "files/reg_exp_plan.h"

#include <algorithm>
#include <bitset>
#include <cstring>
#include <map>

#include "files/reg_exp_program.h"

namespace kiv {
namespace {

using Bytes = std::bitset<256>;
using Places = std::array<Bytes, RegExpPlan::kPlaces>;

std::size_t ByteIndex(char byte) noexcept {
    return static_cast<unsigned char>(byte);
}

// The bytes that a node of one character matches; none for other nodes.
Bytes MembersOf(const char* node) {
    const char* operand = NodeOperand(node);
    Bytes members;
    switch (NodeOp(node)) {
    case CRegExp::OP_ANY:
        members.set();
        break;
    case CRegExp::OP_EXACTLY:
        members.set(ByteIndex(*operand));
        break;
    case CRegExp::OP_ANYOF:
    case CRegExp::OP_ANYBUT:
        for (; *operand != '\0'; ++operand)
            members.set(ByteIndex(*operand));
        if (NodeOp(node) == CRegExp::OP_ANYBUT)
            members.flip();
        break;
    default:
        break;
    }
    return members.reset(0);  // the terminator is no character
}

bool IsBranch(const char* node) noexcept {
    return node != nullptr && NodeOp(node) == CRegExp::OP_BRANCH;
}

}  // namespace

// Makes the steps of a plan from nodes, then works out what each can go on with.
class RegExpPlanner {
public:
    explicit RegExpPlanner(RegExpPlan& plan) : m_plan(plan) {}

    void Build(const char* node) {
        AddStep(StepKind::kFail);
        m_plan.m_start = StepOf(node);
        while (!m_open.empty()) {
            const Pending pending = m_open.back();
            m_open.pop_back();
            Fill(pending.node, pending.step);
        }
        FindFirstBytes();
        for (std::size_t i = m_plan.m_steps.size(); i-- > 0;) {
            Step& step = m_plan.m_steps[i];
            step.row = RowBehind(i);
            step.members = Intern(m_members[i]);
            step.nextFirst = Intern(m_first[step.next][0]);
            step.otherFirst = Intern(m_first[step.other][0]);
            step.possessive =
                step.kind == StepKind::kRepeat && (IsEnd(step.next) || (m_members[i] & m_first[step.next][0]).none());
        }
        FindStart();
    }

private:
    struct Pending {
        const char* node;
        StepIndex step;
    };

    StepIndex AddStep(StepKind kind) {
        Step step{};
        step.kind = kind;
        step.index = kNotCounted;
        m_plan.m_steps.push_back(step);
        m_members.emplace_back();
        return static_cast<StepIndex>(m_plan.m_steps.size() - 1);
    }

    // Goes past nodes that do nothing: a branch without an alternative stands for its operand.
    static const char* Skip(const char* node) noexcept {
        for (;;) {
            if (node == nullptr)
                return nullptr;
            const int op = NodeOp(node);
            if (op == CRegExp::OP_NOTHING || op == CRegExp::OP_BACK)
                node = NextNode(node);
            else if (op == CRegExp::OP_BRANCH && !IsBranch(NextNode(node)))
                node = NodeOperand(node);
            else
                return node;
        }
    }

    // The step that stands for a node, made when it is met for the first time and filled later. A missing node fails.
    StepIndex StepOf(const char* node) {
        node = Skip(node);
        if (node == nullptr)
            return kFailing;
        const auto known = m_known.find(node);
        if (known != m_known.end())
            return known->second;
        const StepIndex step = AddStep(StepKind::kFail);
        m_known.emplace(node, step);
        m_open.push_back({node, step});
        return step;
    }

    void Fill(const char* node, StepIndex index) {
        const int op = NodeOp(node);
        Step step = m_plan.m_steps[index];
        switch (op) {
        case CRegExp::OP_END:
            step.kind = StepKind::kEnd;
            break;
        case CRegExp::OP_BOL:
            step.kind = StepKind::kTextStart;
            break;
        case CRegExp::OP_EOL:
            step.kind = StepKind::kTextEnd;
            break;
        case CRegExp::OP_ANY:
        case CRegExp::OP_ANYOF:
        case CRegExp::OP_ANYBUT:
            step.kind = StepKind::kByte;
            m_members[index] = MembersOf(node);
            break;
        case CRegExp::OP_EXACTLY:
            FillLiteral(node, index, step);
            break;
        case CRegExp::OP_STAR:
        case CRegExp::OP_PLUS:
            step.kind = StepKind::kRepeat;
            step.least = op == CRegExp::OP_PLUS ? 1 : 0;
            step.index = static_cast<std::uint16_t>(m_plan.m_repeats++);
            m_members[index] = MembersOf(NodeOperand(node));
            break;
        case CRegExp::OP_BRANCH:
            step = FilledBranch(node, step);
            break;
        default:
            FillSlot(op, step);
            break;
        }
        if (step.kind != StepKind::kEnd && step.kind != StepKind::kFail && step.kind != StepKind::kChoice)
            step.next = StepOf(NextNode(node));
        m_plan.m_steps[index] = step;
    }

    void FillLiteral(const char* node, StepIndex index, Step& step) {
        const char* literal = NodeOperand(node);
        step.length = static_cast<std::uint16_t>(std::strlen(literal));
        step.kind = step.length == 1 ? StepKind::kByte : StepKind::kLiteral;
        step.offset = static_cast<std::uint32_t>(m_plan.m_literals.size());
        m_plan.m_literals += literal;
        m_members[index] = MembersOf(node);
    }

    void FillSlot(int op, Step& step) noexcept {
        const bool opens = op > CRegExp::OP_OPEN && op < CRegExp::OP_OPEN + kGroupSlots;
        const bool closes = op > CRegExp::OP_CLOSE && op < CRegExp::OP_CLOSE + kGroupSlots;
        if (!opens && !closes)
            return;  // no such opcode: the step fails
        step.kind = StepKind::kSlot;
        step.index = static_cast<std::uint16_t>(opens ? 2 * (op - CRegExp::OP_OPEN) : 2 * (op - CRegExp::OP_CLOSE) + 1);
        m_plan.m_slots = std::max<std::size_t>(m_plan.m_slots, (step.index | 1u) + 1);
    }

    // A choice for each alternative but the last. Only the first of them can be entered from elsewhere, so only it
    // is counted.
    Step FilledBranch(const char* node, Step step) {
        step.kind = StepKind::kChoice;
        step.index = static_cast<std::uint16_t>(m_plan.m_choices++);
        step.next = StepOf(NodeOperand(node));
        step.other = OtherAlternatives(NextNode(node));
        return step;
    }

    StepIndex OtherAlternatives(const char* node) {
        const char* next = NextNode(node);
        if (!IsBranch(next))
            return StepOf(NodeOperand(node));
        const StepIndex index = AddStep(StepKind::kChoice);
        const StepIndex own = StepOf(NodeOperand(node));
        const StepIndex other = OtherAlternatives(next);
        m_plan.m_steps[index].next = own;
        m_plan.m_steps[index].other = other;
        return index;
    }

    // What can stand at each of the first places from a step on: one set of bytes for each place. The sets grow until
    // nothing changes any more. Steps were made roughly in the order of the pattern, so going backwards settles nearly
    // everything in one round.
    void FindFirstBytes() {
        m_first.resize(m_plan.m_steps.size());
        for (bool changed = true; changed;) {
            changed = false;
            for (std::size_t i = m_plan.m_steps.size(); i-- > 0;) {
                const Places first = FirstBytesOf(i);
                changed = changed || first != m_first[i];
                m_first[i] = first;
            }
        }
    }

    Places FirstBytesOf(std::size_t index) const {
        const Step& step = m_plan.m_steps[index];
        const Places& next = m_first[step.next];
        switch (step.kind) {
        case StepKind::kEnd:
            return AnyBytes();
        case StepKind::kTextStart:
        case StepKind::kSlot:
            return next;
        case StepKind::kTextEnd: {
            Places atEnd = AnyBytes();  // nothing is looked at behind the terminator
            atEnd[0] = Bytes(1) & next[0];
            return atEnd;
        }
        case StepKind::kByte:
            return Behind({m_members[index]}, next);
        case StepKind::kLiteral:
            return Behind(LiteralBytes(step), next);
        case StepKind::kChoice:
            return Either(next, m_first[step.other]);
        case StepKind::kRepeat: {
            const Places more = Behind({m_members[index]}, Either(next, m_first[index]));
            return step.least == 0 ? Either(next, more) : more;
        }
        default:
            return {};
        }
    }

    static Places AnyBytes() {
        Places any;
        any.fill(Bytes().set());
        return any;
    }

    static Places Either(const Places& a, const Places& b) {
        Places either = a;
        for (std::size_t place = 0; place < either.size(); ++place)
            either[place] |= b[place];
        return either;
    }

    // These bytes, then what can follow them.
    static Places Behind(const std::vector<Bytes>& bytes, const Places& next) {
        Places places;
        for (std::size_t place = 0; place < places.size(); ++place)
            places[place] = place < bytes.size() ? bytes[place] : next[place - bytes.size()];
        return places;
    }

    std::vector<Bytes> LiteralBytes(const Step& step) const {
        std::vector<Bytes> bytes(step.length);
        for (std::size_t i = 0; i < bytes.size(); ++i)
            bytes[i].set(ByteIndex(m_plan.Literal(step)[i]));
        return bytes;
    }

    // Eight sets share a table; equal sets are kept once.
    ByteSet Intern(const Bytes& bytes) {
        for (std::size_t i = 0; i < m_sets.size(); ++i) {
            if (m_sets[i] == bytes)
                return SetAt(i);
        }
        const ByteSet set = SetAt(m_sets.size());
        m_sets.push_back(bytes);
        if (set.table == m_plan.m_tables.size())
            m_plan.m_tables.resize(m_plan.m_tables.size() + bytes.size());
        for (std::size_t byte = 0; byte < bytes.size(); ++byte) {
            if (bytes[byte])
                m_plan.m_tables[set.table + byte] |= set.bit;
        }
        return set;
    }

    static ByteSet SetAt(std::size_t number) noexcept {
        return {static_cast<std::uint32_t>(number / 8 * 256), static_cast<std::uint8_t>(1u << number % 8)};
    }

    // To be asked for the last step first.
    std::uint8_t RowBehind(std::size_t index) const noexcept {
        const Step* step = m_plan.m_steps.data() + index;
        const bool goesOn = step->kind == StepKind::kByte && step->next == index + 1 && step[1].kind == StepKind::kByte;
        return static_cast<std::uint8_t>(goesOn ? step[1].row + 1 : 0);
    }

    const Step* BehindSlots(StepIndex index) const noexcept {
        const Step* step = m_plan.At(index);
        while (step->kind == StepKind::kSlot)
            step = m_plan.At(step->next);
        return step;
    }

    bool IsEnd(StepIndex index) const noexcept { return BehindSlots(index)->kind == StepKind::kEnd; }

    void FindStart() {
        const Step* step = BehindSlots(m_plan.m_start);
        if (step->length != 0)
            m_plan.m_prefix.assign(m_plan.Literal(*step), step->length);
        if (step->kind == StepKind::kRepeat)
            m_plan.m_leadingRun = static_cast<StepIndex>(m_plan.IndexOf(step));
        const Places& first = m_first[m_plan.m_start];
        for (std::size_t place = 0; place < first.size(); ++place) {
            if (!first[place].all())
                m_plan.m_placeCount = place + 1;
            for (std::size_t byte = 0; byte < first[place].size(); ++byte)
                m_plan.m_excludedPlaces[byte] |= static_cast<std::uint8_t>((first[place][byte] ? 0u : 1u) << place);
        }
    }

    static constexpr StepIndex kFailing = 0;

    RegExpPlan& m_plan;
    std::map<const char*, StepIndex> m_known;
    std::vector<Pending> m_open;
    std::vector<Bytes> m_members;  // of each step
    std::vector<Places> m_first;   // of each step
    std::vector<Bytes> m_sets;     // in the order of their bits
};

RegExpPlan::RegExpPlan(const char* node) {
    RegExpPlanner(*this).Build(node);
}

}  // namespace kiv
