#ifndef KIVCTL_JAVA_CALL_H
#define KIVCTL_JAVA_CALL_H

#include <string>
#include <vector>

namespace kivctl {

// A Java class and what to do with an object of it. Which types lists can name, and how their arguments are written,
// tells java_arguments.h.
struct JavaCall {
    std::string className;
    std::string constructorParameters;
    std::vector<std::string> constructorArguments;
    std::string method;
    std::string result = "java.lang.String";  // "void", a basic type, or java.lang.String
    std::string parameters;
    std::vector<std::string> arguments;
};

// The methods of a class, in the order of their numbers, inherited ones too.
std::vector<std::string> JavaMethods(const std::string& className);

// Makes an object, calls its method and gives the result as text. Throws UsageError for arguments that do not fit,
// Failure where there is no such class, constructor or method. A method that throws gives 0 or "".
std::string CallJava(const JavaCall& call);

}  // namespace kivctl

#endif
