// A program that uses the installation server once, for tests of what is kept for the life of a process; see
// child_program.h.

#include <string>

#include "support/resource_count.h"
#include "tavkivut/inst_server.h"
#include "windows/child_program.h"

namespace {

struct Server : CKivInstServer {
    using CKivInstServer::FreePathList;
    using CKivInstServer::MallocPathList;
};

std::size_t g_threads;  // before any probe
char g_buffer[kKivServerPathSize];

const char* OrNull(const char* text) {
    return text == nullptr ? "(null)" : text;
}

const char* OrNullArgument(const std::string& argument) {
    return argument.empty() ? nullptr : argument.c_str();
}

std::string List(const std::string&) {
    int isFallback = -1;
    char* const list = Server::MallocPathList(&isFallback);
    const std::string text = (isFallback != 0 ? "fallback " : "configured ") + std::string(list);
    Server::FreePathList(list);
    return text;
}

std::string Policy(const std::string& argument) {
    char value[8] = "unset";
    const unsigned length = CKivInstServer::GetServerPolicy(argument.c_str(), value, sizeof value);
    return std::to_string(length) + " " + value;
}

std::string SetPolicy(const std::string& argument) {
    const std::size_t colon = argument.find(':');
    return std::to_string(
        CKivInstServer::SetServerPolicy(argument.substr(0, colon).c_str(), argument.substr(colon + 1).c_str()));
}

std::string Choose(const std::string&) {
    const int chosen = CKivInstServer::GetMostResponsiveServer(g_buffer, sizeof g_buffer, nullptr, -1);
    return std::to_string(chosen) + " " + g_buffer;
}

// Makes a choice twice and tells whether the second one left something behind.
std::string ChooseTwice(const std::string& argument) {
    kiv::test::ResourceCount counts[2]{};
    for (kiv::test::ResourceCount& count : counts) {
        Choose(argument);
        KivRecordingClear();  // recorded lines are blocks too
        kiv::test::WaitForThreads(g_threads);
        count = kiv::test::CountResources();
    }
    return std::string(g_buffer) + (counts[0] == counts[1] ? "" : " left something behind");
}

constexpr ChildOperation kOperations[] = {
    {"list", List},
    {"count", [](const std::string&) { return std::to_string(CKivInstServer::GetCount()); }},
    {"entry",
     [](const std::string& argument) {
         CKivInstServer::GetPath(static_cast<unsigned>(std::stoul(argument)), g_buffer);
         return std::string(g_buffer);
     }},
    {"path",
     [](const std::string&) {
         KivGetServerPath(g_buffer);
         return std::string(g_buffer);
     }},
    {"random",
     [](const std::string&) {
         CKivInstServer::GetRandomPath(g_buffer);
         return std::string(g_buffer);
     }},
    {"choose", Choose},
    {"choosetwice", ChooseTwice},
    {"alive", [](const std::string& argument) { return std::to_string(KivIsHostAlive(argument.c_str(), 0)); }},
    {"session",
     [](const std::string& argument) {
         CKivInstServer::SetSessionServerPath(argument.c_str());
         return std::string();
     }},
    {"persist",
     [](const std::string& argument) {
         CKivInstServer::SetSessionRegPersistence(std::stoi(argument));
         return std::string();
     }},
    {"setup",
     [](const std::string& argument) {
         CKivInstServer::GetSetupPath(g_buffer, OrNullArgument(argument));
         return std::string(g_buffer);
     }},
    {"available",
     [](const std::string& argument) { return std::to_string(CKivInstServer::IsAvailable(argument.c_str())); }},
    {"fallback",
     [](const std::string& argument) { return std::to_string(CKivInstServer::IsFallbackServer(argument.c_str())); }},
    {"add",
     [](const std::string& argument) {
         CKivInstServer::AddPath(argument.c_str());
         return std::string();
     }},
    {"remove",
     [](const std::string& argument) {
         CKivInstServer::RemovePath(static_cast<unsigned>(std::stoul(argument)));
         return std::string();
     }},
    {"host", [](const std::string&) { return std::string(CKivInstServer::GetServerHost()); }},
    {"share", [](const std::string&) { return std::string(OrNull(CKivInstServer::GetServerShare())); }},
    {"policy", Policy},
    {"setpolicy", SetPolicy},
    {"wksta",
     [](const std::string& argument) { return std::string(KivGetTavWkstaPath(nullptr, OrNullArgument(argument))); }},
};

}  // namespace

int main(int argc, char** argv) {
    g_threads = kiv::test::CountResources().threads;
    const int result = RunChildProgram(argc, argv, kOperations);
    // A process that ends with echoes outstanding can keep later ones from being answered under Wine.
    return kiv::test::WaitForThreads(g_threads) ? result : 4;
}
