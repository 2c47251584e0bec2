#ifndef KIV_TESTS_WINDOWS_SERVER_PROCESS_H
#define KIV_TESTS_WINDOWS_SERVER_PROCESS_H

#include <string>
#include <vector>

#include "support/redirected_key.h"
#include "support/temp_directory.h"

namespace kiv::test {

// An installer's folder of its own, with a program (child_program.h) and the libraries in "bin" and a registry key that
// stands for HKLM. Each Run is a new process.
class ServerProcess {
public:
    explicit ServerProcess(const std::string& program);  // runs as the release that the test runs as

    using Lines = std::vector<std::string>;

    // What the operations of the program print.
    Lines Run(const std::string& operations) const;

    std::string operator/(const std::string& name) const { return m_directory / name; }
    const std::string& Path() const { return m_directory.Path(); }

    // A server's folder with setup\TavSetup.cfg; gives its path.
    std::string MakeServer(const std::string& name, std::string_view config) const;

    // Texts below HKLM\Software\TAV\TAVSetup: "General", "InstServer".
    void WriteText(const std::string& key, const char* name, const char* text) const;
    void WriteNumber(const std::string& key, const char* name, unsigned long number) const;
    std::string ReadText(const std::string& key, const char* name) const;  // "(none)" when it is missing
    std::string Program() const { return m_directory / ("bin\\" + m_program); }

private:
    std::string m_program;  // its file name in "bin"
    TempDirectory m_directory;
    ScratchKey m_machine;
};

// Makes a server's setup folder with that configuration file in an existing place.
void MakeServerFolder(const std::string& path, std::string_view config);

// Makes a file that was written so many seconds after a fixed moment.
void WriteFileAt(const std::string& path, int seconds, std::string_view bytes);

}  // namespace kiv::test

#endif
