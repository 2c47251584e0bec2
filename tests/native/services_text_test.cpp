#include <string>

#include "support/check.h"
#include "support/document_table.h"
#include "support/parsed_services.h"

using Services = kiv::test::ParsedServices;

static void CheckSurvives(const std::string& contents, long lines) {
    const Services first(contents);
    const Services second(first.Written());
    CHECK(first.list.count == lines);
    CHECK((second.Shown() == first.Shown() && second.Written() == first.Written()));
}

TEST_CASE("every entry of a file survives, also among many and long ones") {
    std::string contents;
    for (int i = 0; i < 100000; ++i)
        contents += i % 10 == 0 ? "# section\n"
                                : "service" + std::to_string(i) + "\t" + std::to_string(i % 65536) + "/tcp\ta b # c\n";
    CHECK(Services(contents).Shown().find("service9999 9999/tcp a b# c\n") != std::string::npos);
    CheckSurvives(contents, 100000);
    const std::string name(1 << 20, 'n');
    CheckSurvives(name + " -1/udp " + name + "\r\n#" + name + "\n\n" + name, 4);
}

TEST_CASE("lines are read and written as their page says") {
    for (const auto& row : kiv::test::DocumentTable("services-file.md", "Line")) {
        CAPTURE(row[0]);
        CHECK((Services(row[0]).Shown() == row[1] + "\n" && Services(row[0]).Written() == row[2] + "\r\n"));
    }
}
