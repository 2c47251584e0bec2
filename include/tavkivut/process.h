#ifndef TAVKIVUT_PROCESS_H
#define TAVKIVUT_PROCESS_H

// The process that the library runs in.

#include "tavkivut/export.h"

// Facts about the running executable (not about the library's own DLL). They are read once in the process, by
// the first call from any thread; the texts stay valid for the life of the process, belong to the library and
// are never null. They are empty when the system does not tell them.
class KIV_API CKivThisProcess {
public:
    CKivThisProcess() = delete;

    static const char* GetExePath() noexcept;  // "C:\setup\tavsetup.exe"

    // The folder of the executable without a trailing backslash, so that "\" and a name can be appended:
    // "C:\setup", and "C:" for an executable in the root of a drive.
    static const char* GetExeDir() noexcept;
};

#endif
