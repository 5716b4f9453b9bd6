// What every class owes its users when its objects are moved from, copied, or caught by the end of memory. The programs
// that ask for the last list support/OutOfMemory.cpp beside their tests.
#pragma once

#include <gtest/gtest.h>

#include <new>
#include <string>
#include <utility>

/// While it lives, this thread gets `allowed` more allocations; the next, or every later one, throws std::bad_alloc.
class MemoryLimit {
public:
    enum Shortage { ForEver, Once };
    explicit MemoryLimit(long allowed, Shortage shortage = ForEver);
    ~MemoryLimit();
    /// Whether an allocation failed in this thread since the last limit began.
    static bool WasReached();
    MemoryLimit(const MemoryLimit&) = delete;
    MemoryLimit& operator=(const MemoryLimit&) = delete;
};

/// Moves filled by construction, by assignment and onto itself. An object that was moved from shows what empty shows,
/// stands every use, and can be filled again.
///
/// @param empty  what an object is after a move
/// @param look   look(const T&): all that can be seen of an object, comparable and printable (Shown of DisplayCapture.h)
/// @param use    use(T&): calls whatever the class offers; run on objects that were moved from
template <class T, class Look, class Use>
void ExpectEmptyAfterMove(const T& filled, const T& empty, Look look, Use use)
{
    const auto all = look(filled), nothing = look(empty);
    T source(filled);
    T constructed(std::move(source));
    EXPECT_EQ(look(constructed), all);
    EXPECT_EQ(look(source), nothing); // NOLINT(bugprone-use-after-move): that is what is tested, here and below
    use(source);

    source = filled;
    T assigned(empty);
    assigned = std::move(source);
    EXPECT_EQ(look(assigned), all);
    EXPECT_EQ(look(source), nothing);
    T copyOfEmptied(source);
    use(copyOfEmptied);
    use(source);
    source = filled;
    EXPECT_EQ(look(source), all);

    T& itself = assigned;
    assigned = std::move(itself); // whole, with its content or without
    look(assigned);
    use(assigned);
    T& copied = constructed;
    constructed = copied;
    EXPECT_EQ(look(constructed), all);
}

/// Calls change(T&) on copies of filled, with memory running out at its first allocation, at its second, and so on (past
/// a hundred in longer steps) until it needs no more; for ever, and for that one time. Whenever it throws, the object
/// shows what it showed before, or what empty shows; and where it does without, that or what the change gives. The change
/// is then made once more: it gives the same as on an object that never was short of memory. Returns how often memory ran
/// out.
template <class T, class Change, class Look>
long ExpectWholeWhenMemoryRunsOut(const T& filled, const T& empty, Change change, Look look)
{
    const auto all = look(filled), nothing = look(empty);
    T whole(filled);
    change(whole);
    const auto changed = look(whole);
    long times = 0;
    for (const MemoryLimit::Shortage shortage : {MemoryLimit::ForEver, MemoryLimit::Once}) {
        bool reached = true;
        for (long allowed = 0; reached; ++allowed) {
            T object(filled);
            bool thrown = false;
            try {
                const MemoryLimit limit(allowed, shortage);
                change(object);
            } catch (const std::bad_alloc&) {
                thrown = true;
            }
            reached = MemoryLimit::WasReached();
            times += reached;
            const auto seen = look(object);
            if (seen == all) {
                if (reached) {
                    change(object);
                    EXPECT_EQ(look(object), changed) << "made again after " << allowed << " allocations";
                }
            } else if (thrown) {
                EXPECT_EQ(seen, nothing) << "after " << allowed << " allocations";
                change(object);
            } else if (!reached || !(seen == nothing)) {
                EXPECT_EQ(seen, changed) << "after " << allowed << " allocations";
            }
            EXPECT_LT(allowed, 100000) << "never gets through";
            if (allowed >= 100000 || ::testing::Test::HasFailure()) return times;
            if (allowed >= 100) allowed += allowed / 4; // there may be thousands
        }
    }
    return times;
}

/// The same for object = other, which a memberwise assignment does not stand: it sets the counts before a vector throws.
template <class T, class Look>
void ExpectAssignmentIsWhole(const T& filled, const T& other, Look look)
{
    ExpectWholeWhenMemoryRunsOut(
        filled, filled, [&other](T& object) { object = other; }, look);
}

/// Calls write(), which returns a text, with memory running out in the same ways: it throws, returns nothing or the whole.
template <class Write>
void ExpectWholeTextOrNone(Write write)
{
    ExpectWholeWhenMemoryRunsOut(
        std::string(), std::string(), [&write](std::string& text) { text = write(); },
        [](const std::string& text) { return text; });
}
