#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "registry/config_files.h"
#include "registry/config_refresh.h"
#include "registry/setting_value.h"
#include "support/heap_text.h"
#include "tavkivut/config.h"
#include "tavkivut/crypt.h"
#include "tavkivut/frame.h"
#include "tavkivut/registry.h"

CRITICAL_SECTION CKivConfigMgr::m_cs;
bool CKivConfigMgr::m_bInitialized = false;

namespace kiv {
namespace {

constexpr std::size_t kEncryptedTextBuffer = 780;

// Counts the instances, whose first makes the critical section and whose last deletes it. A lock of its own, since it
// guards the making of the other; it is held for a few instructions.
class InstanceCount {
public:
    template <class Action>
    void Enter(const Action& first) noexcept {
        Acquire();
        if (m_instances++ == 0)
            first();
        Release();
    }
    template <class Action>
    void Leave(const Action& last) noexcept {
        Acquire();
        if (--m_instances == 0)
            last();
        Release();
    }

private:
    void Acquire() noexcept {
        while (__atomic_exchange_n(&m_locked, 1L, __ATOMIC_ACQUIRE) != 0)
            ::Sleep(1);  // a shorter one lets no thread of a lower priority run
    }
    void Release() noexcept { __atomic_store_n(&m_locked, 0L, __ATOMIC_RELEASE); }

    long m_locked = 0;
    long m_instances = 0;
};

InstanceCount g_instances;

// Holds the class-wide section for the scope of an operation.
class OperationLock {
public:
    explicit OperationLock(CRITICAL_SECTION& section) noexcept : m_guard(section, false) { m_guard.Enter(); }

private:
    CCriticalSection_MethodHelper m_guard;
};

bool IsGiven(const char* section) noexcept {
    return section != nullptr && section[0] != '\0';
}

// The value of a setting, opened with full access.
CKivRegValue ValueOf(const char* section, const char* key) {
    return CKivRegValue(nullptr, (std::string(kConfigRootKey) + "\\" + section).c_str(), key);
}

// An array of so many texts and a null behind them, all null; null when memory is exhausted.
char** NewTexts(std::size_t count) noexcept {
    return static_cast<char**>(std::calloc(count + 1, sizeof(char*)));
}

// Registry and, if asked for, files; to be called with the section held.
void WriteSetting(const char* section, const char* key, const char* value, bool updateFile) {
    CKivRegKey subkey;
    if (subkey.create(kConfigRootKey, section))
        WriteSettingValue(subkey, key, value);
    if (updateFile)
        UpdateConfigFiles(section, key, value);
}

}  // namespace
}  // namespace kiv

CKivConfigMgr::CKivConfigMgr() noexcept {
    kiv::g_instances.Enter([] { ::InitializeCriticalSection(&m_cs); });
}

CKivConfigMgr::~CKivConfigMgr() {
    kiv::g_instances.Leave([] { ::DeleteCriticalSection(&m_cs); });
}

bool CKivConfigMgr::Initialize() noexcept {
    const kiv::OperationLock lock(m_cs);
    kiv::RefreshConfig();
    m_bInitialized = true;
    return true;
}

// To be called with the section held.
void CKivConfigMgr::InitializeOnce() noexcept {
    if (!m_bInitialized)
        Initialize();
}

bool CKivConfigMgr::GetCfgString(const char* section, const char* key, char* buffer, unsigned long size) noexcept {
    if (!kiv::IsGiven(section) || key == nullptr || buffer == nullptr || size == 0)
        return false;
    const kiv::OperationLock lock(m_cs);
    InitializeOnce();
    CKivRegValue value = kiv::ValueOf(section, key);
    const char* text = value.exist() ? static_cast<const char*>(value) : nullptr;
    if (text == nullptr || std::strlen(text) >= size)
        return false;
    std::strcpy(buffer, text);
    return true;
}

bool CKivConfigMgr::GetCfgDword(const char* section, const char* key, unsigned long& value) noexcept {
    if (!kiv::IsGiven(section) || key == nullptr)
        return false;
    const kiv::OperationLock lock(m_cs);
    InitializeOnce();
    CKivRegValue stored = kiv::ValueOf(section, key);
    if (!stored.exist())
        return false;
    value = static_cast<unsigned long>(stored);
    return true;
}

long CKivConfigMgr::GetCfgStrings(const char* section, char**& names, char**& values) noexcept {
    const kiv::OperationLock lock(m_cs);
    InitializeOnce();
    CKivRegKey key;
    if (kiv::IsGiven(section))
        key.open(kiv::kConfigRootKey, section);
    const auto room = static_cast<std::size_t>(key.countValues());
    names = kiv::NewTexts(room);
    values = kiv::NewTexts(room);
    if (names == nullptr || values == nullptr) {
        ReleaseCfgStrings(names, values);
        return 0;
    }
    std::size_t count = 0;
    const CKivRegKey::iterator end = key.end();
    for (CKivRegKey::iteratorValues at = key.beginValues(); at != end && count < room; ++at) {
        names[count] = kiv::DuplicateText(at.getName());
        values[count] = kiv::DuplicateText(static_cast<const char*>(*at));
        if (names[count] == nullptr)
            break;
        ++count;
    }
    return static_cast<long>(count);
}

void CKivConfigMgr::ReleaseCfgStrings(char**& names, char**& values) noexcept {
    const kiv::OperationLock lock(m_cs);
    if (names != nullptr && values != nullptr) {
        for (std::size_t i = 0; names[i] != nullptr || values[i] != nullptr; ++i) {
            std::free(names[i]);
            std::free(values[i]);
        }
    }
    std::free(names);
    std::free(values);
    names = nullptr;
    values = nullptr;
}

bool CKivConfigMgr::SetCfgString(const char* section, const char* key, const char* value, bool updateFile) noexcept {
    if (!kiv::IsGiven(section) || key == nullptr || value == nullptr)
        return false;
    const kiv::OperationLock lock(m_cs);
    InitializeOnce();
    kiv::WriteSetting(section, key, value, updateFile);
    return true;
}

bool CKivConfigMgr::SetCfgDword(const char* section, const char* key, unsigned long value, bool updateFile) noexcept {
    char text[16];
    std::snprintf(text, sizeof text, "0x%lx", value);
    return SetCfgString(section, key, text, updateFile);
}

bool CKivConfigMgr::GetEncryptedCfgString(const char* section, const char* key, char* buffer,
                                          unsigned long size) noexcept {
    if (buffer == nullptr || size == 0)
        return false;
    const kiv::OperationLock lock(m_cs);
    char text[kiv::kEncryptedTextBuffer];
    return GetCfgString(section, key, text, sizeof text) && CKivDecryptData::Decrypt(text, buffer, size) != 0;
}

bool CKivConfigMgr::SetEncryptedCfgString(const char* section, const char* key, const char* value,
                                          bool updateFile) noexcept {
    if (value == nullptr)
        return false;
    const kiv::OperationLock lock(m_cs);
    char text[kiv::kEncryptedTextBuffer];
    return CKivEncryptData::Encrypt(value, kKivEncryptedBlock, text, sizeof text) != 0 &&
           SetCfgString(section, key, text, updateFile);
}
