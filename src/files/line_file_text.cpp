#include "support/windows_api.h"

#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <limits>

#include "files/line_text.h"
#include "tavkivut/line_file.h"

using namespace std::string_view_literals;

namespace {

constexpr wchar_t kBlank = 32;

constexpr std::size_t kMostAtOnce = 65536;

}  // namespace

wchar_t* CKivIsamFile::expandCrLf(const wchar_t* text) noexcept {
    kiv::HeapBuffer<wchar_t> expanded;
    if (!kiv::ExpandLineBreaks(std::wstring_view(text == nullptr ? L"" : text), expanded) || !expanded.Append(L"\0"sv))
        return nullptr;
    return expanded.Release();
}

wchar_t* CKivIsamFile::trim(wchar_t* text) noexcept {
    if (text == nullptr)
        return nullptr;
    while (*text != L'\0' && *text <= kBlank)
        ++text;
    for (wchar_t* end = text + std::wcslen(text); end != text && end[-1] <= kBlank;)
        *--end = L'\0';
    return text;
}

wchar_t** CKivIsamFile::split(wchar_t* text, wchar_t separator, long* count, bool keepEmpty, int growBy) noexcept {
    if (count != nullptr)
        *count = 0;
    std::size_t most = 0;
    if (text != nullptr)
        most = 1 + static_cast<std::size_t>(std::count(text, text + std::wcslen(text), separator));
    const std::size_t step = std::min(static_cast<std::size_t>(std::max(growBy, 1)), kMostAtOnce);
    const std::size_t room = (most / step + 1) * step;
    if (room > std::numeric_limits<std::size_t>::max() / sizeof(wchar_t*))
        return nullptr;
    auto** list = static_cast<wchar_t**>(std::calloc(room, sizeof(wchar_t*)));
    if (list == nullptr || text == nullptr)
        return list;
    wchar_t** next = list;
    kiv::CutText(text, separator, keepEmpty, [&next](wchar_t* piece) { *next++ = piece; });
    if (count != nullptr)
        *count = static_cast<long>(next - list);
    return list;
}

void CKivIsamFile::split_free(wchar_t** list) noexcept {
    std::free(list);
}
