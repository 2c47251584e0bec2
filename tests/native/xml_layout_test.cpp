#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <random>

#include "support/check.h"
#include "support/xml_sample.h"

namespace {

using kiv::test::XmlSample;
using kiv::test::XmlText;

bool NoLeadByte(unsigned char) {
    return false;
}

std::string Prologue() {
    std::string text;
    kiv::XmlPosition position;
    kiv::AppendXmlPrologue(text, position, NoLeadByte);
    return text;
}

std::string Escaped(const std::string& text, kiv::LeadByteTest isLead = NoLeadByte) {
    std::string escaped;
    kiv::AppendXmlEscaped(escaped, text, isLead);
    return escaped;
}

// What a shell command prints; it must succeed.
std::string Output(const std::string& command) {
    std::FILE* const pipe = ::popen(command.c_str(), "r");
    REQUIRE(pipe != nullptr);
    std::string output;
    char block[4096];
    while (const std::size_t read = std::fread(block, 1, sizeof block, pipe))
        output.append(block, read);
    REQUIRE_MESSAGE(::pclose(pipe) == 0, command);
    return output;
}

std::string WithoutBlanks(std::string text) {
    text.erase(std::remove_if(text.begin(), text.end(),
                              [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }),
               text.end());
    return text;
}

}  // namespace

TEST_CASE("every byte is written as its entity or as it is") {
    CHECK(Escaped("&<>'\"\xAE\xA9\xC4\xE4\xD6\xF6\xDC\xFC\xDF") ==
          "&amp;&lt;&gt;&apos;&quot;&reg;&copy;&Auml;&auml;&Ouml;&ouml;&Uuml;&uuml;&szlig;");
    int asTheyAre = 0;
    for (int code = 1; code < 256; ++code) {
        const std::string text(1, static_cast<char>(code));
        asTheyAre += Escaped(text) == text ? 1 : 0;
    }
    CHECK(asTheyAre == 255 - 14);
    const auto lead = [](unsigned char byte) { return byte >= 0x81 && byte <= 0x9F; };
    CHECK(Escaped("\x81\xE4\xE4\x9F&&\x81", lead) == "\x81\xE4&auml;\x9F&&amp;\x81");
}

TEST_CASE("every item stands on its own line but for what follows short data") {
    XmlText document;
    document.Comment(" top ");
    document.Begin("root");
    document.Begin("empty");
    document.End();
    document.Begin("short");
    document.Data("a");
    document.Data("<b");
    document.End();
    document.Begin("attributes", {"k", "1\"2", "l", ""});
    document.Data("data");
    document.CData("<&]]");
    document.End();
    document.Begin("cdata");
    document.CData("&");
    document.End();
    document.Begin("lines");
    document.Data("1\n2<\r\n");
    document.Comment("-\n-");
    document.End();
    document.Begin("mixed");
    document.Data("text");
    document.Begin("b");
    document.End();
    document.Data("more");
    document.End();
    document.End();
    CHECK(document.written == "\t\t<!-- top -->\r\n"
                              "\t<root>\r\n"
                              "\t\t<empty />\r\n"
                              "\t\t<short>a&lt;b</short>\r\n"
                              "\t\t<attributes k=\"1&quot;2\" l=\"\">\r\n"
                              "\t\t data\r\n"
                              "\t\t<![CDATA[ <&]]]]>\r\n"
                              "\t\t</attributes>\r\n"
                              "\t\t<cdata><![CDATA[&]]></cdata>\r\n"
                              "\t\t<lines>\r\n"
                              "\t\t 1\r\n\t\t\t2&lt;\r\r\n\t\t\t\r\n"
                              "\t\t\t\t<!---\n--->\r\n"
                              "\t\t</lines>\r\n"
                              "\t\t<mixed>text<b />\r\n"
                              "\t\t more\r\n"
                              "\t\t</mixed>\r\n"
                              "\t</root>\r\n");
}

TEST_CASE("data of 260 bytes, entities included, stays on the line") {
    const auto written = [](const std::string& data, bool cdata) {
        XmlText document;
        document.Begin("e");
        cdata ? document.CData(data) : document.Data(data);
        document.End();
        return document.written;
    };
    const std::string x(256, 'x');
    CHECK(written(x + "xxxx", false) == "\t<e>" + x + "xxxx</e>\r\n");
    CHECK(written(x + "xxxxx", false) == "\t<e>\r\n\t " + x + "xxxxx\r\n\t</e>\r\n");
    CHECK(written(x + "&", false) == "\t<e>\r\n\t " + x + "&amp;\r\n\t</e>\r\n");
    CHECK(written(x + "&&&&", true) == "\t<e><![CDATA[" + x + "&&&&]]></e>\r\n");
    CHECK(written(x + "&&&&&", true) == "\t<e>\r\n\t<![CDATA[ " + x + "&&&&&]]>\r\n\t</e>\r\n");
}

TEST_CASE("ten thousand levels are closed from the inside") {
    XmlText document;
    for (int level = 0; level < 10000; ++level)
        document.Begin("l");
    document.written.clear();
    document.End();
    CHECK(document.written == " />\r\n");
    for (std::size_t level = 9999; level > 0; --level) {
        document.written.clear();
        document.End();
        REQUIRE(document.written == std::string(level, '\t') + "</l>\r\n");
    }
}

TEST_CASE("an independent parser reads generated documents as they were meant") {
    std::mt19937 random(36);
    const std::string folder = "/tmp/tavkivut-xml-" + std::to_string(::getpid());
    Output("mkdir " + folder);
    std::string command = "xmllint --c14n";
    std::string expected;
    for (int i = 0; i < 150; ++i) {
        std::string bytes(random() % 4000, '\0');
        std::generate(bytes.begin(), bytes.end(), [&random] { return static_cast<char>(random()); });
        const XmlSample sample(bytes);
        const std::string file = folder + "/" + std::to_string(i) + ".xml";
        std::ofstream(file, std::ios::binary) << Prologue() << sample.document.written;
        command += " " + file;
        expected += sample.canonical;
    }
    const std::string parsed = WithoutBlanks(Output(command));
    Output("rm -r " + folder);
    CHECK(expected.size() > 100000);
    CHECK((parsed == expected));
}
