#include "support/temp_directory.h"

#include "support/check.h"
#include "support/windows_api.h"

namespace kiv::test {

TempDirectory::TempDirectory() {
    static unsigned counter = 0;
    char base[MAX_PATH];
    REQUIRE(::GetTempPathA(sizeof base, base) != 0);
    m_path = std::string(base) + "tavkivut-test-" + std::to_string(::GetCurrentProcessId()) + "-" +
             std::to_string(++counter);
    RemoveTree(m_path);  // what a crashed run with the same id left
    REQUIRE(::CreateDirectoryA(m_path.c_str(), nullptr));
}

TempDirectory::~TempDirectory() {
    RemoveTree(m_path);
}

std::string TempDirectory::operator/(std::string_view name) const {
    return m_path + "\\" + std::string(name);
}

std::string TempDirectory::Write(std::string_view name, std::string_view bytes) const {
    std::string path = *this / name;
    WriteFileBytes(path, bytes);
    return path;
}

std::string ReadFileBytes(const std::string& path) {
    const HANDLE file = ::CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                      OPEN_EXISTING, 0, nullptr);
    REQUIRE_MESSAGE(file != INVALID_HANDLE_VALUE, path);
    std::string bytes(::GetFileSize(file, nullptr), '\0');
    DWORD read = 0;
    const BOOL done = ::ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &read, nullptr);
    ::CloseHandle(file);
    REQUIRE(done);
    REQUIRE(read == bytes.size());
    return bytes;
}

void WriteFileBytes(const std::string& path, std::string_view bytes) {
    const HANDLE file =
        ::CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    REQUIRE_MESSAGE(file != INVALID_HANDLE_VALUE, path);
    DWORD written = 0;
    const BOOL done = ::WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    ::CloseHandle(file);
    REQUIRE(done);
    REQUIRE(written == bytes.size());
}

void RemoveTree(const std::string& path) {
    WIN32_FIND_DATAA found;
    const HANDLE search = ::FindFirstFileA((path + "\\*").c_str(), &found);
    if (search != INVALID_HANDLE_VALUE) {
        do {
            const std::string name = found.cFileName;
            if (name == "." || name == "..")
                continue;
            const std::string child = path + "\\" + name;
            ::SetFileAttributesA(child.c_str(), FILE_ATTRIBUTE_NORMAL);
            if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0)
                RemoveTree(child);
            else
                ::DeleteFileA(child.c_str());
        } while (::FindNextFileA(search, &found));
        ::FindClose(search);
    }
    ::RemoveDirectoryA(path.c_str());
}

}  // namespace kiv::test
