#ifndef TAVKIVLG_H
#define TAVKIVLG_H

// The logging library: one text line per event, with a per-thread environment (component, level, kind), and two
// services that share its knowledge of text encodings. All functions are safe from any thread, also from a DLL's entry
// point and to the very end of the process, keep the thread's last error, and never stop their caller: a line that
// cannot be written within half a second is dropped, and the next one that gets through says how many were.
//
// Levels: 1 for what every run should show, 3 for tracing. Kinds: ' ' information, 'E' error, 'W' warning.
//
// Where the log goes is settled when the library is loaded. Each setting by itself comes from the environment, else
// from a value of the registry key "HKLM\Software\TAV\TAVSetup\Log", else it has its default:
//
//     TAVKIVLG_FILE     File (text; %variables% are expanded)   tavkivlg.log in the folder for temporary files
//     TAVKIVLG_LEVEL    Level (REG_DWORD)                       1; the highest level that is written, 0 writes nothing
//     TAVKIVLG_MAXSIZE  MaxSize (REG_DWORD)                     1048576; bytes, 0 sets no limit
//
// Any number of processes may write to one file. When a line would make it longer than the limit it is renamed to
// "<file>.old", in place of the old copy that was there. A line reads
//
//     2001-09-28 16:05:09.031 1234 5678 TavKivUt 1E Inet : failed to open 'C:\setup\a.cab': Access denied. (5)
//
// local time, process, thread, component, level and kind ('-' for ' '), text. A line break or another control
// character in a text is shown as "\n", "\x1B": one call makes one line.

#if !defined(_WIN32)
#define KIVLG_API
#define KIVLG_CALL
#elif defined(KIVLG_BUILD)
#define KIVLG_API __declspec(dllexport)
#define KIVLG_CALL __cdecl
#else
#define KIVLG_API __declspec(dllimport)
#define KIVLG_CALL __cdecl
#endif

// Lets the compiler check every format. The formats are those of the Windows C run-time.
#if defined(__clang__)
#define KIVLG_FORMAT(text, first) __attribute__((format(printf, text, first)))
#elif defined(__GNUC__) && defined(_WIN32)
#define KIVLG_FORMAT(text, first) __attribute__((format(ms_printf, text, first)))
#else
#define KIVLG_FORMAT(text, first)
#endif

extern "C" {

// Starts the log for a thread. The two texts and the number are reserved: null, null, 0. Lines are accepted without it.
KIVLG_API void KIVLG_CALL KivStartLog(unsigned long threadId, const char* reserved1, const char* reserved2,
                                      int reserved3);

// Ends the log for a thread. Lines are still accepted afterwards.
KIVLG_API void KIVLG_CALL KivStopLog(unsigned long threadId);

// Sets the environment of the calling thread's next lines. The component's name is copied. A thread that never set one
// writes at level 1, kind ' ', without a component.
KIVLG_API void KIVLG_CALL KivWriteLogSetEnv(unsigned long threadId, const char* component, unsigned int level,
                                            char kind);

// Writes one line with the environment last set by this thread, however long it is. The formats are those of the
// Windows C run-time; "%ls" and "%S" show a UTF-16 text in the system code page ('?' for what that lacks). A null text
// is shown as "(null)", "%n" writes nothing.
KIVLG_API void KIVLG_CALL KivWriteLogEnv(const char* format, ...) KIVLG_FORMAT(1, 2);

// Writes a line made of the text and the system's text for the error code, "text: Access denied. (5)". The thread's
// environment stays as it is. Mind the order: kind, then level.
KIVLG_API void KIVLG_CALL KivWriteWin32Message(const char* text, unsigned long win32Error, unsigned long threadId,
                                               const char* component, char kind, unsigned int level);

// First half of a formatted line about a Win32 error. The thread's environment is that of this line afterwards. Mind
// the order: level, then kind.
KIVLG_API void KIVLG_CALL KivVarInitWin32Message(unsigned long win32Error, unsigned long threadId,
                                                 const char* component, unsigned int level, char kind);

// Second half: the text of the line that this thread began with KivVarInitWin32Message.
KIVLG_API void KIVLG_CALL KivVarWriteWin32Message(const char* format, ...) KIVLG_FORMAT(1, 2);

// Reads an entry of an INI file, as the Win32 call of that name does: names without regard to case, the names of all
// sections for a null section and of all entries for a null key (each with its NUL, one more at the end), the default
// where there is no such entry, a pair of quotes around the value taken off, a file name without a folder standing for
// the Windows folder. UTF-16 and UTF-8 files with a byte-order mark are understood on every system, are read anew each
// time, and their texts come back in the system code page.
// Returns the number of characters copied, without the terminator: size - 1 when a text was cut, size - 2 when a list
// was. A null buffer or a size of 0 gives 0.
KIVLG_API unsigned long KIVLG_CALL KivGetPrivateProfileStringA(const char* section, const char* key,
                                                               const char* defaultText, char* buffer,
                                                               unsigned long size, const char* fileName);

// How the text of an open file is encoded, told by its byte-order mark: 0 system code page (or no mark), 1 UTF-16
// little-endian, 2 UTF-16 big-endian, 3 UTF-8. The file position is left as it was. 0 also for what cannot be read and
// for a handle that is no file on a disk, from which nothing is taken.
KIVLG_API unsigned long KIVLG_CALL KivGetFileEncoding(void* fileHandle);

}  // extern "C"

#endif
