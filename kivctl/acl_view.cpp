#include "kivctl/acl_view.h"

#include <algorithm>
#include <iostream>
#include <string_view>
#include <vector>

#include "kivctl/outcome.h"
#include "kivctl/principal.h"

namespace kivctl {
namespace {

struct NamedBit {
    unsigned long bit;
    const char* name;
};

constexpr NamedBit kFileRights[] = {
    {FILE_READ_DATA, "read data"},
    {FILE_WRITE_DATA, "write data"},
    {FILE_APPEND_DATA, "append data"},
    {FILE_READ_EA, "read extended attributes"},
    {FILE_WRITE_EA, "write extended attributes"},
    {FILE_EXECUTE, "execute"},
    {FILE_DELETE_CHILD, "delete children"},
    {FILE_READ_ATTRIBUTES, "read attributes"},
    {FILE_WRITE_ATTRIBUTES, "write attributes"},
};

constexpr NamedBit kKeyRights[] = {
    {KEY_QUERY_VALUE, "query values"},        {KEY_SET_VALUE, "set values"}, {KEY_CREATE_SUB_KEY, "create subkeys"},
    {KEY_ENUMERATE_SUB_KEYS, "list subkeys"}, {KEY_NOTIFY, "notify"},        {KEY_CREATE_LINK, "create links"},
};

constexpr NamedBit kServiceRights[] = {
    {SERVICE_QUERY_CONFIG, "query configuration"},
    {SERVICE_CHANGE_CONFIG, "change configuration"},
    {SERVICE_QUERY_STATUS, "query status"},
    {SERVICE_ENUMERATE_DEPENDENTS, "list dependents"},
    {SERVICE_START, "start"},
    {SERVICE_STOP, "stop"},
    {SERVICE_PAUSE_CONTINUE, "pause and continue"},
    {SERVICE_INTERROGATE, "interrogate"},
    {SERVICE_USER_DEFINED_CONTROL, "user-defined controls"},
};

constexpr NamedBit kCommonRights[] = {
    {DELETE, "delete"},
    {READ_CONTROL, "read control"},
    {WRITE_DAC, "write DACL"},
    {WRITE_OWNER, "write owner"},
    {SYNCHRONIZE, "synchronize"},
    {ACCESS_SYSTEM_SECURITY, "system security"},
    {MAXIMUM_ALLOWED, "maximum allowed"},
    {GENERIC_ALL, "generic all"},
    {GENERIC_EXECUTE, "generic execute"},
    {GENERIC_WRITE, "generic write"},
    {GENERIC_READ, "generic read"},
};

constexpr NamedBit kFlags[] = {
    {OBJECT_INHERIT_ACE, "objects"},     {CONTAINER_INHERIT_ACE, "containers"}, {NO_PROPAGATE_INHERIT_ACE, "one level"},
    {INHERIT_ONLY_ACE, "not here"},      {INHERITED_ACE, "inherited"},          {SUCCESSFUL_ACCESS_ACE_FLAG, "success"},
    {FAILED_ACCESS_ACE_FLAG, "failure"},
};

using Words = std::vector<std::string>;

// Appends the names of the bits that are set and takes them out of the mask.
template <std::size_t Count>
void TakeNames(const NamedBit (&table)[Count], unsigned long& mask, Words& words) {
    for (const NamedBit& named : table) {
        if ((mask & named.bit) != 0)
            words.push_back(named.name);
        mask &= ~named.bit;
    }
}

Words NamesOfRights(unsigned long mask, ObjectKind kind) {
    Words words;
    switch (kind) {
    case ObjectKind::kFile:
        TakeNames(kFileRights, mask, words);
        break;
    case ObjectKind::kKey:
        TakeNames(kKeyRights, mask, words);
        break;
    case ObjectKind::kService:
        TakeNames(kServiceRights, mask, words);
        break;
    case ObjectKind::kAny:
        break;
    }
    TakeNames(kCommonRights, mask, words);
    for (int bit = 0; bit < 32; ++bit) {
        if ((mask >> bit & 1) != 0)
            words.push_back("right " + std::to_string(bit));
    }
    return words;
}

Words NamesOfFlags(unsigned long flags) {
    Words words;
    TakeNames(kFlags, flags, words);
    if (flags != 0)
        words.push_back("flag " + ShowMask(flags));
    return words;
}

std::string Join(const Words& words, const char* separator) {
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : separator) + word;
    return text;
}

std::string TypeName(unsigned char type) {
    constexpr const char* kNames[] = {"allowed", "denied", "audit", "alarm"};
    return type < std::size(kNames) ? kNames[type] : "type " + std::to_string(type);
}

const ACE_HEADER& HeaderOf(const CKivAce& entry) {
    return *static_cast<const ACE_HEADER*>(entry.GetAce());
}

std::vector<CKivAce> EntriesOf(const CKivAcl& acl) {
    std::vector<CKivAce> entries;
    for (long i = 0; i < acl.GetAceCount(); ++i)
        entries.emplace_back(acl.GetAceAt(i));
    return entries;
}

// "0  allowed  objects, containers  S-1-5-32-544  BUILTIN\Administrators"
std::string ShowHeading(std::size_t index, const CKivAce& entry) {
    CKivSid sid(entry.GetSid());
    const std::string flags = Join(NamesOfFlags(HeaderOf(entry).AceFlags), ", ");
    return std::to_string(index) + "  " + TypeName(HeaderOf(entry).AceType) + (flags.empty() ? "" : "  " + flags) +
           "  " + ShowSid(sid);
}

// The entries that a text names, in no particular order.
Words SplitEntries(std::string_view text) {
    Words entries;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find("}-{"), text.size() - 1);
        entries.emplace_back(text.substr(0, end + 1));
        text.remove_prefix(std::min(end + 2, text.size()));
    }
    std::sort(entries.begin(), entries.end());
    return entries;
}

}  // namespace

ObjectKind ReadObjectKind(const std::string& word) {
    if (word == "file")
        return ObjectKind::kFile;
    if (word == "key")
        return ObjectKind::kKey;
    return word == "service" ? ObjectKind::kService : ObjectKind::kAny;
}

CKivAcl ReadAcl(const std::string& text) {
    CKivAcl acl;
    acl = text.c_str();
    if (acl.GetAcl() == nullptr)
        throw Failure("'" + text + "' has no usable entry");
    const std::string read = TextOf(acl);
    if (SplitEntries(text) != SplitEntries(read))
        std::cerr << "kivctl: '" << text << "' reads as " << read << "\n";
    return acl;
}

bool HasEveryEntryOf(const CKivAcl& acl, const std::string& text) {
    return std::count(text.begin(), text.end(), '{') == acl.GetAceCount();
}

std::string TextOf(CKivAcl& acl) {
    const char* const text = acl;
    return text != nullptr ? text : "";
}

std::string ShowMask(unsigned long mask) {
    std::string digits(8, '0');
    for (int at = 7; at >= 0; --at, mask >>= 4)
        digits[static_cast<std::size_t>(at)] = "0123456789abcdef"[mask & 15];
    return "0x" + digits;
}

std::string ShowRights(unsigned long mask, ObjectKind kind) {
    if ((kind == ObjectKind::kFile && mask == FILE_ALL_ACCESS) ||
        (kind == ObjectKind::kKey && mask == KEY_ALL_ACCESS) ||
        (kind == ObjectKind::kService && mask == SERVICE_ALL_ACCESS))
        return "full access";
    return Join(NamesOfRights(mask, kind), ", ");
}

std::string ShowEntries(const CKivAcl& acl, ObjectKind kind) {
    std::string text;
    std::size_t index = 0;
    for (const CKivAce& entry : EntriesOf(acl))
        text += ShowHeading(index++, entry) + "\n      " + ShowMask(entry.GetAccessMask()) + "  " +
                ShowRights(entry.GetAccessMask(), kind) + "\n";
    return text;
}

std::string ShowEntriesInFull(const CKivAcl& acl, ObjectKind kind) {
    std::string text;
    std::size_t index = 0;
    for (const CKivAce& entry : EntriesOf(acl)) {
        text += ShowHeading(index++, entry) + "\n";
        for (const std::string& name : NamesOfRights(entry.GetAccessMask(), kind))
            text += "      " + name + "\n";
    }
    return text;
}

Json EntriesAsJson(const CKivAcl& acl, ObjectKind kind) {
    Json answer = Json::array();
    for (const CKivAce& entry : EntriesOf(acl)) {
        CKivSid sid(entry.GetSid());
        Json item = SidAsJson(sid);
        item["type"] = TypeName(HeaderOf(entry).AceType);
        item["flags"] = NamesOfFlags(HeaderOf(entry).AceFlags);
        item["mask"] = entry.GetAccessMask();
        item["rights"] = NamesOfRights(entry.GetAccessMask(), kind);
        answer.push_back(std::move(item));
    }
    return answer;
}

}  // namespace kivctl
