#include "support/real_log.h"

#include "support/check.h"
#include "support/dynamic_function.h"

namespace kiv::test {

ScopedVariable::ScopedVariable(const char* name, const char* value) : m_name(name) {
    char before[MAX_PATH];
    const DWORD length = ::GetEnvironmentVariableA(name, before, sizeof before);
    m_before.assign(before, length < sizeof before ? length : 0);
    ::SetEnvironmentVariableA(name, value);
}

RealLog::RealLog(const char* file, const char* level, const char* maxSize)
    : m_file("TAVKIVLG_FILE", file), m_level("TAVKIVLG_LEVEL", level), m_maxSize("TAVKIVLG_MAXSIZE", maxSize),
      m_module(::LoadLibraryA("tavkivlg.dll")) {
    REQUIRE(m_module != nullptr);
    FindFunction(m_module, "KivWriteLogSetEnv", setEnv);
    FindFunction(m_module, "KivWriteLogEnv", write);
    FindFunction(m_module, "KivWriteWin32Message", writeWin32);
    FindFunction(m_module, "KivVarInitWin32Message", initWin32);
    FindFunction(m_module, "KivVarWriteWin32Message", writeInitialised);
    FindFunction(m_module, "KivGetFileEncoding", fileEncoding);
    FindFunction(m_module, "KivGetPrivateProfileStringA", profileString);
}

void RealLog::Write(unsigned level, char kind, const std::string& text) const {
    setEnv(::GetCurrentThreadId(), "Test", level, kind);
    write("%s", text.c_str());
}

}  // namespace kiv::test
