#include "tavkivut/frame.h"

void CKivSingleThreadModel::Lock() noexcept {}

void CKivSingleThreadModel::Unlock() noexcept {}

CKivSingleThreadModel& CKivSingleThreadModel::operator=(const CKivSingleThreadModel&) noexcept {
    return *this;
}

CKivMultiThreadModel::CKivMultiThreadModel() noexcept : m_section() {
    ::InitializeCriticalSection(&m_section);
}

CKivMultiThreadModel::~CKivMultiThreadModel() {
    ::DeleteCriticalSection(&m_section);
}

void CKivMultiThreadModel::Lock() noexcept {
    ::EnterCriticalSection(&m_section);
}

void CKivMultiThreadModel::Unlock() noexcept {
    ::LeaveCriticalSection(&m_section);
}

CCriticalSection_MethodHelper::CCriticalSection_MethodHelper(CRITICAL_SECTION& section, bool entered) noexcept
    : m_section(&section), m_entered(entered) {}

CCriticalSection_MethodHelper::CCriticalSection_MethodHelper(CRITICAL_SECTION* section, bool entered) noexcept
    : m_section(section), m_entered(entered) {}

CCriticalSection_MethodHelper::~CCriticalSection_MethodHelper() {
    Leave();
}

void CCriticalSection_MethodHelper::Enter() noexcept {
    if (m_entered || m_section == nullptr)
        return;
    ::EnterCriticalSection(m_section);
    m_entered = true;
}

void CCriticalSection_MethodHelper::Leave() noexcept {
    if (m_entered && m_section != nullptr)
        ::LeaveCriticalSection(m_section);
}
