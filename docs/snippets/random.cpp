// The code of docs/random.md: seeds, saved generators, streams for threads.
#include "modelcore/modelcore.h"

#include <cstdio>
#include <fstream>
#include <thread>
#include <vector>

using namespace MCMath_930;

int main()
{
    MCRNGUTwister source;
    source.SetSeed(20240229.0);
    MCRNGBinomial infected(1000, 0.02);
    infected.SetURNGenerator(source); // source must outlive it
    const double cases = infected.GetNext();

    MCURandom uniform; // the Mersenne Twister with seed 34567
    MCRandomValues values;
    values.SetURNGPtr(&uniform);
    MCSymMatrix covariance(2);
    covariance.SetElem(0, 0, 4.0);
    covariance.SetElem(1, 0, 1.2);
    covariance.SetElem(1, 1, 1.0);
    std::vector<double> x;
    if (!values.SetParamNormal({10.0, 0.0}, 1.0, covariance)) return 1; // not positive semidefinite
    values.GetRandom(x);
    std::printf("%.0f of 1000 infected; a pair (%.6f, %.6f)\n", cases, x[0], x[1]);

    MCURandom saved(99, true, true, nullptr);
    std::fstream out("generator.bin", std::ios::out | std::ios::binary);
    if (saved.WriteObject(out) != 20) return 1; // the disk is full
    out.close();

    MCURandom again;
    std::fstream in("generator.bin", std::ios::in | std::ios::binary);
    if (again.ReadObject(in) != 20) return 1; // not a record: again is as it was
    std::printf("%s after it was restored\n", again.GetRandom() == saved.GetRandom() ? "the same" : "another");

    const double seed = 20240229;
    std::vector<double> means(4);
    const auto simulate = [&](std::size_t stream) {
        MCRNGUTwister own; // one for each stream, never shared
        own.SetSeed(static_cast<double>(stream) + seed / 4294967296.0);
        MCRNGNormal normal(0.0, 1.0);
        normal.SetURNGenerator(own);
        for (int i = 0; i < 1000; ++i) means[stream] += normal.GetNext() / 1000;
    };
    std::vector<std::thread> threads;
    for (std::size_t stream = 0; stream < means.size(); ++stream) threads.emplace_back(simulate, stream);
    for (std::thread& thread : threads) thread.join();
    const std::vector<double> together = means;
    means.assign(4, 0.0);
    for (std::size_t stream = 0; stream < means.size(); ++stream) simulate(stream);
    std::printf("%s whichever thread ran when\n", means == together ? "the same" : "another");
}
