#include "java/jni_names.h"

#include <algorithm>
#include <cstddef>

namespace kiv {
namespace {

struct BasicType {
    std::string_view name;
    char code;
};

// In the order in which names are matched: a name that is cut short is the first that begins with it.
constexpr BasicType kBasicTypes[] = {{"int", 'I'},  {"long", 'J'},  {"boolean", 'Z'}, {"bool", 'Z'},  {"byte", 'B'},
                                     {"char", 'C'}, {"short", 'S'}, {"float", 'F'},   {"double", 'D'}};

std::string_view WithoutBlanks(std::string_view text) {
    constexpr std::string_view kBlanks = " \t";
    const std::size_t first = text.find_first_not_of(kBlanks);
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

// Takes every "[]" off the end of a name and gives how many there were.
std::size_t TakeDimensions(std::string_view& name) {
    constexpr std::string_view kDimension = "[]";
    std::size_t dimensions = 0;
    name = WithoutBlanks(name);
    while (name.size() >= kDimension.size() && name.substr(name.size() - kDimension.size()) == kDimension) {
        name = WithoutBlanks(name.substr(0, name.size() - kDimension.size()));
        ++dimensions;
    }
    return dimensions;
}

std::string WithSlashes(std::string_view name) {
    std::string slashed(name);
    std::replace(slashed.begin(), slashed.end(), '.', '/');
    return slashed;
}

}  // namespace

std::string JniTypeCode(std::string_view type) {
    const std::size_t dimensions = TakeDimensions(type);
    if (type.empty())
        return {};
    std::string code(dimensions, '[');
    for (const BasicType& basic : kBasicTypes) {
        if (basic.name.substr(0, type.size()) == type)
            return code + basic.code;
    }
    return code + 'L' + WithSlashes(type) + ';';
}

std::string JniSignature(std::string_view result, std::string_view parameters) {
    std::string signature = "(";
    for (std::size_t start = 0; start <= parameters.size();) {
        const std::size_t end = std::min(parameters.find(',', start), parameters.size());
        signature += JniTypeCode(parameters.substr(start, end - start));
        start = end + 1;
    }
    const std::string code = JniTypeCode(result);
    return signature + ')' + (code.empty() ? "V" : code);
}

std::string JniClassName(std::string_view name) {
    std::string_view element = name;
    return TakeDimensions(element) == 0 ? WithSlashes(element) : JniTypeCode(name);
}

}  // namespace kiv
