#include "install/option_table.h"

#include <string>

#include "support/check.h"

namespace {

// "name=value" of each option, separated by "|".
std::string Options(const std::string& commandLine) {
    std::string text;
    for (const kiv::CommandLineOption& option : kiv::ParseOptions(commandLine))
        text += (text.empty() ? "" : "|") + option.name + "=" + option.value;
    return text;
}

}  // namespace

TEST_CASE("tokens behind the program's name that are options, and what they hold") {
    const std::pair<const char*, const char*> rows[] = {
        {"", ""},
        {R"("/a b:c" /d:e)", "d=e"},
        {"setup.exe /product:Office", "product=Office"},
        {"x /a:1  -b=2\t/c:3", "a=1|b=2|c=3"},
        {R"(x /product:"My Office" /x:y)", "product=My Office|x=y"},
        {R"(x /"my option":x)", R"("my option"=x)"},
        {"x /a=b:c", "a=b=c"},
        {R"(x /a":"=b)", R"(a":"=b)"},
        {R"(x /a":b=c)", ""},
        {R"(x /a:"b" "c")", "a=b"},
        {R"(x /a:b"c")", R"(a=b"c")"},
        {R"(x /a:"b)", R"(a="b)"},
        {R"(x /a:")", ""},
        {"x /a: /a:x", "a=x"},
        {"x /a a:b / - /:x", "=x"},
    };
    kiv::test::CheckRows(rows, Options);
    const auto options = kiv::ParseOptions("x /Product:one /PRODUCT:two /other:three");
    REQUIRE(kiv::FindOption(options, "pRODUCT") != nullptr);
    CHECK(*kiv::FindOption(options, "pRODUCT") == "one");
    CHECK(kiv::FindOption(options, "prod") == nullptr);
}
