#include "windows/server_process.h"

#include "support/check.h"
#include "support/scoped_resource.h"
#include "support/this_release.h"

namespace kiv::test {
namespace {

std::string ReadAll(HANDLE pipe) {
    std::string text;
    char part[4096];
    DWORD read = 0;
    while (::ReadFile(pipe, part, sizeof part, &read, nullptr) && read > 0)
        text.append(part, read);
    return text;
}

// Runs a program to its end and gives what it printed.
std::string Capture(std::string commandLine) {
    SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
    ScopedKernelObject reading;
    ScopedKernelObject writing;
    REQUIRE(::CreatePipe(reading.Receive(), writing.Receive(), &inherited, 0));
    ::SetHandleInformation(reading.Get(), HANDLE_FLAG_INHERIT, 0);
    STARTUPINFOA start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdOutput = writing.Get();
    start.hStdError = ::GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION process;
    REQUIRE(
        ::CreateProcessA(nullptr, commandLine.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &process));
    const ScopedKernelObject thread(process.hThread);
    const ScopedKernelObject child(process.hProcess);
    writing.Reset();
    std::string text = ReadAll(reading.Get());
    ::WaitForSingleObject(child.Get(), INFINITE);
    DWORD code = 1;
    ::GetExitCodeProcess(child.Get(), &code);
    CAPTURE(commandLine);
    CHECK(code == 0);
    return text;
}

ServerProcess::Lines SplitLines(const std::string& text) {
    ServerProcess::Lines lines;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = text.find("\r\n", start);
        if (end == std::string::npos)
            break;
        lines.push_back(text.substr(start, end - start));
        start = end + 2;
    }
    return lines;
}

// The registry calls of the child ask for the computer's name, which stands below HKLM.
void CopyComputerName(HKEY machine) {
    char name[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD size = sizeof name;
    REQUIRE(::GetComputerNameA(name, &size));
    ScopedRegistryKey key;
    REQUIRE(::RegCreateKeyA(machine, "System\\CurrentControlSet\\Control\\ComputerName\\ActiveComputerName",
                            key.Receive()) == ERROR_SUCCESS);
    ::RegSetValueExA(key.Get(), "ComputerName", 0, REG_SZ, reinterpret_cast<const BYTE*>(name), size + 1);
}

constexpr const char* kSettingsKey = "Software\\TAV\\TAVSetup\\";

}  // namespace

ServerProcess::ServerProcess(const std::string& program)
    : m_program(program + (ThisRelease().empty() ? "" : "_" + ThisRelease()) + ".exe") {
    CopyComputerName(m_machine.Handle());
    REQUIRE(::CreateDirectoryA((*this / "bin").c_str(), nullptr));
    REQUIRE(::CopyFileA((program + ".exe").c_str(), (*this / "bin\\" + m_program).c_str(), TRUE));
    for (const char* file : {"tavkivut.dll", "tavkivlg.dll"})
        REQUIRE(::CopyFileA(file, (*this / "bin\\" + file).c_str(), TRUE));
}

ServerProcess::Lines ServerProcess::Run(const std::string& operations) const {
    ::SetEnvironmentVariableA("KIV_LOCAL_MACHINE", m_machine.Path().c_str() + sizeof "HKCU");
    return SplitLines(Capture("\"" + (*this / "bin\\" + m_program) + "\" " + operations));
}

ServerProcess::Lines ServerProcess::Results(const std::string& operations) const {
    Lines results;
    for (const std::string& line : Run(operations)) {
        if (line.rfind("= ", 0) == 0)
            results.push_back(line.substr(2));
    }
    return results;
}

void ServerProcess::WriteConfig(std::string_view bytes) const {
    WriteFileBytes(*this / "bin\\tavsetup.cfg", bytes);
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

}  // namespace kiv::test
