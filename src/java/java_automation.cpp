#include "support/windows_api.h"

#include <memory>
#include <string>
#include <vector>

#include "tavkivut/java.h"

namespace {

// The names that automation clients see, in the order of their numbers.
std::vector<std::wstring> MethodNames(CKivJavaObject& object) {
    CKivJavaObject cls = object.CallObjectMethod("java.lang.Class", "getClass", "");
    CKivJavaObject* methods = nullptr;
    const unsigned count = cls.CallObjectMethod("java.lang.reflect.Method", "getMethods", &methods, "");
    const std::unique_ptr<CKivJavaObject[]> owner(methods);
    std::vector<std::wstring> names;
    for (unsigned i = 0; i < count; ++i) {
        const CKivJavaString name = methods[i].CallStringMethod("getName", "");
        names.emplace_back(reinterpret_cast<const wchar_t*>(static_cast<const unsigned short*>(name)));
    }
    return names;
}

DISPID FindName(const std::vector<std::wstring>& names, const OLECHAR* wanted) {
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (wanted != nullptr && names[i] == wanted)
            return static_cast<DISPID>(i);
    }
    return DISPID_UNKNOWN;
}

}  // namespace

HRESULT STDMETHODCALLTYPE CKivJavaObject::QueryInterface(REFIID iid, void** out) noexcept {
    if (out == nullptr)
        return E_POINTER;
    *out = nullptr;
    if (!IsEqualIID(iid, __uuidof(IUnknown)) && !IsEqualIID(iid, __uuidof(IDispatch)))
        return E_NOINTERFACE;
    AddRef();
    *out = static_cast<IDispatch*>(this);
    return S_OK;
}

ULONG STDMETHODCALLTYPE CKivJavaObject::AddRef() noexcept {
    return static_cast<ULONG>(::InterlockedIncrement(&m_references));
}

ULONG STDMETHODCALLTYPE CKivJavaObject::Release() noexcept {
    const long left = ::InterlockedDecrement(&m_references);
    if (left == 0)
        delete this;
    return static_cast<ULONG>(left);
}

HRESULT STDMETHODCALLTYPE CKivJavaObject::GetTypeInfoCount(UINT* count) noexcept {
    if (count == nullptr)
        return E_POINTER;
    *count = 0;
    return S_OK;
}

HRESULT STDMETHODCALLTYPE CKivJavaObject::GetTypeInfo(UINT /*index*/, LCID /*locale*/, ITypeInfo** /*out*/) noexcept {
    return E_NOTIMPL;
}

HRESULT STDMETHODCALLTYPE CKivJavaObject::GetIDsOfNames(REFIID /*iid*/, LPOLESTR* names, UINT count, LCID /*locale*/,
                                                        DISPID* ids) noexcept {
    if (names == nullptr || ids == nullptr)
        return E_POINTER;
    const std::vector<std::wstring> known = MethodNames(*this);
    HRESULT result = S_OK;
    for (UINT i = 0; i < count; ++i) {
        ids[i] = FindName(known, names[i]);
        if (ids[i] == DISPID_UNKNOWN)
            result = DISP_E_UNKNOWNNAME;
    }
    return result;
}

HRESULT STDMETHODCALLTYPE CKivJavaObject::Invoke(DISPID /*id*/, REFIID /*iid*/, LCID /*locale*/, WORD /*flags*/,
                                                 DISPPARAMS* /*parameters*/, VARIANT* /*result*/,
                                                 EXCEPINFO* /*exception*/, UINT* /*argument*/) noexcept {
    return S_OK;
}
