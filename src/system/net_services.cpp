#include "support/windows_api.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>

#include "files/file_contents.h"
#include "files/without_read_only.h"
#include "support/ascii.h"
#include "support/heap_text.h"
#include "support/nt_family.h"
#include "support/scoped_resource.h"
#include "system/services_text.h"
#include "system/system_caches.h"
#include "tavkivut/net_services.h"
#include "tavkivut/system.h"

namespace {

using kiv::Caches;

// In upper case by the system's rules, which know the code page's characters.
std::string UpperCase(std::string_view text) {
    const int length = static_cast<int>(text.size());
    std::string upper(text);
    const int made = ::LCMapStringA(LOCALE_SYSTEM_DEFAULT, LCMAP_UPPERCASE, text.data(), length, upper.data(), length);
    return made == length ? upper : std::string(text);
}

// Equal but for case. The system is asked only about texts that differ in more than the case of ASCII letters.
bool SameText(const char* a, const char* b) noexcept {
    const std::string_view first = a;
    const std::string_view second = b;
    if (first.size() != second.size())
        return false;
    if (first == second || kiv::IsAscii(first))
        return kiv::EqualsIgnoreCase(first, second);
    try {
        return UpperCase(first) == UpperCase(second);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

// "" when it would have more than 259 characters.
const char* BackupName() noexcept {
    const char* fileName = CKivNetServiceConfig::getFileName();
    char name[MAX_PATH];
    const int length = std::snprintf(name, sizeof name, "%s.bak", fileName);
    return *fileName == '\0' || length >= MAX_PATH ? "" : Caches().servicesBackup.Keep(name);
}

}  // namespace

CKivNetServiceConfig::CKivNetServiceConfig() noexcept : m_list{} {
    parseServiceConfigFile(getFileName(), m_list);
}

CKivNetServiceConfig::~CKivNetServiceConfig() {
    freeServiceConfig(m_list);
}

NETSERVICE* CKivNetServiceConfig::at(long index) noexcept {
    return index < 0 || index >= m_list.count ? nullptr : m_list.entries[index];
}

NETSERVICE* CKivNetServiceConfig::find(const char* name) noexcept {
    for (long i = 0; name != nullptr && i < m_list.count; ++i) {
        NETSERVICE* entry = m_list.entries[i];
        if (entry->name != nullptr && SameText(entry->name, name))
            return entry;
    }
    return nullptr;
}

NETSERVICE* CKivNetServiceConfig::find(long port, const char* protocol) noexcept {
    for (long i = 0; protocol != nullptr && i < m_list.count; ++i) {
        NETSERVICE* entry = m_list.entries[i];
        if (entry->port == port && entry->protocol != nullptr && SameText(entry->protocol, protocol))
            return entry;
    }
    return nullptr;
}

NETSERVICE* CKivNetServiceConfig::append(const char* name, long port, const char* protocol) noexcept {
    NETSERVICE* entry = kiv::MakeServiceEntry();
    if (entry == nullptr)
        return nullptr;
    entry->name = kiv::DuplicateText(name);
    entry->port = port;
    entry->protocol = kiv::DuplicateText(protocol);
    const bool copied =
        (name == nullptr || entry->name != nullptr) && (protocol == nullptr || entry->protocol != nullptr);
    if (copied && kiv::AddServiceEntry(m_list, entry))
        return entry;
    kiv::FreeServiceEntry(entry);
    return nullptr;
}

bool CKivNetServiceConfig::remove(NETSERVICE** entry) noexcept {
    if (entry == nullptr || *entry == nullptr)
        return false;
    NETSERVICE** const end = m_list.entries + m_list.count;
    NETSERVICE** const place = std::find(m_list.entries, end, *entry);
    if (place == end)
        return false;
    NETSERVICE* const removed = *place;
    std::copy(place + 1, end, place);
    --m_list.count;
    kiv::FreeServiceEntry(removed);
    *entry = nullptr;
    return true;
}

bool CKivNetServiceConfig::save() noexcept {
    kiv::HeapBuffer<char> contents;
    DWORD error = ERROR_NOT_ENOUGH_MEMORY;
    if (kiv::FormatServices(m_list, contents)) {
        backupServiceConfigFile();
        const kiv::WithoutReadOnly writable(getFileName());
        error = kiv::ReplaceContents(getFileName(), contents.Text());
    }
    if (error != NO_ERROR)
        ::SetLastError(error);
    return error == NO_ERROR;
}

const char* CKivNetServiceConfig::getFileName() noexcept {
    if (const char* known = Caches().servicesFile.Find())
        return known;
    const bool isNt = kiv::IsNtFamily();
    const char* folder = isNt ? CKivSystem::GetSysDir() : CKivSystem::GetWinDir();
    char name[MAX_PATH];
    const int length = folder == nullptr ? MAX_PATH
                                         : std::snprintf(name, sizeof name,
                                                         isNt ? "%s\\drivers\\etc\\services" : "%s\\services", folder);
    return length >= MAX_PATH ? "" : Caches().servicesFile.Keep(name);
}

void CKivNetServiceConfig::setServiceName(NETSERVICE* entry, const char* name) noexcept {
    if (entry != nullptr)
        kiv::TryReplaceText(entry->name, name);
}

void CKivNetServiceConfig::setPort(NETSERVICE* entry, long port) noexcept {
    if (entry != nullptr)
        entry->port = port;
}

void CKivNetServiceConfig::setProtocol(NETSERVICE* entry, const char* protocol) noexcept {
    if (entry != nullptr)
        kiv::TryReplaceText(entry->protocol, protocol);
}

void CKivNetServiceConfig::setComment(NETSERVICE* entry, const char* comment) noexcept {
    if (entry != nullptr)
        kiv::TryReplaceText(entry->comment, comment);
}

void CKivNetServiceConfig::addAlias(NETSERVICE* entry, const char* alias) noexcept {
    if (entry != nullptr && alias != nullptr)
        kiv::AddServiceAlias(*entry, alias);
}

void CKivNetServiceConfig::removeAliases(NETSERVICE* entry) noexcept {
    if (entry != nullptr)
        kiv::FreeServiceAliases(*entry);
}

bool CKivNetServiceConfig::parseServiceConfigFile(const char* fileName, NETSERVICELIST& list) noexcept {
    if (fileName == nullptr)
        return false;
    const kiv::ScopedFile file(::CreateFileA(fileName, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING,
                                             FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    kiv::HeapBuffer<char> contents;
    if (!file || kiv::ReadContents(file.Get(), contents) != kiv::Reading::kDone)
        return false;
    kiv::ParseServices(contents.Text(), list);
    return true;
}

NETSERVICE* CKivNetServiceConfig::parseServiceConfigEntry(const char* line) noexcept {
    return kiv::ParseServiceLine(line == nullptr ? "" : line);
}

void CKivNetServiceConfig::freeServiceConfig(NETSERVICELIST& list) noexcept {
    for (long i = 0; i < list.count; ++i)
        kiv::FreeServiceEntry(list.entries[i]);
    std::free(list.entries);
    list = {};
}

void CKivNetServiceConfig::getPrettyPrinterInfo(const NETSERVICELIST& list, NETSERVICEWIDTHS& widths) noexcept {
    widths = kiv::MeasureServices(list);
}

unsigned long CKivNetServiceConfig::createServiceConfigEntry(const NETSERVICE* entry, const NETSERVICEWIDTHS& widths,
                                                             char* line) noexcept {
    if (entry == nullptr || line == nullptr)
        return 0;
    return static_cast<unsigned long>(kiv::FormatService(*entry, widths, line));
}

bool CKivNetServiceConfig::backupServiceConfigFile() noexcept {
    const char* backup = BackupName();
    if (*backup == '\0')
        return false;
    const DWORD attributes = ::GetFileAttributesA(backup);
    // An old backup has the attributes of the file that it was made of; they would keep the new one away.
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
        ::SetFileAttributesA(backup, FILE_ATTRIBUTE_NORMAL);
    return ::CopyFileA(getFileName(), backup, FALSE) != FALSE;
}
