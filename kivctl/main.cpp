#include <iostream>

#include "kivctl/command.h"
#include "kivctl/commands.h"

#include "support/text_convert.h"
#include "support/windows_api.h"

namespace kivctl {
namespace {

int g_exitCode = kExitDone;

// The usage of the subcommand that was asked for, however deep; `parents` is what stands before its name.
std::string Usage(const CLI::App& app, const std::string& parents = "") {
    const std::vector<CLI::App*> chosen = app.get_subcommands();
    if (chosen.empty())
        return app.help(parents);
    return Usage(*chosen.front(), parents.empty() ? app.get_name() : parents + " " + app.get_name());
}

int ReportUsage(const CLI::App& app, const char* text) {
    std::cerr << "kivctl: " << text << "\n\n" << Usage(app);
    return kExitUsage;
}

int Run(CLI::App& app, int argc, char** argv) {
    try {
        app.parse(argc, argv);
        return g_exitCode;
    } catch (const CLI::CallForHelp&) {
        std::cout << Usage(app);
        return kExitDone;
    } catch (const CLI::CallForAllHelp&) {
        std::cout << app.help("", CLI::AppFormatMode::All);
        return kExitDone;
    } catch (const CLI::ParseError& error) {
        return ReportUsage(app, error.what());
    } catch (const UsageError& error) {
        return ReportUsage(app, error.what());
    } catch (const Failure& failure) {
        std::cerr << "kivctl: " << failure.what() << "\n";
        return kExitFailed;
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
    CLI::App app("The utilities library from the command line.", "kivctl");
    app.require_subcommand(1);
    kivctl::AddAclCommand(app);
    kivctl::AddArgsCommand(app);
    kivctl::AddCabCommand(app);
    kivctl::AddConfigCommand(app);
    kivctl::AddCrcCommand(app);
    kivctl::AddDeployCommand(app);
    kivctl::AddDsCommand(app);
    kivctl::AddFileCommand(app);
    kivctl::AddIniCommand(app);
    kivctl::AddIpcCommand(app);
    kivctl::AddJavaCommand(app);
    kivctl::AddLinesCommand(app);
    kivctl::AddPrivilegeCommand(app);
    kivctl::AddRegCommand(app);
    kivctl::AddRegexpCommand(app);
    kivctl::AddRightCommand(app);
    kivctl::AddSdCommand(app);
    kivctl::AddServerCommand(app);
    kivctl::AddServiceCommand(app);
    kivctl::AddServicesFileCommand(app);
    kivctl::AddSidCommand(app);
    kivctl::AddSystemCommand(app);
    kivctl::AddTokenCommand(app);
    kivctl::AddXmlCommand(app);
    return kivctl::Run(app, argc, argv);
}
