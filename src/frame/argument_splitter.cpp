#include "frame/argument_splitter.h"

namespace kiv {

std::size_t SplitArguments(char* line, char** arguments) noexcept {
    std::size_t count = 0;
    bool inQuotes = false;
    char* start = line;
    for (char* at = line; *at != '\0'; ++at) {
        if (*at == '"') {
            inQuotes = !inQuotes;
        } else if (*at == ' ' && !inQuotes) {
            *at = '\0';
            arguments[count++] = start;
            start = at + 1;
        }
    }
    arguments[count++] = start;
    return count;
}

}  // namespace kiv
