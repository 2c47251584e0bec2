#ifndef KIV_JAVA_JAVA_REGISTRATIONS_H
#define KIV_JAVA_JAVA_REGISTRATIONS_H

#include <optional>
#include <string>
#include <vector>

namespace kiv {

// What became of one registered Java runtime in the choice.
enum class JavaVerdict {
    kChosen,      // the greatest version whose library is there
    kOvertaken,   // was the best until a greater one came
    kNotGreater,  // not looked at: a greater or equal version was found before
    kUnreadable,  // its key cannot be opened
    kDamaged,     // it has no text "RuntimeLib"
    kMissing,     // there is no such file, or its path depends on the current folder
};

struct JavaRegistration {
    std::string version;
    std::string library;  // empty where it is not known
    JavaVerdict verdict;
};

// The registered runtimes in the order of the registry, at most one of them chosen. Versions are compared character by
// character. No value when nothing is registered at all.
std::optional<std::vector<JavaRegistration>> ExamineJavaRegistrations();

// Where a runtime is.
struct JavaLocation {
    std::string library;
    std::string home;
};

enum class JavaLocationAnswer { kFound, kUnreadable, kDamaged };

// Reads the two texts of a registration.
JavaLocationAnswer ReadJavaLocation(const std::string& version, JavaLocation& location);

}  // namespace kiv

#endif
