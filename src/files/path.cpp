#include "tavkivut/path.h"

#include <cstring>
#include <string_view>

#include "files/path_text.h"
#include "files/universal_name_api.h"
#include "support/code_page.h"
#include "support/scoped_resource.h"

using kiv::IsAnsiLeadByte;

namespace {

// One form of a path in a buffer of its own. Paths beyond MAX_PATH are not paths for the system's ANSI calls;
// the form is empty then.
struct PathForm {
    char text[MAX_PATH];
    DWORD length;

    std::string_view View() const noexcept { return {text, length}; }
};

void Accept(PathForm& form, DWORD length) noexcept {
    form.length = length < sizeof form.text ? length : 0;
    form.text[form.length] = '\0';
}

// In place, which the call allows for this mapping. The call of user32 for it would double the time that the library
// takes to load.
void Uppercase(PathForm& form) noexcept {
    const int length = static_cast<int>(form.length);
    ::LCMapStringA(LOCALE_SYSTEM_DEFAULT, LCMAP_UPPERCASE, form.text, length, form.text, length);
}

// The absolute path, its letters in upper case by the rules of the code page. Text work only: nothing is
// asked of a disk or server.
PathForm FullForm(const char* path) noexcept {
    PathForm form;
    const char drive[] = {path[0], ':', '\\', '\0'};
    const bool bareDrive = kiv::IsDrivePath(path) && path[2] == '\0';  // would stand for that drive's current folder
    Accept(form, ::GetFullPathNameA(bareDrive ? drive : path, sizeof form.text, form.text, nullptr));
    Uppercase(form);
    return form;
}

// The short form of an existing path, else nothing.
PathForm ShortForm(const PathForm& full) noexcept {
    PathForm form;
    Accept(form, ::GetShortPathNameA(full.text, form.text, sizeof form.text));
    Uppercase(form);
    return form;
}

bool SamePath(const PathForm& a, const PathForm& b) noexcept {
    return a.length != 0 && b.length != 0 && kiv::EqualPathText(a.View(), b.View(), IsAnsiLeadByte);
}

bool MayBeShortForm(const PathForm& form) noexcept {
    return std::memchr(form.text, '~', form.length) != nullptr;
}

bool PathsAreEqual(const char* a, const char* b) noexcept {
    if (kiv::EqualPathText(a, b, IsAnsiLeadByte))
        return true;
    const PathForm fullA = FullForm(a);
    const PathForm fullB = FullForm(b);
    if (SamePath(fullA, fullB))
        return true;
    if (!MayBeShortForm(fullA) && !MayBeShortForm(fullB))
        return false;
    return SamePath(ShortForm(fullA), ShortForm(fullB));
}

// The network name by way of the drive's connection. Windows 95 has the call for a whole path but lets it
// fail for 32-bit programs.
DWORD NameByConnection(const kiv::UniversalNameApi& api, const char* path, PathForm& name) noexcept {
    if (api.getConnection == nullptr)
        return ERROR_PROC_NOT_FOUND;
    const char drive[] = {path[0], ':', '\0'};
    DWORD size = sizeof name.text;
    if (const DWORD status = api.getConnection(drive, name.text, &size))
        return status;
    const std::size_t share = std::strlen(name.text);
    const char* rest = path + 2;
    if (share + std::strlen(rest) >= sizeof name.text)
        return ERROR_MORE_DATA;
    std::strcpy(name.text + share, rest);
    name.length = static_cast<DWORD>(std::strlen(name.text));
    return name.length == 0 ? ERROR_NOT_CONNECTED : NO_ERROR;
}

DWORD NameByPath(const kiv::UniversalNameApi& api, const char* path, PathForm& name) noexcept {
    if (api.getUniversalName == nullptr)
        return ERROR_PROC_NOT_FOUND;
    // The record is followed by the text that it points to.
    union {
        UNIVERSAL_NAME_INFOA info;
        char bytes[sizeof(UNIVERSAL_NAME_INFOA) + 2 * MAX_PATH];
    } answer;
    DWORD size = sizeof answer;
    if (const DWORD status = api.getUniversalName(path, UNIVERSAL_NAME_INFO_LEVEL, &answer, &size))
        return status;
    const std::size_t length = std::strlen(answer.info.lpUniversalName);
    if (length >= sizeof name.text)
        return ERROR_MORE_DATA;
    std::memcpy(name.text, answer.info.lpUniversalName, length + 1);
    name.length = static_cast<DWORD>(length);
    return length == 0 ? ERROR_NOT_CONNECTED : NO_ERROR;
}

DWORD UniversalName(const char* path, PathForm& name) noexcept {
    if (!kiv::IsDrivePath(path))
        return ERROR_BAD_DEVICE;
    const kiv::UniversalNameApi& api = kiv::DynamicApi<kiv::UniversalNameApi>::Get();
    const DWORD byPath = NameByPath(api, path, name);
    if (byPath == NO_ERROR)
        return NO_ERROR;
    const DWORD byConnection = NameByConnection(api, path, name);
    return byConnection == ERROR_PROC_NOT_FOUND ? byPath : byConnection;
}

}  // namespace

int CKivPath::PathIsEqual(const char* a, const char* b) noexcept {
    if (a == nullptr || b == nullptr) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    const kiv::LastErrorKeeper keeper;
    return PathsAreEqual(a, b) ? 1 : 0;
}

unsigned long CKivPath::NetGetUniversalName(const char* path, char* out, unsigned long outSize) noexcept {
    if (path == nullptr || out == nullptr) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    PathForm name;
    DWORD status = UniversalName(path, name);
    if (status == NO_ERROR && name.length >= outSize)
        status = ERROR_MORE_DATA;
    if (status != NO_ERROR) {
        ::SetLastError(status);
        return 0;
    }
    std::memcpy(out, name.text, name.length + 1);
    return name.length;
}
