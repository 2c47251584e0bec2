#ifndef KIV_SYSTEM_SYSTEM_CACHES_H
#define KIV_SYSTEM_SYSTEM_CACHES_H

#include <atomic>
#include <cstddef>

#include "support/heap_text.h"
#include "support/windows_api.h"
#include "system/drive_letters.h"

namespace kiv {

// A text of the machine that is found once and then kept while the process lives. Threads that find it at the
// same time keep the first one's text; nobody sees a part of it. It is never refreshed, and never kept when
// empty.
template <std::size_t kSize>
class TextCache {
public:
    // The kept text, or null when there is none yet.
    const char* Find() const noexcept { return m_state.load(std::memory_order_acquire) == kKept ? m_text : nullptr; }

    // Keeps a copy, cut to the cache, unless it is empty or another is kept already. Returns what is kept
    // now, or "".
    const char* Keep(const char* text) noexcept {
        if (*text == '\0')
            return "";
        int expected = kEmpty;
        if (m_state.compare_exchange_strong(expected, kFilling, std::memory_order_acquire)) {
            CopyText(m_text, kSize, text);
            m_state.store(kKept, std::memory_order_release);
        }
        while (m_state.load(std::memory_order_acquire) != kKept)
            ::Sleep(1);
        return m_text;
    }

private:
    enum State : int { kEmpty, kFilling, kKept };
    std::atomic<int> m_state{kEmpty};
    char m_text[kSize] = {};
};

enum class OsFamily : signed char { kNotAsked, k9x, kNt };

constexpr unsigned long kTerminalServerNotAsked = 0xFFFFFFFF;

// The process-wide caches of CKivSystem and CKivNetServiceConfig.
struct SystemCaches {
    TextCache<MAX_PATH> systemFolder;
    TextCache<MAX_PATH> system16Folder;
    TextCache<MAX_PATH> windowsFolder;
    TextCache<MAX_PATH> programFilesFolder;
    TextCache<MAX_PATH> commonFilesFolder;
    TextCache<MAX_PATH> tempFolder;
    TextCache<MAX_PATH> fontsFolder;
    TextCache<MAX_PATH> servicesFile;
    TextCache<MAX_PATH> servicesBackup;
    TextCache<100> osVersion;
    TextCache<100> ieVersion;
    TextCache<MAX_COMPUTERNAME_LENGTH + 2> computerName;
    std::atomic<OsFamily> family{OsFamily::kNotAsked};
    std::atomic<unsigned long> terminalServer{kTerminalServerNotAsked};
    DriveLetters driveLetters;
};

SystemCaches& Caches() noexcept;

// Tests put caches of their own in front, from one thread and with no other user of the caches running.
// Returns what stood there; texts that were handed out stay valid as long as their caches.
SystemCaches* SwapCaches(SystemCaches* caches) noexcept;

}  // namespace kiv

#endif
