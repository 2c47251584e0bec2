// Plays servers that answer ICMP echoes, each at an address, speed and reliability of its own, so that the choice of
// the installation server can be tried on one machine.
//
//     echo_responder SERVER... [-- COMMAND [ARGUMENT...]]
//
//     SERVER    ADDRESS[,delay=MILLISECONDS][,lose=N][,silent]
//               delay: how long after the request the answer is sent (0)
//               lose:  every N-th request to this server gets no answer
//               silent: no request does; the same as an address that is not listed
//
// With a command it answers for as long as the command runs and ends with its exit status (128 + number for a signal).
// Without one it writes "ready" and answers until it is terminated. Exit status 2: wrong usage, 3: it cannot answer or
// start the command.
//
// It needs the right to open raw sockets, and a network in which nobody else answers; tools/private-network gives
// both:
//
//     tools/private-network build/i686-release/tools/echo_responder 127.0.1.1,delay=40 127.0.1.2,delay=5
//         127.0.1.3,lose=4 127.0.1.4,silent -- COMMAND
//
// The whole of 127.0.0.0/8 reaches the loopback interface, so no address has to be set up.

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/ip.h>
#include <netinet/ip_icmp.h>
#include <poll.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr int kExitUsage = 2;
constexpr int kExitFailed = 3;
constexpr std::size_t kMaxPacket = 65535;

using Clock = std::chrono::steady_clock;

struct Server {
    std::chrono::milliseconds delay{0};
    unsigned loseEvery = 0;  // 0: nothing is lost
    bool silent = false;
    unsigned requests = 0;
};

using Servers = std::map<in_addr_t, Server>;
using Packet = std::vector<unsigned char>;                 // an IP header and what follows it
using Replies = std::multimap<Clock::time_point, Packet>;  // by the moment they are due

struct CommandLine {
    Servers servers;
    char** command = nullptr;
};

unsigned ParseNumber(const std::string& text) {
    std::size_t end = 0;
    const unsigned long number = text.empty() || text[0] == '-' ? 0 : std::stoul(text, &end);
    if (end != text.size() || text.empty() || number > 1000000)
        throw std::invalid_argument("not a number: " + text);
    return static_cast<unsigned>(number);
}

void ApplySetting(Server& server, const std::string& setting) {
    if (setting == "silent")
        server.silent = true;
    else if (setting.rfind("delay=", 0) == 0)
        server.delay = std::chrono::milliseconds(ParseNumber(setting.substr(6)));
    else if (setting.rfind("lose=", 0) == 0)
        server.loseEvery = ParseNumber(setting.substr(5));
    else
        throw std::invalid_argument("not a setting of a server: " + setting);
}

void AddServer(Servers& servers, const std::string& text) {
    std::size_t comma = text.find(',');
    const std::string addressText = text.substr(0, comma);
    in_addr address{};
    if (inet_pton(AF_INET, addressText.c_str(), &address) != 1)
        throw std::invalid_argument("not an address: " + addressText);
    Server& server = servers[address.s_addr];
    while (comma != std::string::npos) {
        const std::size_t start = comma + 1;
        comma = text.find(',', start);
        ApplySetting(server, text.substr(start, comma == std::string::npos ? comma : comma - start));
    }
}

CommandLine ParseCommandLine(char** arguments) {
    CommandLine line;
    for (; *arguments != nullptr; ++arguments) {
        if (std::strcmp(*arguments, "--") == 0) {
            line.command = arguments + 1;
            break;
        }
        AddServer(line.servers, *arguments);
    }
    if (line.servers.empty() || (line.command != nullptr && *line.command == nullptr))
        throw std::invalid_argument("usage: echo_responder ADDRESS[,delay=MS][,lose=N][,silent]... [-- COMMAND...]");
    return line;
}

// The checksum of the Internet protocols: the complement of the sum of all 16-bit words.
std::uint16_t Checksum(const unsigned char* bytes, std::size_t size) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i + 1 < size; i += 2)
        sum += static_cast<std::uint32_t>(bytes[i] << 8 | bytes[i + 1]);
    if (size % 2 != 0)
        sum += static_cast<std::uint32_t>(bytes[size - 1] << 8);
    while (sum >> 16 != 0)
        sum = (sum & 0xFFFF) + (sum >> 16);
    return htons(static_cast<std::uint16_t>(~sum));
}

// Turns an echo request into its reply; false when the packet is something else or too short.
bool MakeReply(Packet& packet) {
    if (packet.size() < sizeof(ip))
        return false;
    ip header;
    std::memcpy(&header, packet.data(), sizeof header);
    const std::size_t headerSize = header.ip_hl * 4u;
    if (headerSize < sizeof header || packet.size() < headerSize + sizeof(icmphdr))
        return false;
    unsigned char* const message = packet.data() + headerSize;
    icmphdr echo;
    std::memcpy(&echo, message, sizeof echo);
    if (echo.type != ICMP_ECHO)
        return false;

    std::swap(header.ip_src, header.ip_dst);
    std::memcpy(packet.data(), &header, sizeof header);
    echo.type = ICMP_ECHOREPLY;
    echo.checksum = 0;
    std::memcpy(message, &echo, sizeof echo);
    echo.checksum = Checksum(message, packet.size() - headerSize);
    std::memcpy(message, &echo, sizeof echo);
    return true;
}

// Whether the server at the packet's destination answers this request, and when.
bool Answers(Servers& servers, const Packet& packet, Clock::time_point& due) {
    ip header;
    std::memcpy(&header, packet.data(), sizeof header);
    const auto found = servers.find(header.ip_src.s_addr);  // the reply's source
    if (found == servers.end() || found->second.silent)
        return false;
    Server& server = found->second;
    ++server.requests;
    due = Clock::now() + server.delay;
    return server.loseEvery == 0 || server.requests % server.loseEvery != 0;
}

void ReceiveRequest(int socket, Servers& servers, Replies& replies) {
    Packet packet(kMaxPacket);
    const ssize_t received = recv(socket, packet.data(), packet.size(), 0);
    if (received <= 0)
        return;
    packet.resize(static_cast<std::size_t>(received));
    Clock::time_point due;
    if (MakeReply(packet) && Answers(servers, packet, due))
        replies.emplace(due, std::move(packet));
}

void SendDueReplies(int socket, Replies& replies) {
    while (!replies.empty() && replies.begin()->first <= Clock::now()) {
        const Packet& packet = replies.begin()->second;
        ip header;
        std::memcpy(&header, packet.data(), sizeof header);
        sockaddr_in target{};
        target.sin_family = AF_INET;
        target.sin_addr = header.ip_dst;
        // A reply that cannot be sent is a lost one.
        (void)sendto(socket, packet.data(), packet.size(), 0, reinterpret_cast<sockaddr*>(&target), sizeof target);
        replies.erase(replies.begin());
    }
}

// The time to the next reply, for ppoll; null: no reply waits.
const timespec* UntilNextReply(const Replies& replies, timespec& storage) {
    if (replies.empty())
        return nullptr;
    const auto wait = std::max(replies.begin()->first - Clock::now(), Clock::duration::zero());
    const auto nanoseconds = std::chrono::duration_cast<std::chrono::nanoseconds>(wait).count();
    storage.tv_sec = nanoseconds / 1000000000;
    storage.tv_nsec = nanoseconds % 1000000000;
    return &storage;
}

// Answers until a signal comes; returns its number.
int AnswerUntilSignal(int socket, int signals, Servers& servers) {
    Replies replies;
    for (;;) {
        pollfd sources[] = {{socket, POLLIN, 0}, {signals, POLLIN, 0}};
        timespec storage;
        if (ppoll(sources, 2, UntilNextReply(replies, storage), nullptr) < 0 && errno != EINTR)
            throw std::runtime_error(std::string("poll: ") + std::strerror(errno));
        SendDueReplies(socket, replies);
        if ((sources[0].revents & POLLIN) != 0)
            ReceiveRequest(socket, servers, replies);
        signalfd_siginfo signal;
        if ((sources[1].revents & POLLIN) != 0 && read(signals, &signal, sizeof signal) == sizeof signal)
            return static_cast<int>(signal.ssi_signo);
    }
}

// SIGCHLD, SIGTERM and SIGINT as something to poll.
int OpenSignals(sigset_t& watched) {
    sigemptyset(&watched);
    for (const int number : {SIGCHLD, SIGTERM, SIGINT})
        sigaddset(&watched, number);
    sigprocmask(SIG_BLOCK, &watched, nullptr);
    return signalfd(-1, &watched, SFD_CLOEXEC);
}

int OpenRawSocket() {
    const int raw = socket(AF_INET, SOCK_RAW | SOCK_CLOEXEC, IPPROTO_ICMP);
    const int withHeader = 1;
    if (raw < 0 || setsockopt(raw, IPPROTO_IP, IP_HDRINCL, &withHeader, sizeof withHeader) != 0)
        throw std::runtime_error(std::string("no raw socket: ") + std::strerror(errno));
    return raw;
}

pid_t StartCommand(char** command, const sigset_t& watched) {
    const pid_t child = fork();
    if (child != 0)
        return child;
    sigprocmask(SIG_UNBLOCK, &watched, nullptr);
    execvp(command[0], command);
    std::fprintf(stderr, "echo_responder: %s: %s\n", command[0], std::strerror(errno));
    _exit(127);
}

int RunBeside(char** command, int socket, Servers& servers) {
    sigset_t watched;
    const int signals = OpenSignals(watched);
    if (command == nullptr) {
        std::puts("ready");
        std::fflush(stdout);
        AnswerUntilSignal(socket, signals, servers);
        return 0;
    }
    const pid_t child = StartCommand(command, watched);
    if (child < 0)
        throw std::runtime_error(std::string("fork: ") + std::strerror(errno));
    for (;;) {
        const int signal = AnswerUntilSignal(socket, signals, servers);
        if (signal != SIGCHLD)
            kill(child, signal);
        int status = 0;
        if (waitpid(child, &status, WNOHANG) == child && !WIFSTOPPED(status))
            return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    }
}

}  // namespace

int main(int, char** argv) {
    try {
        CommandLine line = ParseCommandLine(argv + 1);
        return RunBeside(line.command, OpenRawSocket(), line.servers);
    } catch (const std::logic_error& wrong) {
        std::fprintf(stderr, "echo_responder: %s\n", wrong.what());
        return kExitUsage;
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "echo_responder: %s\n", failure.what());
        return kExitFailed;
    }
}
