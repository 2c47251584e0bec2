#ifndef KIVCTL_JAVA_ARGUMENTS_H
#define KIVCTL_JAVA_ARGUMENTS_H

#include <cstdarg>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

class CKivJavaString;

namespace kivctl {

// The types that the command line can give and show, each by its whole name:
//
//     boolean                  true, false
//     byte, short, int, long   a decimal number in the type's range
//     char                     one character
//     float, double            a number, all of the text
//     java.lang.String         any text
constexpr const char* kJavaTypes = "boolean, byte, char, short, int, long, float, double and java.lang.String";

// The arguments of a constructor or a method, from texts.
class JavaArguments {
public:
    // The parameter list is the types, separated by ",". Throws UsageError where texts and list do not fit together;
    // `owner` is whose arguments they are, as the message says it. Needs no Java machine.
    JavaArguments(const std::string& owner, const std::string& parameters, const std::vector<std::string>& texts);
    ~JavaArguments();
    JavaArguments(const JavaArguments&) = delete;
    JavaArguments& operator=(const JavaArguments&) = delete;

    // For the calls with a va_list; makes the strings, so it needs the machine. Valid as long as this object.
    va_list List();

private:
    struct Text {
        std::size_t place;  // of its reference
        std::string text;
    };

    // Arguments stand one behind the other, each in whole machine words.
    template <class Value>
    void Put(Value value);
    void PutArgument(const std::string& type, const std::string& text, const std::string& which);

    std::vector<char> m_bytes;
    std::vector<Text> m_texts;
    std::vector<std::unique_ptr<CKivJavaString>> m_strings;
};

}  // namespace kivctl

#endif
