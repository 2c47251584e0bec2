#include "support/windows_api.h"

#include "registry/value_data.h"

#include <cstring>
#include <string>

#include "support/check.h"

using kiv::ValueData;

namespace {

// A value that another program makes longer after each look at it.
std::string g_text;
std::size_t g_growth;
int g_looks;

LONG WINAPI QueryGrowing(HKEY, LPCSTR, LPDWORD, LPDWORD type, LPBYTE data, LPDWORD size) {
    ++g_looks;
    *type = REG_SZ;
    const DWORD room = *size;
    *size = static_cast<DWORD>(g_text.size());
    const bool fits = g_text.size() <= room;
    if (fits)
        std::memcpy(data, g_text.data(), g_text.size());
    g_text.append(g_growth, 'x');
    return fits ? ERROR_SUCCESS : ERROR_MORE_DATA;
}

LONG WINAPI QueryInsatiable(HKEY, LPCSTR, LPDWORD, LPDWORD, LPBYTE, LPDWORD size) {
    ++g_looks;
    *size = 1;
    return ERROR_MORE_DATA;
}

}  // namespace

TEST_CASE("a value that grows while it is read is read again and never given in part") {
    g_text = std::string(600, 'x');
    g_growth = 600;
    g_looks = 0;
    ValueData data;
    CHECK(data.Read(nullptr, "v", QueryGrowing) == ERROR_SUCCESS);
    CHECK(g_looks == 3);
    CHECK(data.Bytes() == std::string(1800, 'x'));
    CHECK(data.Type() == REG_SZ);
}

TEST_CASE("a value that never holds still ends with an error") {
    g_looks = 0;
    ValueData data;
    CHECK(data.Read(nullptr, "v", QueryInsatiable) == ERROR_MORE_DATA);
    CHECK((g_looks > 1 && g_looks < 100));
    CHECK(data.Bytes().empty());
}
