#include "files/cab_reader.h"

#include <cstdlib>
#include <new>

#include "files/cab_extraction.h"
#include "files/cab_file.h"

namespace kiv {
namespace {

CabStream& StreamOf(INT_PTR handle) noexcept {
    return *reinterpret_cast<CabStream*>(handle);
}

void* DIAMONDAPI Allocate(ULONG size) {
    return std::malloc(size);
}

void DIAMONDAPI Free(void* memory) {
    std::free(memory);
}

// The codec itself opens cabinets only.
INT_PTR DIAMONDAPI Open(char* path, int, int) {
    ScopedFile file = OpenToRead(path);
    CabStream* const stream = file ? new (std::nothrow) CabStream{std::move(file), nullptr} : nullptr;
    return stream == nullptr ? -1 : reinterpret_cast<INT_PTR>(stream);
}

UINT DIAMONDAPI Read(INT_PTR handle, void* buffer, UINT size) {
    return ReadCabFile(StreamOf(handle).file.Get(), buffer, size);
}

UINT DIAMONDAPI Write(INT_PTR handle, void* bytes, UINT size) {
    CabStream& stream = StreamOf(handle);
    return stream.extraction == nullptr ? kCabIoFailed : stream.extraction->Write(bytes, size);
}

// The file that is extracted belongs to its extraction. After a failure some codecs close what they never opened.
int DIAMONDAPI Close(INT_PTR handle) {
    if (handle == 0 || handle == -1)
        return 0;
    CabStream& stream = StreamOf(handle);
    if (stream.extraction == nullptr)
        delete &stream;
    return 0;
}

__LONG32 DIAMONDAPI Seek(INT_PTR handle, __LONG32 distance, int origin) {
    return SeekCabFile(StreamOf(handle).file.Get(), distance, origin);
}

// Nothing is stored in a cabinet without folders and files; the codec would not stand it.
bool IsEmpty(const CabinetHeader& header) noexcept {
    return header.folders == 0 && header.files == 0;
}

}  // namespace

bool CabReader::Fail(ReadingError error) noexcept {
    m_error = {static_cast<int>(error), static_cast<int>(::GetLastError()), TRUE};
    return false;
}

bool CabReader::Create() noexcept {
    m_error = {};
    if (!Cabinets().CanRead())
        return Fail(ReadingError::kNotFound);
    m_context = Cabinets().fdiCreate(Allocate, Free, Open, Read, Write, Close, Seek, cpu80386, &m_error);
    return m_context != nullptr;
}

bool CabReader::OpenCabinet(const char* path) noexcept {
    m_error = {};
    m_cabinet = OpenToRead(path);
    return m_cabinet || Fail(ReadingError::kNotFound);
}

bool CabReader::Identify(FDICABINETINFO& facts) noexcept {
    m_error = {};
    CabStream stream{std::move(m_cabinet), nullptr};
    CabinetFile bytes(stream.file.Get());
    CabinetHeader header;
    const ReadingError error = ReadCabinetHeader(bytes, header);
    if (error != ReadingError::kNone)
        return Fail(error);
    ::SetFilePointer(stream.file.Get(), 0, nullptr, FILE_BEGIN);
    if (Cabinets().fdiIsCabinet(m_context, reinterpret_cast<INT_PTR>(&stream), &facts))
        return true;
    return m_error.erfOper != 0 ? false : Fail(ReadingError::kNotACabinet);
}

bool CabReader::Copy(const std::string& folder, const char* name, const tagExtractHandlerInfo& info,
                     const CabProgress& progress) noexcept {
    m_error = {};
    // Held to the end: what was checked cannot be changed while the codec reads it.
    const ScopedFile file = OpenToRead((folder + name).c_str());
    if (!file)
        return Fail(ReadingError::kNotFound);
    CabinetFile bytes(file.Get());
    CabinetHeader header;
    if (ReadCabinetHeader(bytes, header) == ReadingError::kNone && IsEmpty(header))
        return true;
    const ReadingError error = CheckCabinet(bytes);
    if (error != ReadingError::kNone)
        return Fail(error);
    CabExtraction extraction(info, progress);
    std::string cabinet = name;
    std::string path = folder;
    const bool isDone = Cabinets().fdiCopy(m_context, cabinet.data(), path.data(), 0, CabExtraction::Notify, nullptr,
                                           &extraction) != FALSE;
    if (extraction.Failure() != ReadingError::kNone)
        return Fail(extraction.Failure());
    const bool isBroken = extraction.IsIncomplete() && (isDone || m_error.erfOper == FDIERROR_USER_ABORT);
    if (isBroken || (!isDone && m_error.erfOper == 0))
        return Fail(ReadingError::kCorrupt);
    return isDone;
}

bool CabReader::Destroy() noexcept {
    if (m_context == nullptr)
        return true;
    m_error = {};
    const bool isDone = Cabinets().fdiDestroy(m_context) != FALSE;
    m_context = nullptr;
    return isDone;
}

}  // namespace kiv
