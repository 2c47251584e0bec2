#ifndef TAVKIVUT_CABINET_H
#define TAVKIVUT_CABINET_H

// Cabinets: archives of files, one file each, that every Windows release reads. They are made with MSZIP compression;
// whatever the system's cabinet module knows (cabinet.dll, which the first release of Windows 95 lacks) is read.
//
// Results are 1 for success and 0 for failure unless an operation says otherwise. Each failure is one line of the log,
// with the archive, the codec's text and its error number.
//
// Texts are in the system code page, paths have at most 259 characters. The folder and the name of an archive are what
// stands before and behind the last backslash of its path; without one the folder is ".".

#include "tavkivut/export.h"

struct KivCabSession;  // internal: what is open

// Called with the name of a stored file and the context that was handed over.
typedef int (*ExtractCallback)(const char* name, void* context);

// What a cabinet tells about a stored file. Date and time are local, in the form of DOS; the attributes are those of
// the system: 0x01 read-only, 0x02 hidden, 0x04 system, 0x20 archive.
struct KIV_ARCHIVE_ENTRY {
    const char* name;
    unsigned long size;  // bytes
    unsigned short date;
    unsigned short time;
    unsigned short attributes;
};
typedef int (*ArchiveEntryCallback)(const KIV_ARCHIVE_ENTRY* entry, void* context);

// Called for about every 32 KB of data: how many bytes of files were stored or extracted since the last call, and how
// many bytes they take in the cabinet (0 where that is not known). Any result but 1 ends the operation as a failure;
// when that is an Append, the whole new cabinet is spoilt.
typedef int (*ArchiveProgressCallback)(unsigned long bytes, unsigned long packedBytes, void* context);

// What an extraction shall do with each stored file. Zero what is not wanted: `tagExtractHandlerInfo info{}`.
struct tagExtractHandlerInfo {
    ExtractCallback enumerate;      // not null: called with each name, nothing is extracted
    ExtractCallback afterExtract;   // called behind each file; anything but 1 ends the extraction
    const char* destination;        // the folder
    void* context;                  // for all callbacks
    const char* filter;             // the only file to extract, without regard to case; null: all
    ArchiveEntryCallback describe;  // as `enumerate`, with all that is known about each file
    int discard;                    // not 0: files are unpacked and checked, but written nowhere
};

// An archive that is read, or made.
class KIV_API IKivArchive {
public:
    virtual unsigned int Open(const char* path) noexcept = 0;
    virtual int Create(const char* path) noexcept = 0;
    virtual int Close() noexcept = 0;
    virtual int Append(const char* file, const char* basePath) noexcept = 0;
    virtual int Extract(const char* fileName, const char* destination) noexcept = 0;
    virtual int Extract(const char* destination, ExtractCallback callback, void* context) noexcept = 0;
    virtual int EnumContent(ExtractCallback callback, void* context) noexcept = 0;
    virtual const char* GetDefaultExtension() noexcept = 0;

protected:
    ~IKivArchive() = default;
};

// Either an open cabinet, or the factory of a new one, or idle. One thread at a time; callbacks must not use the
// archive that calls them, nor a copy of it.
//
// Copies share what is open, and Close on one of them closes it for all. When the last one goes away what is still open
// is dropped, not closed: a factory that was never closed leaves no cabinet, and Close alone removes continuation
// cabinets.
//
// A cabinet that grows beyond 512 MiB is continued in "tavcab02.tmp" and so on, beside it. Close removes these: of such
// an archive only the first part stays, which is useless alone. Keep archives smaller.
class KIV_API CKivCabArchive : public IKivArchive {
public:
    CKivCabArchive() noexcept;
    CKivCabArchive(const CKivCabArchive& other) noexcept;
    CKivCabArchive& operator=(const CKivCabArchive& other) noexcept;
    ~CKivCabArchive() noexcept;

    // Opens a cabinet to be read. Returns the number of stored files, 0xFFFFFFFF on failure and when the object is in
    // use. Only the header is judged here: what follows it is checked before each extraction. A failed Open ends with
    // Close.
    unsigned int Open(const char* path) noexcept override;

    // Begins a new cabinet, in place of an old one of that name. It is written by Close, so a folder that is missing or
    // cannot be written to shows there. Returns -1 when the object is in use.
    int Create(const char* path) noexcept override;

    // Ends what was begun. A new cabinet is written; when that fails it is deleted. Every file of the archive's folder
    // whose name is "tavcab", two characters and ".tmp" is deleted, after reading and after a failed Open too. Returns
    // 1 also when nothing was open.
    int Close() noexcept override;

    // Stores a file with its last write time and its attributes, under the part of its path behind `basePath`, if that
    // is given and the path begins with it, else under its name alone: C:\src\bin\a.dll becomes bin\a.dll with the base
    // C:\src. A base is compared as text, without regard to case: C:\sr makes c\bin\a.dll.
    //
    // A file that is refused before it is read (one that cannot be opened or is too large, an unsuitable name) fails
    // alone, and others can be stored. One that cannot be read to its end, or is ended by the progress callback, spoils
    // the cabinet: Close then fails and leaves none.
    int Append(const char* file, const char* basePath) noexcept override;

    // Extracts one file, or all for null, as the other form does. Returns 1 also when there is no such file.
    int Extract(const char* fileName, const char* destination) noexcept override;

    // Extracts all files into a folder; it and the folders of the stored names are made where they are missing. A file
    // that exists is replaced, unless it is read-only. Files get the times and attributes that were stored. The
    // callback, if any, is called behind each file.
    //
    // Nothing outside the folder is ever touched: a stored name that would lead out of it, or to a device, or that ends
    // in a dot or a blank in any of its parts, ends the extraction as a failure. What was extracted before stays; the
    // file at which an extraction fails is deleted.
    int Extract(const char* destination, ExtractCallback callback, void* context) noexcept override;

    // Calls back with the name of every stored file, also of those that Extract refuses. The callback's result does not
    // count.
    int EnumContent(ExtractCallback callback, void* context) noexcept override;

    // "cab"
    const char* GetDefaultExtension() noexcept override;

    // As Append, under the given name.
    int AppendWithPath(const char* file, const char* nameInArchive) noexcept;

    // Always 0: files cannot be added to a finished cabinet.
    int AppendExisting(char* file) noexcept;

    // As EnumContent, with size, time and attributes of every file.
    int EnumEntries(ArchiveEntryCallback callback, void* context) noexcept;

    // Has every later operation of this object report its progress; null: none. Copies begin with none.
    void SetProgress(ArchiveProgressCallback callback, void* context) noexcept;

    // The codec's error number of the last operation that failed; 0 before the first.
    int GetErrorCode() const noexcept;

protected:
    // What Extract and EnumContent do. Without a callback that lists, and unless files are discarded, the destination
    // must not be empty.
    int ExtractImpl(tagExtractHandlerInfo* info) noexcept;

    // The text of a codec error, of the writing side or the reading side.
    const char* GetCabError(int code, int writing) noexcept;

private:
    friend struct CKivCabArchiveLayout;

    void Share(const CKivCabArchive& other) noexcept;
    void Release() noexcept;
    bool IsInUse() noexcept;
    bool StorePath(const char* path) noexcept;
    const char* Folder() const noexcept;
    void KeepError(int operation, int type, bool flag) noexcept;
    int Add(const char* file, const char* name) noexcept;
    int CloseReading() noexcept;
    int CloseWriting() noexcept;
    void RemoveContinuations() const noexcept;

    char m_path[260];  // of the archive, cut in two at its last backslash
    char* m_name;      // in m_path
    void* m_reading;   // the codec's context, null unless open
    void* m_writing;   // the codec's context, null unless a factory
    int m_errorOperation;
    int m_errorType;  // the system's error
    bool m_errorFlag;
    KivCabSession* m_session;  // what belongs to the contexts, shared with copies
    ArchiveProgressCallback m_progress;
    void* m_progressContext;
};

#endif
