// Walks over a key's subkeys and values and recursive deletion, beside plain loops over the system's calls. Each is
// shown for several sizes: what is linear needs ten times as long for ten times as much.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "bench.h"

#include "tavkivut/registry.h"

namespace {

using kiv::bench::Compare;

constexpr int kSizes[] = {1000, 10000, 20000};
constexpr int kGoalSize = 10000;
constexpr int kRounds = 3;

const std::string& ScratchSubkey() {
    static const std::string subkey = "Software\\tavkivut-bench-" + std::to_string(::GetCurrentProcessId());
    return subkey;
}

const std::string& ScratchPath() {
    static const std::string path = "HKCU\\" + ScratchSubkey();
    return path;
}

std::string Numbered(const char* prefix, int number) {
    char name[32];
    std::snprintf(name, sizeof name, "%s%05d", prefix, number);
    return name;
}

HKEY CreateSubkey(HKEY parent, const std::string& name) {
    HKEY key = nullptr;
    ::RegCreateKeyExA(parent, name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
    return key;
}

void SetText(HKEY key, const std::string& name, const std::string& text) {
    ::RegSetValueExA(key, name.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                     static_cast<DWORD>(text.size() + 1));
}

// Deletes a key as one would by hand: its values, its subkeys, itself.
void EraseByHand(HKEY parent, const char* name) {
    HKEY key;
    if (::RegOpenKeyExA(parent, name, 0, KEY_ALL_ACCESS, &key) != ERROR_SUCCESS)
        return;
    char element[256];
    DWORD length = sizeof element;
    while (::RegEnumValueA(key, 0, element, &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS) {
        ::RegDeleteValueA(key, element);
        length = sizeof element;
    }
    length = sizeof element;
    while (::RegEnumKeyExA(key, 0, element, &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS) {
        EraseByHand(key, element);
        length = sizeof element;
    }
    ::RegCloseKey(key);
    ::RegDeleteKeyA(parent, name);
}

// A key that is gone at the end.
class Scratch {
public:
    Scratch() : m_key(CreateSubkey(HKEY_CURRENT_USER, ScratchSubkey())) {}
    ~Scratch() {
        ::RegCloseKey(m_key);
        EraseByHand(HKEY_CURRENT_USER, ScratchSubkey().c_str());
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    HKEY Get() const { return m_key; }

private:
    HKEY m_key;
};

void ExpectCount(const char* what, int found, int expected) {
    if (found != expected) {
        std::printf("%s: %d instead of %d\n", what, found, expected);
        std::exit(1);
    }
}

int WalkKeys() {
    CKivRegKey key(nullptr, ScratchPath().c_str());
    int opened = 0;
    const CKivRegKey::iterator end = key.end();
    for (CKivRegKey::iteratorKeys it = key.beginKeys(); it != end; ++it) {
        const CKivRegKey subkey = *it;
        opened += subkey != nullptr ? 1 : 0;
    }
    return opened;
}

int WalkKeysByHand() {
    HKEY key;
    ::RegOpenKeyExA(HKEY_CURRENT_USER, ScratchSubkey().c_str(), 0, KEY_ALL_ACCESS, &key);
    int opened = 0;
    char name[256];
    DWORD length = sizeof name;
    for (DWORD i = 0; ::RegEnumKeyExA(key, i, name, &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
         ++i) {
        HKEY subkey;
        if (::RegOpenKeyExA(key, name, 0, KEY_ALL_ACCESS, &subkey) == ERROR_SUCCESS) {
            ++opened;
            ::RegCloseKey(subkey);
        }
        length = sizeof name;
    }
    ::RegCloseKey(key);
    return opened;
}

int WalkValues() {
    CKivRegKey key(nullptr, ScratchPath().c_str());
    int read = 0;
    const CKivRegKey::iterator end = key.end();
    for (CKivRegKey::iteratorValues it = key.beginValues(); it != end; ++it) {
        CKivRegValue value = *it;
        const char* text = value;
        read += text != nullptr ? 1 : 0;
    }
    return read;
}

int WalkValuesByHand() {
    HKEY key;
    ::RegOpenKeyExA(HKEY_CURRENT_USER, ScratchSubkey().c_str(), 0, KEY_ALL_ACCESS, &key);
    int read = 0;
    char name[256];
    DWORD length = sizeof name;
    for (DWORD i = 0; ::RegEnumValueA(key, i, name, &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
         ++i) {
        char text[1024];
        DWORD size = sizeof text;
        if (::RegQueryValueExA(key, name, nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size) == ERROR_SUCCESS)
            ++read;
        length = sizeof name;
    }
    ::RegCloseKey(key);
    return read;
}

void CompareWalks(int size) {
    const Scratch scratch;
    for (int i = 0; i < size; ++i) {
        ::RegCloseKey(CreateSubkey(scratch.Get(), Numbered("subkey", i)));
        SetText(scratch.Get(), Numbered("value", i), "the text of value " + std::to_string(i));
    }
    const double goal = size == kGoalSize ? 2.0 : 0.0;
    Compare(("registry: walk of " + std::to_string(size) + " subkeys").c_str(), goal, kRounds,
            [&] { ExpectCount("subkeys", WalkKeys(), size); },
            [&] { ExpectCount("subkeys by hand", WalkKeysByHand(), size); });
    Compare(("registry: walk of " + std::to_string(size) + " values").c_str(), goal, kRounds,
            [&] { ExpectCount("values", WalkValues(), size); },
            [&] { ExpectCount("values by hand", WalkValuesByHand(), size); });
}

// A tree of `size` keys, a hundred to each parent, two values in each.
void PlantTree(HKEY root, int size) {
    HKEY group = nullptr;
    for (int i = 0; i < size; ++i) {
        const HKEY parent = i % 100 == 0 ? root : group;
        const HKEY key = CreateSubkey(parent, Numbered("key", i));
        SetText(key, "Name", "a text");
        SetText(key, "Path", "another text");
        if (i % 100 == 0) {
            if (group != nullptr)
                ::RegCloseKey(group);
            group = key;
        } else {
            ::RegCloseKey(key);
        }
    }
    ::RegCloseKey(group);
}

// The tree has to be planted anew for each deletion, which is not measured.
void CompareErasures(int size) {
    kiv::bench::Row row{"", 1e9, 1e9, size == kGoalSize ? 1.5 : 0.0};
    for (int round = 0; round < kRounds; ++round) {
        const Scratch scratch;
        PlantTree(CreateSubkey(scratch.Get(), "ours"), size);
        PlantTree(CreateSubkey(scratch.Get(), "peer"), size);
        row.ours = std::min(row.ours, kiv::bench::Time([&] {
                                CKivRegKey key(nullptr, ScratchPath().c_str(), "ours");
                                key.remove();
                                ExpectCount("status of the deletion", static_cast<int>(key.getLastError()), 0);
                            }));
        row.peer = std::min(row.peer, kiv::bench::Time([&] { EraseByHand(scratch.Get(), "peer"); }));
        CKivRegKey left(nullptr, ScratchPath().c_str());
        ExpectCount("keys left", left.countKeys(), 0);
    }
    const std::string work = "registry: erase of " + std::to_string(size) + " keys with values";
    row.work = work.c_str();
    kiv::bench::Print(row);
}

}  // namespace

int main() {
    for (const int size : kSizes)
        CompareWalks(size);
    for (const int size : kSizes)
        CompareErasures(size);
    return 0;
}
