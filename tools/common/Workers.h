// Work on blocks by several threads, with results that do not depend on their number.
#pragma once

#include "modelcore/modelcore.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace procedure {

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
    struct Task {
        Block block;
        Result result;
        std::exception_ptr error;
    };
    using Numbered = std::pair<std::size_t, std::unique_ptr<Task>>;
    std::vector<std::unique_ptr<Task>> idle;
    for (int i = 0; i < (threads > 1 ? threads + 1 : 1); ++i) idle.push_back(std::make_unique<Task>());
    MCMath_930::MCBlockFold<std::unique_ptr<Task>> ordered([&](std::unique_ptr<Task>&& task) {
        if (task->error) std::rethrow_exception(task->error);
        fold(task->result);
        idle.push_back(std::move(task));
    });

    std::mutex mutex; // of what follows
    std::condition_variable changed;
    std::deque<Numbered> waiting; // blocks that nobody works on yet
    std::deque<Numbered> done;
    bool stop = false;
    const auto workOnNext = [&](std::unique_lock<std::mutex>& lock) {
        Numbered next = std::move(waiting.front());
        waiting.pop_front();
        lock.unlock();
        Task& task = *next.second;
        try {
            work(task.block, task.result);
        } catch (...) {
            task.error = std::current_exception();
        }
        lock.lock();
        done.push_back(std::move(next));
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
                changed.wait(lock, [&] { return stop || !waiting.empty(); });
                if (stop) return;
                workOnNext(lock);
            }
        });

    bool ended = false;
    std::size_t blocks = 0; // read so far
    std::unique_lock<std::mutex> lock(mutex);
    for (;;) {
        if (!done.empty()) {
            Numbered result = std::move(done.front());
            done.pop_front();
            lock.unlock();
            ordered.Add(result.first, std::move(result.second));
            lock.lock();
        } else if (!ended && !idle.empty()) {
            lock.unlock();
            ended = !read(idle.back()->block);
            lock.lock();
            if (ended) continue;
            waiting.emplace_back(blocks++, std::move(idle.back()));
            idle.pop_back();
            changed.notify_all();
        } else if (!waiting.empty()) {
            workOnNext(lock); // nothing to read into: work on a block
        } else if (ordered.GetAwaited() < blocks) {
            changed.wait(lock, [&] { return !done.empty(); });
        } else {
            return;
        }
    }
}

} // namespace procedure
