#include "common/System.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#ifdef _WIN32
#include <io.h>
#else
#include <poll.h>
#endif

namespace procedure {

namespace {

constexpr int kMilliseconds = 200;
// A count of bytes is 32 bits wide on Windows.
constexpr std::size_t kMostBytes = std::size_t{1} << 30;

} // namespace

bool System::Look(int descriptor, bool& isRegular, long long& start, long long& size)
{
    struct stat status {};
    if (fstat(descriptor, &status) != 0) return false;
    isRegular = S_ISREG(status.st_mode);
    // Standard input may be a file that another program has read a part of.
    start = isRegular ? std::max<long long>(lseek(descriptor, 0, SEEK_CUR), 0) : 0;
    size = isRegular ? std::max<long long>(status.st_size - start, 0) : 0;
    return true;
}

bool System::Seek(int descriptor, long long place)
{
    return lseek(descriptor, static_cast<off_t>(place), SEEK_SET) >= 0;
}

void System::Close(int descriptor)
{
    close(descriptor);
}

void System::Pause()
{
    std::this_thread::sleep_for(std::chrono::milliseconds(kMilliseconds));
}

bool System::IsFileWritable(const std::string& path)
{
    return access(path.c_str(), W_OK) == 0;
}

bool System::IsOutputTerminal()
{
    return isatty(STDOUT_FILENO) != 0;
}

bool System::IsErrorTerminal()
{
    return isatty(STDERR_FILENO) != 0;
}

#ifdef _WIN32

void System::PrepareStreams()
{
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) _setmode(descriptor, _O_BINARY);
}

int System::OpenToRead(const std::string& path)
{
    return open(path.c_str(), O_RDONLY | O_BINARY | O_NOINHERIT);
}

int System::OpenToAppend(const std::string& path)
{
    return open(path.c_str(), O_WRONLY | O_APPEND | O_BINARY | O_NOINHERIT);
}

long long System::Read(int descriptor, char* buffer, std::size_t length)
{
    return read(descriptor, buffer, static_cast<unsigned>(std::min(length, kMostBytes)));
}

long long System::Write(int descriptor, const char* text, std::size_t length)
{
    return write(descriptor, text, static_cast<unsigned>(std::min(length, kMostBytes)));
}

bool System::Await(int, Direction)
{
    return true;
}

bool System::IsFolderWritable(const std::string& path)
{
    return access(path.c_str(), W_OK) == 0;
}

// mkstemp of mingw-w64 removes the file with its descriptor.
bool System::MakeTemporary(std::string& path, const std::string&)
{
    if (_mktemp_s(path.data(), path.size() + 1) != 0) return false;
    const int descriptor =
        open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_BINARY | O_NOINHERIT, _S_IREAD | _S_IWRITE);
    if (descriptor >= 0) close(descriptor);
    return descriptor >= 0;
}

void System::HandleEndSignals(void (*handler)(int))
{
    for (const int number : {SIGINT, SIGTERM}) std::signal(number, handler != nullptr ? handler : SIG_DFL);
}

#else

void System::PrepareStreams()
{
    std::signal(SIGPIPE, SIG_IGN);
}

int System::OpenToRead(const std::string& path)
{
    return open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
}

int System::OpenToAppend(const std::string& path)
{
    return open(path.c_str(), O_WRONLY | O_APPEND | O_NONBLOCK | O_CLOEXEC);
}

long long System::Read(int descriptor, char* buffer, std::size_t length)
{
    return read(descriptor, buffer, std::min(length, kMostBytes));
}

long long System::Write(int descriptor, const char* text, std::size_t length)
{
    return write(descriptor, text, std::min(length, kMostBytes));
}

bool System::Await(int descriptor, Direction direction)
{
    pollfd wanted{descriptor, static_cast<short>(direction == Reading ? POLLIN : POLLOUT), 0};
    return poll(&wanted, 1, kMilliseconds) > 0;
}

bool System::IsFolderWritable(const std::string& path)
{
    return access(path.c_str(), W_OK | X_OK) == 0;
}

bool System::MakeTemporary(std::string& path, const std::string& like)
{
    const int descriptor = mkstemp(path.data());
    if (descriptor < 0) return false;
    // mkstemp makes a private file.
    const mode_t mask = umask(0);
    umask(mask);
    struct stat older {};
    const bool replaces = stat(like.c_str(), &older) == 0;
    fchmod(descriptor, replaces ? older.st_mode & 07777 : 0666 & ~mask);
    close(descriptor);
    return true;
}

// Without SA_RESTART: a call that waits comes back.
void System::HandleEndSignals(void (*handler)(int))
{
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction before {};
        sigaction(number, nullptr, &before);
        if (before.sa_handler == SIG_IGN) continue; // nohup
        struct sigaction action {};
        action.sa_handler = handler != nullptr ? handler : SIG_DFL;
        sigaction(number, &action, nullptr);
    }
}

#endif

} // namespace procedure
