#include "kivctl/long_work.h"

#include <iostream>

#include "support/windows_api.h"

namespace kivctl {
namespace {

constexpr unsigned long kMillisecondsBetweenLines = 2000;
constexpr unsigned kBytesPerMegabyteShift = 20;

volatile LONG g_interrupts = 0;

// Runs on a thread of the system's own.
BOOL WINAPI OnControl(DWORD event) {
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT)
        return FALSE;
    return ::InterlockedExchange(&g_interrupts, 1) == 0 ? TRUE : FALSE;
}

}  // namespace

LongWork::LongWork(const char* verb, std::uint64_t totalBytes)
    : m_verb(verb), m_total(totalBytes), m_lastTold(::GetTickCount()) {
    g_interrupts = 0;
    ::SetConsoleCtrlHandler(OnControl, TRUE);
}

LongWork::~LongWork() {
    ::SetConsoleCtrlHandler(OnControl, FALSE);
}

bool LongWork::Advance(unsigned long bytes) {
    m_done += bytes;
    const unsigned long now = ::GetTickCount();
    if (now - m_lastTold >= kMillisecondsBetweenLines) {
        m_lastTold = now;
        std::cerr << m_verb << " " << (m_done >> kBytesPerMegabyteShift) << " of "
                  << (m_total >> kBytesPerMegabyteShift) << " MB\n";
    }
    return !IsInterrupted();
}

bool LongWork::IsInterrupted() {
    return g_interrupts != 0;
}

}  // namespace kivctl
