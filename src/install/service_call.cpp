#include "install/service_call.h"

#include <algorithm>

#include "support/log.h"

namespace kiv {
namespace {

// Far beyond any answer: a list of services is held to 256 KB by the older releases. It ends the asking of a manager
// that never is content.
constexpr DWORD kLargestAnswer = 16U << 20U;

}  // namespace

DWORD AnswerBuffer::Grow(DWORD needed) noexcept {
    if (needed > kLargestAnswer || m_size > kLargestAnswer)
        return ERROR_NOT_ENOUGH_MEMORY;
    const DWORD size = needed > m_size ? needed : m_size + std::max(needed, m_size);
    if (size == 0)
        return ERROR_INTERNAL_ERROR;
    m_block.Reset(std::malloc(size));
    m_size = m_block ? size : 0;
    return m_block ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY;
}

bool FinishServiceCall(DWORD error, const char* failure) noexcept {
    if (error == ERROR_SUCCESS)
        return true;
    KIV_LOG_WIN32_TEXT(error, failure, kLogMain);
    ::SetLastError(error);
    return false;
}

}  // namespace kiv
