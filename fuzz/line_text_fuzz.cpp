// The bytes of a text file, as code page and as UTF-16: what is written from its lines reads as the same lines again.

#include "require.h"
#include "support/lines_of_file.h"

namespace {

bool AppendWide(std::string_view text, kiv::HeapBuffer<char>& result) noexcept {
    return result.Append(text) && result.Append(text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    for (const bool wide : {false, true}) {
        const auto lines = kiv::test::LinesOfFile({reinterpret_cast<const char*>(data), size}, wide);
        std::vector<const char*> all;
        for (const std::string& line : lines)
            all.push_back(line.c_str());
        kiv::HeapBuffer<char> bytes;
        kiv::HeapBuffer<char> wideBytes;
        Require(kiv::EncodeLines(all.data(), all.size(), bytes));
        Require(kiv::EncodeWideLines(all.data(), all.size(), AppendWide, wideBytes));
        Require(kiv::test::LinesOfFile(bytes.Text(), false) == lines);
    }
    return 0;
}
