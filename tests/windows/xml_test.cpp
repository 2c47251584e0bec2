// What documents on the disk do not show (tests/data/transcripts/kivctl_xml.txt and tests/support/xml-round-trip have
// those).

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
    static_assert(offsetof(CKivXmlFactory, m_names) == kPointer + 8);
    static_assert(offsetof(CKivXmlFactory, m_path) == 2 * kPointer + 22);
    static void MoveAway(CKivXmlFactory& document) { document.m_path[0] = '?'; }
};

namespace {

using kiv::test::RecordingLog;
using kiv::test::TempDirectory;
using Lines = std::vector<std::string>;

// What stands behind the declaration and the entities of a document.
std::string Body(const std::string& path) {
    const std::string bytes = kiv::test::ReadFileBytes(path);
    const std::size_t end = bytes.find(" ]>\r\n \r\n");
    return end == std::string::npos ? "no document" : bytes.substr(end + 8);
}

bool Begin(CKivXmlFactory& document, const std::string& path) {
    return document.beginDocument(path.c_str(), XML_ENCODING_DEFAULT) != 0;
}

struct Writer : CKivXmlFactory {
    using CKivXmlFactory::Serialize;
};

// Answers two message boxes: Cancel, and Retry when the folder that was in the way is gone.
struct Boxes {
    std::string folder;
    std::string texts;
};

DWORD WINAPI AnswerBoxes(void* argument) {
    auto& boxes = *static_cast<Boxes*>(argument);
    for (const int button : {IDCANCEL, IDRETRY}) {
        HWND box = nullptr;
        char text[512] = "";
        while (box == nullptr || ::GetDlgItemTextA(box, 0xFFFF, text, sizeof text) == 0)
            box = ::FindWindowA("#32770", "TAVSetup");
        boxes.texts += text;
        if (button == IDRETRY)
            ::RemoveDirectoryA(boxes.folder.c_str());
        for (; ::IsWindow(box); ::Sleep(1))
            ::PostMessageA(box, WM_COMMAND, static_cast<WPARAM>(button), 0);
    }
    return 0;
}

std::wstring g_sharedFolder;

// A share whose folder is not where the network path leads to.
NET_API_STATUS WINAPI AskShare(wchar_t*, wchar_t* share, DWORD, BYTE** buffer) {
    static SHARE_INFO_2 info{};
    info.shi2_netname = share;
    info.shi2_path = g_sharedFolder.data();
    *buffer = reinterpret_cast<BYTE*>(&info);
    return NERR_Success;
}

}  // namespace

TEST_CASE("a document ends with everything that is open in it, and a copy is closed") {
    const TempDirectory folder;
    const auto write = [&folder] {
        Writer document;
        document.beginElement("nothing", nullptr);
        document.putComment("nothing");
        CHECK(document.Serialize("nothing", 0, nullptr, 0, 0, 0, 0, 0) == 0);
        CHECK_FALSE(Begin(document, folder / std::string(260, 'x')));
        REQUIRE(Begin(document, folder / "a.xml"));
        CHECK_FALSE(Begin(document, folder / "b.xml"));
        document.endElement();
        document.beginElement("root", "a", "1", "b", nullptr);
        const char* attributes[] = {"c", "\xFC", "d", nullptr, "e", "5"};
        document.beginElementArgv("list", 3, attributes);
        document.beginElementArgv(nullptr, 0, nullptr);
        document.beginElementArgv("none", 7, nullptr);
        document.putData("", 0);
        document.putData(nullptr, 0);
        CKivXmlFactory copy(document);
        REQUIRE(Begin(copy, folder / "b.xml"));
        copy = document;
        document.endElement();
        CHECK(document.Serialize("instruction", 0, nullptr, 1, 0, 0, 0, 0) == 1);
        document = *&document;
        CHECK(Body(folder / "a.xml") == "\t<root a=\"1\">\r\n\t\t<list c=\"&uuml;\">\r\n\t\t\t<none></none>\r\n"
                                        "\t\t<?instruction?>\r\n\t\t</list>\r\n\t</root>\r\n");
        CHECK(Body(folder / "b.xml").empty());
    };
    CHECK(kiv::test::LeavesNothing(write));
}

TEST_CASE("the user decides what becomes of a file that cannot be made") {
    const TempDirectory folder;
    const std::string path = folder / "a.xml";
    REQUIRE(::CreateDirectoryA(path.c_str(), nullptr));
    const std::string failed = "1E XML Factory : failed to create '" + path + "' (";
    const std::string removed = "1W XML Factory : removed read-only attribute from '" + path + "'";
    const RecordingLog log;
    CKivXmlFactory document;
    Boxes boxes{path, ""};
    const kiv::ScopedKernelObject thread(::CreateThread(nullptr, 0, AnswerBoxes, &boxes, 0, nullptr));
    CHECK_FALSE(Begin(document, path));
    CHECK(Begin(document, path));
    REQUIRE(::WaitForSingleObject(thread.Get(), 20000) == WAIT_OBJECT_0);
    const std::string text = "Failed to save '" + path +
                             "': please check your permissions. Choose 'Retry' to try again or 'Cancel' to continue "
                             "without saving the document.";
    CHECK(boxes.texts == text + text);
    document.endDocument();
    // Nobody can be asked; what was read-only stays so.
    kiv::test::SwappedApi<kiv::MessageBoxApi> user;
    user->messageBox = nullptr;
    REQUIRE(::SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN));
    kiv::ScopedFile other(::CreateFileA(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    CHECK_FALSE(Begin(document, path));
    CHECK((::GetFileAttributesA(path.c_str()) & FILE_ATTRIBUTE_READONLY) != 0);
    other.Reset();
    CHECK(Begin(document, path));
    CKivXmlFactoryLayout::MoveAway(document);
    document.endDocument();
    CHECK(::GetFileAttributesA(path.c_str()) == (FILE_ATTRIBUTE_ARCHIVE | FILE_ATTRIBUTE_HIDDEN));
    CHECK(log.Lines() == Lines{failed + "5)", failed + "5)", removed, failed + "32)", removed,
                               "1W XML Factory : cannot reset read-only attribute for '?" + path.substr(1) + "'"});
}

TEST_CASE("a path on this computer's own share is tried as its local path") {
    const kiv::test::FreshSystemCaches caches;
    kiv::Caches().computerName.Keep("LOCALHOST");
    const TempDirectory folder;
    const std::string denied = "\\\\localhost\\c$" + folder.Path().substr(2) + "\\a.xml";
    REQUIRE(::CreateDirectoryA((folder / "a.xml").c_str(), nullptr));
    g_sharedFolder = kiv::WideFromAnsi(folder / "mirror");
    const std::string localFolder = folder / "mirror" + folder.Path().substr(2);
    REQUIRE(CKivTools::CreateDirectoryRecursive(localFolder.c_str()) == 1);
    kiv::test::SwappedApi<kiv::MessageBoxApi> user;
    user->messageBox = nullptr;
    kiv::test::SwappedApi<kiv::NetApi> net;
    net->shareGetInfo = AskShare;
    net->bufferFree = nullptr;
    const RecordingLog log;
    CKivXmlFactory document;
    CHECK(Begin(document, denied));
    document.endDocument();
    CHECK(Body(localFolder + "\\a.xml").empty());
    net->shareGetInfo = nullptr;
    CHECK_FALSE(Begin(document, denied));
    const kiv::test::ForcedOsFamily old(kiv::OsFamily::k9x);
    CHECK_FALSE(Begin(document, denied));
    const std::string failed = "XML Factory : failed to create '" + denied + "'";
    CHECK(log.Lines() == Lines{"1W " + failed + ", retry as '" + localFolder + "\\a.xml'",
                               "1E XML Factory : failed to determine local path of '" + denied + "'",
                               "1E " + failed + " (5)", "1E " + failed + " (5)"});
}
