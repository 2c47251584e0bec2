#include <cstdlib>
#include <cstring>
#include <limits>

#include "frame/argument_splitter.h"
#include "tavkivut/frame.h"

char** KIV_CALL CommandLineToArgv(const char* commandLine, int* argc) noexcept {
    if (commandLine == nullptr || commandLine[0] == '\0' || argc == nullptr)
        return nullptr;
    // One block: the entries, then the copy that they point into. The worst case, a line of spaces only, needs an
    // entry for each character and one more.
    const std::size_t length = std::strlen(commandLine);
    if (length >= std::numeric_limits<int>::max() / (sizeof(char*) + 1) - 1)
        return nullptr;
    const std::size_t entries = (length + 1) * sizeof(char*);
    char** argv = static_cast<char**>(std::calloc(1, entries + length + 1));
    if (argv == nullptr)
        return nullptr;
    char* copy = reinterpret_cast<char*>(argv) + entries;
    std::memcpy(copy, commandLine, length + 1);
    *argc = static_cast<int>(kiv::SplitArguments(copy, argv));
    return argv;
}

void KIV_CALL ReleaseArgs(char** argv) noexcept {
    std::free(argv);
}
