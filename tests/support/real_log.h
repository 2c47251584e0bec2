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
    ~ScopedVariable();
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    const char* m_name;
    bool m_wasSet;
    std::string m_before;
};

// The variables that the log reads when it is loaded.
struct LogVariables {
    LogVariables(const char* fileName, const char* highestLevel, const char* sizeLimit)
        : file("TAVKIVLG_FILE", fileName), level("TAVKIVLG_LEVEL", highestLevel),
          maxSize("TAVKIVLG_MAXSIZE", sizeLimit) {}

    ScopedVariable file;
    ScopedVariable level;
    ScopedVariable maxSize;
};

// The logging library as it is shipped, from its load to its unload. For tests in the folder of the real log.
class RealLog {
public:
    RealLog();
    ~RealLog();
    RealLog(const RealLog&) = delete;
    RealLog& operator=(const RealLog&) = delete;

    void Write(unsigned level, char kind, const char* text) const;  // as the component "Test"

    decltype(&::KivWriteLogSetEnv) setEnv;
    decltype(&::KivWriteLogEnv) write;
    decltype(&::KivWriteWin32Message) writeWin32;
    decltype(&::KivVarInitWin32Message) initWin32;
    decltype(&::KivVarWriteWin32Message) writeInitialised;
    decltype(&::KivGetFileEncoding) fileEncoding;
    decltype(&::KivGetPrivateProfileStringA) profileString;

private:
    template <class Function>
    void Find(const char* name, Function& function) const;

    HMODULE m_module;
};

}  // namespace kiv::test

#endif
