#include "system/os_release.h"

#include <cstdio>

#include "support/heap_text.h"
#include "support/hresult.h"

// The order decides: a 9x system 4.0 is found as OS_W95 before OS_W95_OSR2 is tried, which therefore never gives its
// name. The blanks at the end of most names belong to the text.
const unsigned long CKivSystem::m_adwOsVersions[9] = {OS_NT4, OS_W2000, OS_XP,    OS_W95, OS_W95_OSR2,
                                                      OS_W98, OS_WME,   OS_W2003, 0};
const char* const CKivSystem::m_aszOsVersions[9] = {"Windows NT4 ", "Windows 2000 ",       "Windows XP ",
                                                    "Windows 95 ",  "Windows 95 OSR2 ",    "Windows 98 ",
                                                    "Windows ME ",  "Windows Server 2003", nullptr};

// The name of 3.01 is "3.10": callers compare with it.
const unsigned long CKivSystem::m_adwIeVersions[10] = {IE_300, IE_301, IE_302, IE_400, IE_401,
                                                       IE_500, IE_501, IE_550, IE_600, 0};
const char* const CKivSystem::m_aszIeVersions[10] = {"Internet Explorer 3.0",  "Internet Explorer 3.10",
                                                     "Internet Explorer 3.02", "Internet Explorer 4.00",
                                                     "Internet Explorer 4.01", "Internet Explorer 5.00",
                                                     "Internet Explorer 5.01", "Internet Explorer 5.50",
                                                     "Internet Explorer 6.00", nullptr};

namespace kiv {
namespace {

constexpr std::int32_t Answer(bool yes) noexcept {
    return yes ? kStatusOk : kStatusFalse;
}

constexpr std::uint32_t LowWord(std::uint32_t value) noexcept {
    return value & 0xFFFF;
}

bool Is(const OsVersion& version, std::uint32_t major, std::uint32_t minor) noexcept {
    return version.major == major && version.minor == minor;
}

std::int32_t CheckNtRelease(int which, const OsVersion* version) noexcept {
    switch (which) {
    case OS_ANY_NT:
        return kStatusOk;
    case OS_ANY_9X:
    case OS_W95:
    case OS_W95_OSR2:
    case OS_W98:
    case OS_WME:
        return kStatusFalse;
    default:
        break;
    }
    if (version == nullptr)
        return kStatusFail;
    switch (which) {
    case OS_NT4:
        return Answer(Is(*version, 4, 0));
    case OS_W2000:
        return Answer(Is(*version, 5, 0));
    case OS_XP:
        return Answer(Is(*version, 5, 1));
    case OS_W2003:
        return Answer(version->major == 5 && version->minor >= 2);
    default:
        return kStatusFail;
    }
}

// OS_W2003 is no question here: it fails, unlike the older releases of the NT family.
std::int32_t Check9xRelease(int which, const OsVersion* version) noexcept {
    switch (which) {
    case OS_ANY_9X:
        return kStatusOk;
    case OS_ANY_NT:
    case OS_NT4:
    case OS_W2000:
    case OS_XP:
        return kStatusFalse;
    default:
        break;
    }
    if (version == nullptr)
        return kStatusFail;
    constexpr std::uint32_t kFirstBuildOf95 = 950;
    switch (which) {
    case OS_W95:
        return Answer(Is(*version, 4, 0));
    case OS_W95_OSR2:
        return Answer(Is(*version, 4, 0) && LowWord(version->build) > kFirstBuildOf95);
    case OS_W98:
        return Answer(Is(*version, 4, 10));
    case OS_WME:
        return Answer(Is(*version, 4, 90));
    default:
        return kStatusFail;
    }
}

const char* OsReleaseName(bool nt, const OsVersion* version) noexcept {
    for (std::size_t i = 0; CKivSystem::m_aszOsVersions[i] != nullptr; ++i) {
        if (CheckOsRelease(nt, static_cast<int>(CKivSystem::m_adwOsVersions[i]), version) == kStatusOk)
            return CKivSystem::m_aszOsVersions[i];
    }
    return "os type unknown";
}

struct Range {
    std::uint16_t first, last;

    bool Holds(std::uint16_t value) const noexcept { return value >= first && value <= last; }
};

constexpr std::uint16_t kMost = 0xFFFF;
constexpr Range kAny{0, kMost};

// The versions of Shdocvw.dll that make a release.
struct IeRelease {
    int which;
    Range major, minor, build;
};

// Builds 2724 to 2918 of 5.0 are no release of their own.
constexpr IeRelease kIeReleases[] = {
    {IE_3X, {4, 4}, {0, 70}, {1155, 1300}},
    {IE_4X, {4, 4}, {71, kMost}, kAny},
    {IE_5X, {5, 5}, kAny, kAny},
    {IE_60X, {6, 6}, {0, 0}, kAny},
    {IE_300, {4, 4}, {70, 70}, {1155, 1214}},
    {IE_301, {4, 4}, {70, 70}, {1215, 1215}},
    {IE_302, {4, 4}, {70, 70}, {1300, 1300}},
    {IE_400, {4, 4}, {71, 71}, kAny},
    {IE_401, {4, 4}, {72, 72}, kAny},
    {IE_500, {5, 5}, {0, 0}, {518, 2723}},
    {IE_501, {5, 5}, {0, 0}, {2919, kMost}},
    {IE_550, {5, 5}, {50, 50}, kAny},
    {IE_600, {6, 6}, {0, 0}, kAny},
    {IE_AFTER_600, {6, kMost}, {1, kMost}, kAny},
};

const char* IeReleaseName(const FILE_VERSION& version) noexcept {
    for (std::size_t i = 0; CKivSystem::m_aszIeVersions[i] != nullptr; ++i) {
        if (CheckIeRelease(static_cast<int>(CKivSystem::m_adwIeVersions[i]), version) == kStatusOk)
            return CKivSystem::m_aszIeVersions[i];
    }
    return nullptr;
}

}  // namespace

std::int32_t CheckOsRelease(bool nt, int which, const OsVersion* version) noexcept {
    return nt ? CheckNtRelease(which, version) : Check9xRelease(which, version);
}

void FormatOsVersion(char* buffer, std::size_t size, bool nt, const OsVersion* version) noexcept {
    const char* name = OsReleaseName(nt, version);
    if (version == nullptr) {
        CopyText(buffer, size, name);
        return;
    }
    const std::uint32_t build = version->platform == OsVersion::kPlatformNt ? version->build : LowWord(version->build);
    std::snprintf(buffer, size, "%s(Version %lu.%lu Build# %lu)", name, static_cast<unsigned long>(version->major),
                  static_cast<unsigned long>(version->minor), static_cast<unsigned long>(build));
}

std::int32_t CheckIeRelease(int which, const FILE_VERSION& version) noexcept {
    for (const IeRelease& release : kIeReleases) {
        if (release.which == which)
            return Answer(release.major.Holds(version.Major) && release.minor.Holds(version.Minor) &&
                          release.build.Holds(version.Build));
    }
    return kStatusFail;
}

void FormatIeVersion(char* buffer, std::size_t size, const FILE_VERSION& version) noexcept {
    if (const char* name = IeReleaseName(version))
        CopyText(buffer, size, name);
    else  // the module's name is misspelt in the text that callers know
        std::snprintf(buffer, size, "Shldocvw.dll Fileversion %d.%d.%d.%d", version.Major, version.Minor, version.Build,
                      version.Revision);
}

}  // namespace kiv
