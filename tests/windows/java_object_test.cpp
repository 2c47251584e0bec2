// Objects and strings of Java's own classes. They run on the stand-in runtime, and a second time, with the environment
// variable KIV_TEST_JAVA=real, on a real one: that whose library KIV_TEST_JAVA_LIBRARY names, else the newest that is
// registered on this machine. Exit code 77: there is none.

#include "support/windows_api.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/check.h"
#include "support/dynamic_function.h"
#include "support/java_registrations.h"
#include "support/recording_log.h"
#include "support/redirected_key.h"
#include "tavkivut/java.h"

using namespace kiv::test;

// The table of operations, two references, two flags and the count.
static_assert(sizeof(CKivJavaObject) == (sizeof(void*) == 8 ? 40 : 24));

namespace {

using Lines = std::vector<std::string>;

constexpr int kThreads = 32;
constexpr int kNoRuntime = 77;

std::string Text(const CKivJavaString& string) {
    return static_cast<const char*>(string);
}

struct Buffer : CKivJavaObject {
    explicit Buffer(const char* text = "") : CKivJavaObject("java.lang.StringBuffer") {
        Create("java.lang.String", static_cast<jstring>(CKivJavaString(text)));
    }
    int Length() { return CallIntMethod("length", ""); }
    CKivJavaString Characters() { return CallStringMethod("toString", ""); }
};

// 0 in the exit code: everything worked.
DWORD WINAPI UseAndDetach(LPVOID) {
    CKivJavaVM& machine = CKivJavaVM::GetInstance();
    bool works = true;
    {
        Buffer buffer;
        for (int i = 0; i < 100; ++i)
            buffer.CallObjectMethod("java.lang.StringBuffer", "append", "int", i % 10);
        works = buffer.Length() == 100 && machine.IsCurrentThreadAttached() == 1;
    }
    machine.DetachCurrentThread();
    machine.DetachCurrentThread();
    return works && machine.IsCurrentThreadAttached() == 0 ? 0 : 1;
}

// Runs that many threads at once; how many of them did not end with 0.
int RunThreads(int count, DWORD(WINAPI* work)(LPVOID), void* argument) {
    std::vector<HANDLE> threads(static_cast<std::size_t>(count));
    for (HANDLE& thread : threads)
        thread = ::CreateThread(nullptr, 0, work, argument, 0, nullptr);
    ::WaitForMultipleObjects(static_cast<DWORD>(count), threads.data(), TRUE, 60000);
    int failed = 0;
    for (const HANDLE thread : threads) {
        DWORD code = 1;
        ::GetExitCodeThread(thread, &code);
        failed += code == 0 ? 0 : 1;
        ::CloseHandle(thread);
    }
    return failed;
}

std::string Variable(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

// The one machine of this process. The first call comes from many threads at once; one of them starts the machine.
struct Machine {
    Machine() {
        const bool isReal = Variable("KIV_TEST_JAVA") == "real";
        const std::string named = Variable("KIV_TEST_JAVA_LIBRARY");
        if (!isReal || !named.empty()) {
            localMachine.emplace(HKEY_LOCAL_MACHINE);
            runtimes.emplace(localMachine->Handle());
            runtimes->Add("1.4", isReal ? named : runtimes->Library(), runtimes->Folder());
        }
        const RecordingLog log;
        failedThreads = RunThreads(kThreads, UseAndDetach, nullptr);
        const CKivJavaVM& machine = CKivJavaVM::GetInstance();
        startLines = log.Lines();
        if (isReal && named.empty() && *machine.GetVersion() == '\0') {
            std::puts("java: no real runtime: KIV_TEST_JAVA_LIBRARY names none, and none is registered");
            std::exit(kNoRuntime);
        }
        REQUIRE(machine.IsAvailable() == 1);
        std::printf("java: these tests run on %s\n", !isReal         ? "the stand-in runtime"
                                                     : named.empty() ? machine.GetHomePath()
                                                                     : named.c_str());
    }

    std::optional<RedirectedKey> localMachine;
    std::optional<JavaRegistrations> runtimes;
    int failedThreads;
    Lines startLines;
};

// Every case gives all references back, as far as the runtime tells, and logs what it says and no more.
struct Fixture {
    Fixture() { log.Clear(); }
    ~Fixture() { CHECK(References() == 0); }

    static unsigned References() {
        unsigned (*count)() = nullptr;
        kiv::FindFunction(::GetModuleHandleA("java_runtime.dll"), "StandInReferences", count);
        return count != nullptr ? count() : 0;
    }

    static const Machine& TheMachine() {
        static const Machine machine;
        return machine;
    }

    const Machine& machine = TheMachine();
    RecordingLog log;
};

}  // namespace

TEST_CASE_FIXTURE(Fixture, "32 threads make the first call at once, use objects and detach") {
    CHECK(machine.failedThreads == 0);
    REQUIRE(machine.startLines.size() == 4);  // one start, and nothing failed
    CHECK(machine.startLines[3].find("1  JVM : successfully created instance of the virtual machine") == 0);
}

namespace {

template <class Argument>
CKivJavaObject Box(const char* cls, const char* type, Argument argument) {
    CKivJavaObject box(cls);
    CHECK(box.Create(type, argument) == 1);
    CHECK(box.Create("no.Such", argument) == 1);  // there is an object: nothing is looked up
    return box;
}

}  // namespace

TEST_CASE_FIXTURE(Fixture, "arguments and results of every type arrive") {
    CHECK(Box("java.lang.Boolean", "bool", 1).CallBooleanMethod("booleanValue", ""));
    CHECK(Box("java.lang.Byte", "byte", -128).CallByteMethod("byteValue", "") == -128);
    CHECK(Box("java.lang.Character", "char", 0xFFFF).CallCharMethod("charValue", "") == 0xFFFF);
    CHECK(Box("java.lang.Short", "short", -32768).CallShortMethod("shortValue", "") == -32768);
    CHECK(Box("java.lang.Integer", "int", -2147483647).CallIntMethod("intValue", "") == -2147483647);
    CHECK(Box("java.lang.Long", "long", -0x123456789ABCDEFLL).CallLongMethod("longValue", "") == -0x123456789ABCDEFLL);
    CHECK(Box("java.lang.Float", "float", 1.5).CallFloatMethod("floatValue", "") == 1.5F);
    CHECK(Box("java.lang.Double", "double", 1e300).CallDoubleMethod("doubleValue", "") == 1e300);

    Buffer buffer;  // whose method has an overload for each type
    const char* const result = "java.lang.StringBuffer";
    CHECK(buffer.CallObjectMethod(result, "append", "boolean", 1) == buffer);
    CHECK(buffer.CallObjectMethod(result, "append", "char", 'x') == buffer);
    CHECK(buffer.CallObjectMethod(result, "append", "int", -7) == buffer);
    CHECK(buffer.CallObjectMethod(result, "append", "long", -(1LL << 40)) == buffer);
    CHECK(buffer.CallObjectMethod(result, "append", "float", 1.5) == buffer);
    CHECK(buffer.CallObjectMethod(result, "append", "double", -0.25) == buffer);
    const CKivJavaString text(" text ");
    CHECK(buffer.CallObjectMethod(result, "append", "java.lang.String", static_cast<jstring>(text)) == buffer);
    CHECK(buffer.CallObjectMethod(result, "append", "java.lang.Object", static_cast<jobject>(nullptr)) == buffer);
    CHECK(Text(buffer.Characters()) == "truex-7-10995116277761.5-0.25 text null");
    buffer.CallVoidMethod("setLength", "int", 5);
    CHECK(buffer.CallCharMethod("charAt", "int", 4) == 'x');
    CHECK(buffer.Length() == 5);

    const CKivJavaObject nested("java.util.Map$Entry");
    CHECK(log.Lines() == Lines{});
}

TEST_CASE_FIXTURE(Fixture, "what Java refuses gives nothing, with its line, and the next call works") {
    const CKivJavaObject unknown("no.Such");
    CHECK_FALSE(unknown);
    CKivJavaObject list("java.util.ArrayList");
    CHECK(list.CallIntMethod("size", "") == 0);  // a class alone: no line
    CHECK(list.Create("int,java.lang.String", 1, nullptr) == 0);
    CHECK(list.Create("int", -1) == 0);  // throws
    CHECK_FALSE(list);
    CHECK(list.Create("int", 10) == 1);
    CHECK_FALSE(list.CallObjectMethod("java.lang.Object", "get", "int", 1));  // throws
    CHECK(list.CallIntMethod("size", "long", 2LL) == 0);
    CHECK_FALSE(list.CallObjectMethod("int", "size", ""));  // an int is no reference
    CHECK_FALSE(list.CallObjectMethod("", "clear", ""));
    CKivJavaObject* array = nullptr;
    CHECK(list.CallObjectMethod("int", "size", &array, "") == 0);
    CHECK(list.CallBooleanMethod("add", "java.lang.Object", static_cast<jobject>(list)));
    CHECK(list.CallIntMethod("size", "") == 1);
    const std::string create = "1E JVM : failed to create instance";
    const std::string call = "3  JVM : failed to call method, no member function ";
    CHECK(log.Lines() == Lines{"1E JVM : the class 'no.Such' could not be found",
                               create + ", no constructor takes the parameter list 'int,java.lang.String'",
                               create + " (parameter list 'int')", call + "'size' takes the parameter list 'long'",
                               call + "'size' takes the parameter list ''",
                               call + "'clear' takes the parameter list ''"});
}

TEST_CASE_FIXTURE(Fixture, "copies stand for the same object, whatever is assigned to what") {
    Buffer buffer("seven");
    CKivJavaObject copy(buffer);
    CKivJavaObject other("java.util.ArrayList");
    other = copy;
    CKivJavaObject& self = other;
    other = self;
    other = static_cast<jobject>(other);
    copy = CKivJavaObject();
    CHECK_FALSE(copy);
    CHECK(copy == CKivJavaObject());
    CHECK(copy != buffer);
    CHECK(other == buffer);
    CHECK(other != Buffer("seven"));
    CHECK(other.CallIntMethod("length", "") == 5);
    CKivJavaObject cls = CKivJavaObject("java.util.ArrayList");
    const CKivJavaObject& clsOnly = cls;
    CKivJavaObject list(clsOnly);  // a class is copied too
    CHECK(list.Create("") == 1);
}

TEST_CASE_FIXTURE(Fixture, "arrays of objects come whole, with their gaps") {
    constexpr int kCount = 10000;
    CKivJavaObject list("java.util.ArrayList");
    list.Create("");
    for (int i = 0; i < kCount; ++i) {
        CKivJavaObject number("java.lang.Integer");
        if (i % 3 != 2)
            number.Create("int", i);
        list.CallBooleanMethod("add", "java.lang.Object", static_cast<jobject>(number));
    }
    CKivJavaObject* out = nullptr;
    REQUIRE(list.CallObjectMethod("java.lang.Object", "toArray", &out, "") == kCount);
    const std::unique_ptr<CKivJavaObject[]> numbers(out);
    bool right = true;
    for (int i = 0; i < kCount; ++i)
        right = right && (i % 3 == 2 ? !numbers[i] : numbers[i].CallIntMethod("intValue", "") == i);
    CHECK(right);
    CHECK(list.CallObjectMethod("java.lang.Object", "toArray", static_cast<CKivJavaObject**>(nullptr), "") == 0);
    list.CallVoidMethod("clear", "");
    for (const char* const name : {"toArray", "missing"}) {
        out = &list;
        CHECK(list.CallObjectMethod("java.lang.Object", name, &out, "") == 0);
        CHECK(out == nullptr);
    }
}

TEST_CASE_FIXTURE(Fixture, "100,000 calls leave no reference behind") {
    Buffer buffer;
    const unsigned before = References();
    for (int i = 0; i < 40000; ++i)
        buffer.CallObjectMethod("java.lang.StringBuffer", "append", "char", 'a' + i % 26);
    for (int i = 0; i < 50000; ++i)
        buffer.Length();
    for (int i = 0; i < 2000; ++i)
        Buffer("x").Characters();
    CHECK(References() == before);
    CHECK(buffer.Length() == 40000);
}

TEST_CASE_FIXTURE(Fixture, "strings keep every character, to Java and back") {
    const std::string megabyte(1 << 20, 'm');
    Buffer buffer(megabyte.c_str());
    CHECK(buffer.Length() == 1 << 20);
    CKivJavaString string = buffer.Characters();
    CHECK(string.length() == 1 << 20);
    CHECK(Text(string) == megabyte);
    string = static_cast<const char*>(string) + megabyte.size() - 1;  // of its own text
    CHECK(Text(string) == "m");

    const unsigned short wide[] = {'a', 0x4E00, 0xD83D, 0xDE00, 0};
    CKivJavaString beyond;
    beyond = wide;
    CKivJavaObject made("java.lang.String");
    CHECK(made.Create("java.lang.String", static_cast<jstring>(beyond)) == 1);
    const CKivJavaString back = made.CallStringMethod("toString", "");
    CHECK(back.length() == 4);
    CHECK(Text(back).substr(0, 2) == "a?");
    CHECK(std::wstring(reinterpret_cast<const wchar_t*>(static_cast<const unsigned short*>(back))) ==
          L"a\x4E00\xD83D\xDE00");

    const CKivJavaString empty("");
    const CKivJavaString nothing(static_cast<const char*>(nullptr));
    CHECK(static_cast<jstring>(empty) != nullptr);
    CHECK(static_cast<jstring>(nothing) == nullptr);
    CHECK(nothing.length() == 0);
    CHECK(Text(nothing).empty());
    CHECK(*static_cast<const unsigned short*>(nothing) == 0);
}

TEST_CASE_FIXTURE(Fixture, "a string with NUL inside comes whole, and goes whole as a reference") {
    Buffer buffer("a");
    buffer.CallObjectMethod("java.lang.StringBuffer", "append", "char", 0);
    buffer.CallObjectMethod("java.lang.StringBuffer", "append", "char", 'b');
    CKivJavaString string = buffer.Characters();
    CKivJavaString copy(string);
    CHECK(copy.length() == 3);
    CHECK(std::string(static_cast<const char*>(copy), 4) == std::string("a\0b\0", 4));
    CHECK(std::wstring(reinterpret_cast<const wchar_t*>(static_cast<const unsigned short*>(copy)), 4) ==
          std::wstring(L"a\0b\0", 4));
    buffer.CallObjectMethod("java.lang.StringBuffer", "append", "java.lang.String", static_cast<jstring>(copy));
    CHECK(buffer.Length() == 6);
    string = static_cast<const char*>(copy);  // a text ends at its first NUL
    CHECK(string.length() == 1);
}

namespace {

DWORD WINAPI CountReferences(LPVOID object) {
    for (int i = 0; i < 10000; ++i) {
        static_cast<IUnknown*>(object)->AddRef();
        static_cast<IUnknown*>(object)->Release();
    }
    return 0;
}

// The place of the first method of that name in what Java gives; -1 when there is none.
long PlaceOf(const char* name, CKivJavaObject& object) {
    CKivJavaObject cls = object.CallObjectMethod("java.lang.Class", "getClass", "");
    CKivJavaObject* methods = nullptr;
    const unsigned count = cls.CallObjectMethod("java.lang.reflect.Method", "getMethods", &methods, "");
    const std::unique_ptr<CKivJavaObject[]> owner(methods);
    for (unsigned i = 0; i < count; ++i) {
        if (Text(methods[i].CallStringMethod("getName", "")) == name)
            return static_cast<long>(i);
    }
    return -1;
}

}  // namespace

TEST_CASE_FIXTURE(Fixture, "automation clients resolve names and run nothing") {
    Buffer buffer;
    IUnknown* unknown = nullptr;
    REQUIRE(CKivJavaObject::CreateInstance(static_cast<jobject>(buffer), &unknown) == S_OK);
    IDispatch* dispatch = nullptr;
    REQUIRE(unknown->QueryInterface(__uuidof(IDispatch), reinterpret_cast<void**>(&dispatch)) == S_OK);
    CHECK(unknown->QueryInterface(__uuidof(IMalloc), reinterpret_cast<void**>(&unknown)) == E_NOINTERFACE);
    CHECK(unknown == nullptr);
    CHECK(dispatch->Release() == 1);
    CHECK(dispatch->QueryInterface(__uuidof(IUnknown), nullptr) == E_POINTER);
    RunThreads(4, CountReferences, dispatch);

    UINT types = 1;
    CHECK(dispatch->GetTypeInfoCount(&types) == S_OK);
    CHECK(types == 0);
    CHECK(dispatch->GetTypeInfoCount(nullptr) == E_POINTER);
    CHECK(dispatch->GetTypeInfo(0, 0, nullptr) == E_NOTIMPL);
    wchar_t wrongCase[] = L"Append";
    wchar_t append[] = L"append";
    wchar_t toString[] = L"toString";
    wchar_t* names[] = {append, wrongCase, toString};
    DISPID ids[] = {9, 9, 9};
    CHECK(dispatch->GetIDsOfNames(GUID{}, names, 3, 0, ids) == DISP_E_UNKNOWNNAME);
    CHECK(PlaceOf("append", buffer) >= 0);
    CHECK((ids[0] == PlaceOf("append", buffer) && ids[1] == -1 && ids[2] == PlaceOf("toString", buffer)));
    CHECK(dispatch->GetIDsOfNames(GUID{}, names, 1, 0, ids) == S_OK);
    CHECK(dispatch->GetIDsOfNames(GUID{}, nullptr, 1, 0, ids) == E_POINTER);
    VARIANT result;
    result.vt = VT_ERROR;
    CHECK(dispatch->Invoke(ids[0], GUID{}, 0, DISPATCH_METHOD, nullptr, &result, nullptr, nullptr) == S_OK);
    CHECK(result.vt == VT_ERROR);
    CHECK(dispatch->Release() == 0);

    REQUIRE(CKivJavaObject::CreateInstance("java.lang.String", &unknown) == S_OK);  // no object, so no names
    CHECK(static_cast<CKivJavaObject*>(unknown)->GetIDsOfNames(GUID{}, names, 1, 0, ids) == DISP_E_UNKNOWNNAME);
    CHECK(unknown->Release() == 0);
    CHECK(CKivJavaObject::CreateInstance("java.lang.String", nullptr) == E_POINTER);
}
