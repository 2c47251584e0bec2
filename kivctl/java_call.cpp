#include "kivctl/java_call.h"

#include <charconv>
#include <memory>

#include "support/windows_api.h"

#include "java/jni_tables.h"
#include "kivctl/java_arguments.h"
#include "kivctl/outcome.h"
#include "support/text_convert.h"
#include "tavkivut/java.h"

namespace kivctl {
namespace {

// What the objects cannot be asked, through the JNI itself.
class Machine : private CKivJavaVM {
public:
    // The object of java.lang.Class for a class, which is an object like any other.
    static CKivJavaObject FindClass(const std::string& className) {
        JNIEnv* const env = (GetInstance().*&Machine::GetEnv)();
        if (env == nullptr)
            throw Failure("there is no Java machine; `kivctl java list` and the log tell why");
        char* const name = AllocJNIName(className.c_str());
        const auto reference = reinterpret_cast<jobject>(env->functions->findClass(env, name));
        FreeJNIName(name);
        env->functions->exceptionClear(env);
        CKivJavaObject object(reference);
        if (reference == nullptr)
            throw Failure("there is no class " + className);
        env->functions->deleteLocalRef(env, reference);
        return object;
    }

    static void Delete(jobject reference) {
        JNIEnv* const env = (GetInstance().*&Machine::GetEnv)();
        env->functions->deleteLocalRef(env, reference);
    }

    static bool HasMethod(const CKivJavaObject& cls, const JavaCall& call) {
        JNIEnv* const env = (GetInstance().*&Machine::GetEnv)();
        const char* const result = call.result == "void" ? nullptr : call.result.c_str();
        char* const signature = AllocJNISignature(result, call.parameters.c_str());
        const auto reference = reinterpret_cast<jclass>(static_cast<jobject>(cls));
        const bool has = env->functions->getMethodID(env, reference, Utf8(call.method).c_str(), signature) != nullptr;
        FreeJNIName(signature);
        env->functions->exceptionClear(env);
        return has;
    }
};

// An object whose calls are told by texts.
class ScriptedObject : public CKivJavaObject {
public:
    struct ResultType {
        const char* name;
        MethodType type;
    };

    using CKivJavaObject::CKivJavaObject;

    static const ResultType& FindResultType(const std::string& name) {
        static constexpr ResultType kTypes[] = {{"void", METHOD_VOID},       {"java.lang.String", METHOD_OBJECT},
                                                {"boolean", METHOD_BOOLEAN}, {"byte", METHOD_BYTE},
                                                {"char", METHOD_CHAR},       {"short", METHOD_SHORT},
                                                {"int", METHOD_INT},         {"long", METHOD_LONG},
                                                {"float", METHOD_FLOAT},     {"double", METHOD_DOUBLE}};
        for (const ResultType& type : kTypes) {
            if (name == type.name)
                return type;
        }
        throw UsageError("results of type '" + name + "' cannot be shown, only void, " + kJavaTypes);
    }

    bool Make(const std::string& parameters, JavaArguments& arguments) {
        return CreateV(parameters.c_str(), arguments.List()) != 0;
    }

    std::string Call(const JavaCall& call, const ResultType& type, JavaArguments& arguments) {
        const MethodResult result = CallMethod(type.type, type.type == METHOD_VOID ? nullptr : type.name,
                                               call.method.c_str(), call.parameters.c_str(), arguments.List());
        switch (type.type) {
        case METHOD_VOID:
            break;
        case METHOD_OBJECT:
            return TakeText(result.l);
        case METHOD_BOOLEAN:
            return result.z != 0 ? "true" : "false";
        case METHOD_BYTE:
            return std::to_string(result.b);
        case METHOD_CHAR:
            return kiv::AnsiFromWide(std::wstring(1, static_cast<wchar_t>(result.c)));
        case METHOD_SHORT:
            return std::to_string(result.s);
        case METHOD_INT:
            return std::to_string(result.i);
        case METHOD_LONG:
            return std::to_string(result.j);
        case METHOD_FLOAT:
            return Shortest(result.f);
        case METHOD_DOUBLE:
            return Shortest(result.d);
        }
        return "";
    }

private:
    static std::string TakeText(jobject reference) {
        const CKivJavaString text(reinterpret_cast<jstring>(reference));
        Machine::Delete(reference);
        return static_cast<const char*>(text);
    }

    // The fewest digits that give the same number again.
    template <class Number>
    static std::string Shortest(Number number) {
        char digits[40];
        return std::string(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
    }
};

}  // namespace

std::vector<std::string> JavaMethods(const std::string& className) {
    CKivJavaObject cls = Machine::FindClass(className);
    CKivJavaObject* methods = nullptr;
    const unsigned count = cls.CallObjectMethod("java.lang.reflect.Method", "getMethods", &methods, "");
    const std::unique_ptr<CKivJavaObject[]> owner(methods);
    std::vector<std::string> names;
    for (unsigned i = 0; i < count; ++i)
        names.emplace_back(static_cast<const char*>(methods[i].CallStringMethod("toString", "")));
    return names;
}

std::string CallJava(const JavaCall& call) {
    const ScriptedObject::ResultType& resultType = ScriptedObject::FindResultType(call.result);
    JavaArguments constructorArguments("the constructor", call.constructorParameters, call.constructorArguments);
    JavaArguments arguments("the method", call.parameters, call.arguments);
    if (!Machine::HasMethod(Machine::FindClass(call.className), call))
        throw Failure(call.className + " has no method " + call.result + " " + call.method + "(" + call.parameters +
                      ")");
    ScriptedObject object(call.className.c_str());
    if (!object.Make(call.constructorParameters, constructorArguments))
        throw Failure("no object could be made; the log tells why");
    return object.Call(call, resultType, arguments);
}

}  // namespace kivctl
