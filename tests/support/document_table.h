#ifndef KIV_TESTS_SUPPORT_DOCUMENT_TABLE_H
#define KIV_TESTS_SUPPORT_DOCUMENT_TABLE_H

#include <cstdlib>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

#include "support/check.h"

namespace kiv::test {

// The rows of the tables of a page of docs/ whose heading begins with this cell; at least one. Cells lose their back
// quotes.
inline std::vector<std::vector<std::string>> DocumentTable(const std::string& page, const std::string& heading) {
    static const std::regex cell(R"(\| (`?)(.*?)\1 ?(?=\|))");
    std::ifstream file(std::string(std::getenv("KIV_TEST_DATA")) + "/../../docs/" + page);
    std::vector<std::vector<std::string>> rows;
    bool isInside = false;
    for (std::string line; std::getline(file, line);) {
        std::vector<std::string> cells;
        for (std::sregex_iterator at(line.begin(), line.end(), cell), end; at != end; ++at)
            cells.push_back((*at)[2]);
        if (isInside && !cells.empty())
            rows.push_back(cells);
        isInside = isInside ? line.substr(0, 1) == "|" : !cells.empty() && cells[0] == heading;
    }
    REQUIRE_MESSAGE(!rows.empty(), heading);
    return rows;
}

}  // namespace kiv::test

#endif
