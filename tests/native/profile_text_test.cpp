#include "tavkivlg/profile_text.h"

#include <string>
#include <vector>

#include "support/check.h"
#include "support/text_encoding.h"

namespace {

// The bytes that a list of texts leaves in a buffer of that size, with a dot for each NUL, and the result.
std::string ListIn(std::size_t size, const std::vector<std::string>& texts) {
    std::string buffer(size, '#');
    kivlg::ProfileListWriter list(buffer.data(), size);
    for (const std::string& text : texts)
        list.Add(text);
    const std::size_t result = list.Finish();
    for (char& c : buffer)
        c = c == '\0' ? '.' : c;
    return buffer + " " + std::to_string(result);
}

}  // namespace

TEST_CASE("a list that does not fit is cut and ends in two NULs") {
    const std::pair<std::size_t, const char*> rows[] = {{9, "a.bb.c... 7"}, {8, "a.bb.c.. 7"}, {7, "a.bb... 5"},
                                                        {5, "a.b.. 3"},     {4, "a... 2"},     {3, "a.. 1"},
                                                        {2, ".. 0"},        {1, ". 0"}};
    kiv::test::CheckRows(rows, [](std::size_t size) { return ListIn(size, {"a", "bb", "c"}); });
    CHECK(ListIn(3, {}) == "..# 0");
}

TEST_CASE("a mark at the start tells the encoding; marked text is decoded, damage included") {
    using kiv::DecodeMarkedText;
    for (const char* plain : {"", "\xFF", "\xEF\xBB", "x\xFF\xFE"})
        CHECK(kiv::EncodingByMark(plain) == kiv::TextEncoding::kCodePage);
    CHECK(DecodeMarkedText(std::string_view("\xFF\xFE\x61\x00\xE5\x65\x62", 7)) == u"a\u65E5");
    CHECK(DecodeMarkedText(std::string_view("\xFE\xFF\x00\x61\x65\xE5", 6)) == u"a\u65E5");
    CHECK(DecodeMarkedText("\xEF\xBB\xBF"
                           "a\xC3\xA4\xE6\x97\xA5\xF0\x9F\x98\x80") == u"aä日\U0001F600");
    CHECK(DecodeMarkedText("\xEF\xBB\xBF\x80\xC0\xAF\xED\xA0\x80\xE6\x97") == std::u16string(8, 0xFFFD));
    CHECK(DecodeMarkedText("plain").empty());
}
