#include "support/windows_api.h"

#include <cstdlib>
#include <memory>
#include <string>

#include "install/distribution_answer.h"
#include "support/code_page.h"
#include "support/log.h"
#include "tavkivut/distribution.h"
#include "tavkivut/network.h"
#include "tavkivut/system.h"

namespace {

using kiv::DistributionAnswer;
using kiv::kNoAnswerCode;

// The last error where no service answered. The pipe's own, which the log has, would look like a code of an answer.
constexpr DWORD kNoAnswer = ERROR_SERVICE_NOT_ACTIVE;

// The part of an answer that counts. A code that is missing stays kNoAnswerCode.
DistributionAnswer ReadAnswer(const char* reply) noexcept {
    const DistributionAnswer answer = kiv::ParseDistributionAnswer(reply);
    if (!answer.isSeparated)
        KIV_LOG(kiv::kLogMain, kiv::kLogError, "Error in message received from distribution service.");
    return answer;
}

// The last error for a code of an answer: the code itself, where there is one.
DWORD ErrorOfCode(std::uint32_t code) noexcept {
    return code == kNoAnswerCode ? ERROR_BAD_NET_RESP : code;
}

// Longer names are cut: the service takes no others.
std::string CutName(std::string_view name) {
    return std::string(name.substr(0, MAX_PATH - 1));
}

// Tells what the answer to a job start means; `file` is the UNC path that was sent.
DWORD JudgeJobStart(const DistributionAnswer& answer, const char* file) noexcept {
    if (answer.keyword != kKivDsAnswer) {
        KIV_LOG(kiv::kLogMain, kiv::kLogError, "Unknown response from distribution service.");
        return ERROR_BAD_NET_RESP;
    }
    switch (answer.code) {
    case ERROR_SUCCESS:
        KIV_LOG(kiv::kLogMain, kiv::kLogInfo, "Processing of the JDF file was started.");
        break;
    case ERROR_FILE_NOT_FOUND:
        KIV_LOG(kiv::kLogMain, kiv::kLogError, "The file: %s, could not be found.", file);
        break;
    case ERROR_ACCESS_DENIED:
        KIV_LOG(kiv::kLogMain, kiv::kLogError, "Access to the file: %s, is denied.", file);
        break;
    case ERROR_INVALID_DATA:
        KIV_LOG(kiv::kLogMain, kiv::kLogError, "The file: %s does not exist or uses unknown syntax.", file);
        break;
    case ERROR_BUSY:
        KIV_LOG(kiv::kLogMain, kiv::kLogError, "The distribution service is already processing a JDF request.");
        break;
    case ERROR_CANCELLED:
        KIV_LOG(kiv::kLogMain, kiv::kLogError, "The distribution service is currently processing a job cancellation.");
        break;
    default:
        KIV_LOG(kiv::kLogMain, kiv::kLogError, "Unknown response from distribution service.");
        break;
    }
    return ErrorOfCode(answer.code);
}

// Sends the job start in a buffer of the size that the caller asked for.
DWORD SendJob(const std::string& file, unsigned long replySize) noexcept {
    if (replySize == 0)
        return ERROR_INVALID_PARAMETER;
    const std::unique_ptr<char, decltype(&std::free)> reply(static_cast<char*>(std::calloc(replySize, 1)), &std::free);
    if (reply == nullptr)
        return ERROR_NOT_ENOUGH_MEMORY;
    unsigned long size = replySize;
    if (!CallDistributionService((std::string(kKivDsJobInit) + " " + file).c_str(), reply.get(), size))
        return kNoAnswer;
    return JudgeJobStart(ReadAnswer(reply.get()), file.c_str());
}

// The share is closed on every way out: the service has read the file when it answers.
DWORD StartJob(const char* path, unsigned long replySize) noexcept {
    const kiv::DescriptorPath parts = kiv::SplitDescriptorPath(path, kiv::IsAnsiLeadByte);
    CKivRemoteShare share(CKivSystem::GetComputerNameA());
    share.SetDirToShare(DIR_LOCAL_PATH);
    share.SetLocalPath(CutName(parts.directory).c_str());
    if (!share.OpenShare()) {
        const DWORD error = ::GetLastError();
        KIV_LOG_WIN32_TEXT(error, "TAVAdmin::CKivSendJobToDS : Could not open share", kiv::kLogMain);
        return error;
    }
    const std::string file = CutName(std::string(share.GetUNCName()) + "\\" + std::string(parts.file));
    KIV_LOG(kiv::kLogMain, kiv::kLogInfo, "Selected job descriptor file: %s", file.c_str());
    return SendJob(file, replySize);
}

// One request of a cancellation, in a buffer of its own: a reply that does not fit must not leave that of an earlier
// request. The error of the pipe, or of an answer with another keyword; 0 with the code of the answer.
DWORD Ask(const char* request, std::uint32_t& code) noexcept {
    char reply[kKivDsReplySize] = "";
    unsigned long size = sizeof reply;
    if (!CallDistributionService(request, reply, size))
        return kNoAnswer;
    const DistributionAnswer answer = ReadAnswer(reply);
    if (answer.keyword != kKivDsAnswer)
        return ERROR_BAD_NET_RESP;
    code = answer.code;
    return NO_ERROR;
}

DWORD CancelJob() noexcept {
    std::uint32_t code = kNoAnswerCode;
    DWORD error = Ask(kKivDsJobStatus, code);
    if (error != NO_ERROR)
        return error;
    if (code == ERROR_BUSY) {
        KIV_LOG(kiv::kLogMain, kiv::kLogError, "The DS had no pending jobs, or an unkown error occurred.");
        return ERROR_BUSY;
    }
    error = Ask(kKivDsJobCancel, code);
    if (error != NO_ERROR)
        return error;
    switch (code) {
    case ERROR_SUCCESS:
        KIV_LOG(kiv::kLogMain, kiv::kLogInfo, "The installation job was cancelled successfully.");
        break;
    case ERROR_CANCELLED:
        KIV_LOG(kiv::kLogMain, kiv::kLogInfo, "The cancel request has been received but not yet processed.");
        break;
    case ERROR_ACCESS_DENIED:
        KIV_LOG(kiv::kLogMain, kiv::kLogError, "The installation job cannot be cancelled.");
        break;
    default:
        KIV_LOG(kiv::kLogMain, kiv::kLogError, "An unkown error has occurred.");
        break;
    }
    return ErrorOfCode(code);
}

}  // namespace

int KIV_CALL KivDSJobInit(char* jdfPath, unsigned long replySize) noexcept {
    const DWORD error = jdfPath == nullptr ? ERROR_INVALID_PARAMETER : StartJob(jdfPath, replySize);
    ::SetLastError(error);
    return error == ERROR_SUCCESS ? 1 : 0;
}

int KIV_CALL KivDSJobCancel(void) noexcept {
    const DWORD error = CancelJob();
    ::SetLastError(error);
    return error == ERROR_SUCCESS || error == ERROR_CANCELLED ? 1 : 0;
}
