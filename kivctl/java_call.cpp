#include "kivctl/java_call.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>

#include "support/windows_api.h"

#include "java/jni_tables.h"
#include "kivctl/outcome.h"
#include "tavkivut/java.h"

namespace kivctl {
namespace {

// Arguments as the JNI's calls with a va_list find them: one behind the other, each in whole machine words.
class ArgumentBlock {
public:
    // Parameters and arguments in the same order.
    ArgumentBlock(const std::string& parameters, const std::vector<std::string>& arguments) {
        std::size_t used = 0;
        for (std::size_t start = 0; start < parameters.size();) {
            const std::size_t end = std::min(parameters.find(',', start), parameters.size());
            if (used == arguments.size())
                throw UsageError("there are more parameters than arguments");
            Add(parameters.substr(start, end - start), arguments[used++]);
            start = end + 1;
        }
        if (used != arguments.size())
            throw UsageError("there are more arguments than parameters");
        m_bytes.resize(m_bytes.size() + sizeof(long long));
    }

    va_list List() { return reinterpret_cast<va_list>(m_bytes.data()); }

private:
    template <class Value>
    void Put(Value value) {
        constexpr std::size_t kSize = (sizeof value + sizeof(void*) - 1) / sizeof(void*) * sizeof(void*);
        m_bytes.resize(m_bytes.size() + kSize);
        std::memcpy(m_bytes.data() + m_bytes.size() - kSize, &value, sizeof value);
    }

    void Add(const std::string& type, const std::string& text) {
        try {
            if (type == "java.lang.String") {
                m_strings.push_back(std::make_unique<CKivJavaString>(text.c_str()));
                Put(reinterpret_cast<std::uintptr_t>(static_cast<jstring>(*m_strings.back())));
            } else if (type == "boolean" || type == "bool") {
                Put(text == "true" ? 1 : 0);
            } else if (type == "char") {
                Put(static_cast<int>(*static_cast<const unsigned short*>(CKivJavaString(text.c_str()))));
            } else if (type == "long") {
                Put(std::stoll(text, nullptr, 0));
            } else if (type == "float" || type == "double") {
                Put(std::stod(text));
            } else if (type == "int" || type == "short" || type == "byte") {
                Put(std::stoi(text, nullptr, 0));
            } else {
                throw UsageError("arguments of type '" + type + "' cannot be given here");
            }
        } catch (const std::logic_error&) {
            throw UsageError("'" + text + "' is no " + type);
        }
    }

    std::vector<std::unique_ptr<CKivJavaString>> m_strings;
    std::vector<char> m_bytes;
};

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
        const bool has = env->functions->getMethodID(env, reference, call.method.c_str(), signature) != nullptr;
        FreeJNIName(signature);
        env->functions->exceptionClear(env);
        return has;
    }
};

// An object whose calls are told by texts.
class ScriptedObject : public CKivJavaObject {
public:
    using CKivJavaObject::CKivJavaObject;

    bool Make(const std::string& parameters, const std::vector<std::string>& arguments) {
        return CreateV(parameters.c_str(), ArgumentBlock(parameters, arguments).List()) != 0;
    }

    std::string Call(const JavaCall& call) {
        ArgumentBlock arguments(call.parameters, call.arguments);
        const auto result = [&](MethodType type, const char* name) {
            return CallMethod(type, name, call.method.c_str(), call.parameters.c_str(), arguments.List());
        };
        if (call.result == "void")
            return result(METHOD_VOID, nullptr), "";
        if (call.result == "boolean")
            return result(METHOD_BOOLEAN, "boolean").z != 0 ? "true" : "false";
        if (call.result == "byte")
            return std::to_string(result(METHOD_BYTE, "byte").b);
        if (call.result == "char")
            return std::to_string(result(METHOD_CHAR, "char").c);
        if (call.result == "short")
            return std::to_string(result(METHOD_SHORT, "short").s);
        if (call.result == "int")
            return std::to_string(result(METHOD_INT, "int").i);
        if (call.result == "long")
            return std::to_string(result(METHOD_LONG, "long").j);
        if (call.result == "float")
            return std::to_string(result(METHOD_FLOAT, "float").f);
        if (call.result == "double")
            return std::to_string(result(METHOD_DOUBLE, "double").d);
        if (call.result != "java.lang.String")
            throw UsageError("results of type '" + call.result + "' cannot be shown");
        const jobject reference = result(METHOD_OBJECT, "java.lang.String").l;
        const CKivJavaString text(reinterpret_cast<jstring>(reference));
        Machine::Delete(reference);
        return static_cast<const char*>(text);
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
    if (!Machine::HasMethod(Machine::FindClass(call.className), call))
        throw Failure(call.className + " has no method " + call.result + " " + call.method + "(" + call.parameters +
                      ")");
    ScriptedObject object(call.className.c_str());
    if (!object.Make(call.constructorParameters, call.constructorArguments))
        throw Failure("no object could be made; the log tells why");
    return object.Call(call);
}

}  // namespace kivctl
