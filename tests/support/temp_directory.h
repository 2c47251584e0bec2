#ifndef KIV_TESTS_SUPPORT_TEMP_DIRECTORY_H
#define KIV_TESTS_SUPPORT_TEMP_DIRECTORY_H

#include <string>
#include <string_view>

namespace kiv::test {

// A new empty folder under the temporary folder, removed with its contents at the end. Its name holds the process id
// and a counter.
class TempDirectory {
public:
    TempDirectory();
    ~TempDirectory();
    TempDirectory(const TempDirectory&) = delete;
    TempDirectory& operator=(const TempDirectory&) = delete;

    const std::string& Path() const { return m_path; }                       // without a trailing backslash
    std::string operator/(std::string_view name) const;                      // the path of something in it
    std::string Write(std::string_view name, std::string_view bytes) const;  // makes a file, gives its path

private:
    std::string m_path;
};

std::string ReadFileBytes(const std::string& path);
void WriteFileBytes(const std::string& path, std::string_view bytes);
void RemoveTree(const std::string& path);  // read-only and hidden files too

}  // namespace kiv::test

#endif
