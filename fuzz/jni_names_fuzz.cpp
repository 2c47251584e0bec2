#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "java/jni_names.h"

namespace {

void Require(bool condition) {
    if (!condition)
        std::abort();
}

// How many codes stand one behind the other, taking each class up to its ";"; names of the input hold none of their
// own.
std::size_t CountCodes(std::string_view codes) {
    std::size_t count = 0;
    for (std::size_t at = 0; at < codes.size(); ++at, ++count) {
        at = codes.find_first_not_of('[', at);
        Require(at != std::string_view::npos);
        if (codes[at] == 'L')
            at = codes.find(';', at);
        else
            Require(std::string_view("IJZBCSFD").find(codes[at]) != std::string_view::npos);
        Require(at != std::string_view::npos);
    }
    return count;
}

// Whether something is left of a name without blanks and brackets.
bool HasName(std::string_view name) {
    for (;;) {
        while (!name.empty() && (name.back() == ' ' || name.back() == '\t'))
            name.remove_suffix(1);
        if (name.size() < 2 || name.substr(name.size() - 2) != "[]")
            return name.find_first_not_of(" \t") != std::string_view::npos;
        name.remove_suffix(2);
    }
}

std::size_t CountNames(std::string_view list) {
    std::size_t count = 0;
    for (std::size_t start = 0; start <= list.size();) {
        const std::size_t end = std::min(list.find(',', start), list.size());
        count += HasName(list.substr(start, end - start)) ? 1 : 0;
        start = end + 1;
    }
    return count;
}

}  // namespace

// A signature holds one code for each name of the list and one for the result.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    text.erase(std::remove_if(text.begin(), text.end(), [](char c) { return c == ';' || c == ')'; }), text.end());
    const std::size_t half = text.size() / 2;
    const std::string result = text.substr(0, half);
    const std::string parameters = text.substr(half);

    const std::string signature = kiv::JniSignature(result, parameters);
    const std::size_t close = signature.find(')');
    Require(signature.front() == '(' && close != std::string::npos);
    Require(CountCodes(std::string_view(signature).substr(1, close - 1)) == CountNames(parameters));
    const std::string code = signature.substr(close + 1);
    Require(HasName(result) ? CountCodes(code) == 1 && code == kiv::JniTypeCode(result) : code == "V");

    const std::string name = kiv::JniClassName(text);
    Require(name.find('.') == std::string::npos && kiv::JniClassName(name) == name);
    return 0;
}
