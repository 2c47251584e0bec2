#include <iostream>
#include <memory>
#include <string>

#include <nlohmann/json.hpp>

#include "support/windows_api.h"

#include "install/distribution_answer.h"
#include "kivctl/command.h"
#include "tavkivut/distribution.h"

namespace kivctl {
namespace {

using Json = nlohmann::ordered_json;

struct Options {
    std::string file;
    bool json = false;
};

struct Reason {
    unsigned long error;
    const char* sentence;
};

constexpr Reason kNotStarted[] = {
    {ERROR_INVALID_DATA, "the service knows no such job descriptor"},
    {ERROR_BUSY, "the service is processing a job already"},
    {ERROR_CANCELLED, "the service is cancelling a job"},
    {ERROR_BAD_NET_RESP, "the service's answer has no meaning"},
    {ERROR_SERVICE_NOT_ACTIVE, "no service answered within a minute"},
};
constexpr Reason kNotCancelled[] = {
    {ERROR_BUSY, "no job is pending"},
    {ERROR_ACCESS_DENIED, "the job cannot be cancelled any more"},
    {ERROR_BAD_NET_RESP, "the service's answer has no meaning"},
    {ERROR_SERVICE_NOT_ACTIVE, "no service answered within a minute"},
};

template <std::size_t Count>
std::string Explain(unsigned long error, const Reason (&reasons)[Count]) {
    for (const Reason& reason : reasons) {
        if (reason.error == error)
            return reason.sentence;
    }
    return ErrorText(error);
}

// The server's name. Without one, asking would only take a minute to fail.
std::string Server() {
    char name[kKivDsServerSize];
    GetDistributionServerName(name);
    if (name[0] == '\0')
        throw Failure("no distribution server is configured (DsServer in section General)");
    return name;
}

void TellWhoIsAsked() {
    std::cerr << "asking the distribution service on " << Server() << ", for a minute if need be\n";
}

void Where(const Options& options) {
    const std::string server = Server();
    const std::string pipe = "\\\\" + server + "\\PIPE\\" + kKivDsPipe;
    if (options.json)
        std::cout << Json{{"server", Utf8(server)}, {"pipe", Utf8(pipe)}}.dump() << "\n";
    else
        std::cout << server << "  " << pipe << "\n";
}

void Send(const Options& options) {
    std::string path = FullPath(options.file);
    TellWhoIsAsked();
    if (KivDSJobInit(path.data(), kKivDsReplySize) == 0)
        throw Failure("the job was not started: " + Explain(::GetLastError(), kNotStarted));
    std::cout << "the job was started\n";
}

void Cancel(const Options&) {
    TellWhoIsAsked();
    if (KivDSJobCancel() == 0)
        throw Failure("nothing was cancelled: " + Explain(::GetLastError(), kNotCancelled));
    std::cout << (::GetLastError() == ERROR_CANCELLED ? "the job will be cancelled\n" : "the job was cancelled\n");
}

void Status(const Options& options) {
    TellWhoIsAsked();
    char reply[kKivDsReplySize + 1] = "";
    unsigned long size = sizeof reply;
    if (!CallDistributionService(kKivDsJobStatus, reply, size))
        throw Failure("no service answered within a minute: " + ErrorText(::GetLastError()));
    const kiv::DistributionAnswer answer = kiv::ParseDistributionAnswer(reply);
    if (answer.keyword != kKivDsAnswer || answer.code == kiv::kNoAnswerCode)
        throw Failure("the service's answer has no meaning: '" + std::string(reply) + "'");
    const bool pending = answer.code != ERROR_BUSY;
    if (options.json)
        std::cout << Json{{"code", answer.code}, {"jobPending", pending}}.dump() << "\n";
    else
        std::cout << (pending ? "a job is pending\n" : "no job is pending\n");
    SetExitCode(pending ? kExitDone : kExitFailed);
}

}  // namespace

void AddDsCommand(Command program) {
    const auto options = std::make_shared<Options>();
    Command ds = program.AddGroup("ds", "The distribution service: hands it jobs, cancels them.");
    Command where = ds.AddCommand("where", "Shows the configured server and the service's pipe.", options, Where);
    where.AddFlag("--json", options->json, "answer as JSON");
    Command send = ds.AddCommand("send", "Starts a job; shares the descriptor's folder until the service has read it.",
                                 options, Send);
    send.AddOption("FILE", options->file, "the job descriptor").Required();
    ds.AddCommand("cancel", "Cancels the service's job.", options, Cancel);
    Command status = ds.AddCommand("status", "Tells whether a job is pending; exit code 1 if not.", options, Status);
    status.AddFlag("--json", options->json, "answer as JSON");
}

}  // namespace kivctl
