#ifndef KIV_SYSTEM_IPC_BLOCK_H
#define KIV_SYSTEM_IPC_BLOCK_H

#include <cstddef>
#include <cstdint>

namespace kiv {

// What the notification protocol fixes for every program that joins in; docs/ipc.md has the same for their authors.

constexpr const char* kIpcLockName = "{567D9457-6651-45a4-9996-78DE23E7FD96}";
constexpr const char* kIpcBlockName = "{26ECD40E-279F-482c-B14D-9016714EA408}";
constexpr const char* kIpcSourceAliveName = "{351625D7-1711-4392-AD55-47FC76765855}";
constexpr const char* kIpcListenerAliveName = "{4188F5A2-439F-4622-9BDC-7B868AB8517C}";
constexpr const char* kIpcNotificationName = "{AA4FE636-EC13-4774-A6DC-F1B764B4A5F0}";
constexpr const char* kIpcResponseName = "{C5486729-9D60-4e01-93A8-78B16119A7AD}";

// The shared memory. Foreign programs write it too: the texts may lack their terminators.
struct IpcBlock {
    char name[128];
    char payload[1024];
    std::int32_t response;    // of the listener
    std::uint32_t processId;  // of the source, then of the listener that answers
};

static_assert(offsetof(IpcBlock, payload) == 128 && offsetof(IpcBlock, response) == 1152 &&
              offsetof(IpcBlock, processId) == 1156 && sizeof(IpcBlock) == 1160);

}  // namespace kiv

#endif
