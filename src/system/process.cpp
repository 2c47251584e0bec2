#include "tavkivut/process.h"

#include <cstdlib>
#include <cstring>
#include <string_view>

#include "files/path_text.h"
#include "support/code_page.h"
#include "support/heap_text.h"
#include "support/once.h"
#include "support/scoped_resource.h"

namespace {

// The path that the process was started from, in a block of its own; null when the system does not tell it.
// The call cuts a path that does not fit, without an error on old systems, so the buffer grows until there is
// room to spare.
char* ModulePath() noexcept {
    for (DWORD size = MAX_PATH; size <= 0x10000; size *= 2) {
        char* path = static_cast<char*>(std::malloc(size));
        const DWORD length = path == nullptr ? 0 : ::GetModuleFileNameA(nullptr, path, size);
        if (length != 0 && length < size - 1) {
            path[length] = '\0';
            return path;
        }
        std::free(path);
        if (length == 0)
            return nullptr;
    }
    return nullptr;
}

struct ExecutablePlace {
    const char* path;
    const char* folder;
};

ExecutablePlace FindExecutable() noexcept {
    const kiv::LastErrorKeeper keeper;
    const char* path = ModulePath();
    if (path == nullptr)
        return {"", ""};
    const std::size_t separator = kiv::LastSeparator(path, kiv::IsAnsiLeadByte);
    const char* folder = separator == std::string_view::npos ? nullptr : kiv::DuplicateText(path, separator);
    return {path, folder == nullptr ? "" : folder};
}

// The texts live as long as the process: callers keep the pointers.
const ExecutablePlace& Executable() noexcept {
    static kiv::Once once;
    static ExecutablePlace place;
    once.Run([] { place = FindExecutable(); });
    return place;
}

}  // namespace

const char* CKivThisProcess::GetExePath() noexcept {
    return Executable().path;
}

const char* CKivThisProcess::GetExeDir() noexcept {
    return Executable().folder;
}
