// What the programs ask of the operating system beyond the standard library. Windows gives what comes nearest.
#pragma once

#include <cstddef>
#include <string>

namespace procedure {

/// Files by their descriptors, waiting that a user can end, and signals. Where POSIX has errno, it is set here too.
class System {
public:
    /// Standard streams carry bytes, and a reader that went away is a failed write.
    static void PrepareStreams();

    /// Opens a file without waiting: of a named pipe, Await waits for the writer. Below 0 on failure.
    static int OpenToRead(const std::string& path);
    /// Opens what is there to append to it, without waiting. Below 0 on failure, with errno ENXIO for a named pipe that
    /// nobody reads.
    static int OpenToAppend(const std::string& path);

    /// Whether a regular file is behind the descriptor; size is what there is from the place of the descriptor on, start
    /// that place.
    /// @return  false when nothing can be said about it
    static bool Look(int descriptor, bool& isRegular, long long& start, long long& size);

    /// The number of bytes; below 0 on failure, of which errno EINTR and EAGAIN are no faults.
    static long long Read(int descriptor, char* buffer, std::size_t length);
    static long long Write(int descriptor, const char* text, std::size_t length);
    /// Back to a place. False when that is impossible.
    static bool Seek(int descriptor, long long place);
    static void Close(int descriptor);

    /// What to wait for.
    enum Direction { Reading, Writing };
    /// Waits until reading or writing does something, at most a fifth of a second; false when it would still wait. On
    /// Windows it is the call itself that waits.
    static bool Await(int descriptor, Direction direction);
    /// A fifth of a second.
    static void Pause();

    /// Whether the user may write to the file; to a file in the folder.
    static bool IsFileWritable(const std::string& path);
    static bool IsFolderWritable(const std::string& path);
    /// Makes an empty file whose name ends in six characters for XXXXXX, which path ends in; it gets the mode of the
    /// file at `like`, or that of any new file when there is none. False on failure.
    static bool MakeTemporary(std::string& path, const std::string& like);

    /// Whether a person looks at standard output; at standard error.
    static bool IsOutputTerminal();
    static bool IsErrorTerminal();

    /// Lets handler take the signals that end a program (SIGINT, SIGTERM, SIGHUP) unless they are ignored; null restores
    /// what they do by themselves. A call that waits comes back and looks.
    static void HandleEndSignals(void (*handler)(int));
};

} // namespace procedure
