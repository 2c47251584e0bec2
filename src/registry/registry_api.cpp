#include "registry/registry_api.h"

namespace kiv {

void RegistryApi::Load() noexcept {
    FindFunction(LoadSystemModule("advapi32.dll"), "RegDeleteKeyExA", deleteKeyEx);
    // ntdll.dll is in every process of the NT family. The 9x family has a module of that name too, which lacks them.
    const HMODULE ntdll = ::GetModuleHandleA("ntdll.dll");
    FindFunction(ntdll, "NtDeleteKey", ntDeleteKey);
    FindFunction(ntdll, "RtlNtStatusToDosError", ntStatusToError);
}

}  // namespace kiv
