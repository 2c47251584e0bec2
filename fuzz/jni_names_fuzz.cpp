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

// How many codes stand one behind the other; the names in them hold no ";".
std::size_t CountCodes(std::string_view codes) {
    std::size_t count = 0;
    for (std::size_t at = 0; at < codes.size(); ++at, ++count) {
        at = codes.find_first_not_of('[', at);
        Require(at != std::string_view::npos &&
                std::string_view("IJZBCSFDL").find(codes[at]) != std::string_view::npos);
        at = codes[at] == 'L' ? codes.find(';', at) : at;
        Require(at != std::string_view::npos);
    }
    return count;
}

}  // namespace

// A list of two parts has the codes of both, every code can be read, and a class's name stays as it is the second time.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    text.erase(std::remove_if(text.begin(), text.end(), [](char c) { return c == ';' || c == ')'; }), text.end());
    const std::string one = text.substr(0, size / 3);
    const std::string other = text.substr(one.size());

    const auto parameters = [](const std::string& list) {
        const std::string signature = kiv::JniSignature("", list);
        Require(signature.front() == '(' && signature.substr(signature.size() - 2) == ")V");
        CountCodes(signature.substr(1, signature.size() - 3));
        return signature.substr(1, signature.size() - 3);
    };
    Require(parameters(one + "," + other) == parameters(one) + parameters(other));
    const std::string code = kiv::JniTypeCode(text);
    Require(CountCodes(code) <= 1 && kiv::JniSignature(text, "") == "()" + (code.empty() ? "V" : code));

    const std::string name = kiv::JniClassName(text);
    Require(name.find('.') == std::string::npos && kiv::JniClassName(name) == name);
    return 0;
}
