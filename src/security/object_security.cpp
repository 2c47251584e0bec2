#include "security/object_security.h"

#include "security/process_heap.h"
#include "support/nt_family.h"
#include "tavkivut/security.h"

using kiv::ObjectSecurityApi;

namespace kiv {

void ObjectSecurityApi::Load() noexcept {
    const HMODULE advapi = LoadSystemModule("advapi32.dll");
    const HMODULE user = LoadSystemModule("user32.dll");
    FindFunction(user, "GetUserObjectSecurity", getUserObject);
    FindFunction(user, "SetUserObjectSecurity", setUserObject);
    FindFunction(advapi, "GetKernelObjectSecurity", getKernelObject);
    FindFunction(advapi, "SetKernelObjectSecurity", setKernelObject);
    FindFunction(advapi, "GetFileSecurityA", getFile);
    FindFunction(advapi, "SetFileSecurityA", setFile);
    FindFunction(advapi, "RegGetKeySecurity", getRegKey);
    FindFunction(advapi, "RegSetKeySecurity", setRegKey);
    FindFunction(advapi, "QueryServiceObjectSecurity", getService);
    FindFunction(advapi, "SetServiceObjectSecurity", setService);
}

}  // namespace kiv

namespace {

constexpr SECURITY_INFORMATION kOwnerAndDacl = OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION;

const ObjectSecurityApi& Api() noexcept {
    return kiv::DynamicApi<ObjectSecurityApi>::Get();
}

DWORD StatusOf(BOOL done) noexcept {
    if (done)
        return ERROR_SUCCESS;
    const DWORD error = ::GetLastError();
    return error != ERROR_SUCCESS ? error : ERROR_GEN_FAILURE;
}
DWORD StatusOf(LSTATUS status) noexcept {
    return static_cast<DWORD>(status);
}

// Calls a function of the table, which a system may lack, and gives its outcome as a Win32 error.
template <class Result, class... Parameters, class... Arguments>
DWORD Call(Result(WINAPI* function)(Parameters...), Arguments... arguments) noexcept {
    return function != nullptr ? StatusOf(function(arguments...)) : ERROR_PROC_NOT_FOUND;
}

int ResultOf(DWORD error) noexcept {
    if (error == ERROR_SUCCESS)
        return 1;
    ::SetLastError(error);
    return 0;
}

// An object's descriptor in a block of the process heap; null, with the last error, on failure. `query` takes a buffer,
// its size and where to put the size that is needed, and gives a Win32 error.
template <class Query>
void* ReadDescriptor(const Query& query) noexcept {
    if (!kiv::IsNtFamily())
        return nullptr;
    SECURITY_DESCRIPTOR none;  // some systems refuse a null pointer even for a size of 0
    DWORD size = 0;
    ::SetLastError(ERROR_SUCCESS);  // a failure that sets none must not pass for the one that tells the size
    DWORD error = query(&none, 0, &size);
    if (error != ERROR_INSUFFICIENT_BUFFER) {
        ::SetLastError(error);
        return nullptr;
    }
    kiv::ScopedHeapBlock block(kiv::AllocateHeapBlock(size));
    if (!block)
        return nullptr;
    error = query(block.Get(), size, &size);
    if (error != ERROR_SUCCESS) {
        ::SetLastError(error);
        return nullptr;
    }
    return block.Release();
}

}  // namespace

int CKivSecurityDescriptor::FromUserObject(void* handle, CKivSecurityDescriptor& target) noexcept {
    SECURITY_INFORMATION parts = kOwnerAndDacl;
    return target.AttachRead(ReadDescriptor([&](void* buffer, DWORD size, DWORD* needed) {
        return Call(Api().getUserObject, handle, &parts, buffer, size, needed);
    }));
}

int CKivSecurityDescriptor::FromKernelObject(void* handle, CKivSecurityDescriptor& target) noexcept {
    return target.AttachRead(ReadDescriptor([&](void* buffer, DWORD size, DWORD* needed) {
        return Call(Api().getKernelObject, handle, kOwnerAndDacl, buffer, size, needed);
    }));
}

int CKivSecurityDescriptor::FromFile(const char* path, CKivSecurityDescriptor& target) noexcept {
    if (path == nullptr)
        return ResultOf(ERROR_INVALID_PARAMETER);
    return target.AttachRead(ReadDescriptor([&](void* buffer, DWORD size, DWORD* needed) {
        return Call(Api().getFile, path, kOwnerAndDacl | GROUP_SECURITY_INFORMATION, buffer, size, needed);
    }));
}

int CKivSecurityDescriptor::FromRegKey(HKEY key, CKivSecurityDescriptor& target) noexcept {
    return target.AttachRead(ReadDescriptor([&](void* buffer, DWORD size, DWORD* needed) {
        *needed = size;  // this function's size goes both ways
        return Call(Api().getRegKey, key, kOwnerAndDacl, buffer, needed);
    }));
}

int CKivSecurityDescriptor::FromService(SC_HANDLE service, CKivSecurityDescriptor& target) noexcept {
    return target.AttachRead(ReadDescriptor([&](void* buffer, DWORD size, DWORD* needed) {
        return Call(Api().getService, service, kOwnerAndDacl, buffer, size, needed);
    }));
}

int CKivSecurityDescriptor::FromUserObject(void* handle) noexcept {
    return FromUserObject(handle, *this);
}

int CKivSecurityDescriptor::FromKernelObject(void* handle) noexcept {
    return FromKernelObject(handle, *this);
}

int CKivSecurityDescriptor::FromFile(const char* path) noexcept {
    return FromFile(path, *this);
}

int CKivSecurityDescriptor::FromRegKey(HKEY key) noexcept {
    return FromRegKey(key, *this);
}

int CKivSecurityDescriptor::FromService(SC_HANDLE service) noexcept {
    return FromService(service, *this);
}

int CKivSecurityDescriptor::SetUserObjectDacl(void* handle) const noexcept {
    if (m_sd == nullptr)
        return ResultOf(ERROR_INVALID_PARAMETER);
    SECURITY_INFORMATION parts = DACL_SECURITY_INFORMATION;
    return ResultOf(Call(Api().setUserObject, handle, &parts, m_sd));
}

int CKivSecurityDescriptor::SetKernelObjectDacl(void* handle) const noexcept {
    if (m_sd == nullptr)
        return ResultOf(ERROR_INVALID_PARAMETER);
    return ResultOf(Call(Api().setKernelObject, handle, DACL_SECURITY_INFORMATION, m_sd));
}

int CKivSecurityDescriptor::SetFileDacl(const char* path) const noexcept {
    if (m_sd == nullptr || path == nullptr)
        return ResultOf(ERROR_INVALID_PARAMETER);
    return ResultOf(Call(Api().setFile, path, DACL_SECURITY_INFORMATION, m_sd));
}

int CKivSecurityDescriptor::SetRegKeyDacl(HKEY key) const noexcept {
    if (m_sd == nullptr)
        return ResultOf(ERROR_INVALID_PARAMETER);
    return ResultOf(Call(Api().setRegKey, key, DACL_SECURITY_INFORMATION, m_sd));
}

int CKivSecurityDescriptor::SetRegKeyOwner(HKEY key) const noexcept {
    if (m_sd == nullptr)
        return ResultOf(ERROR_INVALID_PARAMETER);
    return ResultOf(Call(Api().setRegKey, key, OWNER_SECURITY_INFORMATION, m_sd));
}

int CKivSecurityDescriptor::SetServiceDacl(SC_HANDLE service) const noexcept {
    if (m_sd == nullptr)
        return ResultOf(ERROR_INVALID_PARAMETER);
    return ResultOf(Call(Api().setService, service, DACL_SECURITY_INFORMATION, m_sd));
}
