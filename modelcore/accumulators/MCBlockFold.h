// Results of blocks of data that several threads worked on, put together in the order of the blocks.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <utility>

namespace MCMath_930 {

/// Folds the results of the blocks 0, 1, 2, ... into a total from left to right, whichever result comes first. So the
/// total has the same bits for every number of workers and every order of arrival, if the result of a block depends on
/// the block alone: fold(fold(fold(total, r0), r1), r2) ...
///
///     MCMeansXProducts total;
///     MCBlockFold<MCMeansXProducts> fold([&](MCMeansXProducts&& part) { total.Merge(part); });
///
///     // in each worker                             | with the caller's mutex and condition variable
///     const std::size_t number = next++;            | under the mutex, the block itself being read there too
///     if (number >= fold.GetAwaited() + limit) ...  | wait, so that no more than limit results pile up
///     part.Compute(block, 0);                       | outside
///     fold.Add(number, std::move(part));            | under the mutex; then wake the others
///
/// It starts no threads and has no lock: callers make sure that one thread at a time uses it. A result that comes early
/// is kept until all before it are there.
template <class Result>
class MCBlockFold {
public:
    /// @param fold  takes one result into the caller's total
    explicit MCBlockFold(std::function<void(Result&&)> fold) : fFold(std::move(fold)) {}

    /// Hands over the result of a block; it and those kept that follow it without a gap are folded. What the fold
    /// throws is passed on; the result that it was given counts as folded.
    /// @return  false, and nothing changed, when the block was handed over before, or when there is no fold, as in an
    ///          object that was moved from
    bool Add(std::size_t number, Result result)
    {
        if (!fFold || number < fnAwaited || !fKept.try_emplace(number, std::move(result)).second) return false;
        while (!fKept.empty() && fKept.begin()->first == fnAwaited) {
            auto node = fKept.extract(fKept.begin());
            ++fnAwaited;
            fFold(std::move(node.mapped()));
        }
        return true;
    }

    /// The block whose result is folded next, which is how many have been folded.
    std::size_t GetAwaited() const { return fnAwaited; }

    /// How many results are kept because one before them is not there yet.
    std::size_t GetNKept() const { return fKept.size(); }

private:
    std::function<void(Result&&)> fFold;
    std::map<std::size_t, Result> fKept;
    std::size_t fnAwaited = 0;
};

} // namespace MCMath_930
