#include "support/windows_api.h"

#include <new>
#include <string>

#include "java/java_session.h"
#include "java/jni_names.h"
#include "tavkivut/java.h"

using kiv::JavaSession;
using kiv::LocalReference;

// The typed calls: each takes its arguments and names its type of result.

int CKivJavaObject::Create(const char* parameterList, ...) noexcept {
    va_list arguments;
    va_start(arguments, parameterList);
    const int result = CreateV(parameterList, arguments);
    va_end(arguments);
    return result;
}

CKivJavaObject CKivJavaObject::CallObjectMethod(const char* resultClass, const char* name, const char* parameterList,
                                                ...) noexcept {
    va_list arguments;
    va_start(arguments, parameterList);
    const jobject result = CallMethod(METHOD_OBJECT, resultClass, name, parameterList, arguments).l;
    va_end(arguments);
    const LocalReference reference(JavaSession::Enter(), result);
    return CKivJavaObject(result);
}

unsigned int CKivJavaObject::CallObjectMethod(const char* resultClass, const char* name, CKivJavaObject** out,
                                              const char* parameterList, ...) noexcept {
    if (out == nullptr)
        return 0;
    *out = nullptr;
    JNIEnv* const env = JavaSession::Enter();
    if (env == nullptr)
        return 0;
    const std::string code = kiv::JniTypeCode(kiv::JniText(resultClass));
    if (code.empty() || (code[0] != 'L' && code[0] != '['))
        return 0;
    const std::string arrayType = std::string(resultClass) + "[]";
    va_list arguments;
    va_start(arguments, parameterList);
    const LocalReference array(env, CallMethod(METHOD_OBJECT, arrayType.c_str(), name, parameterList, arguments).l);
    va_end(arguments);
    const jsize length = array.Get() != nullptr ? env->functions->getArrayLength(env, array.Get()) : 0;
    *out = length > 0 ? new (std::nothrow) CKivJavaObject[static_cast<unsigned>(length)] : nullptr;
    if (*out == nullptr)
        return 0;
    for (jsize i = 0; i < length; ++i) {
        const LocalReference element(env, env->functions->getObjectArrayElement(env, array.Get(), i));
        JavaSession::Threw(env);
        (*out)[i].Attach(element.Get());
    }
    return static_cast<unsigned>(length);
}

CKivJavaString CKivJavaObject::CallStringMethod(const char* name, const char* parameterList, ...) noexcept {
    va_list arguments;
    va_start(arguments, parameterList);
    const jobject result = CallMethod(METHOD_OBJECT, "java.lang.String", name, parameterList, arguments).l;
    va_end(arguments);
    const LocalReference reference(JavaSession::Enter(), result);
    return CKivJavaString(reinterpret_cast<jstring>(result));
}

void CKivJavaObject::CallVoidMethod(const char* name, const char* parameterList, ...) noexcept {
    va_list arguments;
    va_start(arguments, parameterList);
    CallMethod(METHOD_VOID, nullptr, name, parameterList, arguments);
    va_end(arguments);
}

int CKivJavaObject::CallIntMethod(const char* name, const char* parameterList, ...) noexcept {
    va_list arguments;
    va_start(arguments, parameterList);
    const int result = CallMethod(METHOD_INT, "int", name, parameterList, arguments).i;
    va_end(arguments);
    return result;
}

bool CKivJavaObject::CallBooleanMethod(const char* name, const char* parameterList, ...) noexcept {
    va_list arguments;
    va_start(arguments, parameterList);
    const bool result = CallMethod(METHOD_BOOLEAN, "boolean", name, parameterList, arguments).z != 0;
    va_end(arguments);
    return result;
}

signed char CKivJavaObject::CallByteMethod(const char* name, const char* parameterList, ...) noexcept {
    va_list arguments;
    va_start(arguments, parameterList);
    const signed char result = CallMethod(METHOD_BYTE, "byte", name, parameterList, arguments).b;
    va_end(arguments);
    return result;
}

unsigned short CKivJavaObject::CallCharMethod(const char* name, const char* parameterList, ...) noexcept {
    va_list arguments;
    va_start(arguments, parameterList);
    const unsigned short result = CallMethod(METHOD_CHAR, "char", name, parameterList, arguments).c;
    va_end(arguments);
    return result;
}

short CKivJavaObject::CallShortMethod(const char* name, const char* parameterList, ...) noexcept {
    va_list arguments;
    va_start(arguments, parameterList);
    const short result = CallMethod(METHOD_SHORT, "short", name, parameterList, arguments).s;
    va_end(arguments);
    return result;
}

long long CKivJavaObject::CallLongMethod(const char* name, const char* parameterList, ...) noexcept {
    va_list arguments;
    va_start(arguments, parameterList);
    const long long result = CallMethod(METHOD_LONG, "long", name, parameterList, arguments).j;
    va_end(arguments);
    return result;
}

float CKivJavaObject::CallFloatMethod(const char* name, const char* parameterList, ...) noexcept {
    va_list arguments;
    va_start(arguments, parameterList);
    const float result = CallMethod(METHOD_FLOAT, "float", name, parameterList, arguments).f;
    va_end(arguments);
    return result;
}

double CKivJavaObject::CallDoubleMethod(const char* name, const char* parameterList, ...) noexcept {
    va_list arguments;
    va_start(arguments, parameterList);
    const double result = CallMethod(METHOD_DOUBLE, "double", name, parameterList, arguments).d;
    va_end(arguments);
    return result;
}
