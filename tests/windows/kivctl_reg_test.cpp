#include "support/windows_api.h"

#include <string>

#include "support/check.h"
#include "support/redirected_key.h"
#include "support/registry_data.h"
#include "support/run_program.h"

using namespace kiv::test;
using namespace std::string_literals;

namespace {

struct Expected {
    std::string arguments;  // "%" stands for the scratch key's path
    unsigned long exitCode;
    std::string output;  // not looked at for an exit code other than 0
};

void CheckAll(const ScratchKey& scratch, std::initializer_list<Expected> rows) {
    for (const Expected& row : rows) {
        std::string arguments = row.arguments;
        const ProgramResult result =
            RunProgram("..\\bin\\kivctl.exe reg " + arguments.replace(arguments.find('%'), 1, scratch.Path()));
        CHECK_MESSAGE((result.exitCode == row.exitCode && (row.exitCode != 0 || result.output == row.output)),
                      arguments);
    }
}

}  // namespace

TEST_CASE("kivctl reg writes, shows and deletes what it is told, and no more") {
    const ScratchKey scratch;
    CheckAll(scratch, {{"set % Name \"a text\"", 0, ""},
                       {"set % \"\" default", 0, ""},
                       {"set % Number 0xfffffffe --type dword", 0, ""},
                       {"set % Path a;b --type expand", 0, ""},
                       {"set % List --type multi x \"y z\"", 0, ""},
                       {"set %\\sub\\deep Bytes --type binary 00fF", 0, ""},
                       {"set %\\new Value 4294967296 --type dword", 2, ""},
                       {"set %\\new Value 123 --type binary", 2, ""},
                       {"set %\\new Value a b", 2, ""}});
    CHECK((Data(scratch.Handle(), "Name") == "1:a text\0"s && Data(scratch.Handle(), "") == "1:default\0"s));
    CHECK((Data(scratch.Handle(), "Number") == "4:\xFE\xFF\xFF\xFF"s && Data(scratch.Handle(), "Path") == "2:a;b\0"s));
    CHECK((Data(scratch.Handle(), "List") == "7:x\0y z\0\0"s && SubkeyNames(scratch.Handle()) == Names{"sub"}));
    SetData(scratch.Handle(), "Odd", REG_DWORD, "12345");
    CheckAll(scratch, {{"list %", 0,
                        "sub\\\n(Default) (sz): default\nList (multi): x\n    y z\nName (sz): a text\n"
                        "Number (dword): 4294967294\nOdd (dword): 3132333435\nPath (expand): a;b\n"},
                       {"get % List --json", 0, "{\"type\":\"multi\",\"data\":[\"x\",\"y z\"]}\n"},
                       {"get %\\sub\\deep Bytes", 0, "00ff\n"},
                       {"get % Missing", 1, ""},
                       {"list % --machine no-such-host.invalid", 1, ""},
                       {"tree %", 0, scratch.Path() + "\n  sub\n    deep\n"},
                       {"delete %\\sub", 1, ""},
                       {"delete % --value \"\"", 0, ""},
                       {"delete %\\sub\\DEEP", 0, ""}});
    CHECK((ValueNames(scratch.Handle()).size() == 5 && SubkeyNames(scratch.Handle()) == Names{"sub"}));
    CreateSubkeys(scratch.Handle(), {"sub\\deep"});
    CheckAll(scratch, {{"delete %\\sub --recursive", 0, ""}});
    CHECK((ValueNames(scratch.Handle()).size() == 5 && SubkeyNames(scratch.Handle()).empty()));
}
