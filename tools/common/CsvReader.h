// CSV text, row by row, in constant memory.
#pragma once

#include "modelcore/modelcore.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <csv.h>

namespace procedure {

/// How a text is cut into fields, and which of them say that there is no value.
struct CsvFormat {
    char delimiter = ',';
    std::vector<std::string> missing; ///< besides nothing, NA and a point alone
    bool decimalComma = false;        ///< numbers have a comma as their decimal sign
};

/// A file, or whatever standard input is. Only a regular file has a size and can be read twice.
class InputFile {
public:
    /// Opens path, "-" being standard input. Throws Failure when that is impossible. cancel is asked while a pipe keeps
    /// the program waiting, a named pipe that nobody writes to yet among them.
    InputFile(const std::string& path, MCMath_930::MCCancelInfo& cancel);
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    /// The name to show to the user.
    const std::string& Name() const { return fName; }
    bool IsRegular() const { return fRegular; }
    /// Bytes from where reading began to the end; 0 for a pipe.
    std::int64_t Size() const { return fSize; }
    /// Bytes read since the beginning or the last Rewind.
    std::int64_t BytesRead() const { return fBytesRead; }

    /// Fills buffer unless the input ends first. Returns the number of bytes; throws Failure when reading fails and
    /// Interrupted when the user stops it.
    std::size_t Read(char* buffer, std::size_t length);

    /// Back to where reading began; regular files only.
    void Rewind();

private:
    void AwaitInput();

    std::string fName;
    MCMath_930::MCCancelInfo& fCancel;
    int fDescriptor = -1;
    bool fRegular = false;
    std::int64_t fStart = 0;
    std::int64_t fSize = 0;
    std::int64_t fBytesRead = 0;
};

/// The rows of a CSV text: commas or another delimiter, fields in double quotes where needed (then with commas, line breaks and doubled
/// quotes inside), LF, CRLF or CR at the end of a row, blank lines ignored, blanks around an unquoted field dropped, a
/// byte order mark skipped. Parsed by libcsv.
class CsvReader {
public:
    CsvReader(InputFile& input, char delimiter);
    ~CsvReader();
    CsvReader(const CsvReader&) = delete;
    CsvReader& operator=(const CsvReader&) = delete;

    /// The next row, valid until the following call; null at the end. Throws Failure for a quoted field that is not
    /// closed and for a row that no memory should be spent on.
    const std::vector<std::string_view>* NextRow();

    /// The line on which the row that NextRow returned begins.
    std::int64_t Line() const { return fRowLine; }

    /// Starts again from the beginning of the input.
    void Restart();

private:
    void Parse(const char* text, std::size_t length);
    bool FillBuffer();
    void Begin();
    void StartParser();
    static void AddField(void* text, std::size_t length, void* self);
    static void EndRow(int terminator, void* self);

    InputFile& fInput;
    char fDelimiter;
    csv_parser fParser{};
    std::vector<char> fBuffer;
    std::size_t fNext = 0; // first byte of fBuffer that is not parsed yet
    std::size_t fEnd = 0;
    bool fInputEnded = false;

    std::string fText;              // the fields of the row being read, one after the other
    std::vector<std::size_t> fEnds; // where each of them ends
    std::vector<std::string_view> fRow;
    bool fRowComplete = false;
    bool fAfterReturn = false; // the last byte parsed was a carriage return
    std::int64_t fLine = 1;    // line of the next byte
    std::int64_t fRowLine = 0;
};

/// The fields of one CSV row, none for an empty text.
std::vector<std::string> SplitCsvRow(std::string_view text);

} // namespace procedure
