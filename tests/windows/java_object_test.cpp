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
#include "support/java_registrations.h"
#include "support/recording_log.h"
#include "support/redirected_key.h"
#include "support/threads.h"
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

// All of its length, and the terminator.
std::wstring Wide(const CKivJavaString& string) {
    const unsigned short* const characters = string;
    return {reinterpret_cast<const wchar_t*>(characters), static_cast<std::size_t>(string.length()) + 1};
}

struct Buffer : CKivJavaObject {
    explicit Buffer(const CKivJavaString& text = "") : CKivJavaObject("java.lang.StringBuffer") {
        Create("java.lang.String", static_cast<jstring>(text));
    }

    // One of the overloads; whether it gives the buffer itself, as it should.
    template <class Argument>
    bool Append(const char* type, Argument argument) {
        return CallObjectMethod("java.lang.StringBuffer", "append", type, argument) == *this;
    }
    int Length() { return CallIntMethod("length", ""); }
    CKivJavaString Characters() { return CallStringMethod("toString", ""); }
};

// On a thread that was not attached before; true when everything worked.
bool UseAndDetach() {
    CKivJavaVM& machine = CKivJavaVM::GetInstance();
    bool works = true;
    {
        Buffer buffer;
        for (int i = 0; i < 100; ++i)
            works = works && buffer.Append("int", i % 10);
        works = works && buffer.Length() == 100 && machine.IsCurrentThreadAttached() == 1;
    }
    machine.DetachCurrentThread();
    machine.DetachCurrentThread();
    return works && machine.IsCurrentThreadAttached() == 0;
}

// The one machine of this process. The first call comes from many threads at once; one of them starts the machine.
struct Machine {
    Machine() {
        const bool isReal = std::getenv("KIV_TEST_JAVA") != nullptr;
        const char* const named = isReal ? std::getenv("KIV_TEST_JAVA_LIBRARY") : nullptr;
        if (!isReal || named != nullptr) {
            localMachine.emplace(HKEY_LOCAL_MACHINE);
            runtimes.emplace(localMachine->Handle());
            runtimes->Add("1.4", isReal ? named : runtimes->Library(), runtimes->Folder());
        }
        const RecordingLog log;
        const int succeeded = RunThreads(kThreads, UseAndDetach);
        const CKivJavaVM& machine = CKivJavaVM::GetInstance();
        if (isReal && named == nullptr && *machine.GetVersion() == '\0') {
            std::puts("java: no real runtime: KIV_TEST_JAVA_LIBRARY names none, and none is registered");
            std::exit(kNoRuntime);
        }
        REQUIRE(machine.IsAvailable() == 1);
        std::printf("java: these tests run on %s, %s\n", isReal ? "a real runtime" : "the stand-in runtime",
                    named != nullptr ? named : machine.GetHomePath());
        CHECK(succeeded == kThreads);
        CHECK(log.Lines().size() == 4);  // one start, and nothing failed
    }

    std::optional<RedirectedKey> localMachine;
    std::optional<JavaRegistrations> runtimes;
};

// Every case gives all references back, as far as the runtime tells, and logs what it says and no more.
struct Fixture {
    Fixture() {
        static const Machine machine;
        log.Clear();
    }
    ~Fixture() { CHECK(References() == 0); }

    static unsigned References() { return AskStandIn<unsigned>("StandInReferences"); }

    RecordingLog log;
};

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

    Buffer buffer;
    CHECK(buffer.Append("boolean", 1));
    CHECK(buffer.Append("char", 'x'));
    CHECK(buffer.Append("int", -7));
    CHECK(buffer.Append("long", -(1LL << 40)));
    CHECK(buffer.Append("float", 1.5));
    CHECK(buffer.Append("double", -0.25));
    CHECK(buffer.Append("java.lang.String", static_cast<jstring>(CKivJavaString(" text "))));
    CHECK(buffer.Append("java.lang.Object", static_cast<jobject>(nullptr)));
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
    CHECK((copy == CKivJavaObject() && copy != buffer));
    CHECK((other == buffer && other != Buffer("seven")));
    CHECK(other.CallIntMethod("length", "") == 5);
    const CKivJavaObject cls("java.util.ArrayList");
    CHECK(CKivJavaObject(cls).Create("") == 1);  // a class is copied too
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
        buffer.Append("char", 'a' + i % 26);
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
    CHECK(Text(string) == megabyte);
    string = static_cast<const char*>(string) + megabyte.size() - 1;  // of its own text
    CHECK(Text(string) == "m");

    const unsigned short beyond[] = {'a', 0x4E00, 0xD83D, 0xDE00, 0};
    string = beyond;
    string = Buffer(string).Characters();
    CHECK(Wide(string) == std::wstring(L"a\x4E00\xD83D\xDE00", 5));
    CHECK(Text(string).substr(0, 2) == "a?");

    Buffer withNul("a");  // comes whole, and goes whole as a reference
    withNul.Append("char", 0);
    withNul.Append("char", 'b');
    string = withNul.Characters();
    const CKivJavaString copy(string);
    CHECK(Wide(copy) == std::wstring(L"a\0b", 4));
    CHECK(std::string(static_cast<const char*>(copy), 4) == std::string("a\0b", 4));
    CHECK(Buffer(copy).Length() == 3);
    string = static_cast<const char*>(copy);  // a text ends at its first NUL
    CHECK(string.length() == 1);

    const CKivJavaString nothing(static_cast<const char*>(nullptr));
    CHECK(static_cast<jstring>(CKivJavaString("")) != nullptr);
    CHECK(static_cast<jstring>(nothing) == nullptr);
    CHECK(Wide(nothing) == std::wstring(1, L'\0'));
    CHECK(Text(nothing).empty());
}

namespace {

// The place of the first method of that name in what Java gives.
long PlaceOf(const char* name, CKivJavaObject& object) {
    CKivJavaObject cls = object.CallObjectMethod("java.lang.Class", "getClass", "");
    CKivJavaObject* methods = nullptr;
    const unsigned count = cls.CallObjectMethod("java.lang.reflect.Method", "getMethods", &methods, "");
    const std::unique_ptr<CKivJavaObject[]> owner(methods);
    for (unsigned i = 0; i < count; ++i) {
        if (Text(methods[i].CallStringMethod("getName", "")) == name)
            return static_cast<long>(i);
    }
    return -2;
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
    const auto refer = [dispatch] {
        for (int i = 0; i < 10000; ++i)
            dispatch->AddRef(), dispatch->Release();
        return true;
    };
    CHECK(RunThreads(4, refer) == 4);

    UINT types = 1;
    CHECK((dispatch->GetTypeInfoCount(&types) == S_OK && types == 0));
    CHECK(dispatch->GetTypeInfoCount(nullptr) == E_POINTER);
    CHECK(dispatch->GetTypeInfo(0, 0, nullptr) == E_NOTIMPL);
    wchar_t wrongCase[] = L"Append";
    wchar_t append[] = L"append";
    wchar_t toString[] = L"toString";
    wchar_t* names[] = {append, wrongCase, toString};
    DISPID ids[] = {9, 9, 9};
    CHECK(dispatch->GetIDsOfNames(GUID{}, names, 3, 0, ids) == DISP_E_UNKNOWNNAME);
    CHECK((ids[0] == PlaceOf("append", buffer) && ids[1] == -1 && ids[2] == PlaceOf("toString", buffer)));
    CHECK(dispatch->GetIDsOfNames(GUID{}, names, 1, 0, ids) == S_OK);
    CHECK(dispatch->GetIDsOfNames(GUID{}, nullptr, 1, 0, ids) == E_POINTER);
    VARIANT result;
    result.vt = VT_ERROR;
    CHECK(dispatch->Invoke(ids[0], GUID{}, 0, DISPATCH_METHOD, nullptr, &result, nullptr, nullptr) == S_OK);
    CHECK(result.vt == VT_ERROR);  // untouched
    CHECK(dispatch->Release() == 0);

    REQUIRE(CKivJavaObject::CreateInstance("java.lang.String", &unknown) == S_OK);  // no object, so no names
    CHECK(static_cast<CKivJavaObject*>(unknown)->GetIDsOfNames(GUID{}, names, 1, 0, ids) == DISP_E_UNKNOWNNAME);
    CHECK(unknown->Release() == 0);
    CHECK(CKivJavaObject::CreateInstance("java.lang.String", nullptr) == E_POINTER);
}
