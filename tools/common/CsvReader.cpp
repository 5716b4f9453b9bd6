#include "common/CsvReader.h"

#include "common/Failure.h"
#include "common/System.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

namespace procedure {

namespace {

constexpr int kStandardInput = 0, kStandardError = 2;
constexpr std::size_t kBufferSize = std::size_t{1} << 16;
// A quote that is never closed makes one field of all that follows. This is where to stop collecting it.
constexpr std::size_t kMaxRowBytes = std::size_t{1} << 24;
// States of libcsv's parser: between rows, and inside a field (for a quoted one: before its closing quote).
constexpr int kRowNotBegun = 0;
constexpr int kFieldBegun = 2;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

} // namespace

InputFile::InputFile(const std::string& path, MCMath_930::MCCancelInfo& cancel)
    : fName(path == "-" ? "standard input" : path), fCancel(cancel)
{
    fDescriptor = path == "-" ? kStandardInput : System::OpenToRead(path);
    // Not waiting: a named pipe is then opened at once, and it is AwaitInput that waits for its writer.
    if (fDescriptor < 0) throw Failure(fName + ": cannot be opened: " + std::strerror(errno));
    long long start = 0, size = 0;
    if (!System::Look(fDescriptor, fRegular, start, size))
        throw Failure(fName + ": cannot be read: " + std::strerror(errno));
    fStart = start;
    fSize = size;
}

InputFile::~InputFile()
{
    if (fDescriptor > kStandardError) System::Close(fDescriptor);
}

// A signal that arrives just before a blocking read would go unnoticed until data come, so the wait is cut into pieces.
void InputFile::AwaitInput()
{
    do {
        if (fCancel.IsCancel()) throw Interrupted();
    } while (!System::Await(fDescriptor, System::Reading));
}

std::size_t InputFile::Read(char* buffer, std::size_t length)
{
    std::size_t filled = 0;
    while (filled < length) {
        if (!fRegular) AwaitInput();
        const long long got = System::Read(fDescriptor, buffer + filled, length - filled);
        if (got < 0 && (errno == EINTR || errno == EAGAIN)) continue;
        if (got < 0) throw Failure(fName + ": cannot be read: " + std::strerror(errno));
        if (got == 0) break;
        filled += static_cast<std::size_t>(got);
    }
    fBytesRead += static_cast<std::int64_t>(filled);
    return filled;
}

void InputFile::Rewind()
{
    if (!System::Seek(fDescriptor, fStart)) throw Failure(fName + ": cannot be read again");
    fBytesRead = 0;
}

CsvReader::CsvReader(InputFile& input, char delimiter) : fInput(input), fDelimiter(delimiter), fBuffer(kBufferSize)
{
    StartParser();
    Begin();
}

void CsvReader::StartParser()
{
    if (csv_init(&fParser, 0) != 0) throw std::bad_alloc();
    csv_set_delim(&fParser, static_cast<unsigned char>(fDelimiter));
}

CsvReader::~CsvReader()
{
    csv_free(&fParser);
}

void CsvReader::Begin()
{
    fInputEnded = false;
    fNext = fEnd = 0;
    fLine = 1;
    fAfterReturn = false;
    fText.clear();
    fEnds.clear();
    FillBuffer();
    const std::string_view start(fBuffer.data(), fEnd);
    if (start.starts_with(kByteOrderMark)) fNext = kByteOrderMark.size();
    if (start.starts_with("\xFF\xFE") || start.starts_with("\xFE\xFF"))
        throw Failure(fInput.Name() + ": the text is UTF-16; convert it to UTF-8");
}

void CsvReader::Restart()
{
    csv_free(&fParser);
    StartParser();
    fInput.Rewind();
    Begin();
}

bool CsvReader::FillBuffer()
{
    fNext = 0;
    fEnd = fInputEnded ? 0 : fInput.Read(fBuffer.data(), fBuffer.size());
    fInputEnded = fEnd < fBuffer.size();
    return fEnd > 0;
}

const std::vector<std::string_view>* CsvReader::NextRow()
{
    fRowComplete = false;
    fText.clear();
    fEnds.clear();
    while (!fRowComplete) {
        if (fNext == fEnd && !FillBuffer()) {
            if (fParser.pstate == kFieldBegun && fParser.quoted)
                throw Failure(AtLine(fInput.Name(), fRowLine) + ": a quoted field is not closed");
            csv_fini(&fParser, AddField, EndRow, this);
            if (!fRowComplete) return nullptr;
            break;
        }
        // The parser is fed one line at a time: a call then completes at most one row, and lines inside quotes count.
        const char* const begin = fBuffer.data() + fNext;
        std::size_t length = fEnd - fNext;
        if (const void* const feed = std::memchr(begin, '\n', length))
            length = static_cast<std::size_t>(static_cast<const char*>(feed) - begin) + 1;
        if (const void* const mark = std::memchr(begin, '\r', length)) {
            const auto upTo = static_cast<std::size_t>(static_cast<const char*>(mark) - begin) + 1;
            if (!(upTo + 1 == length && begin[upTo] == '\n')) length = upTo;
        }
        if (fParser.pstate == kRowNotBegun) fRowLine = fLine; // blank lines before a row are not part of it
        Parse(begin, length);
        fNext += length;
    }

    fRow.clear();
    std::size_t start = 0;
    for (const std::size_t end : fEnds) {
        fRow.emplace_back(fText.data() + start, end - start);
        start = end;
    }
    return &fRow;
}

void CsvReader::Parse(const char* text, std::size_t length)
{
    if (csv_parse(&fParser, text, length, AddField, EndRow, this) != length) throw std::bad_alloc();
    const char last = text[length - 1];
    if (last == '\n' ? !(length == 1 && fAfterReturn) : last == '\r') ++fLine;
    fAfterReturn = last == '\r';
    if (fText.size() + csv_get_buffer_size(&fParser) > kMaxRowBytes)
        throw Failure(AtLine(fInput.Name(), fRowLine) +
                      ": the row that begins here is longer than 16 MB; perhaps a quote is not closed");
}

void CsvReader::AddField(void* text, std::size_t length, void* self)
{
    auto& reader = *static_cast<CsvReader*>(self);
    reader.fText.append(static_cast<const char*>(text), length);
    reader.fEnds.push_back(reader.fText.size());
}

void CsvReader::EndRow(int, void* self)
{
    static_cast<CsvReader*>(self)->fRowComplete = true;
}

std::vector<std::string> SplitCsvRow(std::string_view text)
{
    struct Fields {
        std::vector<std::string> values;
        static void Add(void* field, std::size_t length, void* self)
        {
            static_cast<Fields*>(self)->values.emplace_back(static_cast<const char*>(field), length);
        }
    } fields;
    csv_parser parser{};
    if (csv_init(&parser, 0) != 0) throw std::bad_alloc();
    csv_parse(&parser, text.data(), text.size(), Fields::Add, nullptr, &fields);
    csv_fini(&parser, Fields::Add, nullptr, &fields);
    csv_free(&parser);
    return fields.values;
}

} // namespace procedure
