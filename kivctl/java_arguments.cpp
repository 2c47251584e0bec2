#include "kivctl/java_arguments.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <limits>

#include "support/windows_api.h"

#include "kivctl/outcome.h"
#include "support/text_convert.h"
#include "tavkivut/java.h"

namespace kivctl {
namespace {

struct IntegerType {
    const char* name;
    long long least;
    long long greatest;
};

template <class Value>
constexpr IntegerType Integer(const char* name) {
    return {name, std::numeric_limits<Value>::min(), std::numeric_limits<Value>::max()};
}

constexpr IntegerType kIntegers[] = {Integer<std::int8_t>("byte"), Integer<std::int16_t>("short"),
                                     Integer<std::int32_t>("int"), Integer<std::int64_t>("long")};

std::vector<std::string> SplitAtCommas(const std::string& list) {
    std::vector<std::string> items;
    for (std::size_t start = 0; !list.empty() && start <= list.size();) {
        const std::size_t end = std::min(list.find(',', start), list.size());
        items.push_back(list.substr(start, end - start));
        start = end + 1;
    }
    return items;
}

// Whether all of a text is a number that the type holds.
template <class Number>
bool Read(const std::string& text, Number& number) {
    const char* const end = text.data() + text.size();
    const std::from_chars_result result = std::from_chars(text.data(), end, number);
    return result.ec == std::errc() && result.ptr == end;
}

[[noreturn]] void Refuse(const std::string& which, const std::string& wanted) {
    throw UsageError(which + " is not " + wanted);
}

}  // namespace

JavaArguments::JavaArguments(const std::string& owner, const std::string& parameters,
                             const std::vector<std::string>& texts) {
    const std::vector<std::string> types = SplitAtCommas(parameters);
    if (types.size() != texts.size())
        throw UsageError("arguments of " + owner + ": " + std::to_string(texts.size()) + " given, " +
                         std::to_string(types.size()) + " in its parameter list");
    for (std::size_t i = 0; i < types.size(); ++i)
        PutArgument(types[i], texts[i], "argument " + std::to_string(i + 1) + " of " + owner + ", '" + texts[i] + "',");
    m_bytes.resize(m_bytes.size() + sizeof(long long));
}

JavaArguments::~JavaArguments() = default;

template <class Value>
void JavaArguments::Put(Value value) {
    constexpr std::size_t kSize = (sizeof value + sizeof(void*) - 1) / sizeof(void*) * sizeof(void*);
    m_bytes.resize(m_bytes.size() + kSize);
    std::memcpy(m_bytes.data() + m_bytes.size() - kSize, &value, sizeof value);
}

void JavaArguments::PutArgument(const std::string& type, const std::string& text, const std::string& which) {
    const auto* const integer = std::find_if(std::begin(kIntegers), std::end(kIntegers),
                                             [&](const IntegerType& candidate) { return type == candidate.name; });
    if (integer != std::end(kIntegers)) {
        long long number = 0;
        if (!Read(text, number) || number < integer->least || number > integer->greatest)
            Refuse(which, type + ": a whole number from " + std::to_string(integer->least) + " to " +
                              std::to_string(integer->greatest));
        if (type == "long")
            Put(number);
        else
            Put(static_cast<int>(number));
    } else if (type == "boolean") {
        if (text != "true" && text != "false")
            Refuse(which, "boolean: true or false");
        Put(text == "true" ? 1 : 0);
    } else if (type == "char") {
        const std::wstring character = kiv::WideFromAnsi(text);
        if (character.size() != 1)
            Refuse(which, "char: exactly one character");
        Put(static_cast<int>(character[0]));
    } else if (type == "float" || type == "double") {
        double number = 0;
        float narrow = 0;
        if (!(type == "float" ? Read(text, narrow) : Read(text, number)))
            Refuse(which, type + ": a number in its range, such as -1.5e3");
        Put(type == "float" ? narrow : number);
    } else if (type == "java.lang.String") {
        m_texts.push_back({m_bytes.size(), text});
        Put(std::uintptr_t{0});
    } else {
        Refuse(which, "of a type that can be given: '" + type + "' is none of " + kJavaTypes);
    }
}

va_list JavaArguments::List() {
    for (const Text& text : m_texts) {
        m_strings.push_back(std::make_unique<CKivJavaString>(text.text.c_str()));
        const auto reference = reinterpret_cast<std::uintptr_t>(static_cast<jstring>(*m_strings.back()));
        std::memcpy(m_bytes.data() + text.place, &reference, sizeof reference);
    }
    m_texts.clear();
    return reinterpret_cast<va_list>(m_bytes.data());
}

}  // namespace kivctl
