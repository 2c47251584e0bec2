#ifndef KIV_FILES_REG_EXP_MATCH_H
#define KIV_FILES_REG_EXP_MATCH_H

#include "files/reg_exp_plan.h"

namespace kiv {

// Where a match and its groups go: arrays of kGroupSlots, 0 for the whole match. Groups that take no part, and all of
// them when there is no match, stay as they are.
struct MatchedGroups {
    const char** starts;
    const char** ends;
};

// Matching is depth-first, the first success wins, and nothing recurs. Exhausted memory counts as no match.

// Whether the plan matches at this position of the text that begins at textStart.
bool MatchAt(const RegExpPlan& plan, const char* textStart, const char* at, MatchedGroups groups) noexcept;

// The first match in the text. Every match has the text `must` in it, unless that is null.
bool FindMatch(const RegExpPlan& plan, const char* text, const char* must, MatchedGroups groups) noexcept;

}  // namespace kiv

#endif
