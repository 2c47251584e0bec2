#include "support/document_page.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "support/check.h"
#include "support/run_program.h"
#include "support/windows_api.h"

namespace kiv::test {
namespace {

std::string CellOf(std::string text) {
    text.erase(0, text.find_first_not_of(' '));
    text.erase(text.find_last_not_of(' ') + 1);
    if (text.size() >= 2 && text.front() == '`' && text.back() == '`')
        text = text.substr(1, text.size() - 2);
    for (std::size_t at = 0; (at = text.find("\\|", at)) != std::string::npos; ++at)
        text.erase(at, 1);
    return text;
}

DocumentPage::Row CellsOf(const std::string& line) {
    DocumentPage::Row cells;
    std::string cell;
    for (std::size_t at = 1; at < line.size(); ++at) {
        if (line[at] == '|' && line[at - 1] != '\\') {
            cells.push_back(CellOf(cell));
            cell.clear();
        } else {
            cell += line[at];
        }
    }
    return cells;
}

bool IsRow(const std::string& line) {
    return !line.empty() && line[0] == '|';
}

std::vector<std::string> LinesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

}  // namespace

DocumentPage::DocumentPage(const std::string& name) {
    std::ifstream page(std::string(std::getenv("KIV_TEST_DATA")) + "/../../docs/" + name, std::ios::binary);
    REQUIRE_MESSAGE(page.is_open(), name);
    std::ostringstream text;
    text << page.rdbuf();
    m_lines = LinesOf(text.str());
}

std::vector<DocumentPage::Row> DocumentPage::Table(const Row& heading) const {
    const auto begins = [&heading](const std::string& line) {
        const Row cells = IsRow(line) ? CellsOf(line) : Row();
        return cells.size() >= heading.size() && std::equal(heading.begin(), heading.end(), cells.begin());
    };
    std::vector<Row> rows;
    for (auto line = m_lines.begin(); (line = std::find_if(line, m_lines.end(), begins)) != m_lines.end();) {
        REQUIRE_MESSAGE(m_lines.end() - line > 2, heading[0]);
        for (line += 2; line != m_lines.end() && IsRow(*line); ++line)
            rows.push_back(CellsOf(*line));
    }
    REQUIRE(!rows.empty());
    return rows;
}

std::string DocumentPage::BlockBehind(const std::string& text) const {
    const auto holds = [&text](const std::string& line) { return line.find(text) != std::string::npos; };
    const auto isFence = [](const std::string& line) { return line.compare(0, 3, "```") == 0; };
    const auto begin = std::find_if(std::find_if(m_lines.begin(), m_lines.end(), holds), m_lines.end(), isFence);
    REQUIRE_MESSAGE(begin != m_lines.end(), text);
    const auto end = std::find_if(begin + 1, m_lines.end(), isFence);
    REQUIRE_MESSAGE(end != m_lines.end(), text);
    std::string block;
    std::for_each(begin + 1, end, [&block](const std::string& line) { block += line + "\n"; });
    return block;
}

std::string BuiltProgram(const std::string& path) {
    char own[MAX_PATH];
    REQUIRE(::GetModuleFileNameA(nullptr, own, sizeof own) != 0);
    const std::string program = own;
    return program.substr(0, program.rfind('\\')) + "\\..\\" + path;
}

std::string OutputIn(const std::string& folder, const std::string& commandLine) {
    char before[MAX_PATH];
    REQUIRE(::GetCurrentDirectoryA(sizeof before, before) != 0);
    REQUIRE(::SetCurrentDirectoryA(folder.c_str()));
    const ProgramResult result = RunProgram(commandLine);
    REQUIRE(::SetCurrentDirectoryA(before));
    return result.output;
}

void RunKivctlExamples(const std::string& block, const std::string& folder) {
    const std::string prompt = "> kivctl ";
    const std::vector<std::string> lines = LinesOf(block);
    std::size_t commands = 0;
    for (std::size_t at = 0; at < lines.size(); ++commands) {
        const std::string command = lines[at++];
        CAPTURE(command);
        REQUIRE(command.compare(0, prompt.size(), prompt) == 0);
        std::string expected;
        for (; at < lines.size() && lines[at].compare(0, prompt.size(), prompt) != 0; ++at)
            expected += lines[at] + "\n";
        const std::string kivctl = "\"" + BuiltProgram("bin\\kivctl.exe") + "\" ";
        CHECK(OutputIn(folder, kivctl + command.substr(prompt.size())) == expected);
    }
    CHECK(commands > 0);
}

}  // namespace kiv::test
