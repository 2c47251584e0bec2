#include <cstddef>

#include "windows/opened_key.h"

struct CKivRegValueLayout {
    using Value = CKivRegValue;
    static_assert(offsetof(Value, m_key) == 0 && offsetof(Value, m_name) == sizeof(void*));
    static_assert(offsetof(Value, m_text) == 2 * sizeof(void*) && offsetof(Value, m_lastError) == 3 * sizeof(void*));
    static_assert(offsetof(Value, m_permissions) == 3 * sizeof(void*) + 4);
};
struct CKivMultiSzRegValueLayout {
    using List = CKivMultiSzRegValue;
    static_assert(offsetof(List, m_key) == 0 && offsetof(List, m_begin) == sizeof(void*));
    static_assert(offsetof(List, m_end) == 2 * sizeof(void*) && offsetof(List, m_capacity) == 3 * sizeof(void*));
};

using namespace kiv::test;
using namespace std::string_literals;
using namespace std::string_view_literals;

namespace {

// A value "v" that need not exist yet.
struct Opened : OpenedKey {
    CKivRegValue value{nullptr, path.c_str(), "v"};
    std::string Stored() const { return Data(scratch.Handle(), "v"); }
    void Store(DWORD type, std::string_view bytes) { SetData(scratch.Handle(), "v", type, bytes); }
};

std::string Text(CKivRegValue& value) {
    const char* text = value;
    return text == nullptr ? "(null)" : text;
}

unsigned long Number(CKivRegValue& value) {
    return value;
}

Names ItemsOf(const CKivMultiSzRegValue& value) {
    Names items;
    for (long i = 0; i < value.GetCount(); ++i)
        items.emplace_back(value.GetItemAt(i));
    return items;
}

}  // namespace

TEST_CASE("values are read as text and as number, whatever their data say of themselves") {
    const struct {
        DWORD type;
        std::string_view bytes;
        const char* text;
        unsigned long number;
    } rows[] = {
        {REG_DWORD, "\xFF\xFF\xFF\xFF"sv, "-1", 4294967295UL},
        {REG_DWORD, "\x2A\x01"sv, "298", 298},
        {REG_SZ, " -5\0"sv, " -5", 4294967291UL},
        {REG_SZ, ""sv, "", 0},
        {REG_SZ, "7"sv, "7", 7},
        {REG_EXPAND_SZ, "%windir%\0"sv, "%windir%", 0},
        {REG_MULTI_SZ, "1\0second\0\0"sv, "1", 1},
        {REG_BINARY, "9\x01\xFE"sv, "9\x01\xFE", 9},
    };
    Opened opened;
    for (const auto& row : rows) {
        CAPTURE(row.text);
        opened.Store(row.type, row.bytes);
        CHECK((Text(opened.value) == row.text && Number(opened.value) == row.number));
        CHECK((opened.value.getType() == row.type && opened.value.exist() && opened.value.getLastError() == 0));
    }
    for (const std::size_t length : {509U, 511U, 513U, 100000U}) {
        opened.Store(REG_SZ, std::string(length, '7'));
        CHECK(Text(opened.value) == std::string(length, '7'));
    }
}

TEST_CASE("what cannot be read is null and 0, and is not changed") {
    Opened opened;
    CHECK((Text(opened.value) == "(null)" && opened.value.getLastError() == ERROR_FILE_NOT_FOUND));
    CHECK((Number(opened.value) == 0 && !opened.value.exist() && opened.value.getType() == 0));
    CHECK((!opened.value.remove() && opened.value.getLastError() == ERROR_FILE_NOT_FOUND));

    opened.Store(REG_DWORD, "12345");  // more than four bytes
    CHECK((Text(opened.value) == "(null)" && Number(opened.value) == 0));
    opened.value += 1UL;
    opened.value += "x";
    CHECK((opened.value.getLastError() == ERROR_MORE_DATA && opened.Stored() == "4:12345"));

    CKivRegValue writeOnly(nullptr, opened.path.c_str(), "v", KEY_SET_VALUE);
    writeOnly += "changed";
    writeOnly -= 5UL;
    CKivRegValue readOnly(nullptr, opened.path.c_str(), "v", KEY_READ);
    readOnly = "changed";
    CHECK((!readOnly.remove() && readOnly.getLastError() == ERROR_ACCESS_DENIED));
    CHECK((writeOnly.getLastError() == ERROR_ACCESS_DENIED && opened.Stored() == "4:12345"));

    CreateSubkeys(opened.key, {"doomed"});
    CKivRegValue doomed(nullptr, (opened.path + "\\doomed").c_str(), "v");
    ::RegDeleteKeyA(opened.key, "doomed");
    CHECK((Text(doomed).empty() && doomed.getLastError() == ERROR_KEY_DELETED));
}

TEST_CASE("values are written, extended and removed") {
    Opened opened;
    CKivRegValue& value = opened.value;
    value += "a";  // a missing value
    CHECK(opened.Stored() == "1:a\0"s);
    value += static_cast<const char*>(value);  // its own text
    value += static_cast<const char*>(nullptr);
    value += std::string(2000, 'x').c_str();
    CHECK(opened.Stored() == "1:aa" + std::string(2000, 'x') + '\0');
    value = 4294967295UL;
    CHECK(opened.Stored() == "4:\xFF\xFF\xFF\xFF"s);
    value += 2UL;
    CHECK(opened.Stored() == "4:\1\0\0\0"s);
    value -= 2UL;
    value += " is it";
    CHECK(opened.Stored() == "1:-1 is it\0"s);
    value = "41";
    value += 1UL;
    CHECK((opened.Stored() == "4:*\0\0\0"s && value.getLastError() == 0));
    CHECK((value.remove() && opened.Stored().empty() && value.getName() == nullptr && value.getKey() == nullptr));
    CHECK((!value.remove() && value.getLastError() == 0));
}

TEST_CASE("without a name or an open key nothing is done; values are copied by opening them again") {
    OpenedKey opened({}, {""});
    CKivRegValue nameless(nullptr, opened.path.c_str(), nullptr);
    CKivRegValue keyless(nullptr, "HKCU\\no such key", "v");
    for (CKivRegValue* value : {&nameless, &keyless}) {
        *value = "x";
        *value += "x";
        *value -= 1UL;
        CHECK((!value->exist() && value->getType() == 0 && !value->remove() && value->getIndex() == -1));
        CHECK((Text(*value) == "(null)" && Number(*value) == 0 && value->getLastError() == 0));
    }
    CHECK((keyless.getKey().getLastError() == ERROR_FILE_NOT_FOUND && keyless.open(nullptr, nullptr, nullptr)));
    CHECK((keyless.open(nullptr, opened.path.c_str(), "") && keyless.exist() && Text(keyless).empty()));
    CKivRegKey key(nullptr, opened.path.c_str(), nullptr, KEY_READ);
    const CKivRegValue copy(key["y"]);
    nameless = copy;
    CHECK((nameless.getName() == "y"s && nameless.getPermissions() == KEY_READ));
    CHECK((nameless.open(nullptr, nameless.getKey().getKey(), nameless.getName()) && nameless.getName() == "y"s));
    const CKivRegValue& itself = keyless;
    keyless = itself;
    CHECK((keyless.exist() && keyless.getKey().getKey() == opened.path));
}

TEST_CASE("a list of texts is attached, extended, copied and written") {
    const ScratchKey scratch;
    SetData(scratch.Handle(), "one", REG_MULTI_SZ, "two\0\0"sv);
    SetData(scratch.Handle(), "two", REG_MULTI_SZ, "x\0\0y"sv);  // an empty item, no terminators
    CKivMultiSzRegValue value(scratch.Handle(), "one");
    CHECK(value.Attach(scratch.Handle(), value.GetItemAt(0)) == 1);  // the name is an item of the list
    CHECK((ItemsOf(value) == Names{"x", ""} && value.GetItemAt(-1) == nullptr && value.GetItemAt(2) == nullptr));
    value.Append(nullptr);
    value.Append(value.GetItemAt(0));
    const CKivMultiSzRegValue copy(value);
    CKivMultiSzRegValue assigned(nullptr, "one");
    assigned = copy;
    const CKivMultiSzRegValue& itself = assigned;
    assigned = itself;
    CHECK((value.Attach(scratch.Handle(), "missing") == 1 && value.GetCount() == 0));
    CHECK((ItemsOf(copy) == Names{"x", "", "", "x"} && ItemsOf(assigned) == ItemsOf(copy)));
    CHECK((assigned.Attach(nullptr, "one") == 0 && assigned.GetCount() == 0));

    char buffer[] = "?????????";
    CHECK((copy.ToString(buffer, 6) == 7 && buffer == "?????????"s && copy.ToString(nullptr, 100) == 7));
    CHECK((copy.ToString(buffer, 7) == 7 && std::string_view(buffer, 8) == "x\0\0\0x\0\0?"sv));
    CHECK((value.ToString(buffer, 0) == 1 && buffer[0] == 'x' && value.ToString(buffer, 1) == 1 && buffer[0] == '\0'));
}
