#ifndef KIV_SUPPORT_PROCESS_END_H
#define KIV_SUPPORT_PROCESS_END_H

namespace kiv {

// Whether this process is going down. Its other threads are gone then, in the middle of whatever they did: locks may
// stay taken for ever, and modules that are used may have ended before this one.
bool IsProcessEnding() noexcept;

// Called by the library's entry point.
void NoteProcessEnd() noexcept;

}  // namespace kiv

#endif
