#include "files/xml_layout.h"

#include "support/check.h"

namespace {

std::string Escaped(const std::string& text, kiv::LeadByteTest isLead) {
    std::string escaped;
    kiv::AppendXmlEscaped(escaped, text, isLead);
    return escaped;
}

bool NoLeadByte(unsigned char) {
    return false;
}

}  // namespace

TEST_CASE("every byte is written as its entity or as it is") {
    CHECK(Escaped("&<>'\"\xAE\xA9\xC4\xE4\xD6\xF6\xDC\xFC\xDF", NoLeadByte) ==
          "&amp;&lt;&gt;&apos;&quot;&reg;&copy;&Auml;&auml;&Ouml;&ouml;&Uuml;&uuml;&szlig;");
    int asTheyAre = 0;
    for (int code = 1; code < 256; ++code) {
        const std::string text(1, static_cast<char>(code));
        asTheyAre += Escaped(text, NoLeadByte) == text ? 1 : 0;
    }
    CHECK(asTheyAre == 255 - 14);
    const auto lead = [](unsigned char byte) { return byte >= 0x81 && byte <= 0x9F; };
    CHECK(Escaped("\x81\xE4\xE4\x9F&&\x81", lead) == "\x81\xE4&auml;\x9F&&amp;\x81");
}
