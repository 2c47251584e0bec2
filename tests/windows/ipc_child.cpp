// The other process of the notification tests; see child_program.h. Arguments of operations are separated by "|", "-"
// stands for a null text, and "x*1024" for so many of that letter.

#include <cstdlib>
#include <string>
#include <vector>

#include "tavkivut/ipc.h"
#include "windows/child_program.h"

namespace {

std::vector<std::string> Split(const std::string& text) {
    std::vector<std::string> parts;
    for (std::size_t start = 0, end = 0; end != std::string::npos; start = end + 1) {
        end = text.find('|', start);
        const std::string part = text.substr(start, end - start);
        const std::size_t times = part.find('*');
        parts.push_back(times == 1 ? std::string(std::stoul(part.substr(2)), part[0]) : part);
    }
    return parts;
}

const char* TextOf(const std::string& part) {
    return part == "-" ? nullptr : part.c_str();
}

// Sends: "name|payload|timeout". The response.
std::string Send(const std::string& argument) {
    const auto parts = Split(argument);
    CKivNotificationSource source;
    return std::to_string(source.Send(TextOf(parts[0]), TextOf(parts[1]), std::stoul(parts[2])));
}

// Sends so many numbers, each of which the listener has to give back: how many it did.
std::string Count(const std::string& argument) {
    CKivNotificationSource source;
    int right = 0;
    for (int i = 0; i < std::stoi(argument); ++i)
        right += source.Send("count", std::to_string(i).c_str(), 30000) == i ? 1 : 0;
    return std::to_string(right);
}

int g_handled = 0;

// Gives a number back; the payload "stop" ends the listening, "die" the process.
int Handle(const char*, const char* payload, long* response) {
    ++g_handled;
    *response = std::atoi(payload);
    if (std::string(payload) == "die")
        ::ExitProcess(7);
    return std::string(payload) == "stop" ? 0 : 1;
}

// Listens: "name|timeout". Its result, and how many notifications it handled.
std::string Listen(const std::string& argument) {
    const auto parts = Split(argument);
    CKivNotificationSink sink(TextOf(parts[0]));
    const long result = sink.Receive(Handle, std::stoul(parts[1]));
    return std::to_string(result) + " " + std::to_string(g_handled);
}

constexpr ChildOperation kOperations[] = {{"send", Send}, {"count", Count}, {"listen", Listen}};

}  // namespace

int main(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (!PerformOperation(argv[i], kOperations))
            return 2;
    }
    return 0;
}
