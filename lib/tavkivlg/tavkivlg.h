#ifndef TAVKIVLG_H
#define TAVKIVLG_H

// The logging library: one text line per event, with a per-thread environment (component, level, kind), and two
// services that share its knowledge of text encodings. All functions are safe from any thread, keep the thread's last
// error unless said otherwise, and never stop their caller: a line that cannot be written is dropped.
//
// Levels: 1 for what every run should show, 3 for tracing. Kinds: ' ' information, 'E' error, 'W' warning.

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

// Starts the log for a thread. The two texts and the number are reserved: null, null, 0.
KIVLG_API void KIVLG_CALL KivStartLog(unsigned long threadId, const char* reserved1, const char* reserved2,
                                      int reserved3);

// Ends the log for a thread. Lines are still accepted afterwards.
KIVLG_API void KIVLG_CALL KivStopLog(unsigned long threadId);

// Sets the environment of the calling thread's next lines. The component's name is copied.
KIVLG_API void KIVLG_CALL KivWriteLogSetEnv(unsigned long threadId, const char* component, unsigned int level,
                                            char kind);

// Writes one line with the environment last set by this thread. Besides the formats of the C run-time, "%ls" and "%S"
// take a UTF-16 text and show it in the system code page ('?' for what that lacks).
KIVLG_API void KIVLG_CALL KivWriteLogEnv(const char* format, ...) KIVLG_FORMAT(1, 2);

// Writes a line made of the text and the system's text for the error code. Mind the order: kind, then level.
KIVLG_API void KIVLG_CALL KivWriteWin32Message(const char* text, unsigned long win32Error, unsigned long threadId,
                                               const char* component, char kind, unsigned int level);

// First half of a formatted line about a Win32 error. Mind the order: level, then kind.
KIVLG_API void KIVLG_CALL KivVarInitWin32Message(unsigned long win32Error, unsigned long threadId,
                                                 const char* component, unsigned int level, char kind);

// Second half: the text of the line that this thread began with KivVarInitWin32Message.
KIVLG_API void KIVLG_CALL KivVarWriteWin32Message(const char* format, ...) KIVLG_FORMAT(1, 2);

// Reads an entry of an INI file, as the Win32 call of that name does (lists for a null section or key, quotes taken
// off, cut to size), and understands UTF-16 and UTF-8 files with a byte-order mark: their texts come back in the system
// code page. Returns the number of characters copied, without the terminator (size - 1 or size - 2 when cut).
KIVLG_API unsigned long KIVLG_CALL KivGetPrivateProfileStringA(const char* section, const char* key,
                                                               const char* defaultText, char* buffer,
                                                               unsigned long size, const char* fileName);

// How the text of an open file is encoded, told by its byte-order mark: 0 system code page (or no mark), 1 UTF-16
// little-endian, 2 UTF-16 big-endian, 3 UTF-8. The file position is left as it was.
KIVLG_API unsigned long KIVLG_CALL KivGetFileEncoding(void* fileHandle);

}  // extern "C"

#endif
