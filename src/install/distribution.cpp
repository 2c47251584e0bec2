#include "support/windows_api.h"

#include <cstring>
#include <string>

#include "install/server_paths.h"
#include "support/clock.h"
#include "support/heap_text.h"
#include "support/log.h"
#include "tavkivut/distribution.h"
#include "tavkivut/process.h"
#include "tavkivut/registry.h"

namespace {

constexpr const char* kServerName = "DsServer";

constexpr DWORD kRetryLimit = 60000;
constexpr DWORD kBackOff = 333;  // times 1 to 10, so that many clients do not try again in step
constexpr DWORD kBackOffSteps = 10;

// One transaction; `text` has room for the longest reply and its terminator. The error of the call, 0 when it
// succeeded.
DWORD Transact(const std::string& pipe, const char* request, char* text, DWORD& received) noexcept {
    std::string sent = request;  // the call takes it as something to change
    received = 0;
    ::SetLastError(NO_ERROR);
    const BOOL done = ::CallNamedPipeA(pipe.c_str(), sent.data(), static_cast<DWORD>(sent.size()), text,
                                       kKivDsReplySize, &received, NMPWAIT_USE_DEFAULT_WAIT);
    const DWORD error = ::GetLastError();
    if (!done)
        return error == NO_ERROR ? ERROR_GEN_FAILURE : error;
    text[received] = '\0';  // the call itself ends no text, and writes nothing at all for an empty one
    KIV_LOG(kiv::kLogMain, kiv::kLogInfo, "NamedPipe received %s", text);
    return NO_ERROR;
}

// A reply that does not fit leaves the caller's buffer as it was.
void HandOver(const char* text, DWORD received, char* reply, unsigned long capacity, unsigned long& replySize) {
    if (capacity > received) {
        std::memcpy(reply, text, received + 1);
        replySize = received;
        return;
    }
    KIV_LOG_WIN32_TEXT(::GetLastError(), "Output buffer to small to store returned string", kiv::kLogMain);
    KIV_LOG(kiv::kLogDetail, kiv::kLogInfo, "Number of bytes read: %d (Max: %d)", static_cast<int>(received),
            static_cast<int>(capacity));
}

// Looks at the caller's buffer, never beyond it.
bool ReadsError(const char* reply, unsigned long capacity) noexcept {
    constexpr std::size_t kLength = sizeof kKivDsError - 1;
    return capacity >= kLength && std::memcmp(reply, kKivDsError, kLength) == 0 &&
           (capacity == kLength || reply[kLength] == '\0');
}

void WaitForNextAttempt() noexcept {
    const kiv::ClockApi& clock = kiv::Clock();
    clock.sleep(kBackOff * (clock.tickCount() % kBackOffSteps + 1));
}

void ReadServerFromRegistry(char* out) {
    CKivRegKey general(nullptr, kiv::kGeneralKeyPath, nullptr, KEY_READ);
    CKivRegValue value = general[kServerName];
    const char* const name = value;
    if (name != nullptr)
        kiv::CopyText(out, kKivDsServerSize, name);
}

}  // namespace

int KIV_CALL GetDistributionServerName(char* out) noexcept {
    if (out == nullptr) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    out[0] = '\0';
    const std::string file = std::string(CKivThisProcess::GetExeDir()) + "\\tavsetup.cfg";
    KivGetPrivateProfileStringA("General", kServerName, "", out, kKivDsServerSize, file.c_str());
    KIV_LOG(kiv::kLogMain, kiv::kLogInfo, "DS from Config file: %s", out);
    if (out[0] == '\0')
        ReadServerFromRegistry(out);
    return 1;
}

bool KIV_CALL CallDistributionService(const char* request, char* reply, unsigned long& replySize) noexcept {
    if (request == nullptr || reply == nullptr) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return false;
    }
    char server[kKivDsServerSize];
    if (GetDistributionServerName(server) == 0) {
        KIV_LOG_WIN32_TEXT(::GetLastError(), "Could not determine location of the distribution server", kiv::kLogMain);
        return false;
    }
    KIV_LOG(kiv::kLogMain, kiv::kLogInfo, "Distribution server expected as %s", server);
    const std::string pipe = std::string("\\\\") + server + "\\PIPE\\" + kKivDsPipe;
    KIV_LOG(kiv::kLogMain, kiv::kLogInfo, "Going to call pipe \"%s\" sending %s", pipe.c_str(), request);

    // The capacity is what the caller gave, also after a reply "ERROR" has shortened the size.
    const unsigned long capacity = replySize;
    const DWORD start = kiv::Clock().tickCount();
    DWORD error = NO_ERROR;
    do {
        char text[kKivDsReplySize + 1];
        DWORD received = 0;
        error = Transact(pipe, request, text, received);
        if (error == NO_ERROR) {
            HandOver(text, received, reply, capacity, replySize);
            if (!ReadsError(reply, capacity))
                return true;
        }
        KIV_LOG_WIN32_TEXT(error, "CallNamedPipe failed; maybe DS is not running or networking problem occurred",
                           kiv::kLogMain);
        WaitForNextAttempt();
    } while (kiv::MillisecondsSince(start) < kRetryLimit);
    ::SetLastError(error);
    return false;
}
