#include "support/windows_api.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include "java/java_session.h"
#include "support/heap_text.h"
#include "support/text_convert.h"
#include "tavkivut/java.h"

namespace {

const wchar_t* AsWide(const unsigned short* text) noexcept {
    return reinterpret_cast<const wchar_t*>(text);
}

}  // namespace

CKivJavaString::CKivJavaString() noexcept : m_string(nullptr), m_ansi(nullptr), m_utf16(nullptr), m_length(0) {}

CKivJavaString::CKivJavaString(jstring string) noexcept : CKivJavaString() {
    *this = string;
}

CKivJavaString::CKivJavaString(const char* text) noexcept : CKivJavaString() {
    *this = text;
}

CKivJavaString::CKivJavaString(const unsigned short* text) noexcept : CKivJavaString() {
    *this = text;
}

CKivJavaString::CKivJavaString(const CKivJavaString& other) noexcept : CKivJavaString() {
    *this = other;
}

CKivJavaString::~CKivJavaString() {
    Clear();
}

CKivJavaString& CKivJavaString::operator=(jstring string) noexcept {
    Take(reinterpret_cast<jstring>(kiv::NewReference(reinterpret_cast<jobject>(string))));
    return *this;
}

CKivJavaString& CKivJavaString::operator=(const char* text) noexcept {
    const std::wstring wide = kiv::WideFromAnsi(text != nullptr ? text : "");
    Assign(text != nullptr ? wide.data() : nullptr, static_cast<unsigned long>(wide.size()));
    return *this;
}

CKivJavaString& CKivJavaString::operator=(const unsigned short* text) noexcept {
    Assign(AsWide(text), text != nullptr ? static_cast<unsigned long>(std::wcslen(AsWide(text))) : 0);
    return *this;
}

CKivJavaString& CKivJavaString::operator=(const CKivJavaString& other) noexcept {
    if (this != &other)
        *this = other.m_string;
    return *this;
}

long CKivJavaString::length() const noexcept {
    JNIEnv* const env = m_string != nullptr ? kiv::JavaSession::Enter() : nullptr;
    return env != nullptr ? env->functions->getStringLength(env, m_string) : 0;
}

CKivJavaString::operator const char*() const noexcept {
    ReadCharacters();
    if (m_ansi == nullptr && m_utf16 != nullptr) {
        const std::string ansi = kiv::AnsiFromWide({AsWide(m_utf16), static_cast<std::size_t>(m_length)});
        m_ansi = kiv::DuplicateText(ansi.data(), ansi.size());
    }
    return m_ansi != nullptr ? m_ansi : "";
}

CKivJavaString::operator const unsigned short*() const noexcept {
    static constexpr unsigned short kEmpty = 0;
    ReadCharacters();
    return m_utf16 != nullptr ? m_utf16 : &kEmpty;
}

CKivJavaString::operator jstring() const noexcept {
    return m_string;
}

void CKivJavaString::ClearBuffers() noexcept {
    kiv::FreeText(m_ansi);
    std::free(m_utf16);
    m_utf16 = nullptr;
    m_length = 0;
}

void CKivJavaString::Clear() noexcept {
    Take(nullptr);
}

// Takes a reference over and lets go of what was held.
void CKivJavaString::Take(jstring reference) noexcept {
    auto old = reinterpret_cast<jobject>(m_string);
    m_string = reference;
    kiv::DeleteReference(old);
    ClearBuffers();
}

// A null text makes the string empty.
void CKivJavaString::Assign(const wchar_t* text, unsigned long length) noexcept {
    JNIEnv* const env = text != nullptr ? kiv::JavaSession::Enter() : nullptr;
    jstring made = nullptr;
    if (env != nullptr) {
        made = env->functions->newString(env, reinterpret_cast<const jchar*>(text), static_cast<jsize>(length));
        kiv::JavaSession::Threw(env);
    }
    Take(made);
}

// Copies the characters, once; the copy stays null where there is no string or no memory.
void CKivJavaString::ReadCharacters() const noexcept {
    JNIEnv* const env = m_string != nullptr && m_utf16 == nullptr ? kiv::JavaSession::Enter() : nullptr;
    if (env == nullptr)
        return;
    const jchar* const characters = env->functions->getStringChars(env, m_string, nullptr);
    kiv::JavaSession::Threw(env);
    if (characters == nullptr)
        return;
    const auto count = static_cast<std::size_t>(env->functions->getStringLength(env, m_string));
    m_utf16 = static_cast<unsigned short*>(std::calloc(count + 1, sizeof *m_utf16));
    if (m_utf16 != nullptr) {
        std::memcpy(m_utf16, characters, count * sizeof *m_utf16);
        m_length = static_cast<long>(count);
    }
    env->functions->releaseStringChars(env, m_string, characters);
}
