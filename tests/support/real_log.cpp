#include "support/real_log.h"

#include "support/check.h"
#include "support/dynamic_function.h"

namespace kiv::test {

ScopedVariable::ScopedVariable(const char* name, const char* value) : m_name(name) {
    char before[MAX_PATH];
    const DWORD length = ::GetEnvironmentVariableA(name, before, sizeof before);
    m_wasSet = length != 0 && length < sizeof before;
    m_before.assign(before, m_wasSet ? length : 0);
    ::SetEnvironmentVariableA(name, value);
}

ScopedVariable::~ScopedVariable() {
    ::SetEnvironmentVariableA(m_name, m_wasSet ? m_before.c_str() : nullptr);
}

RealLog::RealLog() : m_module(::LoadLibraryA("tavkivlg.dll")) {
    REQUIRE(m_module != nullptr);
    Find("KivWriteLogSetEnv", setEnv);
    Find("KivWriteLogEnv", write);
    Find("KivWriteWin32Message", writeWin32);
    Find("KivVarInitWin32Message", initWin32);
    Find("KivVarWriteWin32Message", writeInitialised);
    Find("KivGetFileEncoding", fileEncoding);
    Find("KivGetPrivateProfileStringA", profileString);
}

RealLog::~RealLog() {
    ::FreeLibrary(m_module);
}

void RealLog::Write(unsigned level, char kind, const char* text) const {
    setEnv(::GetCurrentThreadId(), "Test", level, kind);
    write("%s", text);
}

template <class Function>
void RealLog::Find(const char* name, Function& function) const {
    FindFunction(m_module, name, function);
    const bool found = function != nullptr;
    REQUIRE_MESSAGE(found, name);
}

}  // namespace kiv::test
