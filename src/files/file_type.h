#ifndef KIV_FILES_FILE_TYPE_H
#define KIV_FILES_FILE_TYPE_H

#include <cstdint>
#include <string_view>

namespace kiv {

// The extension of a path, with its dot: from the last dot behind the last slash or backslash, or nothing.
//
//     C:\x\font.TTC    ".TTC"
//     dir.exe\file     ""
//     .exe             ".exe"
std::string_view ExtensionOf(std::string_view path) noexcept;

// The kind of file that the path's extension tells (the numbers are those of CKivFile::GetType).
std::uint32_t FileTypeOf(std::string_view path) noexcept;

}  // namespace kiv

#endif
