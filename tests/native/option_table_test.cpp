#include "install/option_table.h"

#include <string>

#include "support/check.h"

namespace {

// "name=value" of each option, separated by "|".
std::string Options(const std::string& arguments) {
    std::string text;
    for (const kiv::CommandLineOption& option : kiv::ParseOptions("setup.exe " + arguments))
        text += (text.empty() ? "" : "|") + option.name + "=" + option.value;
    return text;
}

}  // namespace

TEST_CASE("tokens that are options, and what they hold") {
    const struct {
        const char* arguments;
        const char* options;
    } rows[] = {
        {"/product:Office", "product=Office"},
        {"-product=Office", "product=Office"},
        {"/a:1  -b=2\t/c:3", "a=1|b=2|c=3"},
        {R"(/product:"My Office" /x:y)", "product=My Office|x=y"},
        {R"(/"my option":x)", R"("my option"=x)"},
        {"/a=b:c", "a=b=c"},
        {R"(/a":"=b)", R"(a":"=b)"},
        {R"(/a":b=c)", ""},
        {R"(/a:"b" "c")", "a=b"},
        {R"(/a:b"c")", R"(a=b"c")"},
        {R"(/a:"b)", R"(a="b)"},
        {R"("/a:b")", ""},
        {R"(/a:" )", R"(a=" )"},
        {R"(/a:")", ""},
        {R"(/a:"")", ""},
        {"/a: /a:x", "a=x"},
        {"/a a:b / - /:x", "=x"},
        {"", ""},
    };
    for (const auto& row : rows) {
        CAPTURE(row.arguments);
        CHECK(Options(row.arguments) == row.options);
    }
}

TEST_CASE("the program's own name is no option") {
    CHECK(kiv::ParseOptions("/a:b").empty());
    CHECK(kiv::ParseOptions(R"("/a b:c" /d:e)").size() == 1);
    CHECK(kiv::ParseOptions("").empty());
}

TEST_CASE("the first of several options of one name is found, in any case") {
    const auto options = kiv::ParseOptions("x /Product:one /PRODUCT:two /other:three");
    REQUIRE(kiv::FindOption(options, "pRODUCT") != nullptr);
    CHECK(*kiv::FindOption(options, "pRODUCT") == "one");
    CHECK(kiv::FindOption(options, "prod") == nullptr);
}
