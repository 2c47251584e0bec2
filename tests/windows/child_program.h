#ifndef KIV_TESTS_WINDOWS_CHILD_PROGRAM_H
#define KIV_TESTS_WINDOWS_CHILD_PROGRAM_H

// What programs have in common that tests start because something happens once in a process. Each
// argument that begins with neither "/" nor "-" is an operation: "path", "entry=3", "setup=C:\x". The program prints
// "= RESULT" for each, and before it the log lines that the operation wrote, as "1  TEXT" and "1E TEXT (error)". HKLM
// is the key of HKEY_CURRENT_USER that the environment variable KIV_LOCAL_MACHINE names.

#include <cstdio>
#include <cstdlib>
#include <string>

#include "support/windows_api.h"

#include "tavkivlg/recording.h"

struct ChildOperation {
    const char* name;
    std::string (*run)(const std::string& argument);
    bool isQuiet = false;  // its log lines are of no interest
};

inline std::string ErrorSuffix(const KivRecordedLine& line) {
    return line.win32Error == 0 ? "" : " (" + std::to_string(line.win32Error) + ")";
}

inline void PrintRecordedLog() {
    for (unsigned i = 0; i < KivRecordingCount(); ++i) {
        KivRecordedLine line;
        if (KivRecordingLine(i, &line) == 1)
            std::printf("%u%c %s%s\n", line.level, line.kind, line.text, ErrorSuffix(line).c_str());
    }
}

// One "operation" or "operation=argument"; false when there is none of that name.
template <std::size_t Count>
bool PerformOperation(const std::string& text, const ChildOperation (&operations)[Count]) {
    const std::size_t equals = text.find('=');
    for (const ChildOperation& operation : operations) {
        if (text.substr(0, equals) != operation.name)
            continue;
        KivRecordingClear();
        const std::string result = operation.run(equals == std::string::npos ? "" : text.substr(equals + 1));
        if (!operation.isQuiet)
            PrintRecordedLog();
        std::printf("= %s\n", result.c_str());
        return true;
    }
    return false;
}

// The key is made when it is missing. The computer's name goes along: the system's own calls look for it below HKLM.
inline bool RedirectLocalMachine() {
    const char* const subkey = std::getenv("KIV_LOCAL_MACHINE");
    char name[MAX_COMPUTERNAME_LENGTH + 1];
    DWORD size = sizeof name;
    HKEY machine = nullptr;
    HKEY nameKey = nullptr;
    if (subkey == nullptr || !::GetComputerNameA(name, &size) ||
        ::RegCreateKeyA(HKEY_CURRENT_USER, subkey, &machine) != ERROR_SUCCESS ||
        ::RegCreateKeyA(machine, "System\\CurrentControlSet\\Control\\ComputerName\\ActiveComputerName", &nameKey) !=
            ERROR_SUCCESS)
        return false;
    ::RegSetValueExA(nameKey, "ComputerName", 0, REG_SZ, reinterpret_cast<const BYTE*>(name), size + 1);
    ::RegCloseKey(nameKey);
    return ::RegOverridePredefKey(HKEY_LOCAL_MACHINE, machine) == ERROR_SUCCESS;
}

// The whole of main: 0, 2 for an unknown operation, 3 when the registry cannot be redirected.
template <std::size_t Count>
int RunChildProgram(int argc, char** argv, const ChildOperation (&operations)[Count]) {
    if (!RedirectLocalMachine())
        return 3;
    for (int i = 1; i < argc; ++i) {
        if (argv[i][0] != '/' && argv[i][0] != '-' && !PerformOperation(argv[i], operations))
            return 2;
    }
    return 0;
}

#endif
