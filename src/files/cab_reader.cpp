#include "files/cab_reader.h"

#include <cstdlib>
#include <new>

#include "files/cab_extraction.h"
#include "files/cab_file.h"

namespace kiv {
namespace {

// A cabinet that the codec reads.
struct CabInput : CabStream {
    explicit CabInput(ScopedFile opened) noexcept : bytes(opened.Get()) { file = std::move(opened); }
    CabinetFile bytes;
    long position = 0;
};

CabStream& StreamOf(INT_PTR handle) noexcept {
    return *reinterpret_cast<CabStream*>(handle);
}

CabInput& InputOf(INT_PTR handle) noexcept {
    return static_cast<CabInput&>(StreamOf(handle));
}

INT_PTR HandleOf(CabStream* stream) noexcept {
    return reinterpret_cast<INT_PTR>(stream);
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
    CabInput* const input = file ? new (std::nothrow) CabInput(std::move(file)) : nullptr;
    return input == nullptr ? -1 : HandleOf(input);
}

UINT DIAMONDAPI Read(INT_PTR handle, void* buffer, UINT size) {
    CabInput& input = InputOf(handle);
    const unsigned read = input.bytes.ReadSome(static_cast<unsigned long>(input.position), buffer, size);
    if (read != kCabIoFailed)
        input.position += static_cast<long>(read);
    return read;
}

UINT DIAMONDAPI Write(INT_PTR handle, void* bytes, UINT size) {
    CabStream& stream = StreamOf(handle);
    return stream.extraction == nullptr ? kCabIoFailed : stream.extraction->Write(bytes, size);
}

// The file that is extracted belongs to its extraction. After a failure some codecs close what they never opened.
int DIAMONDAPI Close(INT_PTR handle) {
    if (handle != 0 && handle != -1 && StreamOf(handle).extraction == nullptr)
        delete &InputOf(handle);
    return 0;
}

__LONG32 DIAMONDAPI Seek(INT_PTR handle, __LONG32 distance, int origin) {
    CabInput& input = InputOf(handle);
    const long from[] = {0, input.position, static_cast<long>(input.bytes.Size())};
    input.position = from[origin] + distance;
    return input.position;
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
    CabInput input(std::move(m_cabinet));
    CabinetHeader header;
    const ReadingError error = ReadCabinetHeader(input.bytes, header);
    if (error != ReadingError::kNone)
        return Fail(error);
    if (Cabinets().fdiIsCabinet(m_context, HandleOf(&input), &facts))
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
