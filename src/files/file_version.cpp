#include <cstdio>

#include "tavkivut/file.h"

namespace {

constexpr unsigned short kUnknown = 0xFFFF;

}  // namespace

CKivFileVersion::CKivFileVersion() noexcept : CKivFileVersion(kUnknown, kUnknown, kUnknown, kUnknown) {}

CKivFileVersion::CKivFileVersion(unsigned short major, unsigned short minor, unsigned short build,
                                 unsigned short revision) noexcept
    : m_text(), Major(major), Minor(minor), Build(build), Revision(revision) {}

CKivFileVersion::CKivFileVersion(const FILE_VERSION& version) noexcept
    : CKivFileVersion(version.Major, version.Minor, version.Build, version.Revision) {}

CKivFileVersion::CKivFileVersion(const CKivFileVersion& other) noexcept
    : CKivFileVersion(other.Major, other.Minor, other.Build, other.Revision) {}

void CKivFileVersion::Init() noexcept {
    *this = FILE_VERSION{kUnknown, kUnknown, kUnknown, kUnknown};
}

CKivFileVersion& CKivFileVersion::operator=(const CKivFileVersion& other) noexcept {
    if (this != &other)
        *this = static_cast<FILE_VERSION>(other);
    return *this;
}

CKivFileVersion& CKivFileVersion::operator=(const FILE_VERSION& version) noexcept {
    Major = version.Major;
    Minor = version.Minor;
    Build = version.Build;
    Revision = version.Revision;
    return *this;
}

CKivFileVersion::operator FILE_VERSION() const noexcept {
    return {Major, Minor, Build, Revision};
}

const char* CKivFileVersion::GetVersionString() noexcept {
    if (!IsValid())
        return "N/A";
    std::snprintf(m_text, sizeof m_text, "%d.%d.%d.%d", Major, Minor, Build, Revision);
    return m_text;
}

int CKivFileVersion::Compare(const CKivFileVersion& other) const noexcept {
    if (Major != other.Major)
        return Major - other.Major;
    if (Minor != other.Minor)
        return Minor - other.Minor;
    if (Build != other.Build)
        return Build - other.Build;
    return Revision - other.Revision;
}

bool CKivFileVersion::operator==(const CKivFileVersion& other) const noexcept {
    return Compare(other) == 0;
}

bool CKivFileVersion::operator!=(const CKivFileVersion& other) const noexcept {
    return Compare(other) != 0;
}

bool CKivFileVersion::operator<(const CKivFileVersion& other) const noexcept {
    return Compare(other) < 0;
}

bool CKivFileVersion::operator>(const CKivFileVersion& other) const noexcept {
    return Compare(other) > 0;
}

bool CKivFileVersion::operator<=(const CKivFileVersion& other) const noexcept {
    return Compare(other) <= 0;
}

bool CKivFileVersion::operator>=(const CKivFileVersion& other) const noexcept {
    return Compare(other) >= 0;
}

bool CKivFileVersion::Verify(const CKivFileVersion& required) const noexcept {
    return *this >= required;
}

bool CKivFileVersion::IsValid() const noexcept {
    return Major != kUnknown && Minor != kUnknown && Build != kUnknown && Revision != kUnknown;
}
