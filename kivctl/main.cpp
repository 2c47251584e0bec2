#include <iostream>

#include "kivctl/command.h"
#include "kivctl/commands.h"

#include "support/text_convert.h"
#include "support/windows_api.h"

namespace kivctl {
namespace {

int g_exitCode = kExitDone;

int Run(Program& program, int argc, char** argv) {
    try {
        program.Run(argc, argv);
        return g_exitCode;
    } catch (const UsageError& error) {
        std::cerr << "kivctl: " << error.what() << "\n\n" << program.Usage();
        return kExitUsage;
    } catch (const std::exception& error) {
        std::cerr << "kivctl: " << error.what() << "\n";
        return kExitFailed;
    }
}

}  // namespace

std::string ErrorText(unsigned long win32Error) {
    char message[512];
    DWORD length = ::FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, win32Error, 0,
                                    message, sizeof message, nullptr);
    while (length > 0 && static_cast<unsigned char>(message[length - 1]) <= ' ')
        --length;
    std::string text(message, length);
    if (!text.empty())
        text += ' ';
    return text + "(" + std::to_string(win32Error) + ")";
}

void Fail(const std::string& what, unsigned long win32Error) {
    throw Failure(what + ": " + ErrorText(win32Error));
}

std::string Utf8(const std::string& text) {
    return kiv::Utf8FromWide(kiv::WideFromAnsi(text));
}

std::string FullPath(const std::string& file) {
    char path[MAX_PATH];
    const DWORD length = ::GetFullPathNameA(file.c_str(), sizeof path, path, nullptr);
    if (length == 0 || length >= sizeof path)
        throw Failure("'" + file + "' is no path that can be used");
    return path;
}

void SetExitCode(int code) {
    g_exitCode = code;
}

}  // namespace kivctl

int main(int argc, char** argv) {
    kivctl::Program program("kivctl", "The utilities library from the command line.");
    const kivctl::Command root = program.Root();
    kivctl::AddAclCommand(root);
    kivctl::AddArgsCommand(root);
    kivctl::AddCabCommand(root);
    kivctl::AddConfigCommand(root);
    kivctl::AddCrcCommand(root);
    kivctl::AddDeployCommand(root);
    kivctl::AddDsCommand(root);
    kivctl::AddFileCommand(root);
    kivctl::AddIniCommand(root);
    kivctl::AddIpcCommand(root);
    kivctl::AddJavaCommand(root);
    kivctl::AddLinesCommand(root);
    kivctl::AddPrivilegeCommand(root);
    kivctl::AddRegCommand(root);
    kivctl::AddRegexpCommand(root);
    kivctl::AddRightCommand(root);
    kivctl::AddSdCommand(root);
    kivctl::AddServerCommand(root);
    kivctl::AddServiceCommand(root);
    kivctl::AddServicesFileCommand(root);
    kivctl::AddSidCommand(root);
    kivctl::AddSystemCommand(root);
    kivctl::AddTokenCommand(root);
    kivctl::AddXmlCommand(root);
    return kivctl::Run(program, argc, argv);
}
