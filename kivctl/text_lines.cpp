#include "kivctl/text_lines.h"

#include "support/windows_api.h"

#include "kivctl/outcome.h"
#include "support/scoped_resource.h"

namespace kivctl {
namespace {

constexpr DWORD kMostBytes = 0x40000000;

kiv::ScopedFile Open(const std::string& file, DWORD access) {
    kiv::ScopedFile opened(
        ::CreateFileA(file.c_str(), access, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!opened) {
        const DWORD error = ::GetLastError();
        throw Failure("'" + file + "' cannot be opened: " + ErrorText(error));
    }
    return opened;
}

DWORD WriteWhole(HANDLE file, const std::string& content) {
    DWORD written = 0;
    if (::SetFilePointer(file, 0, nullptr, FILE_BEGIN) != 0 ||
        !::WriteFile(file, content.data(), static_cast<DWORD>(content.size()), &written, nullptr))
        return ::GetLastError();
    if (written != content.size())
        return ERROR_DISK_FULL;
    return ::SetEndOfFile(file) && ::FlushFileBuffers(file) ? NO_ERROR : ::GetLastError();
}

}  // namespace

std::vector<TextLine> SplitLines(std::string_view text) {
    std::vector<TextLine> lines;
    while (!text.empty()) {
        const std::size_t end = text.find_first_of("\r\n");
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(line.size());
        const std::size_t breakSize = text.substr(0, 2) == "\r\n" ? 2 : text.empty() ? 0 : 1;
        lines.push_back({std::string(line), std::string(text.substr(0, breakSize))});
        text.remove_prefix(breakSize);
    }
    return lines;
}

std::string ReadWholeFile(const std::string& file) {
    const kiv::ScopedFile opened = Open(file, GENERIC_READ);
    DWORD high = 0;
    const DWORD size = ::GetFileSize(opened.Get(), &high);
    if (high != 0 || size > kMostBytes)
        throw Failure("'" + file + "' is too long");
    std::string content(size, '\0');
    DWORD read = 0;
    if (!::ReadFile(opened.Get(), content.data(), size, &read, nullptr)) {
        const DWORD error = ::GetLastError();
        throw Failure("'" + file + "' cannot be read: " + ErrorText(error));
    }
    if (read != size)
        throw Failure("'" + file + "' became shorter while it was read");
    return content;
}

std::string ReadTextFile(const std::string& file) {
    std::string content = ReadWholeFile(file);
    if (content.find('\0') != std::string::npos)
        throw Failure("'" + file + "' holds zero bytes: it is no text of one or two bytes a character");
    return content;
}

void RewriteTextFile(const std::string& file, const std::string& oldContent, const std::string& newContent) {
    const kiv::ScopedFile opened = Open(file, GENERIC_WRITE);
    const DWORD error = WriteWhole(opened.Get(), newContent);
    if (error == NO_ERROR)
        return;
    const bool restored = WriteWhole(opened.Get(), oldContent) == NO_ERROR;
    throw Failure("'" + file + "' cannot be written: " + ErrorText(error) + (restored ? "" : kNotRestored));
}

bool RestoreFile(const std::string& file, const std::string& content) {
    return WriteWhole(Open(file, GENERIC_WRITE).Get(), content) == NO_ERROR;
}

}  // namespace kivctl
