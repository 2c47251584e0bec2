#include "support/text_convert.h"

#include <limits>

#include "support/windows_api.h"

namespace kiv {
namespace {

// The conversion calls count in int; a text beyond that is cut to the longest part they take.
template <class View>
int CallLength(View text) {
    constexpr std::size_t kMost = std::numeric_limits<int>::max() / 4;
    return static_cast<int>(text.size() < kMost ? text.size() : kMost);
}

std::wstring ToWide(UINT codePage, std::string_view text) {
    std::wstring wide;
    const int length = CallLength(text);
    const int needed = length == 0 ? 0 : ::MultiByteToWideChar(codePage, 0, text.data(), length, nullptr, 0);
    if (needed > 0) {
        wide.resize(static_cast<std::size_t>(needed));
        ::MultiByteToWideChar(codePage, 0, text.data(), length, wide.data(), needed);
    }
    return wide;
}

std::string FromWide(UINT codePage, std::wstring_view text) {
    std::string bytes;
    const int length = CallLength(text);
    const int needed =
        length == 0 ? 0 : ::WideCharToMultiByte(codePage, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
    if (needed > 0) {
        bytes.resize(static_cast<std::size_t>(needed));
        ::WideCharToMultiByte(codePage, 0, text.data(), length, bytes.data(), needed, nullptr, nullptr);
    }
    return bytes;
}

}  // namespace

std::wstring WideFromAnsi(std::string_view text) {
    return ToWide(CP_ACP, text);
}

std::string AnsiFromWide(std::wstring_view text) {
    return FromWide(CP_ACP, text);
}

std::wstring WideFromUtf8(std::string_view text) {
    return ToWide(CP_UTF8, text);
}

std::string Utf8FromWide(std::wstring_view text) {
    return FromWide(CP_UTF8, text);
}

}  // namespace kiv
