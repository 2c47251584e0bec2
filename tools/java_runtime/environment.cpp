#include "java_runtime/environment.h"

#include <algorithm>
#include <cstring>

#include "java_runtime/machine.h"

namespace {

// The code of a result type in a signature.
template <class Result>
constexpr char kCode = 'L';
template <>
constexpr char kCode<jboolean> = 'Z';
template <>
constexpr char kCode<jbyte> = 'B';
template <>
constexpr char kCode<jchar> = 'C';
template <>
constexpr char kCode<jshort> = 'S';
template <>
constexpr char kCode<jint> = 'I';
template <>
constexpr char kCode<jlong> = 'J';
template <>
constexpr char kCode<jfloat> = 'F';
template <>
constexpr char kCode<jdouble> = 'D';
template <>
constexpr char kCode<void> = 'V';

// Reads the arguments that a signature tells. Small integers come as int, float as double.
Values ReadArguments(Session& session, const char* signature, va_list arguments) {
    Values values;
    for (const char* at = signature + 1; *at != ')'; ++at) {
        Value value;
        switch (*at) {
        case 'J':
            value.basic.j = va_arg(arguments, jlong);
            break;
        case 'F':
            value.basic.f = static_cast<jfloat>(va_arg(arguments, jdouble));
            break;
        case 'D':
            value.basic.d = va_arg(arguments, jdouble);
            break;
        case 'L':
        case '[':
            value.object = session.Resolve(va_arg(arguments, jobject));
            at += std::strspn(at, "[");
            at += *at == 'L' ? std::strcspn(at, ";") : 0;
            break;
        case 'Z':
            value.basic.z = va_arg(arguments, int) != 0 ? 1 : 0;
            break;
        case 'B':
            value.basic.b = static_cast<jbyte>(va_arg(arguments, int));
            break;
        case 'C':
        case 'S':
            value.basic.s = static_cast<jshort>(va_arg(arguments, int));
            break;
        default:
            value.basic.i = va_arg(arguments, int);
            break;
        }
        values.push_back(value);
    }
    return values;
}

// A Java exception becomes the pending one.
Value Run(Session& session, const ObjectPointer& self, const Method& method, va_list arguments) {
    const Values values = ReadArguments(session, method.signature, arguments);
    try {
        return method.body(self, values);
    } catch (const JavaException& exception) {
        session.Throw(exception.cls);
        return {};
    }
}

const Method& MethodOf(const Class& cls, jmethodID id) {
    const auto* const method = reinterpret_cast<const Method*>(id);
    if (method == nullptr)
        BreakRule("a null method is called");
    if (FindMethod(cls, method->name, method->signature) == nullptr)
        BreakRule("a method of another class is called");
    return *method;
}

// The method that the object's own class has under that name and signature.
template <class Result>
Value Call(Session& session, jobject object, jmethodID id, va_list arguments) {
    const ObjectPointer self = session.ResolveObject(object);
    const Method& named = MethodOf(*self->cls, id);
    const char* const code = std::strchr(named.signature, ')') + 1;
    if ((*code == '[' ? 'L' : *code) != kCode<Result>)
        BreakRule(std::string("a method is called for another type of result: ") + named.name + named.signature);
    return Run(session, self, *FindMethod(*self->cls, named.name, named.signature), arguments);
}

template <class Result>
Result __stdcall CallMethodV(JNIEnv* env, jobject object, jmethodID id, va_list arguments) {
    Session session(env);
    const Value value = Call<Result>(session, object, id, arguments);
    Result result;
    std::memcpy(&result, &value.basic, sizeof result);
    return result;
}

template <>
jobject __stdcall CallMethodV<jobject>(JNIEnv* env, jobject object, jmethodID id, va_list arguments) {
    Session session(env);
    return session.Refer(Call<jobject>(session, object, id, arguments).object);
}

template <>
void __stdcall CallMethodV<void>(JNIEnv* env, jobject object, jmethodID id, va_list arguments) {
    Session session(env);
    Call<void>(session, object, id, arguments);
}

template <class Result>
void Serve(kiv::JniCallFamily<Result>& family) {
    family.callMethodV = CallMethodV<Result>;
}

jint __stdcall GetVersion(JNIEnv* env) {
    const Session session(env);
    return kiv::kJniVersion12;
}

jclass __stdcall FindClassByName(JNIEnv* env, const char* name) {
    Session session(env);
    const Class* const cls = FindClass(name);
    if (cls == nullptr) {
        session.Throw("java/lang/NoClassDefFoundError");
        return nullptr;
    }
    return reinterpret_cast<jclass>(session.Refer(MirrorOf(*cls)));
}

jobject __stdcall ExceptionOccurred(JNIEnv* env) {
    Session session(env, true);
    return session.Refer(session.Thread().pending);
}

void __stdcall ExceptionDescribe(JNIEnv* env) {
    const Session session(env, true);
}

void __stdcall ExceptionClear(JNIEnv* env) {
    Session session(env, true);
    session.Thread().pending = nullptr;
}

jboolean __stdcall ExceptionCheck(JNIEnv* env) {
    Session session(env, true);
    return session.Thread().pending != nullptr ? 1 : 0;
}

void __stdcall DeleteLocalRef(JNIEnv* env, jobject reference) {
    Session session(env, true);
    session.Forget(reference);
}

jboolean __stdcall IsSameObject(JNIEnv* env, jobject one, jobject other) {
    Session session(env);
    return session.Resolve(one) == session.Resolve(other) ? 1 : 0;
}

jobject __stdcall NewLocalRef(JNIEnv* env, jobject reference) {
    Session session(env);
    return session.Refer(session.Resolve(reference));
}

jobject __stdcall NewObjectV(JNIEnv* env, jclass reference, jmethodID constructor, va_list arguments) {
    Session session(env);
    const Class& cls = session.ResolveClass(reinterpret_cast<jobject>(reference));
    const ObjectPointer object = MakeObject(cls.name);
    Run(session, object, MethodOf(cls, constructor), arguments);
    return session.Thread().pending != nullptr ? nullptr : session.Refer(object);
}

jclass __stdcall GetObjectClass(JNIEnv* env, jobject object) {
    Session session(env);
    return reinterpret_cast<jclass>(session.Refer(MirrorOf(*session.ResolveObject(object)->cls)));
}

jmethodID __stdcall GetMethodID(JNIEnv* env, jclass cls, const char* name, const char* signature) {
    Session session(env);
    const Method* const method = FindMethod(session.ResolveClass(reinterpret_cast<jobject>(cls)), name, signature);
    if (method == nullptr)
        session.Throw("java/lang/NoSuchMethodError");
    return reinterpret_cast<jmethodID>(const_cast<Method*>(method));
}

jstring __stdcall NewString(JNIEnv* env, const jchar* characters, jsize length) {
    Session session(env);
    return reinterpret_cast<jstring>(session.Refer(MakeString(std::u16string(characters, characters + length))));
}

jsize __stdcall GetStringLength(JNIEnv* env, jstring string) {
    Session session(env);
    return static_cast<jsize>(session.ResolveObject(reinterpret_cast<jobject>(string))->text.size());
}

const jchar* __stdcall GetStringChars(JNIEnv* env, jstring string, jboolean* isCopy) {
    Session session(env);
    if (isCopy != nullptr)
        *isCopy = 1;
    return session.Pin(session.ResolveObject(reinterpret_cast<jobject>(string))->text);
}

void __stdcall ReleaseStringChars(JNIEnv* env, jstring string, const jchar* characters) {
    Session session(env, true);
    session.ResolveObject(reinterpret_cast<jobject>(string));
    session.Unpin(characters);
}

jsize __stdcall GetArrayLength(JNIEnv* env, jobject array) {
    Session session(env);
    return static_cast<jsize>(session.ResolveObject(array)->elements.size());
}

jobject __stdcall GetObjectArrayElement(JNIEnv* env, jobject array, jsize index) {
    Session session(env);
    const ObjectPointer object = session.ResolveObject(array);
    if (index >= 0 && static_cast<std::size_t>(index) < object->elements.size())
        return session.Refer(object->elements[static_cast<std::size_t>(index)]);
    session.Throw("java/lang/ArrayIndexOutOfBoundsException");
    return nullptr;
}

kiv::JniEnvironmentTable MakeTable() {
    kiv::JniEnvironmentTable table{};
    auto* const slots = reinterpret_cast<void**>(&table);
    std::fill_n(slots, sizeof table / sizeof *slots, reinterpret_cast<void*>(NotServed));
    table.getVersion = GetVersion;
    table.findClass = FindClassByName;
    table.exceptionOccurred = ExceptionOccurred;
    table.exceptionDescribe = ExceptionDescribe;
    table.exceptionClear = ExceptionClear;
    table.exceptionCheck = ExceptionCheck;
    table.deleteLocalRef = DeleteLocalRef;
    table.isSameObject = IsSameObject;
    table.newLocalRef = NewLocalRef;
    table.newObjectV = NewObjectV;
    table.getObjectClass = GetObjectClass;
    table.getMethodID = GetMethodID;
    Serve(table.callObject);
    Serve(table.callBoolean);
    Serve(table.callByte);
    Serve(table.callChar);
    Serve(table.callShort);
    Serve(table.callInt);
    Serve(table.callLong);
    Serve(table.callFloat);
    Serve(table.callDouble);
    Serve(table.callVoid);
    table.newString = NewString;
    table.getStringLength = GetStringLength;
    table.getStringChars = GetStringChars;
    table.releaseStringChars = ReleaseStringChars;
    table.getArrayLength = GetArrayLength;
    table.getObjectArrayElement = GetObjectArrayElement;
    return table;
}

}  // namespace

void NotServed() {
    BreakRule("a function is called that this runtime does not have");
}

const kiv::JniEnvironmentTable& EnvironmentTable() {
    static const kiv::JniEnvironmentTable table = MakeTable();
    return table;
}
