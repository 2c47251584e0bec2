#ifndef KIV_FILES_CAB_MEMORY_H
#define KIV_FILES_CAB_MEMORY_H

#include <cstddef>

namespace kiv {

// Memory for the compression side of the codec. For every 32 KB of data some codecs take the same few large blocks and
// give them back, and each time the system maps and clears them anew. So some of these are kept for the next call,
// by any thread, until nobody makes a cabinet any more. Null where there is no memory.
void* AllocateForCodec(std::size_t size) noexcept;
void FreeForCodec(void* memory) noexcept;

// Gives back what is kept.
void ReleaseCodecMemory() noexcept;

}  // namespace kiv

#endif
