#include "support/windows_api.h"

#include <cstring>

#include "files/crc32_sum.h"
#include "files/file_contents.h"
#include "files/signature_record.h"
#include "support/code_page.h"
#include "support/heap_text.h"
#include "support/log.h"
#include "support/scoped_resource.h"
#include "tavkivut/crc32.h"
#include "tavkivut/tools.h"

using kiv::ScopedFile;

namespace {

constexpr unsigned long kNoSignature = ERROR_FILE_NOT_FOUND;
constexpr unsigned long kBadData = ERROR_CRC;
constexpr DWORD kChunk = 4096;

kiv::SignaturePath SignaturePathOf(const char* path) {
    return kiv::SignaturePathOf(path, kiv::IsAnsiLeadByte);
}

void Hide(const char* folder) noexcept {
    const DWORD attributes = ::GetFileAttributesA(folder);
    if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
        return;
    if ((attributes & FILE_ATTRIBUTE_HIDDEN) == 0)
        ::SetFileAttributesA(folder, attributes | FILE_ATTRIBUTE_HIDDEN);
}

}  // namespace

#define KIV_CRC32_4(n) kiv::Crc32Entry(n), kiv::Crc32Entry((n) + 1), kiv::Crc32Entry((n) + 2), kiv::Crc32Entry((n) + 3)
#define KIV_CRC32_16(n) KIV_CRC32_4(n), KIV_CRC32_4((n) + 4), KIV_CRC32_4((n) + 8), KIV_CRC32_4((n) + 12)
#define KIV_CRC32_64(n) KIV_CRC32_16(n), KIV_CRC32_16((n) + 16), KIV_CRC32_16((n) + 32), KIV_CRC32_16((n) + 48)

const unsigned long CKivCrc32::s_dwCrc32[256] = {KIV_CRC32_64(0), KIV_CRC32_64(64), KIV_CRC32_64(128),
                                                 KIV_CRC32_64(192)};

unsigned long CKivCrc32::FromString(const char* text, unsigned long& crc) noexcept {
    crc = ~kiv::Crc32Of(kiv::kCrc32Start, text, text == nullptr ? 0 : std::strlen(text));
    return NO_ERROR;
}

unsigned long CKivCrc32::FromFile(const char* path, unsigned long& crc) noexcept {
    crc = 0;
    if (path == nullptr)
        return ERROR_INVALID_PARAMETER;
    const ScopedFile file(::CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                        FILE_FLAG_SEQUENTIAL_SCAN | FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN |
                                            FILE_ATTRIBUTE_SYSTEM | FILE_ATTRIBUTE_ARCHIVE,
                                        nullptr));
    if (!file)
        return ::GetLastError();
    std::uint32_t running = kiv::kCrc32Start;
    unsigned char chunk[kChunk];
    DWORD read = 0;
    // A read that fails ends the file: the callers have always taken what was read up to there.
    while (::ReadFile(file.Get(), chunk, kChunk, &read, nullptr) && read != 0)
        running = kiv::Crc32Of(running, chunk, read);
    crc = ~running;
    return NO_ERROR;
}

int CKivCrc32::AuthenticateFile(const char* path) noexcept {
    const char* const name = path == nullptr ? "" : path;
    unsigned long current = 0;
    unsigned long recorded = 0;
    if (FromFile(path, current) != NO_ERROR)
        KIV_LOG(kiv::kLogDetail, kiv::kLogInfo, "Security : failed to calculate CRC32 checksum for '%s'", name);
    else if (LoadFileCrcFromRepository(path, recorded) != NO_ERROR)
        KIV_LOG(kiv::kLogDetail, kiv::kLogInfo, "Security : no previous CRC32 checksum available for '%s'", name);
    else if (recorded != current)
        KIV_LOG(kiv::kLogDetail, kiv::kLogInfo, "Security : '%s' has been modified (CRC32 0x%lx -> 0x%lx)", name,
                recorded, current);
    else
        KIV_LOG(kiv::kLogDetail, kiv::kLogInfo, "Security : '%s' is original (CRC32 0x%lx)", name, current);
    return 1;
}

unsigned long CKivCrc32::UpdateAuthentication(const char* path) noexcept {
    return SaveFileCrcToRepository(path);
}

unsigned long CKivCrc32::SaveFileCrcToRepository(const char* path) noexcept {
    unsigned long crc = 0;
    if (FromFile(path, crc) != NO_ERROR)
        return kBadData;
    char signature[MAX_PATH];
    GetRepositoryNameFromFileName(path, signature, 1);
    const kiv::SignatureRecord record = kiv::MakeSignature(crc);
    const std::string_view bytes(reinterpret_cast<const char*>(record.data()), record.size());
    return kiv::ReplaceContents(signature, bytes) == NO_ERROR ? NO_ERROR : kBadData;
}

unsigned long CKivCrc32::LoadFileCrcFromRepository(const char* path, unsigned long& crc) noexcept {
    crc = 0xFFFFFFFF;
    char signature[MAX_PATH];
    GetRepositoryNameFromFileName(path, signature, 0);
    const ScopedFile file(::CreateFileA(signature, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                        FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file)
        return kNoSignature;
    kiv::SignatureRecord record{};
    DWORD read = 0;
    std::uint32_t checksum = 0;
    if (!::ReadFile(file.Get(), record.data(), static_cast<DWORD>(record.size()), &read, nullptr) ||
        !kiv::ReadSignature(record, read, checksum))
        return kBadData;
    crc = checksum;
    return NO_ERROR;
}

void CKivCrc32::GetRepositoryNameFromFileName(const char* path, char* signatureName, int create) noexcept {
    if (signatureName == nullptr)
        return;
    signatureName[0] = '\0';
    if (path == nullptr)
        return;
    const kiv::SignaturePath signature = SignaturePathOf(path);
    if (signature.file.size() >= MAX_PATH)
        return;
    if (create != 0)
        CKivTools::CreateDirectoryRecursive(signature.folder.c_str());
    Hide(signature.folder.c_str());
    kiv::CopyText(signatureName, MAX_PATH, signature.file.c_str());
}

void CKivCrc32::CalcCrc32(unsigned char byte, unsigned long& crc) noexcept {
    crc = s_dwCrc32[(crc ^ byte) & 0xFF] ^ crc >> 8;
}
