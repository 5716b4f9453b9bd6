#include "common/OutputFile.h"

#include "common/Failure.h"
#include "common/System.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <system_error>
#include <utility>

namespace procedure {

namespace fs = std::filesystem;

OutputFile::OutputFile(const std::string& path) : fPath(path), fPlace(path)
{
    // /dev/stdout leads to whatever standard output is, which may be a file; it is not ours to replace.
    if (path.starts_with("/dev/")) {
        fIsFile = false;
        return;
    }
    std::error_code error;
    // A link stays a link: the file behind it is the one to replace.
    const bool exists = fs::exists(path, error);
    fPlace = (exists ? fs::canonical(path, error) : fs::weakly_canonical(path, error)).string();
    if (error) fPlace = path;
    const fs::file_status status = fs::status(fPlace, error);
    if (fs::is_directory(status)) Refuse("it is a directory");
    fIsFile = !fs::exists(status) || fs::is_regular_file(status);
    if (!fIsFile) return;

    const bool readOnly =
        (status.permissions() & (fs::perms::owner_write | fs::perms::group_write | fs::perms::others_write)) ==
        fs::perms::none;
    if (exists && (readOnly || !System::IsFileWritable(fPlace))) Refuse("it is read-only");
    const fs::path folder = fs::path(fPlace).parent_path();
    if (!System::IsFolderWritable(folder.empty() ? "." : folder.string())) Refuse(std::strerror(errno));
}

OutputFile::~OutputFile()
{
    if (!fTemporary.empty()) std::remove(fTemporary.c_str());
}

void OutputFile::Refuse(const std::string& why) const
{
    throw Failure(fPath + ": cannot be written: " + why);
}

void OutputFile::Write(const std::function<void(std::ostream&)>& write)
{
    if (!fIsFile) {
        std::ostringstream text;
        write(text);
        fDirect = std::move(text).str();
        return;
    }
    std::string name = fPlace + ".XXXXXX";
    if (!System::MakeTemporary(name, fPlace)) Refuse(std::strerror(errno));
    fTemporary = name;

    std::ofstream file(fTemporary, std::ios::binary);
    write(file);
    file.close();
    if (!file) Refuse("the disk may be full");
}

// Without blocking, so that a pipe that nobody reads can be given up.
void OutputFile::WriteDirect(MCMath_930::MCCancelInfo& cancel) const
{
    const auto stopIfAsked = [&] {
        if (cancel.IsCancel()) throw Interrupted();
    };
    struct Descriptor {
        int number = -1;
        ~Descriptor()
        {
            if (number >= 0) System::Close(number);
        }
    } file;
    for (;;) {
        file.number = System::OpenToAppend(fPlace);
        if (file.number >= 0) break;
        if (errno != ENXIO && errno != EINTR) Refuse(std::strerror(errno)); // ENXIO: a named pipe without a reader
        stopIfAsked();
        System::Pause();
    }
    for (std::size_t written = 0; written < fDirect.size();) {
        const long long count = System::Write(file.number, fDirect.data() + written, fDirect.size() - written);
        if (count >= 0) {
            written += static_cast<std::size_t>(count);
            continue;
        }
        if (errno != EAGAIN && errno != EINTR) Refuse(std::strerror(errno));
        stopIfAsked();
        System::Await(file.number, System::Writing);
    }
}

void OutputFile::PutInPlace(MCMath_930::MCCancelInfo& cancel)
{
    if (!fIsFile) {
        WriteDirect(cancel);
        return;
    }
    std::error_code error;
    fs::rename(fTemporary, fPlace, error); // takes the place of an older file on Windows too
    if (error) Refuse(error.message());
    fTemporary.clear();
}

} // namespace procedure
