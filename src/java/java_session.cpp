#include "java/java_session.h"

#include "support/ascii.h"
#include "support/text_convert.h"

namespace kiv {

// Windows 95 cannot convert to UTF-8, so plain ASCII, which is the same in both, is not converted.
std::string JniText(const char* text) {
    const std::string_view view = text == nullptr ? "" : text;
    return IsAscii(view) ? std::string(view) : Utf8FromWide(WideFromAnsi(view));
}

JNIEnv* JavaSession::Enter() noexcept {
    return (GetInstance().*&JavaSession::GetEnv)();
}

JNIEnv* JavaSession::Reenter() noexcept {
    return IsInstanceRunning() != 0 ? (GetInstance().*&JavaSession::GetAttachedEnv)() : nullptr;
}

bool JavaSession::Threw(JNIEnv* env) noexcept {
    if (env->functions->exceptionCheck(env) == 0)
        return false;
    env->functions->exceptionClear(env);
    return true;
}

jobject NewReference(jobject object) noexcept {
    JNIEnv* const env = object != nullptr ? JavaSession::Enter() : nullptr;
    if (env == nullptr)
        return nullptr;
    const jobject reference = env->functions->newLocalRef(env, object);
    JavaSession::Threw(env);
    return reference;
}

void DeleteReference(jobject& reference) noexcept {
    JNIEnv* const env = reference != nullptr ? JavaSession::Reenter() : nullptr;
    if (env != nullptr)
        env->functions->deleteLocalRef(env, reference);
    reference = nullptr;
}

}  // namespace kiv
