// A replacement text for a fixed match: measured, refused and written to the byte.

#include <string>
#include <vector>

#include "require.h"
#include "support/ascii.h"
#include "tavkivut/reg_exp.h"

namespace {

const std::string kGroups[10] = {"name=value;", "name", "value", "", "", "", "", "", "", ""};

// The rule, character by character.
std::string Expected(const std::string& replacement) {
    std::string text;
    for (std::size_t at = 0; at < replacement.size(); ++at) {
        const char next = at + 1 < replacement.size() ? replacement[at + 1] : '\0';
        if (replacement[at] == '&')
            text += kGroups[0];
        else if (replacement[at] == '\\' && kiv::IsDigit(next))
            text += kGroups[replacement[++at] - '0'];
        else if (replacement[at] == '\\' && (next == '\\' || next == '&'))
            text += replacement[++at];
        else
            text += replacement[at];
    }
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string replacement = std::string(reinterpret_cast<const char*>(data), size).c_str();
    CRegExp compiled;
    Require(compiled.RegComp("([a-z]+)=([a-z]+)(x)?;") != nullptr && compiled.RegFind("; name=value;") == 2);
    const std::string expected = Expected(replacement);
    const auto needed = static_cast<unsigned>(expected.size()) + 1;
    Require(compiled.GetReplaceString(replacement.c_str(), nullptr, 0) == needed);
    std::vector<char> dest(needed, '\x01');
    Require(compiled.GetReplaceString(replacement.c_str(), dest.data(), needed - 1) == needed);
    Require(dest[0] == '\x01');
    Require(compiled.GetReplaceString(replacement.c_str(), dest.data(), needed) == needed);
    Require(expected == dest.data());
    return 0;
}
