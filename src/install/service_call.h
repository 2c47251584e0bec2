#ifndef KIV_INSTALL_SERVICE_CALL_H
#define KIV_INSTALL_SERVICE_CALL_H

#include "install/service_api.h"

#include <cstdlib>

#include "support/scoped_resource.h"

namespace kiv {

// What the service manager's functions have in common: they report by a value that is not zero, some releases lack
// them, and they tell how large an answer is only when asked.

// Calls a function. Gives the Win32 error, 0 for success, and leaves the last error alone. A call that fails without
// saying why counts as an internal error.
template <class Result, class Function, class... Arguments>
DWORD CallManager(Result& result, Function function, Arguments... arguments) noexcept {
    if (function == nullptr)
        return ERROR_CALL_NOT_IMPLEMENTED;
    const LastErrorKeeper keeper;
    ::SetLastError(ERROR_SUCCESS);
    result = function(arguments...);
    if (result)
        return ERROR_SUCCESS;
    const DWORD error = ::GetLastError();
    return error != ERROR_SUCCESS ? error : ERROR_INTERNAL_ERROR;
}

// The same for a function of an open manager or service.
template <class Result, class Function, class... Arguments>
DWORD CallService(Result& result, Function function, SC_HANDLE handle, Arguments... arguments) noexcept {
    if (function != nullptr && handle == nullptr)
        return ERROR_INVALID_HANDLE;
    return CallManager(result, function, handle, arguments...);
}

// The same where the result is of no use beyond that.
template <class Function, class... Arguments>
DWORD ServiceError(Function function, SC_HANDLE handle, Arguments... arguments) noexcept {
    BOOL done = FALSE;
    return CallService(done, function, handle, arguments...);
}

struct MallocTraits {
    using Type = void*;
    static Type Empty() { return nullptr; }
    static void Close(Type block) { std::free(block); }
};
using ScopedMalloc = ScopedResource<MallocTraits>;

// A block for answers, of a size that only grows.
class AnswerBuffer {
public:
    void* Data() const noexcept { return m_block.Get(); }
    DWORD Size() const noexcept { return m_size; }
    void* Release() noexcept { return m_block.Release(); }

    // Makes room for an answer of which the system says that it needs so many bytes. Where that is not beyond the
    // present size it means so many more (it differs among the functions), and the size is doubled at least. The
    // contents are lost. Gives the Win32 error.
    DWORD Grow(DWORD needed) noexcept;

private:
    ScopedMalloc m_block;
    DWORD m_size = 0;
};

constexpr bool IsTooSmall(DWORD error) noexcept {
    return error == ERROR_INSUFFICIENT_BUFFER || error == ERROR_MORE_DATA;
}

// Asks without a buffer, then with one of the size that the system tells, again where the answer has grown meanwhile.
// query(data, size, needed) gives the Win32 error.
template <class Query>
DWORD QueryWhole(AnswerBuffer& buffer, const Query& query) noexcept {
    for (;;) {
        DWORD needed = 0;
        const DWORD error = query(buffer.Data(), buffer.Size(), needed);
        if (!IsTooSmall(error))
            return error;
        if (const DWORD failure = buffer.Grow(needed); failure != ERROR_SUCCESS)
            return failure;
    }
}

// Asks so for one record, whose block becomes the caller's; null on failure.
template <class Record, class Query>
DWORD QueryRecord(Record*& out, const Query& query) noexcept {
    AnswerBuffer buffer;
    DWORD error = QueryWhole(buffer, query);
    if (error == ERROR_SUCCESS && buffer.Data() == nullptr)
        error = ERROR_INTERNAL_ERROR;  // no answer at all
    out = error == ERROR_SUCCESS ? static_cast<Record*>(buffer.Release()) : nullptr;
    return error;
}

// Writes the line of a failed operation and leaves its error as last error. Returns whether it was none.
bool FinishServiceCall(DWORD error, const char* failure) noexcept;

}  // namespace kiv

#endif
