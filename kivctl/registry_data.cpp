#include "kivctl/registry_data.h"

#include <algorithm>
#include <limits>

#include "kivctl/outcome.h"
#include "support/ascii.h"

namespace kivctl {
namespace {

struct TypeName {
    unsigned long type;
    const char* name;
};

constexpr TypeName kTypeNames[] = {
    {REG_NONE, "none"}, {REG_SZ, "sz"},          {REG_DWORD, "dword"}, {REG_EXPAND_SZ, "expand"},
    {REG_LINK, "link"}, {REG_MULTI_SZ, "multi"}, {REG_QWORD, "qword"}, {REG_BINARY, "binary"},
};

std::string NameOfType(unsigned long type) {
    for (const TypeName& known : kTypeNames) {
        if (known.type == type)
            return known.name;
    }
    return "type " + std::to_string(type);
}

unsigned long TypeOfName(const std::string& name) {
    for (const TypeName& known : kTypeNames) {
        if (known.name == name)
            return known.type;
    }
    throw UsageError("'" + name + "' is no type of values");
}

// For what the library has no conversion for: bytes and types of others.
std::string BytesOf(HKEY key, const std::string& name) {
    DWORD size = 0;
    LONG status = ::RegQueryValueExA(key, name.c_str(), nullptr, nullptr, nullptr, &size);
    std::string bytes(size, '\0');
    if (status == ERROR_SUCCESS)
        status = ::RegQueryValueExA(key, name.c_str(), nullptr, nullptr, reinterpret_cast<BYTE*>(bytes.data()), &size);
    if (status != ERROR_SUCCESS)
        throw Failure("value '" + name + "' cannot be read: " + ErrorText(static_cast<unsigned long>(status)));
    bytes.resize(size);
    return bytes;
}

std::string HexDigits(const std::string& bytes) {
    constexpr const char* kDigits = "0123456789abcdef";
    std::string digits;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        digits += {kDigits[byte >> 4], kDigits[byte & 15]};
    }
    return digits;
}

std::string BytesOfHexDigits(const std::string& digits) {
    if (digits.size() % 2 != 0 || !std::all_of(digits.begin(), digits.end(), kiv::IsHexDigit))
        throw UsageError("'" + digits + "' is no row of pairs of hexadecimal digits");
    std::string bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2)
        bytes += static_cast<char>(kiv::HexDigitValue(digits[i]) * 16 + kiv::HexDigitValue(digits[i + 1]));
    return bytes;
}

// Decimal, or hexadecimal behind "0x".
unsigned long ParseNumber(const std::string& text) {
    const bool hexadecimal = kiv::StartsWithIgnoreCase(text, "0x");
    const unsigned base = hexadecimal ? 16 : 10;
    const std::string digits = text.substr(hexadecimal ? 2 : 0);
    unsigned long long number = 0;
    bool valid = !digits.empty();
    for (const char c : digits) {
        valid = valid && (hexadecimal ? kiv::IsHexDigit(c) : kiv::IsDigit(c));
        number = valid ? number * base + kiv::HexDigitValue(c) : 0;
        valid = valid && number <= std::numeric_limits<std::uint32_t>::max();
    }
    if (!valid)
        throw UsageError("'" + text + "' is no number from 0 to 4294967295");
    return static_cast<unsigned long>(number);
}

RegistryValue ReadItems(CKivRegKey& key, const std::string& name) {
    CKivMultiSzRegValue items(nullptr, nullptr);
    if (items.Attach(key, name.c_str()) == 0)
        throw Failure("value '" + name + "' cannot be read");
    RegistryValue value{"multi", "", nlohmann::ordered_json::array()};
    for (long i = 0; i < items.GetCount(); ++i) {
        value.data.push_back(Utf8(items.GetItemAt(i)));
        value.text.append(i == 0 ? "" : "\n").append(items.GetItemAt(i));
    }
    return value;
}

std::string JoinItems(const std::vector<std::string>& items) {
    CKivMultiSzRegValue list(nullptr, nullptr);
    for (const std::string& item : items) {
        // An empty item would be read as the end of the list.
        if (item.empty())
            throw UsageError("an item of a list cannot be empty");
        list.Append(item.c_str());
    }
    std::string bytes(list.ToString(nullptr, 0), '\0');
    list.ToString(bytes.data(), static_cast<unsigned>(bytes.size()));
    return bytes;
}

}  // namespace

const std::vector<std::string> kWritableTypes = {"sz", "dword", "expand", "multi", "binary"};

RegistryValue ReadValue(CKivRegKey& key, const std::string& name) {
    CKivRegValue value = key[name.c_str()];
    if (!value.exist())
        throw Failure("value '" + name + "' cannot be read: " + ErrorText(value.getLastError()));
    const unsigned long type = value.getType();
    if (type == REG_MULTI_SZ)
        return ReadItems(key, name);
    if (type == REG_SZ || type == REG_EXPAND_SZ) {
        const char* text = value;
        if (text == nullptr)
            throw Failure("value '" + name + "' cannot be read: " + ErrorText(value.getLastError()));
        return {NameOfType(type), text, Utf8(text)};
    }
    if (type == REG_DWORD) {
        const unsigned long number = value;
        if (value.getLastError() == ERROR_SUCCESS)
            return {NameOfType(type), std::to_string(number), number};
    }
    const std::string digits = HexDigits(BytesOf(key, name));
    return {NameOfType(type), digits, digits};
}

RegistryData ParseData(const std::string& type, const std::vector<std::string>& items) {
    const unsigned long number = TypeOfName(type);
    if (number == REG_MULTI_SZ)
        return {number, JoinItems(items)};
    if (items.size() != 1)
        throw UsageError("a value of type " + type + " has exactly one DATA");
    const std::string& item = items.front();
    if (number == REG_BINARY)
        return {number, BytesOfHexDigits(item)};
    if (number == REG_DWORD)
        return {number, std::to_string(ParseNumber(item))};
    return {number, std::string(item.c_str(), item.size() + 1)};
}

void WriteValue(CKivRegKey& key, const std::string& name, const RegistryData& data) {
    CKivRegValue value = key[name.c_str()];
    if (data.type == REG_SZ)
        value = data.bytes.c_str();
    else if (data.type == REG_DWORD)
        value = std::stoul(data.bytes);
    else
        value.setLastError(static_cast<unsigned long>(::RegSetValueExA(key, name.c_str(), 0, data.type,
                                                                       reinterpret_cast<const BYTE*>(data.bytes.data()),
                                                                       static_cast<DWORD>(data.bytes.size()))));
    if (value.getLastError() != ERROR_SUCCESS)
        throw Failure("value '" + name + "' was not written: " + ErrorText(value.getLastError()));
}

}  // namespace kivctl
