// The code of docs/accumulators.md: blocks that threads accumulate, a part that is saved and merged elsewhere.
#include "modelcore/modelcore.h"

#include <condition_variable>
#include <cstdio>
#include <fstream>
#include <mutex>
#include <thread>
#include <vector>

using namespace MCMath_930;

namespace {

/// What any number of workers makes of the blocks: each block by itself, folded in the order of the blocks.
MCMeansXProducts Accumulate(const std::vector<MCRectMatrix>& blocks, int workers)
{
    MCMeansXProducts total;
    MCBlockFold<MCMeansXProducts> fold([&](MCMeansXProducts&& part) { total.Merge(part); });
    std::mutex mutex;
    std::condition_variable folded;
    std::size_t next = 0;
    const auto work = [&] {
        for (;;) {
            std::unique_lock lock(mutex);
            folded.wait(lock, [&] { return next < fold.GetAwaited() + 4; }); // at most four results wait
            if (next == blocks.size()) return;
            const std::size_t number = next++;
            lock.unlock();
            MCMeansXProducts part(2, true, false, false);
            part.Compute(blocks[number], 0);
            lock.lock();
            fold.Add(number, std::move(part));
            folded.notify_all();
        }
    };
    std::vector<std::thread> threads;
    for (int i = 0; i < workers; ++i) threads.emplace_back(work);
    for (std::thread& thread : threads) thread.join();
    return total;
}

} // namespace

int main()
{
    MCRNGUTwister source;
    source.SetSeed(77.0);
    std::vector<MCRectMatrix> blocks(40, MCRectMatrix(50, 2));
    for (MCRectMatrix& block : blocks)
        for (int row = 0; row < 50; ++row) block.SetRow(row, {source.GetNext(), source.GetNext()});
    const double product = Accumulate(blocks, 1).GetXProds().GetElem(1, 0);
    for (const int workers : {1, 2, 7})
        std::printf("%d workers: %s\n", workers,
                    Accumulate(blocks, workers).GetXProds().GetElem(1, 0) == product ? "the same bits" : "other bits");

    MCProvMeans here(2, true);
    here.Update({1.0, 2.0}, 1.0);
    std::ofstream out("part.xml");
    if (here.WriteObjectXML(out, 0) == 0) return 1; // the disk is full
    out.close();

    MCProvMeans there(2, true);
    there.Update({3.0, 5.0}, 2.0);
    MCProvMeans part;
    std::ifstream in("part.xml");
    if (part.ReadObjectXML(in) == 0) return 1; // not a saved state: part is as it was
    there.Merge(part);
    std::printf("%g cases, means %.6f and %.6f\n", there.GetNCases(), there.GetMeans()[0], there.GetMeans()[1]);
}
