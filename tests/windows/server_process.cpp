#include "windows/server_process.h"

#include "support/check.h"
#include "support/run_program.h"
#include "support/scoped_resource.h"
#include "support/this_release.h"

namespace kiv::test {
namespace {

ServerProcess::Lines SplitLines(const std::string& text) {
    ServerProcess::Lines lines;
    for (std::size_t start = 0, end = 0; (end = text.find('\n', start)) != std::string::npos; start = end + 1)
        lines.push_back(text.substr(start, end - start));
    return lines;
}

constexpr const char* kSettingsKey = "Software\\TAV\\TAVSetup\\";

}  // namespace

ServerProcess::ServerProcess(const std::string& program)
    : m_program(program + (ThisRelease().empty() ? "" : "_" + ThisRelease()) + ".exe") {
    REQUIRE(::CreateDirectoryA((*this / "bin").c_str(), nullptr));
    REQUIRE(::CopyFileA((program + ".exe").c_str(), Program().c_str(), TRUE));
    for (const char* file : {"tavkivut.dll", "tavkivlg.dll"})
        REQUIRE(::CopyFileA(file, (*this / "bin\\" + file).c_str(), TRUE));
}

ServerProcess::Lines ServerProcess::Run(const std::string& operations) const {
    ::SetEnvironmentVariableA("KIV_LOCAL_MACHINE", m_machine.Path().c_str() + sizeof "HKCU");
    const ProgramResult result = RunProgram("\"" + Program() + "\" " + operations);
    CAPTURE(operations);
    CHECK(result.exitCode == 0);
    return SplitLines(result.output);
}

std::string ServerProcess::MakeServer(const std::string& name, std::string_view config) const {
    MakeServerFolder(*this / name, config);
    return *this / name;
}

void ServerProcess::WriteText(const std::string& key, const char* name, const char* text) const {
    ScopedRegistryKey opened;
    REQUIRE(::RegCreateKeyA(m_machine.Handle(), (kSettingsKey + key).c_str(), opened.Receive()) == ERROR_SUCCESS);
    REQUIRE(::RegSetValueExA(opened.Get(), name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text),
                             static_cast<DWORD>(std::string(text).size() + 1)) == ERROR_SUCCESS);
}

void ServerProcess::WriteNumber(const std::string& key, const char* name, unsigned long number) const {
    ScopedRegistryKey opened;
    REQUIRE(::RegCreateKeyA(m_machine.Handle(), (kSettingsKey + key).c_str(), opened.Receive()) == ERROR_SUCCESS);
    REQUIRE(::RegSetValueExA(opened.Get(), name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), 4) ==
            ERROR_SUCCESS);
}

std::string ServerProcess::ReadText(const std::string& key, const char* name) const {
    ScopedRegistryKey opened;
    char text[1024];
    DWORD size = sizeof text;
    if (::RegOpenKeyA(m_machine.Handle(), (kSettingsKey + key).c_str(), opened.Receive()) != ERROR_SUCCESS ||
        ::RegQueryValueExA(opened.Get(), name, nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size) != ERROR_SUCCESS)
        return "(none)";
    return text;
}

void MakeServerFolder(const std::string& path, std::string_view config) {
    ::CreateDirectoryA(path.c_str(), nullptr);
    ::CreateDirectoryA((path + "\\setup").c_str(), nullptr);
    WriteFileBytes(path + "\\setup\\TavSetup.cfg", config);
}

void WriteFileAt(const std::string& path, int seconds, std::string_view bytes) {
    WriteFileBytes(path, bytes);
    const ScopedFile file(::CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    const long long ticks = 127000000000000000LL + seconds * 10000000LL;
    const FILETIME time = {static_cast<DWORD>(ticks & 0xFFFFFFFF), static_cast<DWORD>(ticks >> 32)};
    REQUIRE(::SetFileTime(file.Get(), nullptr, nullptr, &time));
}

}  // namespace kiv::test
