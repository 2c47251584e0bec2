#ifndef TAVKIVUT_FRAME_H
#define TAVKIVUT_FRAME_H

// The ground that the other families stand on: two thread models for classes that may or may not be shared
// between threads, a guard for a critical section, and the splitter for command lines.

#include <windows.h>  // CRITICAL_SECTION is a member by value

#include "tavkivut/export.h"

// Thread model of a class that one thread uses: locking costs nothing.
class KIV_API CKivSingleThreadModel {
public:
    void Lock() noexcept;
    void Unlock() noexcept;
    CKivSingleThreadModel& operator=(const CKivSingleThreadModel& other) noexcept;
};

// Thread model of a class that several threads use: one critical section, recursive as every critical section.
// Assignment copies the section's raw contents; neither side may be in use then.
class KIV_API CKivMultiThreadModel {
public:
    CKivMultiThreadModel() noexcept;
    ~CKivMultiThreadModel();
    CKivMultiThreadModel(const CKivMultiThreadModel&) = delete;
    CKivMultiThreadModel& operator=(const CKivMultiThreadModel& other) noexcept = default;

    void Lock() noexcept;
    void Unlock() noexcept;

private:
    friend struct CKivMultiThreadModelLayout;
    CRITICAL_SECTION m_section;
};

// Guard for a critical section that belongs to someone else and outlives the guard.
//
// A guard that is to take the lock is made with `entered` false, then Enter is called. `entered` true says that the
// owner holds the section already; the guard leaves it at its end.
//
// Leave does not clear the flag: it is the same operation as the destructor, which therefore leaves a second time.
// Whoever calls Leave early enters the section again with EnterCriticalSection before the guard ends (Enter would
// do nothing, since the flag is still set), or had entered it twice.
class KIV_API CCriticalSection_MethodHelper {
public:
    CCriticalSection_MethodHelper(CRITICAL_SECTION& section, bool entered) noexcept;
    CCriticalSection_MethodHelper(CRITICAL_SECTION* section, bool entered) noexcept;
    ~CCriticalSection_MethodHelper();
    CCriticalSection_MethodHelper(const CCriticalSection_MethodHelper&) = default;
    CCriticalSection_MethodHelper& operator=(const CCriticalSection_MethodHelper& other) noexcept = default;

    void Enter() noexcept;  // takes the section unless the flag is set
    void Leave() noexcept;  // leaves the section when the flag is set; the flag stays

private:
    friend struct CriticalSectionMethodHelperLayout;
    CRITICAL_SECTION* m_section;
    bool m_entered;
};

// Splits a command line at each space (code 32) outside double quotes. Quotes stay in the arguments; two spaces in a
// row give an empty argument between them, as do a leading and a trailing space; a tab does not separate; an unclosed
// quote runs to the end.
// Returns one block, to be released with ReleaseArgs, whose first *argc entries are the arguments. The entry behind
// them is not reliably null: use *argc. A null or empty line, a null argc or exhausted memory give null, *argc is not
// touched then. Reentrant.
extern "C" KIV_API char** KIV_CALL CommandLineToArgv(const char* commandLine, int* argc) noexcept;

// Releases what CommandLineToArgv returned. Null is allowed.
extern "C" KIV_API void KIV_CALL ReleaseArgs(char** argv) noexcept;

#endif
