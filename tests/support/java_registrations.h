#ifndef KIV_TESTS_SUPPORT_JAVA_REGISTRATIONS_H
#define KIV_TESTS_SUPPORT_JAVA_REGISTRATIONS_H

#include <string>

#include "support/dynamic_function.h"
#include "support/registry_data.h"
#include "support/scoped_resource.h"
#include "support/temp_directory.h"

namespace kiv::test {

// Java runtimes registered below a key that stands for HKLM, with a folder for them that holds the stand-in runtime
// (tools/java_runtime).
class JavaRegistrations {
public:
    explicit JavaRegistrations(HKEY machine) : m_machine(machine) {
        if (!::CopyFileA("..\\tools\\java_runtime.dll", Library().c_str(), TRUE))
            throw std::string("there is no stand-in runtime");
    }

    static constexpr const char* kKey = "SOFTWARE\\JavaSoft\\Java Runtime Environment";

    // The key of a version, made when it is missing; of all runtimes for "".
    ScopedRegistryKey Key(const std::string& version = "") const {
        ScopedRegistryKey all;
        ScopedRegistryKey key;
        ::RegCreateKeyA(m_machine, kKey, all.Receive());
        ::RegCreateKeyA(all.Get(), version.c_str(), key.Receive());
        return key;
    }

    void Add(const std::string& version, const std::string& library, const std::string& home) const {
        const ScopedRegistryKey key = Key(version);
        SetText(key.Get(), "RuntimeLib", library);
        SetText(key.Get(), "JavaHome", home);
    }

    void AddStandIn(const std::string& version) const { Add(version, Library(), Folder()); }

    const std::string& Folder() const { return m_directory.Path(); }
    std::string Library() const { return m_directory / "java_runtime.dll"; }
    std::string Write(const std::string& name, std::string_view bytes) const { return m_directory.Write(name, bytes); }

private:
    HKEY m_machine;
    TempDirectory m_directory;
};

// What the loaded stand-in runtime answers to one of its questions; nothing where it is not loaded.
template <class Answer>
Answer AskStandIn(const char* question) {
    Answer (*function)() = nullptr;
    FindFunction(::GetModuleHandleA("java_runtime.dll"), question, function);
    return function != nullptr ? function() : Answer();
}

}  // namespace kiv::test

#endif
