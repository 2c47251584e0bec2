#include "support/windows_api.h"

#include <string>

#include "support/check.h"
#include "support/redirected_key.h"
#include "support/registry_data.h"
#include "support/run_program.h"

using namespace kiv::test;
using namespace std::string_literals;

namespace {

// `%` in the arguments stands for the scratch key's path.
ProgramResult Kivctl(const ScratchKey& scratch, std::string arguments) {
    for (std::size_t at; (at = arguments.find('%')) != std::string::npos;)
        arguments.replace(at, 1, scratch.Path());
    return RunProgram("..\\bin\\kivctl.exe reg " + arguments);
}

bool Contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

}  // namespace

TEST_CASE("kivctl reg writes values of each type") {
    const ScratchKey scratch;
    CHECK(Kivctl(scratch, "set % Name \"a text\"").exitCode == 0);
    CHECK(Kivctl(scratch, "set % \"\" default").exitCode == 0);
    CHECK(Kivctl(scratch, "set % Number 0xfffffffe --type dword").exitCode == 0);
    CHECK(Kivctl(scratch, "set % Path a;b --type expand").exitCode == 0);
    CHECK(Kivctl(scratch, "set % List --type multi x \"y z\"").exitCode == 0);
    CHECK(Kivctl(scratch, "set % Bytes --type binary 00fF").exitCode == 0);
    CHECK(Data(scratch.Handle(), "Name") == "1:a text\0"s);
    CHECK(Data(scratch.Handle(), "") == "1:default\0"s);
    CHECK(Data(scratch.Handle(), "Number") == "4:\xFE\xFF\xFF\xFF"s);
    CHECK(Data(scratch.Handle(), "Path") == "2:a;b\0"s);
    CHECK(Data(scratch.Handle(), "List") == "7:x\0y z\0\0"s);
    CHECK(Data(scratch.Handle(), "Bytes") == "3:\0\xFF"s);

    for (const char* wrong :
         {"12x --type dword", "4294967296 --type dword", "a b", "123 --type binary", "1 --type other"})
        CHECK(Kivctl(scratch, std::string("set %\\new Value ") + wrong).exitCode == 2);
    CHECK(SubkeyNames(scratch.Handle()).empty());
}

TEST_CASE("kivctl reg shows a key, a value, a tree") {
    const ScratchKey scratch;
    CreateSubkey(scratch.Handle(), "sub\\deep");
    SetText(scratch.Handle(), "", "default");
    SetData(scratch.Handle(), "List", REG_MULTI_SZ, "a\0b\0\0"s);
    SetData(scratch.Handle(), "Number", REG_DWORD, "\xFF\xFF\xFF\xFF");
    SetData(scratch.Handle(), "Odd", REG_DWORD, "12345");

    CHECK(Kivctl(scratch, "list %").output == "sub\\\n(Default) (sz): default\nList (multi): a\n    b\n"
                                              "Number (dword): 4294967295\nOdd (dword): 3132333435\n");
    const std::string json = Kivctl(scratch, "list % --json").output;
    CHECK((Contains(json, "\"sub\"") && Contains(json, "\"data\": 4294967295")));
    CHECK(Kivctl(scratch, "get %").output == "default\n");
    CHECK(Kivctl(scratch, "get % List --json").output == "{\"type\":\"multi\",\"data\":[\"a\",\"b\"]}\n");
    CHECK(Kivctl(scratch, "get % Missing").exitCode == 1);
    CHECK(Kivctl(scratch, "get %\\missing").exitCode == 1);
    CHECK(Kivctl(scratch, "list HKLM --machine no-such-host.invalid").exitCode == 1);
    CHECK(Kivctl(scratch, "tree %").output == scratch.Path() + "\n  sub\n    deep\n");
    CHECK(Kivctl(scratch, "tree % --depth 1").output == scratch.Path() + "\n  sub\n");

    const LockedSubkey locked(scratch.Handle(), "sub");
    const ProgramResult result = Kivctl(scratch, "tree % --json");
    CHECK((result.exitCode == 1 && Contains(result.output, "\"error\": 5")));
}

TEST_CASE("kivctl reg deletes what it is told and no more") {
    const ScratchKey scratch;
    CreateSubkey(scratch.Handle(), "sub\\deep");
    CreateSubkey(scratch.Handle(), "leaf");
    SetText(scratch.Handle(), "", "default");
    SetText(scratch.Handle(), "Name", "text");
    CHECK(Kivctl(scratch, "delete %\\sub").exitCode == 1);
    CHECK(Kivctl(scratch, "delete HKCU --recursive").exitCode == 2);
    CHECK(Kivctl(scratch, "delete % --value \"\"").exitCode == 0);
    CHECK(ValueNames(scratch.Handle()).size() == 1);
    CHECK(Kivctl(scratch, "delete % --value Name").exitCode == 0);
    CHECK(Kivctl(scratch, "delete % --value Name").exitCode == 1);
    CHECK(Kivctl(scratch, "delete %\\LEAF").exitCode == 0);
    CHECK(HasSubkey(scratch.Handle(), "sub\\deep"));
    CHECK(Kivctl(scratch, "delete %\\sub --recursive").exitCode == 0);
    CHECK(SubkeyNames(scratch.Handle()).empty());
}
