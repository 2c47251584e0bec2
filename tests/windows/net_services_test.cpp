#include "support/windows_api.h"

#include <cstddef>
#include <cstring>
#include <string>

#include "support/check.h"
#include "support/failing_contents.h"
#include "support/forced_os_family.h"
#include "support/resource_count.h"
#include "support/scoped_resource.h"
#include "support/swapped_api.h"
#include "support/temp_directory.h"
#include "support/this_release.h"
#include "system/system_api.h"
#include "tavkivut/net_services.h"

using kiv::test::ReadFileBytes;

struct CKivNetServiceConfigLayout {
    static_assert(offsetof(NETSERVICE, protocol) == 2 * sizeof(void*));
    static_assert(offsetof(NETSERVICE, aliases) == 4 * sizeof(void*));
    static_assert(sizeof(NETSERVICE) == 6 * sizeof(void*));
};

namespace {

std::string g_folder;

UINT WINAPI GivenFolder(LPSTR buffer, UINT size) {
    CHECK(g_folder.size() < size);
    std::strcpy(buffer, g_folder.c_str());
    return static_cast<UINT>(g_folder.size());
}

// A system of its own, whose services file the library finds where this release has it.
struct GivenSystem {
    explicit GivenSystem(const char* contents = nullptr) {
        g_folder = folder.Path();
        folders->getSystemDirectory = folders->getWindowsDirectory = GivenFolder;
        ::CreateDirectoryA((folder / "drivers").c_str(), nullptr);
        ::CreateDirectoryA((folder / "drivers\\etc").c_str(), nullptr);
        file = CKivNetServiceConfig::getFileName();
        if (contents != nullptr)
            kiv::test::WriteFileBytes(file, contents);
    }
    const kiv::test::TempDirectory folder;
    const kiv::test::FreshSystemCaches caches;
    kiv::test::SwappedApi<kiv::FolderApi> folders;
    std::string file;
};

constexpr char kFile[] = "# services\nalpha   4711/tcp   # first\n\nabc 12 /tcp\r"
                         "Longname\t7/udp  l1\tlong2 \n\rabc #x";
constexpr char kWritten[] = "# services\r\nalpha        4711/tcp                  # first\r\n\r\n\r\n"
                            "Longname        7/udp    l1 long2\r\n#x\r\n";

}  // namespace

TEST_CASE("the file is loaded, written in columns beside a backup, and written the same again") {
    const GivenSystem system(kFile);
    CHECK(system.file == system.folder / (kiv::test::ThisReleaseIs9x() ? "services" : "drivers\\etc\\services"));
    ::SetFileAttributesA(system.file.c_str(), FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_HIDDEN);
    for (const char* before : {kFile, kWritten}) {
        CKivNetServiceConfig config;
        REQUIRE((config.at(5) != nullptr && config.at(6) == nullptr && config.at(-1) == nullptr));
        CHECK(
            (config.find("abc") == nullptr && config.find(4711, "udp") == nullptr && config.find(nullptr) == nullptr));
        CHECK((config.at(3)->port == NETSERVICE_NO_PORT && config.save()));
        CHECK((ReadFileBytes(system.file) == kWritten && ReadFileBytes(system.file + ".bak") == before));
        CHECK((::GetFileAttributesA(system.file.c_str()) & 3) == 3);
    }
}

TEST_CASE("entries are added, changed and removed, and nothing is left behind") {
    const auto work = [] {
        const GivenSystem system(kFile);
        CKivNetServiceConfig config;
        NETSERVICE* entry = config.append("n\xC9w", 80, "tcp");
        REQUIRE((entry == config.at(6) && config.find("N\xE9W") == entry));
        CKivNetServiceConfig::setComment(entry, " c");
        CKivNetServiceConfig::setComment(entry, entry->comment + 1);
        CKivNetServiceConfig::addAlias(entry, "one");
        CKivNetServiceConfig::addAlias(entry, entry->aliases[0]);
        CKivNetServiceConfig::addAlias(entry, nullptr);
        CKivNetServiceConfig::removeAliases(config.at(4));
        CKivNetServiceConfig::setServiceName(config.at(1), nullptr);
        CKivNetServiceConfig::setPort(config.at(4), -1);
        CKivNetServiceConfig::setProtocol(config.at(4), "sctp");
        NETSERVICE* first = config.at(0);
        NETSERVICE foreign{};
        NETSERVICE* other = &foreign;
        CHECK((config.remove(&first) && first == nullptr));
        CHECK_FALSE((config.remove(&first) || config.remove(&other) || config.remove(nullptr)));
        CHECK(config.save());
        CHECK(ReadFileBytes(system.file) == "# first\r\n\r\n\r\nLongname     -1/sctp\r\n#x\r\n"
                                            "n\xC9w           80/tcp    one one      #c\r\n");
    };
    CHECK(kiv::test::LeavesNothing(work));
}

TEST_CASE("a file that is missing is made, one that cannot be written keeps what it had") {
    const GivenSystem system;
    CKivNetServiceConfig config;
    REQUIRE((config.at(0) == nullptr && config.append("a", 1, "tcp") != nullptr));
    CHECK((config.save() && ReadFileBytes(system.file) == "a     1/tcp\r\n"));
    REQUIRE(::CreateDirectoryA((system.file + ".bak").c_str(), nullptr));
    CHECK((config.append("b", 2, nullptr) != nullptr && config.save()));
    CHECK(ReadFileBytes(system.file) == "a     1/tcp\r\n\r\n");
    kiv::test::SwappedApi<kiv::ContentsApi> api;
    api->write = kiv::test::HalfWrite;
    CHECK((config.append("c", 3, "tcp") != nullptr && !config.save()));
    const kiv::ScopedFile user(
        ::CreateFileA(system.file.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    CHECK_FALSE(config.save());
    CHECK(ReadFileBytes(system.file) == "a     1/tcp\r\n\r\n");
}
