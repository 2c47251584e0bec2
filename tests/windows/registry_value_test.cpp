#include <cstddef>
#include <string>
#include <vector>

#include "support/check.h"
#include "support/redirected_key.h"
#include "support/registry_data.h"
#include "support/resource_count.h"
#include "support/windows_api.h"
#include "tavkivut/registry.h"

struct CKivRegValueLayout {
    static_assert(offsetof(CKivRegValue, m_key) == 0);
    static_assert(offsetof(CKivRegValue, m_name) == sizeof(void*));
    static_assert(offsetof(CKivRegValue, m_text) == 2 * sizeof(void*));
    static_assert(offsetof(CKivRegValue, m_lastError) == 3 * sizeof(void*));
    static_assert(offsetof(CKivRegValue, m_permissions) == 3 * sizeof(void*) + 4);
};
struct CKivMultiSzRegValueLayout {
    static_assert(offsetof(CKivMultiSzRegValue, m_key) == 0);
    static_assert(offsetof(CKivMultiSzRegValue, m_begin) == sizeof(void*));
    static_assert(offsetof(CKivMultiSzRegValue, m_end) == 2 * sizeof(void*));
    static_assert(offsetof(CKivMultiSzRegValue, m_capacity) == 3 * sizeof(void*));
    static bool Is(const CKivMultiSzRegValue& value, HKEY key) { return value.m_key == key; }
};

using namespace kiv::test;
using namespace std::string_literals;
using namespace std::string_view_literals;

namespace {

// A value that need not exist yet, below a scratch key.
struct Opened {
    ScratchKey scratch;
    CKivRegValue value{nullptr, scratch.Path().c_str(), "v"};
    std::string Stored() const { return Data(scratch.Handle(), "v"); }
    void Store(DWORD type, std::string_view bytes) { SetData(scratch.Handle(), "v", type, bytes); }
};

// The text of a value; "(null)" for null.
std::string Text(CKivRegValue& value) {
    const char* text = value;
    return text == nullptr ? "(null)" : text;
}

unsigned long Number(CKivRegValue& value) {
    return value;
}

using Items = std::vector<std::string>;

Items ItemsOf(const CKivMultiSzRegValue& value) {
    Items items;
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
        {REG_DWORD, ""sv, "0", 0},
        {REG_SZ, "12abc\0"sv, "12abc", 12},
        {REG_SZ, " -5\0"sv, " -5", 4294967291UL},
        {REG_SZ, "4294967298\0"sv, "4294967298", 2},
        {REG_SZ, ""sv, "", 0},
        {REG_SZ, "7"sv, "7", 7},
        {REG_SZ, "no terminator"sv, "no terminator", 0},
        {REG_EXPAND_SZ, "%windir%\0"sv, "%windir%", 0},
        {REG_MULTI_SZ, "1\0second\0\0"sv, "1", 1},
        {REG_BINARY, "9\x01\xFE"sv, "9\x01\xFE", 9},
    };
    for (const auto& row : rows) {
        CAPTURE(row.text);
        Opened opened;
        opened.Store(row.type, row.bytes);
        CHECK(Text(opened.value) == row.text);
        CHECK(Number(opened.value) == row.number);
        CHECK(opened.value.getType() == row.type);
        CHECK(opened.value.getLastError() == 0);
        CHECK(opened.value.exist());
    }
}

TEST_CASE("a value of any length is read whole") {
    Opened opened;
    for (const std::size_t length : {std::size_t{509}, std::size_t{511}, std::size_t{513}, std::size_t{100000}}) {
        opened.Store(REG_SZ, std::string(length, '7'));
        CHECK(Text(opened.value) == std::string(length, '7'));
        CHECK(opened.value.getLastError() == 0);
    }
}

TEST_CASE("a number of more than four bytes is none") {
    Opened opened;
    opened.Store(REG_DWORD, "12345");
    CHECK(Text(opened.value) == "(null)");
    CHECK(opened.value.getLastError() == ERROR_MORE_DATA);
    CHECK(Number(opened.value) == 0);
    CHECK(opened.value.getLastError() == ERROR_MORE_DATA);
    opened.value += 1UL;
    opened.value += "x";
    CHECK(opened.value.getLastError() == ERROR_MORE_DATA);
    CHECK(opened.Stored() == "4:12345");
}

TEST_CASE("a missing value, a deleted key, a key without access") {
    Opened opened;
    CHECK(Text(opened.value) == "(null)");
    CHECK(opened.value.getLastError() == ERROR_FILE_NOT_FOUND);
    CHECK(Number(opened.value) == 0);
    CHECK((!opened.value.exist() && opened.value.getType() == 0 && opened.value.getIndex() == -1));

    CreateSubkey(opened.scratch.Handle(), "doomed");
    CKivRegValue doomed(nullptr, (opened.scratch.Path() + "\\doomed").c_str(), "v");
    ::RegDeleteKeyA(opened.scratch.Handle(), "doomed");
    CHECK(Text(doomed).empty());
    CHECK(doomed.getLastError() == ERROR_KEY_DELETED);

    opened.value = "text";
    CKivRegValue readOnly(nullptr, opened.scratch.Path().c_str(), "v", KEY_READ);
    readOnly = "changed";
    CHECK(readOnly.getLastError() == ERROR_ACCESS_DENIED);
    CHECK((!readOnly.remove() && readOnly.getLastError() == ERROR_ACCESS_DENIED));
    CKivRegValue writeOnly(nullptr, opened.scratch.Path().c_str(), "v", KEY_SET_VALUE);
    writeOnly += "changed";
    writeOnly += 5UL;
    CHECK(writeOnly.getLastError() == ERROR_ACCESS_DENIED);
    CHECK(opened.Stored() == "1:text\0"s);
}

TEST_CASE("values are written") {
    Opened opened;
    opened.value = "text";
    CHECK(opened.Stored() == "1:text\0"s);
    opened.value = 0xFFFFFFFEUL;
    CHECK(opened.Stored() == "4:\xFE\xFF\xFF\xFF"s);
    opened.value = "";
    CHECK(opened.Stored() == "1:\0"s);
    CHECK(opened.value.getLastError() == 0);
}

TEST_CASE("text is appended") {
    Opened opened;
    opened.value += "a";  // a missing value
    CHECK(opened.Stored() == "1:a\0"s);
    opened.value += "b";
    CHECK(opened.Stored() == "1:ab\0"s);
    opened.value += static_cast<const char*>(opened.value);  // its own text
    CHECK(opened.Stored() == "1:abab\0"s);
    opened.value += static_cast<const char*>(nullptr);
    CHECK(opened.Stored() == "1:abab\0"s);
    opened.value = 4294967295UL;
    opened.value += " is it";
    CHECK(opened.Stored() == "1:-1 is it\0"s);
    opened.value = "";
    const std::string longText(2000, 'x');
    opened.value += longText.c_str();
    CHECK(opened.Stored().size() == 2 + 2000 + 1);
}

TEST_CASE("numbers are added and subtracted modulo 2^32") {
    Opened opened;
    opened.value += 3UL;  // a missing value
    CHECK(opened.Stored() == "4:\3\0\0\0"s);
    opened.value -= 4UL;
    CHECK(opened.Stored() == "4:\xFF\xFF\xFF\xFF"s);
    opened.value += 2UL;
    CHECK(opened.Stored() == "4:\1\0\0\0"s);
    opened.value = "41";
    opened.value += 1UL;
    CHECK(opened.Stored() == "4:*\0\0\0"s);
}

TEST_CASE("a value is removed once") {
    Opened opened;
    CHECK_FALSE(opened.value.remove());
    CHECK(opened.value.getLastError() == ERROR_FILE_NOT_FOUND);
    opened.value = "x";
    CHECK(opened.value.remove());
    CHECK(opened.Stored().empty());
    CHECK((opened.value.getName() == nullptr && opened.value.getKey() == nullptr));
    CHECK_FALSE(opened.value.remove());
    CHECK(opened.value.getLastError() == 0);
}

TEST_CASE("without a name or an open key nothing is done") {
    Opened opened;
    SetText(opened.scratch.Handle(), "", "the default value");
    CKivRegValue nameless(nullptr, opened.scratch.Path().c_str(), nullptr);
    CKivRegValue keyless(nullptr, "HKCU\\no such key", "v");
    CHECK(keyless.getKey().getLastError() == ERROR_FILE_NOT_FOUND);
    for (CKivRegValue* value : {&nameless, &keyless}) {
        *value = "x";
        *value = 1UL;
        *value += "x";
        *value -= 1UL;
        CHECK((!value->exist() && value->getType() == 0 && !value->remove() && value->getIndex() == -1));
        CHECK((Text(*value) == "(null)" && Number(*value) == 0 && value->getLastError() == 0));
    }
    CHECK(keyless.open(nullptr, nullptr, nullptr));
    CHECK(Data(opened.scratch.Handle(), "") == "1:the default value\0"s);
    CHECK(CKivRegValue(nullptr, opened.scratch.Path().c_str(), "").exist());  // an empty name is the default value's
}

TEST_CASE("values are copied and assigned by opening them again") {
    Opened opened;
    opened.value = "x";
    CKivRegValue copy(opened.value);
    CHECK(Text(copy) == "x");
    CKivRegValue other(nullptr, "HKCU", "y", KEY_READ);
    opened.value = other;
    CHECK(opened.value.getName() == "y"s);
    CHECK(opened.value.getKey().getKey() == "HKCU"s);
    CHECK(opened.value.getPermissions() == KEY_READ);
    const CKivRegValue& itself = copy;
    copy = itself;
    CHECK(Text(copy) == "x");
    CHECK(copy.open(copy.getKey().getWksta(), copy.getKey().getKey(), copy.getName()));
    CHECK(Text(copy) == "x");
    copy.setLastError(17);
    CHECK(copy.getLastError() == 17);

    CKivRegKey key(nullptr, opened.scratch.Path().c_str(), nullptr, KEY_READ);
    CKivRegValue element = key["v"];
    CHECK((Text(element) == "x" && element.getPermissions() == KEY_READ));
}

TEST_CASE("a multi-string value is split into its items") {
    const ScratchKey scratch;
    const struct {
        std::string_view bytes;
        Items items;
    } rows[] = {
        {"a\0bc\0\0"sv, {"a", "bc"}},
        {"a\0bc\0"sv, {"a", "bc"}},
        {"a\0\0b\0\0"sv, {"a", "", "b"}},
        {"a\0bc"sv, {"a", "bc"}},
        {"a\0b"sv, {"a"}},
        {"\0\0"sv, {""}},
        {"\0"sv, {}},
        {""sv, {}},
    };
    for (const auto& row : rows) {
        SetData(scratch.Handle(), "m", REG_MULTI_SZ, row.bytes);
        const CKivMultiSzRegValue value(scratch.Handle(), "m");
        CHECK(ItemsOf(value) == row.items);
    }
}

TEST_CASE("a list of texts is attached, extended, copied and written") {
    const ScratchKey scratch;
    SetData(scratch.Handle(), "one", REG_MULTI_SZ, "two\0\0"sv);
    SetData(scratch.Handle(), "two", REG_MULTI_SZ, "x\0y\0\0"sv);
    CKivMultiSzRegValue value(nullptr, "one");
    CHECK(value.GetCount() == 0);
    CHECK(value.Attach(scratch.Handle(), "one") == 1);
    CHECK(value.Attach(scratch.Handle(), value.GetItemAt(0)) == 1);  // the name is an item of the list
    CHECK(ItemsOf(value) == Items{"x", "y"});
    CHECK((value.GetItemAt(-1) == nullptr && value.GetItemAt(2) == nullptr));
    value.Append(nullptr);
    value.Append(value.GetItemAt(0));

    const CKivMultiSzRegValue copy(value);
    CKivMultiSzRegValue assigned(scratch.Handle(), "one");
    CHECK(CKivMultiSzRegValueLayout::Is(assigned, scratch.Handle()));
    assigned = copy;
    CHECK(CKivMultiSzRegValueLayout::Is(assigned, nullptr));
    const CKivMultiSzRegValue& itself = assigned;
    assigned = itself;
    CHECK(value.Attach(scratch.Handle(), "missing") == 1);
    CHECK(value.GetCount() == 0);
    CHECK(ItemsOf(copy) == Items{"x", "y", "", "x"});
    CHECK(ItemsOf(assigned) == ItemsOf(copy));

    char buffer[9] = "????????";
    CHECK((copy.ToString(buffer, 7) == 8 && buffer == "????????"s));
    CHECK((copy.ToString(nullptr, 100) == 8 && copy.ToString(buffer, 8) == 8));
    CHECK(std::string_view(buffer, 9) == "x\0y\0\0x\0\0\0"sv);
    CHECK((value.ToString(buffer, 0) == 1 && value.ToString(buffer, 1) == 1 && buffer[0] == '\0'));
    CHECK((assigned.Attach(nullptr, "one") == 0 && assigned.GetCount() == 0));
}

TEST_CASE("values leave no handle and no heap block behind") {
    Opened opened;
    SetData(opened.scratch.Handle(), "m", REG_MULTI_SZ, "a\0b\0c\0\0"sv);
    const auto use = [&] {
        CKivRegValue value(nullptr, opened.scratch.Path().c_str(), "v");
        value = "text";
        value += "more";
        value += 1UL;
        CKivRegValue copy(value);
        copy = value;
        Text(copy);
        ++copy;
        value.remove();
        CKivMultiSzRegValue list(opened.scratch.Handle(), "m");
        list.Attach(opened.scratch.Handle(), "m");
        CKivMultiSzRegValue other(list);
        other = list;
        other.Append("d");
    };
    use();
    const ResourceCount before = CountResources();
    use();
    CHECK(CountResources() == before);
}
