#ifndef KIV_TESTS_SUPPORT_REAL_LOG_H
#define KIV_TESTS_SUPPORT_REAL_LOG_H

#include <string>

#include "support/windows_api.h"
#include "tavkivlg/tavkivlg.h"

namespace kiv::test {

// A variable of the environment with another value, or with none for null, for as long as this lives.
class ScopedVariable {
public:
    ScopedVariable(const char* name, const char* value);
    ~ScopedVariable() { ::SetEnvironmentVariableA(m_name, m_before.empty() ? nullptr : m_before.c_str()); }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    const char* m_name;
    std::string m_before;
};

// The logging library as it is shipped, from its load to its unload, with these settings in the environment; null: not
// set. For tests that stand beside the libraries as they are shipped.
class RealLog {
public:
    explicit RealLog(const char* file, const char* level = nullptr, const char* maxSize = nullptr);
    ~RealLog() { ::FreeLibrary(m_module); }
    RealLog(const RealLog&) = delete;
    RealLog& operator=(const RealLog&) = delete;

    void Write(unsigned level, char kind, const std::string& text) const;  // as the component "Test"

    decltype(&::KivWriteLogSetEnv) setEnv;
    decltype(&::KivWriteLogEnv) write;
    decltype(&::KivWriteWin32Message) writeWin32;
    decltype(&::KivVarInitWin32Message) initWin32;
    decltype(&::KivVarWriteWin32Message) writeInitialised;
    decltype(&::KivGetFileEncoding) fileEncoding;
    decltype(&::KivGetPrivateProfileStringA) profileString;

private:
    ScopedVariable m_file;
    ScopedVariable m_level;
    ScopedVariable m_maxSize;
    HMODULE m_module;
};

}  // namespace kiv::test

#endif
