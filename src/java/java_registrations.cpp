#include "java/java_registrations.h"

#include <cstring>

#include "support/windows_api.h"

#include "files/path_text.h"
#include "tavkivut/registry.h"

namespace kiv {
namespace {

constexpr const char* kRuntimesKey = "HKEY_LOCAL_MACHINE\\SOFTWARE\\JavaSoft\\Java Runtime Environment";
constexpr const char* kLibraryValue = "RuntimeLib";
constexpr const char* kHomeValue = "JavaHome";

bool IsOpen(const CKivRegKey& key) {
    return static_cast<HKEY>(key) != nullptr;
}

// A text as it is registered, nothing expanded. Data of another type counts as absent.
bool ReadText(CKivRegKey& key, const char* name, std::string& text) {
    CKivRegValue value = key[name];
    const unsigned long type = value.getType();
    if (type != REG_SZ && type != REG_EXPAND_SZ)
        return false;
    const char* const found = value;
    if (found == nullptr)
        return false;
    text = found;
    return true;
}

// A path that depends on the current folder is not followed: the file of that name there could be anyone's.
bool IsFile(const std::string& path) {
    if (!IsDrivePath(path) && !IsUncPath(path))
        return false;
    const DWORD attributes = ::GetFileAttributesA(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

JavaVerdict Examine(JavaRegistration& registration) {
    CKivRegKey key(nullptr, kRuntimesKey, registration.version.c_str(), KEY_READ);
    if (!IsOpen(key))
        return JavaVerdict::kUnreadable;
    if (!ReadText(key, kLibraryValue, registration.library))
        return JavaVerdict::kDamaged;
    return IsFile(registration.library) ? JavaVerdict::kChosen : JavaVerdict::kMissing;
}

}  // namespace

std::optional<std::vector<JavaRegistration>> ExamineJavaRegistrations() {
    CKivRegKey runtimes(nullptr, kRuntimesKey, nullptr, KEY_READ);
    if (!IsOpen(runtimes))
        return std::nullopt;
    std::vector<JavaRegistration> all;
    std::string best;
    for (CKivRegKey::iteratorKeys it = runtimes.beginKeys(); it.getName() != nullptr; ++it) {
        JavaRegistration registration{it.getName(), "", JavaVerdict::kNotGreater};
        if (std::strcmp(registration.version.c_str(), best.c_str()) > 0)
            registration.verdict = Examine(registration);
        if (registration.verdict == JavaVerdict::kChosen) {
            best = registration.version;
            for (JavaRegistration& earlier : all) {
                if (earlier.verdict == JavaVerdict::kChosen)
                    earlier.verdict = JavaVerdict::kOvertaken;
            }
        }
        all.push_back(registration);
    }
    return all;
}

JavaLocationAnswer ReadJavaLocation(const std::string& version, JavaLocation& location) {
    CKivRegKey key(nullptr, kRuntimesKey, version.c_str(), KEY_READ);
    if (!IsOpen(key))
        return JavaLocationAnswer::kUnreadable;
    const bool complete = ReadText(key, kLibraryValue, location.library) && ReadText(key, kHomeValue, location.home);
    return complete ? JavaLocationAnswer::kFound : JavaLocationAnswer::kDamaged;
}

}  // namespace kiv
