#ifndef KIV_JAVA_JAVA_SESSION_H
#define KIV_JAVA_JAVA_SESSION_H

#include <string>

#include "java/jni_tables.h"

namespace kiv {

// A text of the code page as names of the JNI are encoded; "" for null.
std::string JniText(const char* text);

// The calling thread's way into the machine.
class JavaSession : private CKivJavaVM {
public:
    // Attaches the thread when it is not yet. Null without a machine.
    static JNIEnv* Enter() noexcept;

    // For giving references back: never attaches a thread. Null for one that is not attached.
    static JNIEnv* Reenter() noexcept;

    // Whether the call just made threw; the exception is cleared.
    static bool Threw(JNIEnv* env) noexcept;
};

// A local reference that is deleted at the end of its scope.
class LocalReference {
public:
    LocalReference(JNIEnv* env, jobject reference) noexcept : m_env(env), m_reference(reference) {}
    LocalReference(JNIEnv* env, jclass reference) noexcept
        : LocalReference(env, reinterpret_cast<jobject>(reference)) {}
    ~LocalReference() {
        if (m_reference != nullptr)
            m_env->functions->deleteLocalRef(m_env, m_reference);
    }
    LocalReference(const LocalReference&) = delete;
    LocalReference& operator=(const LocalReference&) = delete;

    jobject Get() const noexcept { return m_reference; }
    jclass Class() const noexcept { return reinterpret_cast<jclass>(m_reference); }

private:
    JNIEnv* m_env;
    jobject m_reference;
};

// A further reference to the same object; null when that fails.
jobject NewReference(jobject object) noexcept;

// Deletes a reference and makes it null. On a thread that is not attached it is gone already.
void DeleteReference(jobject& reference) noexcept;

}  // namespace kiv

#endif
