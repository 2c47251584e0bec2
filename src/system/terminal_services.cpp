#include "support/windows_api.h"

#include <new>
#include <string>

#include "support/hresult.h"
#include "support/scoped_resource.h"
#include "system/system_api.h"
#include "system/system_caches.h"
#include "system/text_list.h"
#include "tavkivut/system.h"

namespace {

using kiv::Caches;

// From NT 5 on the system compares the suites by itself.
int HasTerminalSuite() noexcept {
    const kiv::SuiteApi& api = kiv::DynamicApi<kiv::SuiteApi>::Get();
    if (api.setConditionMask == nullptr || api.verifyVersionInfo == nullptr)
        return 0;
    OSVERSIONINFOEXA wanted{};
    wanted.dwOSVersionInfoSize = sizeof wanted;
    wanted.wSuiteMask = VER_SUITE_TERMINAL;
    const DWORDLONG conditions = api.setConditionMask(0, VER_SUITENAME, VER_AND);
    return api.verifyVersionInfo(&wanted, VER_SUITENAME, conditions);
}

// The data of a multi-string value, whatever its size; a value that grows between two calls is read again.
std::string ReadTextList(HKEY key, const char* name) {
    std::string data(256, '\0');
    for (;;) {
        DWORD type = REG_NONE;
        auto size = static_cast<DWORD>(data.size());
        const LONG status = ::RegQueryValueExA(key, name, nullptr, &type, reinterpret_cast<BYTE*>(data.data()), &size);
        if (status == ERROR_MORE_DATA && size > data.size()) {
            data.resize(size);
            continue;
        }
        data.resize(status == ERROR_SUCCESS && type == REG_MULTI_SZ ? size : 0);
        return data;
    }
}

// Before NT 5 the terminal server edition names itself in the registry.
int IsTerminalProduct() noexcept {
    kiv::ScopedRegistryKey key;
    if (::RegOpenKeyExA(HKEY_LOCAL_MACHINE, "System\\CurrentControlSet\\Control\\ProductOptions", 0, KEY_READ,
                        key.Receive()) != ERROR_SUCCESS)
        return 0;
    try {
        return kiv::HoldsText(ReadTextList(key.Get(), "ProductSuite"), "Terminal Server") ? 1 : 0;
    } catch (const std::bad_alloc&) {
        return 0;
    }
}

int AskTerminalServer() noexcept {
    constexpr DWORD k9xFamily = 0x80000000;
    constexpr BYTE kWindows2000 = 5;
    const DWORD version = kiv::DynamicApi<kiv::VersionApi>::Get().getVersion();
    if ((version & k9xFamily) != 0)
        return 0;
    return LOBYTE(LOWORD(version)) >= kWindows2000 ? HasTerminalSuite() : IsTerminalProduct();
}

}  // namespace

int KIV_CALL KivIsTerminalServer() noexcept {
    unsigned long answer = Caches().terminalServer.load(std::memory_order_relaxed);
    if (answer == kiv::kTerminalServerNotAsked) {
        answer = static_cast<unsigned long>(AskTerminalServer());
        Caches().terminalServer.store(answer, std::memory_order_relaxed);
    }
    return static_cast<int>(answer);
}

long CKivSystem::IsTerminalServer() noexcept {
    return KivIsTerminalServer() != 0 ? kiv::kStatusOk : kiv::kStatusFalse;
}

unsigned long KIV_CALL KivGetSessionId(unsigned long processId) noexcept {
    const auto find = kiv::DynamicApi<kiv::SessionApi>::Get().processIdToSessionId;
    DWORD session = 0;
    if (find == nullptr || !find(processId == 0 ? ::GetCurrentProcessId() : processId, &session))
        return 0;
    return session;
}

unsigned long CKivSystem::GetSessionId(unsigned long processId) noexcept {
    return KivGetSessionId(processId);
}
