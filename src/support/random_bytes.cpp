#include "support/random_bytes.h"

#include "support/dynamic_function.h"

namespace kiv {

void CryptoApi::Load() noexcept {
    const HMODULE module = LoadSystemModule("advapi32.dll");
    FindFunction(module, "CryptAcquireContextA", acquireContext);
    FindFunction(module, "CryptGenRandom", genRandom);
    FindFunction(module, "CryptReleaseContext", releaseContext);
}

bool RandomBytes(void* memory, std::size_t size) noexcept {
    const CryptoApi& api = DynamicApi<CryptoApi>::Get();
    if (!api.Complete())
        return false;
    // No key is kept, so no key container is needed. Systems before Windows 2000 refuse the flag against dialogs.
    HCRYPTPROV provider = 0;
    if (!api.acquireContext(&provider, nullptr, nullptr, PROV_RSA_FULL, CRYPT_VERIFYCONTEXT | CRYPT_SILENT) &&
        !api.acquireContext(&provider, nullptr, nullptr, PROV_RSA_FULL, CRYPT_VERIFYCONTEXT))
        return false;
    const bool filled = api.genRandom(provider, static_cast<DWORD>(size), static_cast<BYTE*>(memory)) != FALSE;
    api.releaseContext(provider, 0);
    return filled;
}

}  // namespace kiv
