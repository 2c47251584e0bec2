#include "support/windows_api.h"

#include <memory>
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

// The one machine of this process, made on the stand-in runtime.
struct Machine {
    Machine() {
        runtimes.AddStandIn("1.4");
        REQUIRE(CKivJavaVM::GetInstance().IsAvailable() == 1);
    }

    RedirectedKey localMachine{HKEY_LOCAL_MACHINE};
    JavaRegistrations runtimes{localMachine.Handle()};
};

// Every case gives all references back, and logs what it says and no more.
struct Fixture {
    Fixture() {
        static const Machine machine;
        log.Clear();
    }
    ~Fixture() { CHECK(References() == 0); }

    static unsigned References() {
        unsigned (*count)() = nullptr;
        kiv::FindFunction(::GetModuleHandleA("java_runtime.dll"), "StandInReferences", count);
        return count();
    }

    RecordingLog log;
};

struct Counter : CKivJavaObject {
    Counter() : CKivJavaObject("demo.Counter") {}
    int Get() { return CallIntMethod("get", ""); }
};

std::string Text(const CKivJavaString& string) {
    return static_cast<const char*>(string);
}

}  // namespace

TEST_CASE_FIXTURE(Fixture, "arguments and results of every type arrive") {
    CKivJavaObject echo("demo.Echo$Nested");  // inherits its methods
    CHECK(echo.Create("") == 1);
    CHECK(echo.Create("int", 1) == 1);  // there is an object: nothing is looked up
    CHECK(echo.CallBooleanMethod("echo", "bool", 1));
    CHECK(echo.CallByteMethod("echo", "byte", -128) == -128);
    CHECK(echo.CallCharMethod("echo", "char", 0xFFFF) == 0xFFFF);
    CHECK(echo.CallShortMethod("echo", "short", -32768) == -32768);
    CHECK(echo.CallIntMethod("echo", "int", -2147483647) == -2147483647);
    CHECK(echo.CallLongMethod("echo", "long", -0x123456789ABCDEFLL) == -0x123456789ABCDEFLL);
    CHECK(echo.CallFloatMethod("echo", "float", 1.5) == 1.5F);
    CHECK(echo.CallDoubleMethod("echo", "double", 1e300) == 1e300);
    const CKivJavaString text("wide");
    CHECK(Text(echo.CallStringMethod("echo", "java.lang.String", static_cast<jstring>(text))) == "wide");
    const CKivJavaObject same =
        echo.CallObjectMethod("java.lang.Object", "echo", "java.lang.Object", static_cast<jobject>(echo));
    CHECK(same == echo);
    const CKivJavaObject none =
        echo.CallObjectMethod("java.lang.Object", "echo", "java.lang.Object", static_cast<jobject>(nullptr));
    CHECK_FALSE(none);
    CHECK(none != echo);
    CHECK(none == CKivJavaObject());
    CHECK(log.Lines() == Lines{});
}

TEST_CASE_FIXTURE(Fixture, "what Java refuses gives nothing, with its line, and the next call works") {
    const CKivJavaObject unknown("no.Such");
    Counter counter;
    CHECK(counter.CallIntMethod("get", "") == 0);  // a class alone: no line
    CHECK(counter.Create("int,java.lang.String", 1, nullptr) == 0);
    CHECK(counter.Create("java.lang.String", nullptr) == 0);  // throws
    CHECK_FALSE(counter);
    CHECK(counter.Create("int", 40) == 1);
    CHECK(counter.CallIntMethod("add", "long", 2LL) == 0);
    CHECK_FALSE(counter.CallObjectMethod("int", "get", ""));  // an int is no reference
    CHECK_FALSE(counter.CallObjectMethod("", "reset", ""));
    CKivJavaObject* array = nullptr;
    CHECK(counter.CallObjectMethod("int", "get", &array, "") == 0);
    counter.CallVoidMethod("fail", "");  // throws
    CHECK(counter.CallIntMethod("add", "int", 2) == 42);
    CHECK(log.Lines() == Lines{"1E JVM : the class 'no.Such' could not be found",
                               "1E JVM : failed to create instance, no constructor takes the parameter list "
                               "'int,java.lang.String'",
                               "1E JVM : failed to create instance (parameter list 'java.lang.String')",
                               "3  JVM : failed to call method, no member function 'add' takes the parameter list "
                               "'long'",
                               "3  JVM : failed to call method, no member function 'get' takes the parameter list ''",
                               "3  JVM : failed to call method, no member function 'reset' takes the parameter list "
                               "''"});
    CHECK_FALSE(unknown);
}

TEST_CASE_FIXTURE(Fixture, "copies stand for the same object, whatever is assigned to what") {
    Counter counter;
    counter.Create("int", 7);
    CKivJavaObject copy(counter);
    CKivJavaObject other("demo.Shelf");
    other = copy;
    CKivJavaObject& self = other;
    other = self;
    other = static_cast<jobject>(other);
    copy = CKivJavaObject();
    CHECK_FALSE(copy);
    CHECK(other == counter);
    CHECK(other.CallIntMethod("get", "") == 7);
    CKivJavaObject cls = Counter();  // a class is copied too
    CHECK(cls.Create("int", 7) == 1);
    CHECK(cls != counter);
}

TEST_CASE_FIXTURE(Fixture, "arrays of objects come whole, with their gaps") {
    constexpr int kCount = 10000;
    CKivJavaObject shelf("demo.Shelf");
    shelf.Create("");
    CKivJavaObject* out = nullptr;
    REQUIRE(shelf.CallObjectMethod("demo.Counter", "counters", &out, "int", kCount) == kCount);
    const std::unique_ptr<CKivJavaObject[]> counters(out);
    bool right = true;
    for (int i = 0; i < kCount; ++i)
        right = right && (i % 3 == 2 ? !counters[i] : counters[i].CallIntMethod("get", "") == i);
    CHECK(right);
    for (const char* const name : {"none", "missing"}) {
        CHECK(shelf.CallObjectMethod("demo.Counter", name, &out, "") == 0);
        CHECK(out == nullptr);
    }
    CHECK(shelf.CallObjectMethod("demo.Counter", "counters", &out, "int", 0) == 0);
    CHECK(shelf.CallObjectMethod("demo.Counter", "counters", static_cast<CKivJavaObject**>(nullptr), "int", 1) == 0);
}

TEST_CASE_FIXTURE(Fixture, "many calls leave no reference behind") {
    Counter counter;
    counter.Create("");
    const unsigned before = References();
    for (int i = 0; i < 50000; ++i)
        counter.CallIntMethod("add", "int", 1);
    for (int i = 0; i < 5000; ++i)
        counter.CallStringMethod("toString", "");
    CHECK(References() == before);
    CHECK(counter.Get() == 50000);
}

TEST_CASE_FIXTURE(Fixture, "strings keep every character") {
    const std::string megabyte(1 << 20, 'm');
    CKivJavaString string(megabyte.c_str());
    CHECK(string.length() == 1 << 20);
    CHECK(Text(string) == megabyte);
    string = Text(string).c_str() + megabyte.size() - 1;
    CHECK(Text(string) == "m");
    string = static_cast<const char*>(string);  // its own text
    CHECK(Text(string) == "m");

    const unsigned short wide[] = {'a', 0x4E00, 0xD83D, 0xDE00, 0};
    const CKivJavaString beyond(wide);
    const CKivJavaString copy(beyond);
    CHECK(copy.length() == 4);
    CHECK(Text(copy).substr(0, 2) == "a?");
    CHECK(std::wstring(reinterpret_cast<const wchar_t*>(static_cast<const unsigned short*>(copy))) ==
          L"a\x4E00\xD83D\xDE00");

    const CKivJavaString empty("");
    const CKivJavaString nothing(static_cast<const char*>(nullptr));
    CHECK(static_cast<jstring>(empty) != nullptr);
    CHECK(static_cast<jstring>(nothing) == nullptr);
    CHECK(nothing.length() == 0);
    CHECK(Text(nothing).empty());
    CHECK(*static_cast<const unsigned short*>(nothing) == 0);
}

namespace {

DWORD WINAPI CountReferences(LPVOID object) {
    for (int i = 0; i < 10000; ++i) {
        static_cast<IUnknown*>(object)->AddRef();
        static_cast<IUnknown*>(object)->Release();
    }
    return 0;
}

}  // namespace

TEST_CASE_FIXTURE(Fixture, "automation clients resolve names and run nothing") {
    Counter counter;
    counter.Create("int", 3);
    IUnknown* unknown = nullptr;
    REQUIRE(CKivJavaObject::CreateInstance(static_cast<jobject>(counter), &unknown) == S_OK);
    IDispatch* dispatch = nullptr;
    REQUIRE(unknown->QueryInterface(__uuidof(IDispatch), reinterpret_cast<void**>(&dispatch)) == S_OK);
    CHECK(unknown->QueryInterface(__uuidof(IMalloc), reinterpret_cast<void**>(&unknown)) == E_NOINTERFACE);
    CHECK(unknown == nullptr);
    CHECK(dispatch->Release() == 1);
    CHECK(dispatch->QueryInterface(__uuidof(IUnknown), nullptr) == E_POINTER);

    HANDLE threads[4];
    for (HANDLE& thread : threads)
        thread = ::CreateThread(nullptr, 0, CountReferences, dispatch, 0, nullptr);
    ::WaitForMultipleObjects(4, threads, TRUE, 60000);
    for (const HANDLE thread : threads)
        ::CloseHandle(thread);

    UINT types = 1;
    CHECK(dispatch->GetTypeInfoCount(&types) == S_OK);
    CHECK(types == 0);
    CHECK(dispatch->GetTypeInfoCount(nullptr) == E_POINTER);
    CHECK(dispatch->GetTypeInfo(0, 0, nullptr) == E_NOTIMPL);
    wchar_t get[] = L"get";
    wchar_t toString[] = L"toString";
    wchar_t wrongCase[] = L"Get";
    wchar_t* names[] = {toString, get, wrongCase};
    DISPID ids[] = {9, 9, 9};
    CHECK(dispatch->GetIDsOfNames(GUID{}, names, 2, 0, ids) == S_OK);
    CHECK((ids[0] == 3 && ids[1] == 0 && ids[2] == 9));
    CHECK(dispatch->GetIDsOfNames(GUID{}, names, 3, 0, ids) == DISP_E_UNKNOWNNAME);
    CHECK((ids[0] == 3 && ids[1] == 0 && ids[2] == -1));
    CHECK(dispatch->GetIDsOfNames(GUID{}, nullptr, 1, 0, ids) == E_POINTER);
    VARIANT result;
    result.vt = VT_ERROR;
    CHECK(dispatch->Invoke(ids[1], GUID{}, 0, DISPATCH_METHOD, nullptr, &result, nullptr, nullptr) == S_OK);
    CHECK(result.vt == VT_ERROR);
    CHECK(dispatch->Release() == 0);

    REQUIRE(CKivJavaObject::CreateInstance("demo.Counter", &unknown) == S_OK);  // no object, so no names
    CHECK(static_cast<CKivJavaObject*>(unknown)->GetIDsOfNames(GUID{}, names, 1, 0, ids) == DISP_E_UNKNOWNNAME);
    CHECK(unknown->Release() == 0);
    CHECK(CKivJavaObject::CreateInstance("demo.Counter", nullptr) == E_POINTER);
}
