// Work on blocks by several threads, with results that do not depend on their number.
#pragma once

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace linreg {

/// Reads blocks one after the other, works on them on up to threads threads (the calling one among them) and folds the
/// results in the order of the blocks: fold(fold(r0, r1), r2), ..., whichever thread finished first. So the outcome is
/// the same to the last bit for every number of threads.
///
///     bool read(Block& block)                      fills the next block; false at the end of the input
///     void work(const Block& block, Result& out)   overwrites out; must depend on the block alone
///     void fold(Result& result)                    takes one result into the total
///
/// read and fold run on the calling thread only; blocks and results are reused, threads + 1 of each at most, so memory
/// does not grow with the input. An exception of any of the three ends the run and is passed on; one of work when it is
/// that block's turn.
template <class Block, class Result, class Read, class Work, class Fold>
void FoldBlocks(int threads, Read read, Work work, Fold fold)
{
    struct Slot {
        Block block;
        Result result;
        std::exception_ptr error;
        bool done = false;
    };
    if (threads <= 1) {
        Slot slot;
        while (read(slot.block)) {
            work(slot.block, slot.result);
            fold(slot.result);
        }
        return;
    }

    std::vector<Slot> slots(static_cast<std::size_t>(threads) + 1); // block n is in slot n mod their number
    std::mutex mutex;
    std::condition_variable changed;
    std::size_t filled = 0; // blocks read so far
    std::size_t taken = 0;  // of which somebody works or has worked on
    std::size_t folded = 0; // of which the result is in the total
    bool stop = false;
    const auto slotOf = [&slots](std::size_t number) -> Slot& { return slots[number % slots.size()]; };

    const auto workOnNext = [&](std::unique_lock<std::mutex>& lock) {
        Slot& slot = slotOf(taken++);
        lock.unlock();
        try {
            work(slot.block, slot.result);
        } catch (...) {
            slot.error = std::current_exception();
        }
        lock.lock();
        slot.done = true;
        changed.notify_all();
    };

    std::vector<std::jthread> helpers;
    struct StopHelpers { // before the threads are joined, however this function is left
        std::mutex& mutex;
        std::condition_variable& changed;
        bool& stop;
        ~StopHelpers()
        {
            const std::lock_guard<std::mutex> lock(mutex);
            stop = true;
            changed.notify_all();
        }
    } const stopHelpers{mutex, changed, stop};
    for (int i = 1; i < threads; ++i)
        helpers.emplace_back([&] {
            std::unique_lock<std::mutex> lock(mutex);
            for (;;) {
                changed.wait(lock, [&] { return stop || taken < filled; });
                if (stop) return;
                workOnNext(lock);
            }
        });

    bool ended = false;
    std::unique_lock<std::mutex> lock(mutex);
    for (;;) {
        if (folded < taken && slotOf(folded).done) {
            Slot& slot = slotOf(folded);
            lock.unlock();
            if (slot.error) std::rethrow_exception(slot.error);
            fold(slot.result);
            lock.lock();
            slot.done = false;
            ++folded;
        } else if (!ended && filled - folded < slots.size()) {
            Slot& slot = slotOf(filled);
            lock.unlock();
            ended = !read(slot.block);
            lock.lock();
            if (!ended) {
                ++filled;
                changed.notify_all();
            }
        } else if (taken < filled) {
            workOnNext(lock); // nothing to read into: lend a hand
        } else if (folded < filled) {
            changed.wait(lock, [&] { return slotOf(folded).done; });
        } else {
            return;
        }
    }
}

} // namespace linreg
