// A services file: what is written from its entries reads as the same entries again, and is written the same.

#include <cstdint>

#include "support/parsed_services.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const kiv::test::ParsedServices first({reinterpret_cast<const char*>(data), size});
    const std::string written = first.Written();
    const kiv::test::ParsedServices second(written);
    if (second.Shown() != first.Shown() || second.Written() != written)
        std::abort();
    return 0;
}
