#ifndef KIV_SUPPORT_TEXT_CONVERT_H
#define KIV_SUPPORT_TEXT_CONVERT_H

#include <string>
#include <string_view>

namespace kiv {

// The one place that converts between the system code page, UTF-8 and UTF-16. What the target cannot show becomes the
// target's replacement character ('?' or U+FFFD); a text that cannot be converted at all becomes empty.

std::wstring WideFromAnsi(std::string_view text);
std::string AnsiFromWide(std::wstring_view text);
std::wstring WideFromUtf8(std::string_view text);
std::string Utf8FromWide(std::wstring_view text);

}  // namespace kiv

#endif
