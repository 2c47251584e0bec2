#ifndef KIV_NETWORK_NET_API_H
#define KIV_NETWORK_NET_API_H

#include <string>
#include <string_view>

#include "support/dynamic_function.h"
#include "support/text_convert.h"

#include <lmcons.h>

#include <lmapibuf.h>
#include <lmerr.h>
#include <lmshare.h>

namespace kiv {

// The NT family's functions for shares and sessions, in netapi32.dll.
struct NetApi {
    decltype(&::NetShareEnum) shareEnum;
    decltype(&::NetShareGetInfo) shareGetInfo;
    decltype(&::NetShareAdd) shareAdd;
    decltype(&::NetShareDel) shareDel;
    decltype(&::NetSessionEnum) sessionEnum;
    decltype(&::NetSessionDel) sessionDel;
    decltype(&::NetApiBufferFree) bufferFree;

    void Load() noexcept;
};
const NetApi& Net() noexcept;

// A buffer that one of these functions returned.
class NetBuffer {
public:
    NetBuffer() noexcept = default;
    ~NetBuffer() {
        if (m_bytes != nullptr && Net().bufferFree != nullptr)
            Net().bufferFree(m_bytes);
    }
    NetBuffer(const NetBuffer&) = delete;
    NetBuffer& operator=(const NetBuffer&) = delete;

    BYTE** Receive() noexcept { return &m_bytes; }

    template <class Record>
    const Record* As() const noexcept {
        return reinterpret_cast<const Record*>(m_bytes);
    }

private:
    BYTE* m_bytes = nullptr;
};

// A text argument of these functions, which take what they do not change as if they did. Empty becomes null.
class NetText {
public:
    explicit NetText(std::string_view text) : m_text(WideFromAnsi(text)) {}
    operator wchar_t*() noexcept { return m_text.empty() ? nullptr : m_text.data(); }

private:
    std::wstring m_text;
};

}  // namespace kiv

#endif
