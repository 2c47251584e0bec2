#ifndef TAVKIVUT_LINE_FILE_H
#define TAVKIVUT_LINE_FILE_H

// Text files as lists of lines: a whole file is read into memory, its lines are read, replaced, removed and appended by
// index, and it is written back when it is closed. Beside the class stand a few functions on texts.
//
// Files are in the system code page, or in UTF-16 (low byte first) with the mark FF FE. On reading, CR, LF, CR LF and
// LF CR each end a line, and what stands behind the last of them is a line unless it is empty. Every line that is
// written ends with CR LF, the last one too.
//
// In memory all lines are in the system code page, so a character of a UTF-16 file that the code page lacks becomes its
// replacement ("?") when the file is written. A line ends at its first zero character. Any other encoding counts as the
// code page: the mark of a UTF-8 file stays in its first line.

#include "tavkivut/export.h"

namespace kiv {
class LineList;
}

// One file. The object owns its lines; nothing is locked or kept open between open and close. It serves one thread at
// a time.
//
// A copy has lines, path and pending text of its own, and each writable copy writes the file when it is closed itself.
// A copy that memory is exhausted for is closed and empty. Assignment to an open object drops its lines without
// writing.
class KIV_API CKivIsamFile {
public:
    enum : unsigned long {
        ENCODING_ANSI = 0,
        ENCODING_UTF16 = 1,
        ENCODING_KEEP = 0xFFFFFCE0  // what the file has
    };

    CKivIsamFile() noexcept;  // closed: read-only, without lines

    // Opens a file unless the path is null; whether that went well shows in its lines and in the log only.
    CKivIsamFile(const wchar_t* path, bool readOnly) noexcept;

    CKivIsamFile(const CKivIsamFile& other) noexcept;
    CKivIsamFile& operator=(const CKivIsamFile& other) noexcept;
    ~CKivIsamFile();  // closes

    // Closes what is open and reads a file. A file that is missing is created empty unless it is to be read only. The
    // encoding is what the file will be written in: ENCODING_UTF16, the code page for any other value, or
    // ENCODING_KEEP.
    // False for a null path, with nothing done, and for a file that cannot be opened (one that someone else has open
    // for writing opens only read-only): a line of the log and the thread's last error tell why. True also for a file
    // that could not be read whole (a failed read is logged; no memory; 4 GB and more): the object then has no lines
    // and is read-only, so that the file is not lost.
    bool open(const wchar_t* path, bool readOnly, unsigned long encoding = ENCODING_KEEP) noexcept;

    // Writes the file unless the object is read-only, also without an edit, and ends closed, without lines and pending
    // text. The file's read-only attribute is taken off meanwhile, which is logged. When the file cannot be written, or
    // its old contents cannot be read any more, the log tells, and they stay or are put back; the lines are lost.
    void close() noexcept;

    bool can_write() const noexcept;  // not read-only

    unsigned long GetEncoding() const noexcept;  // as the file had it (1: UTF-16), or as it was given to open

    long lines() const noexcept;  // their number

    // The length of a line, in bytes of the code page; 0 where there is none. The line is copied when the buffer, which
    // counts the terminator, is longer than that; else it gets an empty text. A null buffer asks for the length.
    long get(long index, wchar_t* buffer, long bufferLength) noexcept;

    // Replaces a line; null removes it. The text is one line even with a line break in it, which the next reading
    // will split. An index without a line appends the text, as append does. False when the object is read-only, and
    // for null without such a line.
    bool set(long index, const wchar_t* text) noexcept;

    bool remove(long index) noexcept;  // false when there is no such line

    bool empty() noexcept;  // drops all lines; false when the object is read-only
    bool is_empty() const noexcept;

    // Appends a text as lines: CR, LF and CR LF each end one, LF CR two, and what stands behind the last of them is a
    // line also when it is empty ("a", CR, LF gives "a" and ""). Null appends an empty line. False when the object is
    // read-only.
    bool append(const wchar_t* text) noexcept;
    bool append(const char* text) noexcept;

    // Collects text until a line break comes: what was collected up to it is appended as a line, what stands between
    // and behind further breaks too unless it is empty. Text without a break waits for more; it is lost at close.
    CKivIsamFile& operator<<(const wchar_t* text) noexcept;
    CKivIsamFile& operator<<(long number) noexcept;  // in decimal

    // A copy in which every LF has its CR; an empty text for null. Free it with free(). Null when memory is exhausted.
    static wchar_t* expandCrLf(const wchar_t* text) noexcept;

    // Takes blanks and control characters (codes up to 32) off both ends, in place: the end is cut, the result points
    // to the first character that stays. Null for null.
    static wchar_t* trim(wchar_t* text) noexcept;

    // Cuts a text at each separator, in place, and gives the list of its pieces, with a null entry behind them; null
    // when memory is exhausted. Without keepEmpty separators in a row count as one; the first and the last piece may
    // be empty all the same. A null text has no pieces. `count` may be null. The list's room is a multiple of growBy
    // (at least 1, at most 65536), and what holds no piece is null. The pieces lie in the text; release the list with
    // split_free.
    static wchar_t** split(wchar_t* text, wchar_t separator, long* count, bool keepEmpty, int growBy) noexcept;
    static void split_free(wchar_t** list) noexcept;

protected:
    // The append of a text in the code page, which may be changed on the way.
    bool appendImpl(char* text) noexcept;

private:
    friend struct CKivIsamFileLayout;

    bool Load(void* file, const wchar_t* path) noexcept;
    void Save() noexcept;
    void Clear() noexcept;
    void CopyFrom(const CKivIsamFile& other) noexcept;
    bool AddToPending(const wchar_t* text, decltype(sizeof 0) length) noexcept;
    void DropPending() noexcept;

    bool m_readOnly;
    char* m_path;  // owned, or null
    unsigned long m_encoding;
    wchar_t* m_pending;      // owned, or null; terminated
    kiv::LineList* m_lines;  // owned; null without lines

    decltype(sizeof 0) m_pendingLength;
    decltype(sizeof 0) m_pendingRoom;
};

#endif
