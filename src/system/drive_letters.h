#ifndef KIV_SYSTEM_DRIVE_LETTERS_H
#define KIV_SYSTEM_DRIVE_LETTERS_H

#include <atomic>

namespace kiv {

enum class DriveKind : unsigned char { kUnknown, kLocal, kNetwork };

// What is known about drive letters. The key is the letter's byte as it stands, so "c" and "C" are kept apart. Each
// letter has a place of its own: threads that find the same answer store the same byte.
class DriveLetters {
public:
    DriveKind Find(char letter) const noexcept { return Place(letter).load(std::memory_order_relaxed); }
    void Keep(char letter, DriveKind kind) noexcept { Place(letter).store(kind, std::memory_order_relaxed); }

private:
    using Entry = std::atomic<DriveKind>;
    const Entry& Place(char letter) const noexcept { return m_kinds[static_cast<unsigned char>(letter)]; }
    Entry& Place(char letter) noexcept { return m_kinds[static_cast<unsigned char>(letter)]; }

    Entry m_kinds[256] = {};
};

}  // namespace kiv

#endif
