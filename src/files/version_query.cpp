#include "support/windows_api.h"

#include <atomic>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include "files/version_resource.h"
#include "support/guarded_call.h"
#include "support/heap_text.h"
#include "support/hresult.h"
#include "support/text_convert.h"
#include "tavkivut/file.h"

namespace {

// The system's calls follow offsets that the file gives them, so both run guarded.
struct SizeCall {
    const char* path;
    DWORD size;
};

void AskSize(void* argument) {
    auto* call = static_cast<SizeCall*>(argument);
    DWORD ignored = 0;
    call->size = ::GetFileVersionInfoSizeA(call->path, &ignored);
}

struct ReadCall {
    const char* path;
    DWORD size;
    char* block;
    BOOL done;
};

void ReadBlock(void* argument) {
    auto* call = static_cast<ReadCall*>(argument);
    call->done = ::GetFileVersionInfoA(call->path, 0, call->size, call->block);
}

// False, with a last error in place of the system's, where a fault ended the call.
bool RunGuarded(void (*code)(void*), void* argument) noexcept {
    if (KivGuardedCall(code, argument))
        return true;
    ::SetLastError(ERROR_RESOURCE_DATA_NOT_FOUND);
    return false;
}

// The version resource of a file, on the heap.
class VersionBlock {
public:
    // False with the thread's last error when there is none or it cannot be read.
    bool Read(const char* path) noexcept {
        if (path == nullptr) {
            ::SetLastError(ERROR_INVALID_PARAMETER);
            return false;
        }
        SizeCall size{path, 0};
        if (!RunGuarded(AskSize, &size) || size.size == 0)
            return false;
        m_size = (size.size + 3) & ~DWORD{3};
        m_bytes.reset(new (std::nothrow) char[m_size]());
        if (m_bytes == nullptr) {
            ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return false;
        }
        ReadCall read{path, m_size, m_bytes.get(), FALSE};
        return RunGuarded(ReadBlock, &read) && read.done;
    }

    bool IsNarrow() const noexcept { return kiv::IsNarrowVersionBlock(Bytes()); }
    kiv::VersionResource<char> Narrow() const noexcept { return kiv::VersionResource<char>(Bytes()); }
    kiv::VersionResource<char16_t> Wide() const noexcept { return kiv::VersionResource<char16_t>(Bytes()); }

private:
    std::string_view Bytes() const noexcept { return {m_bytes.get(), m_size}; }

    std::unique_ptr<char[]> m_bytes;
    DWORD m_size = 0;
};

std::optional<FILE_VERSION> FindFileVersion(const VersionBlock& block) noexcept {
    const std::optional<std::string_view> root =
        block.IsNarrow() ? block.Narrow().FindValue({}) : block.Wide().FindValue({});
    return root ? kiv::FixedFileVersion(*root) : std::nullopt;
}

std::optional<std::string_view> FindTranslations(const VersionBlock& block) noexcept {
    return block.IsNarrow() ? block.Narrow().FindValue({"VarFileInfo", "Translation"})
                            : block.Wide().FindValue({u"VarFileInfo", u"Translation"});
}

std::u16string Units(const char* text) {
    const std::wstring wide = kiv::WideFromAnsi(text);
    return std::u16string(wide.begin(), wide.end());
}

// In the system code page.
std::optional<std::string> FindString(const VersionBlock& block, kiv::VersionTranslation translation,
                                      const char* name) {
    char table[sizeof "01234567"];
    std::snprintf(table, sizeof table, "%04x%04x", translation.language, translation.codePage);
    if (block.IsNarrow())
        return block.Narrow().FindText({"StringFileInfo", table, name});
    const std::optional<std::u16string> text = block.Wide().FindText({u"StringFileInfo", Units(table), Units(name)});
    if (!text)
        return std::nullopt;
    return kiv::AnsiFromWide(std::wstring(text->begin(), text->end()));
}

LANGID SystemLanguage() noexcept {
    static std::atomic<LANGID> known{0};
    LANGID language = known.load(std::memory_order_relaxed);
    if (language == 0) {
        language = ::GetSystemDefaultLangID();
        known.store(language, std::memory_order_relaxed);
    }
    return language;
}

struct FoundString {
    std::optional<std::string> text;
    bool inSystemLanguage;
};

// The string in the system's language, else in the last other language that has it.
FoundString FindStringByLanguage(const VersionBlock& block, std::string_view translations, const char* name) {
    FoundString found{std::nullopt, false};
    for (std::size_t i = 0; !found.inSystemLanguage; ++i) {
        const std::optional<kiv::VersionTranslation> translation = kiv::TranslationAt(translations, i);
        if (!translation)
            break;
        std::optional<std::string> text = FindString(block, *translation, name);
        if (!text)
            continue;
        found.text = std::move(text);
        found.inSystemLanguage = translation->language == SystemLanguage();
    }
    return found;
}

// What the system's own query sets when a resource lacks what it is asked for.
long ResourceStatus() noexcept {
    ::SetLastError(ERROR_RESOURCE_TYPE_NOT_FOUND);
    return kiv::StatusFromWin32(ERROR_RESOURCE_TYPE_NOT_FOUND);
}

}  // namespace

long CKivFile::GetVersionInfo(const char* path, const char* name, char* buffer, unsigned long bufferSize) noexcept {
    const bool wanted = buffer != nullptr && bufferSize != 0;
    if (wanted)
        buffer[0] = '\0';
    if (name == nullptr) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return kiv::kStatusFail;
    }
    VersionBlock block;
    if (!block.Read(path))
        return kiv::kStatusFail;
    const std::optional<std::string_view> translations = FindTranslations(block);
    if (!translations)
        return ResourceStatus();
    try {
        const FoundString found = FindStringByLanguage(block, *translations, name);
        if (wanted && found.text)
            kiv::CopyText(buffer, bufferSize, found.text->c_str());
        return found.inSystemLanguage ? kiv::kStatusOk : kiv::kStatusFalse;
    } catch (const std::bad_alloc&) {
        return kiv::kStatusFail;
    }
}

long CKivFile::GetVersion(const char* path, CKivFileVersion& version) noexcept {
    VersionBlock block;
    if (!block.Read(path)) {
        const long status = kiv::StatusFromWin32(::GetLastError());
        return kiv::Failed(status) ? status : kiv::kStatusFail;
    }
    const std::optional<FILE_VERSION> found = FindFileVersion(block);
    if (!found)
        return ResourceStatus();
    version = *found;
    return kiv::kStatusOk;
}

long CKivFile::VerifyVersion(const char* path, CKivFileVersion& required, int& isAtLeast) noexcept {
    isAtLeast = 0;
    CKivFileVersion version;
    const long status = GetVersion(path, version);
    if (kiv::Failed(status))
        return status;
    isAtLeast = version >= required ? 1 : 0;
    return kiv::kStatusOk;
}
