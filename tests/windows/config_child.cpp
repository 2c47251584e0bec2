// A program that uses the configuration manager, for tests of what happens once in a process and between processes; see
// child_program.h. Arguments of operations are separated by "|"; "~" in them stands for a line feed.

#include <cstdlib>
#include <string>

#include "tavkivut/config.h"
#include "tavkivut/inst_server.h"
#include "windows/child_program.h"

namespace {

std::string Server(const std::string& path) {
    CKivInstServer::SetSessionServerPath(path.c_str());
    return {};
}

std::string Init(const std::string&) {
    return CKivConfigMgr().Initialize() ? "true" : "false";
}

// Writes a setting into every file: "section|key|value".
std::string Update(const std::string& argument) {
    std::string text = argument;
    for (char& c : text)
        c = c == '~' ? '\n' : c;
    const std::size_t key = text.find('|') + 1;
    const std::size_t value = text.find('|', key) + 1;
    return CKivConfigMgr().SetCfgString(text.substr(0, key - 1).c_str(), text.substr(key, value - key - 1).c_str(),
                                        text.substr(value).c_str(), true)
               ? "true"
               : "false";
}

// Ends the process with code 4 when a setting is missing: "last" of so many sections.
std::string Complete(const std::string& sections) {
    CKivConfigMgr config;
    unsigned long value = 0;
    for (int i = 0; i < std::stoi(sections); ++i) {
        if (!config.GetCfgDword(("Section " + std::to_string(i)).c_str(), "last", value))
            std::exit(4);
    }
    return {};
}

constexpr ChildOperation kOperations[] = {
    {"server", Server}, {"init", Init}, {"update", Update}, {"complete", Complete}};

}  // namespace

int main(int argc, char** argv) {
    return RunChildProgram(argc, argv, kOperations);
}
