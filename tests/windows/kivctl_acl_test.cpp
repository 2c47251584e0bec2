#include "support/windows_api.h"

#include <string>

#include <nlohmann/json.hpp>

#include "support/check.h"
#include "support/redirected_key.h"
#include "support/run_program.h"
#include "support/sddl_text.h"
#include "tavkivut/security.h"

using kiv::test::ProgramResult;
using kiv::test::RunProgram;
using kiv::test::SddlOfKey;

namespace {

ProgramResult Kivctl(const std::string& arguments) {
    return RunProgram("..\\bin\\kivctl.exe " + arguments);
}

}  // namespace

TEST_CASE("kivctl acl shows, prints and orders lists") {
    const struct {
        const char* arguments;
        unsigned long exitCode;
        const char* output;
    } rows[] = {
        {"acl print {0-3-0x1F01ff-[S-1-5-18]}", 0,
         "kivctl: '{0-3-0x1F01ff-[S-1-5-18]}' reads as {0-3-0x1f01ff-[S-1-5-18]}\n{0-3-0x1f01ff-[S-1-5-18]}\n"},
        {"acl parse --for key {0-18-0xF003F-[S-1-5-32-544]}", 0,
         "kivctl: '{0-18-0xF003F-[S-1-5-32-544]}' reads as {0-18-0xf003f-[S-1-5-32-544]}\n"
         "0  allowed  containers, inherited  S-1-5-32-544  BUILTIN\\Administrators\n      0x000f003f  full access\n"},
        {"acl dump --for service {1-0-0x80000011-[S-1-1-0]}", 0,
         "0  denied  S-1-1-0  Everyone\n      query configuration\n      start\n      generic read\n"},
        {"acl order {0-16-0x1-[S-1-1-0]}-{1-16-0x2-[S-1-1-0]}-{0-0-0x4-[S-1-1-0]}", 0,
         "{0-0-0x4-[S-1-1-0]}-{1-16-0x2-[S-1-1-0]}-{0-16-0x1-[S-1-1-0]}\n"},
        {"acl print {0-0-0x1-[]}", 1, "kivctl: '{0-0-0x1-[]}' has no usable entry\n"},
    };
    for (const auto& row : rows) {
        CAPTURE(row.arguments);
        const ProgramResult result = Kivctl(row.arguments);
        CHECK(result.exitCode == row.exitCode);
        CHECK(result.output == row.output);
    }
    CHECK(Kivctl("acl parse --for door {0-0-0x1-[S-1-1-0]}").exitCode == 2);
    const auto json = nlohmann::json::parse(Kivctl("acl parse --json {1-1-0x10001-[S-1-5-18]}").output);
    CHECK(json[0]["sid"] == "S-1-5-18");
    CHECK(json[0]["rights"] == nlohmann::json{"delete", "right 0"});
}

TEST_CASE("kivctl sd shows and sets the list of a key") {
    const kiv::test::ScratchKey key;
    const std::string set = "sd set key " + key.Path() + " ";
    const std::string before = SddlOfKey(key.Handle());
    const ProgramResult dry = Kivctl(set + "{0-2-0xf003f-[S-1-5-32-544]}-{1-2-0x40000-[S-1-1-0]} --dry-run");
    CHECK(dry.exitCode == 0);
    CHECK(dry.output.find("Before:\n") == 0);
    CHECK(
        dry.output.find("\nWould be set:\n0  denied  containers  S-1-1-0  Everyone\n      0x00040000  write DACL\n") !=
        std::string::npos);
    // What is not usable as a whole changes nothing.
    CHECK(Kivctl(set + "\"{0-2-0xf003f-[S-1-5-32-544]}-{1-0-0x1-[no such account]}\"").exitCode == 1);
    CHECK(Kivctl(set + "{0-2-0xf003f-[S-1-5-32-544]}{}").exitCode == 1);
    CHECK(Kivctl(set + "x").exitCode == 1);
    CHECK(SddlOfKey(key.Handle()) == before);

    const ProgramResult done = Kivctl(set + "{0-2-0xf003f-[S-1-5-32-544]}-{1-2-0x40000-[S-1-1-0]}");
    CHECK(done.exitCode == 0);
    CHECK(done.output.find("\nAfter:\n") != std::string::npos);
    CHECK(SddlOfKey(key.Handle()) == "D:(D;CI;WD;;;WD)(A;CI;KA;;;BA)");
    const auto json = nlohmann::json::parse(Kivctl("sd show --json key " + key.Path()).output);
    CHECK(json["text"] == "{1-2-0x40000-[S-1-1-0]}-{0-2-0xf003f-[S-1-5-32-544]}");
    CHECK(json["entries"].size() == 2);
}

TEST_CASE("kivctl sd tells null and missing lists, and objects that are not there") {
    const kiv::test::ScratchKey key;
    CKivSecurityDescriptor open;
    REQUIRE(open.SetDacl(nullptr) == 1);
    REQUIRE(open.SetRegKeyDacl(key.Handle()) == 1);
    CHECK(Kivctl("sd show key " + key.Path()).output.find("DACL:   null: everyone may do everything\n") !=
          std::string::npos);
    for (const char* object : {"file none", "key HKCU\\none", "service none"})
        CHECK(Kivctl(std::string("sd show ") + object).exitCode == 1);
}
