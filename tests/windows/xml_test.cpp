#include "support/windows_api.h"

#include <cstddef>
#include <string>
#include <vector>

#include "files/xml_file.h"
#include "network/net_api.h"
#include "support/check.h"
#include "support/forced_os_family.h"
#include "support/recording_log.h"
#include "support/resource_count.h"
#include "support/swapped_api.h"
#include "support/temp_directory.h"
#include "support/text_convert.h"
#include "tavkivut/tools.h"
#include "tavkivut/xml.h"

struct CKivXmlFactoryLayout {
    static constexpr std::size_t kPointer = sizeof(void*);
    static_assert(offsetof(CKivXmlFactory, m_file) == 0);
    static_assert(offsetof(CKivXmlFactory, m_encoding) == kPointer);
    static_assert(offsetof(CKivXmlFactory, m_depth) == kPointer + 4);
    static_assert(offsetof(CKivXmlFactory, m_names) == kPointer + 8);
    static_assert(offsetof(CKivXmlFactory, m_openTag) == 2 * kPointer + 16);
    static_assert(offsetof(CKivXmlFactory, m_inline) == 2 * kPointer + 20);
    static_assert(offsetof(CKivXmlFactory, m_readOnlyCleared) == 2 * kPointer + 21);
    static_assert(offsetof(CKivXmlFactory, m_path) == 2 * kPointer + 22);

    static void MoveAway(CKivXmlFactory& document) { document.m_path[0] = '?'; }
};

namespace {

using kiv::test::ReadFileBytes;
using kiv::test::RecordingLog;
using kiv::test::TempDirectory;
using Lines = std::vector<std::string>;

// What stands behind the declaration and the entities of a document.
std::string Body(const std::string& path) {
    const std::string bytes = ReadFileBytes(path);
    const std::string prologue = "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\r\n <!DOCTYPE database [\r\n"
                                 "\t<!ENTITY copy          \"&#169;\">\r\n";
    CHECK(bytes.substr(0, prologue.size()) == prologue);
    const std::string end = "\t<!ENTITY szlig         \"&#223;\">\r\n ]>\r\n \r\n";
    const std::size_t at = bytes.find(end);
    REQUIRE(at != std::string::npos);
    return bytes.substr(at + end.size());
}

struct Writer : CKivXmlFactory {
    using CKivXmlFactory::Serialize;
};

// Answers this process's message box: removes what is in the way first when that is asked for.
struct BoxAnswer {
    int button;
    std::string obstacle;
    std::string text;  // what the box says
};

DWORD WINAPI AnswerBox(void* argument) {
    auto& answer = *static_cast<BoxAnswer*>(argument);
    for (int attempt = 0; attempt < 5000; ++attempt, ::Sleep(2)) {
        const HWND box = ::FindWindowA("#32770", "TAVSetup");
        DWORD process = 0;
        ::GetWindowThreadProcessId(box, &process);
        char text[512];
        if (process != ::GetCurrentProcessId() || ::GetDlgItem(box, answer.button) == nullptr ||
            ::GetDlgItemTextA(box, 0xFFFF, text, sizeof text) == 0)
            continue;
        answer.text = text;
        ::RemoveDirectoryA(answer.obstacle.c_str());
        ::PostMessageA(box, WM_COMMAND, static_cast<WPARAM>(answer.button), 0);
        return 0;
    }
    return 1;
}

int BeginAnswered(CKivXmlFactory& document, const std::string& path, BoxAnswer& answer) {
    const kiv::ScopedKernelObject thread(::CreateThread(nullptr, 0, AnswerBox, &answer, 0, nullptr));
    const int result = document.beginDocument(path.c_str(), XML_ENCODING_ISO_8859_1);
    REQUIRE(::WaitForSingleObject(thread.Get(), 20000) == WAIT_OBJECT_0);
    return result;
}

std::string BoxText(const std::string& path) {
    return "Failed to save '" + path +
           "': please check your permissions. Choose 'Retry' to try again or 'Cancel' to continue without saving the "
           "document.";
}

}  // namespace

TEST_CASE("a document is closed with everything that is open in it") {
    const TempDirectory folder;
    const std::string path = folder / "a.xml";
    Writer document;
    document.beginElement("nothing", nullptr);
    document.endElement();
    document.putComment("nothing");
    CHECK(document.Serialize("nothing", 0, nullptr, 0, 0, 0, 0, 0) == 0);
    document.endDocument();
    REQUIRE(document.beginDocument(path.c_str(), XML_ENCODING_DEFAULT) != 0);
    CHECK(document.beginDocument((folder / "b.xml").c_str(), XML_ENCODING_DEFAULT) == 0);
    document.endElement();
    document.beginElement("root", "a", "1", "b", nullptr);
    const char* attributes[] = {"c", "\xFC", "d", nullptr, "e", "5"};
    document.beginElementArgv("list", 3, attributes);
    document.beginElementArgv("none", 7, nullptr);
    document.putData("", 0);
    document.putData(nullptr, 0);
    document.beginElementArgv(nullptr, 0, nullptr);
    document.endElement();
    document.putComment(" deeper ");
    document.beginElement("open", nullptr);
    CHECK(document.Serialize("x", 0, nullptr, 0, 0, 0, 1, 1) == 1);
    document.endDocument();
    CHECK(document.getWriteError() == NO_ERROR);
    CHECK(Body(path) == "\t<root a=\"1\">\r\n\t\t<list c=\"&uuml;\">\r\n\t\t\t<none></none>\r\n"
                        "\t\t\t\t<!-- deeper -->\r\n\t\t\t<open><![CDATA[x]]></open>\r\n\t\t</list>\r\n\t</root>\r\n");
    // The next document begins anew, whatever the one before left open by itself.
    REQUIRE(document.beginDocument(path.c_str(), XML_ENCODING_DEFAULT) != 0);
    document.Serialize("left", 0, nullptr, 0, 0, 0, 0, 0);
    document.endDocument();
    REQUIRE(document.beginDocument(path.c_str(), XML_ENCODING_DEFAULT) != 0);
    document.endDocument();
    CHECK(Body(path).empty());
}

TEST_CASE("a copy is closed, and nothing is left behind") {
    const TempDirectory folder;
    const auto write = [&folder] {
        CKivXmlFactory first;
        REQUIRE(first.beginDocument((folder / "first.xml").c_str(), XML_ENCODING_DEFAULT) != 0);
        for (int level = 0; level < 100; ++level)
            first.beginElement("level", nullptr);
        CKivXmlFactory second(first);
        second.beginElement("lost", nullptr);
        second.endDocument();
        REQUIRE(second.beginDocument((folder / "second.xml").c_str(), XML_ENCODING_DEFAULT) != 0);
        second.beginElement("second", nullptr);
        second = first;
        first = *&first;
        CHECK(Body(folder / "second.xml") == "\t<second />\r\n");
        CHECK(Body(folder / "first.xml").find("<level />") != std::string::npos);
        REQUIRE(second.beginDocument((folder / "first.xml").c_str(), XML_ENCODING_DEFAULT) != 0);
    };
    write();
    const kiv::test::ResourceCount before = kiv::test::CountResources();
    write();
    CHECK(kiv::test::CountResources() == before);
}

TEST_CASE("a read-only file is written and read-only again") {
    const TempDirectory folder;
    const std::string path = folder.Write("a.xml", "old");
    const DWORD attributes = FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_ARCHIVE;
    REQUIRE(::SetFileAttributesA(path.c_str(), attributes));
    const std::string removed = "1W XML Factory : removed read-only attribute from '" + path + "'";
    const RecordingLog log;
    CKivXmlFactory document;
    REQUIRE(document.beginDocument(path.c_str(), XML_ENCODING_DEFAULT) != 0);
    CHECK((::GetFileAttributesA(path.c_str()) & FILE_ATTRIBUTE_READONLY) == 0);
    document.endDocument();
    CHECK(::GetFileAttributesA(path.c_str()) == attributes);
    CHECK(Body(path).empty());
    REQUIRE(document.beginDocument(path.c_str(), XML_ENCODING_DEFAULT) != 0);
    CKivXmlFactoryLayout::MoveAway(document);
    document.endDocument();
    CHECK(log.Lines() ==
          Lines{removed, removed, "1W XML Factory : cannot reset read-only attribute for '?" + path.substr(1) + "'"});
}

TEST_CASE("the user decides what becomes of a file that cannot be made") {
    const TempDirectory folder;
    const std::string path = folder.Write("a.xml", "old");
    CKivXmlFactory document;
    CHECK(document.beginDocument(nullptr, XML_ENCODING_DEFAULT) == 0);
    CHECK(document.beginDocument((folder / std::string(260, 'x')).c_str(), XML_ENCODING_DEFAULT) == 0);
    SUBCASE("Cancel gives up and leaves the file as it was") {
        REQUIRE(::SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_READONLY));
        const kiv::ScopedFile other(::CreateFileA(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
        const RecordingLog log;
        BoxAnswer answer{IDCANCEL, "", ""};
        CHECK(BeginAnswered(document, path, answer) == 0);
        CHECK(answer.text == BoxText(path));
        CHECK((::GetFileAttributesA(path.c_str()) & FILE_ATTRIBUTE_READONLY) != 0);
        CHECK(log.Lines() == Lines{"1W XML Factory : removed read-only attribute from '" + path + "'",
                                   "1E XML Factory : failed to create '" + path + "' (32)"});
    }
    SUBCASE("Retry tries again") {
        const std::string taken = folder / "taken.xml";
        REQUIRE(::CreateDirectoryA(taken.c_str(), nullptr));
        BoxAnswer answer{IDRETRY, taken, ""};
        CHECK(BeginAnswered(document, taken, answer) != 0);
        CHECK(answer.text == BoxText(taken));
        document.endDocument();
        CHECK(Body(taken).empty());
    }
    SUBCASE("nobody can be asked") {
        kiv::test::SwappedApi<kiv::MessageBoxApi> user;
        user->messageBox = nullptr;
        CHECK(document.beginDocument(folder.Path().c_str(), XML_ENCODING_DEFAULT) == 0);
    }
}

namespace {

std::wstring g_sharedFolder;

// A share whose folder is not where the network path leads to.
NET_API_STATUS WINAPI AskShare(wchar_t*, wchar_t* share, DWORD, BYTE** buffer) {
    static SHARE_INFO_2 info;
    info = {};
    info.shi2_netname = share;
    info.shi2_path = g_sharedFolder.data();
    *buffer = reinterpret_cast<BYTE*>(&info);
    return NERR_Success;
}

}  // namespace

TEST_CASE("a path on this computer's own share is tried as its local path") {
    const kiv::test::FreshSystemCaches caches;
    kiv::Caches().computerName.Keep("LOCALHOST");
    const kiv::test::ForcedOsFamily nt(kiv::OsFamily::kNt);
    const TempDirectory folder;
    const std::string denied = "\\\\localhost\\c$" + folder.Path().substr(2) + "\\a.xml";
    REQUIRE(::CreateDirectoryA((folder / "a.xml").c_str(), nullptr));
    const std::string mirror = folder / "mirror";
    const std::string localFolder = mirror + folder.Path().substr(2);
    const std::string local = localFolder + "\\a.xml";
    g_sharedFolder = kiv::WideFromAnsi(mirror);
    kiv::test::SwappedApi<kiv::MessageBoxApi> user;
    user->messageBox = nullptr;
    kiv::test::SwappedApi<kiv::NetApi> net;
    net->shareGetInfo = AskShare;
    net->bufferFree = nullptr;
    const RecordingLog log;
    CKivXmlFactory document;
    SUBCASE("found") {
        REQUIRE(CKivTools::CreateDirectoryRecursive(localFolder.c_str()) == 1);
        CHECK(document.beginDocument(denied.c_str(), XML_ENCODING_DEFAULT) != 0);
        document.endDocument();
        CHECK(Body(local).empty());
        CHECK(log.Lines() == Lines{"1W XML Factory : failed to create '" + denied + "', retry as '" + local + "'"});
    }
    SUBCASE("not found, and on the 9x family not looked for") {
        net->shareGetInfo = nullptr;
        const std::string created = "1E XML Factory : failed to create '" + denied + "' (5)";
        CHECK(document.beginDocument(denied.c_str(), XML_ENCODING_DEFAULT) == 0);
        const kiv::test::ForcedOsFamily old(kiv::OsFamily::k9x);
        CHECK(document.beginDocument(denied.c_str(), XML_ENCODING_DEFAULT) == 0);
        CHECK(log.Lines() ==
              Lines{"1E XML Factory : failed to determine local path of '" + denied + "'", created, created});
    }
}
