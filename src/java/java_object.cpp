#include "support/windows_api.h"

#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "java/java_session.h"
#include "java/jni_names.h"
#include "support/log.h"
#include "tavkivut/java.h"

using kiv::JavaSession;
using kiv::JniEnvironmentTable;
using kiv::JniText;
using kiv::LocalReference;

namespace {

const char* Shown(const char* text) noexcept {
    return text != nullptr ? text : "";
}

jobject AsObject(jclass cls) noexcept {
    return reinterpret_cast<jobject>(cls);
}

// Whether a call of that kind gives results of that type: what it gave for another one would be no reference or number.
template <class Kind>
bool Fits(Kind kind, const char* resultType) {
    constexpr std::string_view kCodes = "VLZBCSIJFD";  // in the order of the kinds
    const std::string code = kiv::JniTypeCode(JniText(resultType));
    const char first = code.empty() ? 'V' : code[0];
    const auto place = static_cast<std::size_t>(kind);
    return place < kCodes.size() && kCodes[place] == (first == '[' ? 'L' : first);
}

// Null when the class has no such method.
jmethodID FindMethod(JNIEnv* env, jclass cls, const char* name, const std::string& signature) {
    const std::string jniName = JniText(name);
    const jmethodID method = env->functions->getMethodID(env, cls, jniName.c_str(), signature.c_str());
    return JavaSession::Threw(env) ? nullptr : method;
}

}  // namespace

CKivJavaObject::CKivJavaObject() noexcept
    : m_object(nullptr), m_class(nullptr), m_hasObject(0), m_hasClass(0), m_references(1) {}

CKivJavaObject::CKivJavaObject(jobject object) noexcept : CKivJavaObject() {
    Attach(object);
}

CKivJavaObject::CKivJavaObject(jclass cls) noexcept : CKivJavaObject() {
    Attach(cls);
}

CKivJavaObject::CKivJavaObject(const char* className) noexcept : CKivJavaObject() {
    JNIEnv* const env = JavaSession::Enter();
    if (env == nullptr)
        return;
    const LocalReference cls(env, env->functions->findClass(env, kiv::JniClassName(JniText(className)).c_str()));
    JavaSession::Threw(env);
    if (cls.Get() == nullptr)
        KIV_LOG(kiv::kLogMain, kiv::kLogError, "JVM : the class '%s' could not be found", Shown(className));
    Attach(cls.Class());
}

CKivJavaObject::CKivJavaObject(const CKivJavaObject& other) noexcept : CKivJavaObject() {
    *this = other;
}

CKivJavaObject::~CKivJavaObject() {
    Destroy();
}

CKivJavaObject& CKivJavaObject::operator=(jobject object) noexcept {
    CKivJavaObject old;
    std::swap(m_object, old.m_object);
    std::swap(m_class, old.m_class);
    m_hasObject = m_hasClass = 0;
    Attach(object);
    return *this;
}

CKivJavaObject& CKivJavaObject::operator=(const CKivJavaObject& other) noexcept {
    if (this == &other)
        return *this;
    if (other.m_hasObject != 0)
        return *this = other.m_object;
    *this = jobject{};
    Attach(other.m_class);
    return *this;
}

void CKivJavaObject::Attach(jobject object) noexcept {
    const jobject reference = kiv::NewReference(object);
    if (reference == nullptr)
        return;
    kiv::DeleteReference(m_object);
    m_object = reference;
    m_hasObject = 1;
}

void CKivJavaObject::Attach(jclass cls) noexcept {
    const jobject reference = kiv::NewReference(AsObject(cls));
    if (reference == nullptr)
        return;
    jobject old = AsObject(m_class);
    kiv::DeleteReference(old);
    m_class = reinterpret_cast<jclass>(reference);
    m_hasClass = 1;
}

void CKivJavaObject::Destroy() noexcept {
    jobject cls = AsObject(m_class);
    kiv::DeleteReference(cls);
    kiv::DeleteReference(m_object);
    m_class = nullptr;
    m_hasObject = m_hasClass = 0;
}

bool CKivJavaObject::operator==(const CKivJavaObject& other) const noexcept {
    if (m_hasObject == 0 || other.m_hasObject == 0)
        return m_hasObject == other.m_hasObject;
    JNIEnv* const env = JavaSession::Enter();
    return env != nullptr && env->functions->isSameObject(env, m_object, other.m_object) != 0;
}

bool CKivJavaObject::operator!=(const CKivJavaObject& other) const noexcept {
    return !(*this == other);
}

CKivJavaObject::operator bool() const noexcept {
    return m_hasObject != 0;
}

CKivJavaObject::operator jobject() const noexcept {
    return m_object;
}

int CKivJavaObject::CreateV(const char* parameterList, va_list arguments) noexcept {
    JNIEnv* const env = JavaSession::Enter();
    if (env == nullptr || m_hasClass == 0 || m_hasObject != 0)
        return env != nullptr ? m_hasObject : 0;
    const std::string signature = kiv::JniSignature("", JniText(parameterList));
    const jmethodID constructor = FindMethod(env, m_class, "<init>", signature);
    if (constructor == nullptr) {
        KIV_LOG(kiv::kLogMain, kiv::kLogError,
                "JVM : failed to create instance, no constructor takes the parameter list '%s'", Shown(parameterList));
        return 0;
    }
    const LocalReference object(env, env->functions->newObjectV(env, m_class, constructor, arguments));
    if (JavaSession::Threw(env) || object.Get() == nullptr)
        KIV_LOG(kiv::kLogMain, kiv::kLogError, "JVM : failed to create instance (parameter list '%s')",
                Shown(parameterList));
    Attach(object.Get());
    return m_hasObject;
}

CKivJavaObject::MethodResult CKivJavaObject::CallMethod(MethodType type, const char* resultType, const char* name,
                                                        const char* parameterList, va_list arguments) noexcept {
    MethodResult result{};
    JNIEnv* const env = m_hasObject != 0 ? JavaSession::Enter() : nullptr;
    if (env == nullptr)
        return result;
    const JniEnvironmentTable& jni = *env->functions;
    const LocalReference cls(env, jni.getObjectClass(env, m_object));
    const std::string signature = kiv::JniSignature(JniText(resultType), JniText(parameterList));
    const jmethodID method = Fits(type, resultType) ? FindMethod(env, cls.Class(), Shown(name), signature) : nullptr;
    if (method == nullptr) {
        KIV_LOG(kiv::kLogDetail, kiv::kLogInfo,
                "JVM : failed to call method, no member function '%s' takes the parameter list '%s'", Shown(name),
                Shown(parameterList));
        return result;
    }
    const auto call = [&](const auto& family) { return family.callMethodV(env, m_object, method, arguments); };
    switch (type) {
    case METHOD_VOID:
        call(jni.callVoid);
        break;
    case METHOD_OBJECT:
        result.l = call(jni.callObject);
        break;
    case METHOD_BOOLEAN:
        result.z = call(jni.callBoolean);
        break;
    case METHOD_BYTE:
        result.b = call(jni.callByte);
        break;
    case METHOD_CHAR:
        result.c = call(jni.callChar);
        break;
    case METHOD_SHORT:
        result.s = call(jni.callShort);
        break;
    case METHOD_INT:
        result.i = call(jni.callInt);
        break;
    case METHOD_LONG:
        result.j = call(jni.callLong);
        break;
    case METHOD_FLOAT:
        result.f = call(jni.callFloat);
        break;
    case METHOD_DOUBLE:
        result.d = call(jni.callDouble);
        break;
    }
    return JavaSession::Threw(env) ? MethodResult{} : result;
}

long CKivJavaObject::CreateInstance(const char* className, IUnknown** out) noexcept {
    if (out == nullptr)
        return E_POINTER;
    *out = new (std::nothrow) CKivJavaObject(className);
    return *out != nullptr ? S_OK : E_OUTOFMEMORY;
}

long CKivJavaObject::CreateInstance(jobject object, IUnknown** out) noexcept {
    if (out == nullptr)
        return E_POINTER;
    *out = new (std::nothrow) CKivJavaObject(object);
    return *out != nullptr ? S_OK : E_OUTOFMEMORY;
}
