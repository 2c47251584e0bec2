#ifndef KIV_TESTS_SUPPORT_DOCUMENT_PAGE_H
#define KIV_TESTS_SUPPORT_DOCUMENT_PAGE_H

#include <string>
#include <vector>

namespace kiv::test {

// A page of docs/, whose examples a test executes.
class DocumentPage {
public:
    explicit DocumentPage(const std::string& name);

    // The rows of the tables whose heading begins with these cells; at least one. Cells lose the blanks around them, a
    // pair of back quotes and the backslash of "\|".
    using Row = std::vector<std::string>;
    std::vector<Row> Table(const Row& heading) const;

    // The fenced block that follows the line with this text, without its fences.
    std::string BlockBehind(const std::string& text) const;

private:
    std::vector<std::string> m_lines;
};

// Runs the kivctl examples of a block in a folder, which holds the files that they need: lines that begin with
// "> kivctl " are commands, those behind each are what it writes.
void RunKivctlExamples(const std::string& block, const std::string& folder);

// What a program writes that runs in a folder.
std::string OutputIn(const std::string& folder, const std::string& commandLine);

// The path of a program of this build: "bin\\kivctl.exe", "tests\\example.exe".
std::string BuiltProgram(const std::string& path);

}  // namespace kiv::test

#endif
