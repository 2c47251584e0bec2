// A stand-in for netapi32.dll in a Wine prefix of tests and demos, since Wine's own has no functions for shares.
//
// A share of a computer is a link in the prefix, dosdevices/unc/<computer>/<share> in lower case, which is where Wine
// looks for \\computer\share. The links lead to the prefix's own drives, whatever the computer is called. Each computer
// that is asked for has C$ and ADMIN$, as on Windows. What the functions need to remember stands in the registry,
// until the Wine server ends:
//
//     HKLM\Software\TavShareStandIn\<computer>\<share>     Path, Type (STYPE_...), Security (what the maker gave)
//
// The functions answer as on Windows: 5 where that key has the value "Refuse" (a number that is not 0), 2118 for a name
// in use, 2116 for a directory that does not exist, 2310 for a share that does not exist.
//
// "tools/wine-prefix shares DLL" puts it into the prefix WINEPREFIX.

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>

#include <cwctype>
#include <string>
#include <vector>

#include <lmcons.h>

#include <lmapibuf.h>
#include <lmerr.h>
#include <lmshare.h>

namespace {

constexpr wchar_t kRootKey[] = L"Software\\TavShareStandIn";
constexpr DWORD kLinkTimeout = 5000;  // milliseconds until a link must be there or gone

struct Record {
    std::wstring name;
    std::wstring path;
    DWORD type;
};

std::wstring LowerCase(std::wstring text) {
    for (wchar_t& c : text)
        c = static_cast<wchar_t>(std::towlower(c));
    return text;
}

std::wstring ThisComputer() {
    wchar_t name[MAX_COMPUTERNAME_LENGTH + 1] = L"";
    DWORD size = ARRAYSIZE(name);
    ::GetComputerNameW(name, &size);
    return name;
}

std::wstring ComputerOf(const wchar_t* server) {
    while (server != nullptr && *server == L'\\')
        ++server;
    return LowerCase(server == nullptr || *server == L'\0' ? ThisComputer() : server);
}

class Key {
public:
    Key() = default;
    Key(const std::wstring& path, bool make) {
        const std::wstring whole = kRootKey + (path.empty() ? L"" : L"\\" + path);
        if (make)
            ::RegCreateKeyExW(HKEY_LOCAL_MACHINE, whole.c_str(), 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS,
                              nullptr, &m_key, nullptr);
        else
            ::RegOpenKeyExW(HKEY_LOCAL_MACHINE, whole.c_str(), 0, KEY_ALL_ACCESS, &m_key);
    }
    ~Key() {
        if (m_key != nullptr)
            ::RegCloseKey(m_key);
    }
    Key(const Key&) = delete;
    Key& operator=(const Key&) = delete;

    explicit operator bool() const { return m_key != nullptr; }

    DWORD Number(const wchar_t* name) const {
        DWORD number = 0;
        DWORD size = sizeof number;
        ::RegQueryValueExW(m_key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(&number), &size);
        return number;
    }
    std::wstring Text(const wchar_t* name) const {
        wchar_t text[1024] = L"";
        DWORD size = sizeof text - sizeof *text;
        ::RegQueryValueExW(m_key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size);
        return text;
    }
    void Set(const wchar_t* name, DWORD type, const void* data, std::size_t size) const {
        ::RegSetValueExW(m_key, name, 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(size));
    }
    std::vector<std::wstring> Subkeys() const {
        std::vector<std::wstring> names;
        wchar_t name[256];
        for (DWORD i = 0; ::RegEnumKeyW(m_key, i, name, ARRAYSIZE(name)) == ERROR_SUCCESS; ++i)
            names.emplace_back(name);
        return names;
    }
    bool Delete(const std::wstring& subkey) const { return ::RegDeleteKeyW(m_key, subkey.c_str()) == ERROR_SUCCESS; }

private:
    HKEY m_key = nullptr;
};

// The path that a directory of the prefix has outside; "" when it does not exist.
std::string OutsidePath(const std::wstring& path) {
    const auto find = reinterpret_cast<char*(__cdecl*)(const wchar_t*)>(
        reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleA("kernel32.dll"), "wine_get_unix_file_name")));
    char* const found = find != nullptr ? find(path.c_str()) : nullptr;
    const std::string outside = found != nullptr ? found : "";
    ::HeapFree(::GetProcessHeap(), 0, found);
    return outside;
}

std::string Narrow(const std::wstring& text) {
    char narrow[MAX_PATH] = "";
    ::WideCharToMultiByte(CP_UTF8, 0, text.c_str(), -1, narrow, sizeof narrow, nullptr, nullptr);
    return narrow;
}

std::string LinkPath(const std::wstring& computer, const std::wstring& share) {
    const std::string drive = OutsidePath(L"C:\\");  // .../dosdevices/c:/
    return drive.substr(0, drive.rfind("c:")) + "unc/" + Narrow(computer) + "/" + Narrow(LowerCase(share));
}

bool Exists(const std::wstring& path) {
    return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

// Runs a command of the system outside. It gives no handle to wait for, so its result is waited for.
bool RunOutside(const std::string& command, const std::wstring& path, bool exists) {
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    std::string line = "sh -c \"" + command + "\"";
    if (!::CreateProcessA("\\\\?\\unix\\bin\\sh", line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup,
                          &process))
        return false;
    for (const DWORD start = ::GetTickCount(); Exists(path) != exists; ::Sleep(1)) {
        if (::GetTickCount() - start > kLinkTimeout)
            return false;
    }
    return true;
}

// Makes the link; a link that an earlier run left is replaced.
bool Link(const std::wstring& computer, const Record& record) {
    const std::string link = LinkPath(computer, record.name);
    return RunOutside("mkdir -p '" + link.substr(0, link.rfind('/')) + "' && ln -sfn '" + OutsidePath(record.path) +
                          "' '" + link + "'",
                      L"\\\\" + computer + L"\\" + record.name, true);
}

bool Unlink(const std::wstring& computer, const std::wstring& name) {
    return RunOutside("rm -f '" + LinkPath(computer, name) + "'", L"\\\\" + computer + L"\\" + name, false);
}

NET_API_STATUS Add(const std::wstring& computer, const Record& record, const void* security) {
    if (Key(computer + L"\\" + record.name, false))
        return NERR_DuplicateShare;
    if (OutsidePath(record.path).empty())
        return NERR_UnknownDevDir;
    if (!Link(computer, record))
        return ERROR_GEN_FAILURE;
    const Key key(computer + L"\\" + record.name, true);
    key.Set(L"Path", REG_SZ, record.path.c_str(), (record.path.size() + 1) * sizeof(wchar_t));
    key.Set(L"Type", REG_DWORD, &record.type, sizeof record.type);
    if (security != nullptr)
        key.Set(L"Security", REG_BINARY, security, ::GetSecurityDescriptorLength(const_cast<void*>(security)));
    return NERR_Success;
}

// The key of a computer, with its standing shares; the status says whether it answers at all.
NET_API_STATUS Ask(const std::wstring& computer) {
    if (const Key key(computer, false); key)
        return key.Number(L"Refuse") != 0 ? ERROR_ACCESS_DENIED : NERR_Success;
    wchar_t windows[MAX_PATH] = L"";
    ::GetWindowsDirectoryW(windows, ARRAYSIZE(windows));
    constexpr DWORD kType = STYPE_DISKTREE | STYPE_SPECIAL;
    Add(computer, {L"C$", L"C:\\", kType}, nullptr);
    return Add(computer, {L"ADMIN$", windows, kType}, nullptr);
}

Record Read(const std::wstring& computer, const std::wstring& name) {
    const Key key(computer + L"\\" + name, false);
    return {name, key.Text(L"Path"), key.Number(L"Type")};
}

// The records with their texts behind them in one buffer, which the caller frees.
NET_API_STATUS Give(const std::vector<Record>& records, DWORD level, BYTE** out) {
    if (level != 2)
        return ERROR_INVALID_LEVEL;
    std::size_t size = records.size() * sizeof(SHARE_INFO_2);
    for (const Record& record : records)
        size += (record.name.size() + record.path.size() + 2) * sizeof(wchar_t);
    *out = static_cast<BYTE*>(::HeapAlloc(::GetProcessHeap(), HEAP_ZERO_MEMORY, size + 1));
    if (*out == nullptr)
        return ERROR_NOT_ENOUGH_MEMORY;
    auto* info = reinterpret_cast<SHARE_INFO_2*>(*out);
    auto* text = reinterpret_cast<wchar_t*>(info + records.size());
    const auto put = [&text](const std::wstring& value) {
        wchar_t* const start = text;
        text += value.copy(text, value.size()) + 1;
        return start;
    };
    for (const Record& record : records) {
        info->shi2_netname = put(record.name);
        info->shi2_path = put(record.path);
        info->shi2_type = record.type;
        info->shi2_max_uses = SHI_USES_UNLIMITED;
        ++info;
    }
    return NERR_Success;
}

}  // namespace

NET_API_STATUS WINAPI NetShareEnum(LMSTR server, DWORD level, LPBYTE* out, DWORD, LPDWORD read, LPDWORD total,
                                   LPDWORD) {
    const std::wstring computer = ComputerOf(server);
    if (const NET_API_STATUS status = Ask(computer))
        return status;
    std::vector<Record> records;
    for (const std::wstring& name : Key(computer, false).Subkeys())
        records.push_back(Read(computer, name));
    *read = *total = static_cast<DWORD>(records.size());
    return Give(records, level, out);
}

NET_API_STATUS WINAPI NetShareGetInfo(LMSTR server, LMSTR name, DWORD level, LPBYTE* out) {
    const std::wstring computer = ComputerOf(server);
    if (const NET_API_STATUS status = Ask(computer))
        return status;
    if (!Key(computer + L"\\" + name, false))
        return NERR_NetNameNotFound;
    return Give({Read(computer, name)}, level, out);
}

NET_API_STATUS WINAPI NetShareAdd(LMSTR server, DWORD level, LPBYTE info, LPDWORD) {
    const std::wstring computer = ComputerOf(server);
    if (level != 2 && level != 502)
        return ERROR_INVALID_LEVEL;
    if (const NET_API_STATUS status = Ask(computer))
        return status;
    const auto* const share = reinterpret_cast<const SHARE_INFO_502*>(info);  // level 2 is its beginning
    return Add(computer, {share->shi502_netname, share->shi502_path, share->shi502_type},
               level == 502 ? share->shi502_security_descriptor : nullptr);
}

NET_API_STATUS WINAPI NetShareDel(LMSTR server, LMSTR name, DWORD) {
    const std::wstring computer = ComputerOf(server);
    if (const NET_API_STATUS status = Ask(computer))
        return status;
    if (!Key(computer, false).Delete(name))
        return NERR_NetNameNotFound;
    return Unlink(computer, name) ? NERR_Success : ERROR_GEN_FAILURE;
}

NET_API_STATUS WINAPI NetApiBufferFree(LPVOID buffer) {
    ::HeapFree(::GetProcessHeap(), 0, buffer);
    return NERR_Success;
}
