// Streams whose disk is full after so many bytes.
#pragma once

#include "modelcore/common/MCDisplay.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <ostream>
#include <sstream>
#include <streambuf>

/// Takes `room` bytes and refuses every one after them.
class FailingOutput : public std::streambuf {
public:
    explicit FailingOutput(std::size_t room) : fRoom(room) {}

protected:
    int overflow(int c) override
    {
        if (c == EOF || fRoom == 0) return EOF;
        --fRoom;
        return c;
    }
    std::streamsize xsputn(const char*, std::streamsize count) override
    {
        const std::streamsize taken = std::min(count, static_cast<std::streamsize>(fRoom));
        fRoom -= static_cast<std::size_t>(taken);
        return taken;
    }

private:
    std::size_t fRoom;
};

/// Redirects the diagnostic text for the time of one call: what display() writes goes to the stream, whose state says
/// whether all of it could be written.
template <class Show>
bool DisplayTo(std::ostream& stream, Show display)
{
    std::ostream* const before = MCDisplay_930::SetDisplayStream(&stream);
    display();
    MCDisplay_930::SetDisplayStream(before);
    return !stream.fail();
}

/// Calls write(stream), which says whether it could write all, on streams that fail after every number of bytes (past a
/// thousand in longer steps): it says no, or the stream does; and yes where there is room.
template <class Write>
void ExpectFailureIsTold(Write write)
{
    std::ostringstream whole;
    EXPECT_TRUE(write(whole) && whole);
    const std::size_t size = whole.str().size();
    for (std::size_t room = 0; room < size; room += room < 1000 ? 1 : room / 10) {
        FailingOutput output(room);
        std::ostream stream(&output);
        const bool isWritten = write(stream);
        EXPECT_FALSE(isWritten && stream) << "after " << room << " of " << size << " bytes";
    }
    FailingOutput enough(size);
    std::ostream stream(&enough);
    EXPECT_TRUE(write(stream) && stream);
}
