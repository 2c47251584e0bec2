#include "support/windows_api.h"

#include <string>
#include <string_view>
#include <vector>

#include <lmerr.h>

#include "files/path_text.h"
#include "network/computer.h"
#include "network/share_name.h"
#include "network/shares.h"
#include "network/workstation_base.h"
#include "support/code_page.h"
#include "support/heap_text.h"
#include "support/scoped_resource.h"
#include "tavkivut/network.h"
#include "tavkivut/system.h"

namespace {

constexpr int kNameAttempts = 16;

// A path as the system's functions for shares name it: no backslash at the end, but that of a drive's root.
std::string SharedDirectory(const std::string& directory) {
    return directory.size() == 2 ? directory + '\\' : directory;
}

bool Serves(const kiv::Share& share, const std::string& directory) noexcept {
    return kiv::EqualPathText(share.path, directory, kiv::IsAnsiLeadByte) && !kiv::IsOwnShareName(share.name);
}

// A share of exactly that directory; "" when there is none, or when the shares cannot be listed. Those that another
// object made do not count: they go when it goes.
std::string FindShare(const std::string& server, const std::string& directory) {
    std::vector<kiv::Share> shares;
    if (kiv::Shares().list(server, shares) != NO_ERROR)
        return {};
    for (const kiv::Share& share : shares) {
        if (Serves(share, directory))
            return share.name;
    }
    return {};
}

// A first name that another process, and another computer, will hardly try at the same moment.
std::uint32_t NameSeed() noexcept {
    static volatile LONG counter = 0;
    LARGE_INTEGER ticks{};
    ::QueryPerformanceCounter(&ticks);
    const DWORD mixed = ::GetCurrentProcessId() * 2654435761U ^ ::GetTickCount() ^ ticks.LowPart;
    return mixed + static_cast<DWORD>(::InterlockedIncrement(&counter));
}

DWORD MakeShare(const std::string& server, kiv::Share& share, kiv::ShareReaders readers) {
    DWORD status = NERR_DuplicateShare;
    std::uint32_t number = NameSeed();
    for (int attempt = 0; attempt < kNameAttempts && status == NERR_DuplicateShare; ++attempt) {
        share.name = kiv::OwnShareName(number++);
        status = kiv::Shares().add(server, share, readers);
    }
    return status;
}

// The absolute path of a directory, without a backslash at its end; "" when it is none of a drive.
std::string AbsoluteDirectory(const char* path, bool isThisComputer) {
    std::string directory(kiv::WithoutTrailingBackslash(path, kiv::IsAnsiLeadByte));
    if (!kiv::IsDrivePath(directory) && isThisComputer && !directory.empty()) {
        char full[MAX_PATH];
        const DWORD length = ::GetFullPathNameA(path, sizeof full, full, nullptr);
        directory = kiv::WithoutTrailingBackslash({full, length < sizeof full ? length : 0}, kiv::IsAnsiLeadByte);
    }
    return kiv::IsDrivePath(directory) ? directory : std::string();
}

bool Fail(DWORD error) noexcept {
    ::SetLastError(error);
    return false;
}

// Puts a copy into a field; false, with the field as it was, when memory is exhausted.
bool Keep(char*& field, const char* text) noexcept {
    return kiv::TryReplaceText(field, text) || Fail(ERROR_NOT_ENOUGH_MEMORY);
}

}  // namespace

CKivRemoteShare::CKivRemoteShare(const char* computer) noexcept
    : m_computer(nullptr), m_kind(DIR_LOCAL_PATH), m_path(nullptr), m_share(nullptr), m_uncName(nullptr),
      m_localPath(nullptr), m_isOwn(false) {
    SetComputer(computer);
}

CKivRemoteShare::~CKivRemoteShare() {
    const kiv::LastErrorKeeper keeper;
    CloseShare();
    kiv::FreeText(m_computer);
    kiv::FreeText(m_path);
}

bool CKivRemoteShare::SetComputer(const char* computer) noexcept {
    const std::string name = kiv::ComputerName(computer);
    CloseShare();
    return Keep(m_computer, name.c_str());
}

bool CKivRemoteShare::SetDirToShare(enumDirToShare kind) noexcept {
    if (kind != DIR_LOCAL_PATH && kind != DIR_WORKSTATION_BASE)
        return Fail(ERROR_INVALID_PARAMETER);
    CloseShare();
    m_kind = kind;
    return true;
}

bool CKivRemoteShare::SetLocalPath(const char* path) noexcept {
    if (path == nullptr)
        return Fail(ERROR_INVALID_PARAMETER);
    const std::string copy = path;
    CloseShare();
    return Keep(m_path, copy.c_str());
}

bool CKivRemoteShare::OpenShare() noexcept {
    CloseShare();
    const DWORD status = Open();
    return status == NO_ERROR || Fail(status);
}

unsigned long CKivRemoteShare::Open() noexcept {
    if (m_computer == nullptr)
        return ERROR_NOT_ENOUGH_MEMORY;
    const bool isThisComputer = m_computer[0] == '\0';
    std::string directory;
    if (m_kind == DIR_WORKSTATION_BASE) {
        if (const DWORD status = kiv::FindWorkstationBase(m_computer, directory))
            return status;
    } else {
        directory = AbsoluteDirectory(m_path != nullptr ? m_path : "", isThisComputer);
    }
    if (directory.empty())
        return ERROR_BAD_PATHNAME;

    const std::string server = kiv::ServerName(m_computer);
    kiv::Share share{FindShare(server, SharedDirectory(directory)), SharedDirectory(directory)};
    const bool isOwn = share.name.empty();
    const kiv::ShareReaders readers =
        m_kind == DIR_LOCAL_PATH ? kiv::ShareReaders::kEveryone : kiv::ShareReaders::kNobody;
    if (const DWORD status = isOwn ? MakeShare(server, share, readers) : NO_ERROR)
        return status;
    m_isOwn = isOwn;
    const std::string host = isThisComputer ? CKivSystem::GetComputerNameA() : m_computer;
    const std::string uncName = "\\\\" + host + "\\" + share.name;
    if (Keep(m_share, share.name.c_str()) && Keep(m_uncName, uncName.c_str()) && Keep(m_localPath, directory.c_str()))
        return NO_ERROR;
    if (isOwn && m_share == nullptr)
        kiv::Shares().remove(server, share.name);
    CloseShare();
    return ERROR_NOT_ENOUGH_MEMORY;
}

bool CKivRemoteShare::CloseShare() noexcept {
    DWORD status = NO_ERROR;
    if (m_isOwn && m_share != nullptr)
        status = kiv::Shares().remove(kiv::ServerName(m_computer), m_share);
    m_isOwn = false;
    kiv::FreeText(m_share);
    kiv::FreeText(m_uncName);
    kiv::FreeText(m_localPath);
    return status == NO_ERROR || Fail(status);
}

bool CKivRemoteShare::IsOpen() const noexcept {
    return m_share != nullptr;
}

bool CKivRemoteShare::IsOwn() const noexcept {
    return m_isOwn;
}

const char* CKivRemoteShare::GetUNCName() const noexcept {
    return m_uncName != nullptr ? m_uncName : "";
}

const char* CKivRemoteShare::GetLocalPath() const noexcept {
    return m_localPath != nullptr ? m_localPath : "";
}
