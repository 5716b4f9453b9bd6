// The code on docs/random.md.
#include "modelcore/modelcore.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <thread>
#include <vector>

using namespace MCMath_930;

TEST(RandomPage, DrawsAndSeeds)
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
    if (!values.SetParamNormal({10.0, 0.0}, 1.0, covariance)) return; // not positive semidefinite
    values.GetRandom(x);

    EXPECT_TRUE(cases >= 0.0 && cases <= 60.0);
    EXPECT_EQ(x.size(), 2u);
}

TEST(RandomPage, SavesAndRestores)
{
    const std::string path = testing::TempDir() + "RandomPage";
    MCURandom uniform(99, true, true, nullptr);
    std::fstream out(path, std::ios::out | std::ios::binary);
    if (uniform.WriteObject(out) != 20) return; // the disk is full
    out.close();

    MCURandom again;
    std::fstream in(path, std::ios::in | std::ios::binary);
    if (again.ReadObject(in) != 20) return; // not a record: again is as it was
    EXPECT_EQ(again.GetRandom(), uniform.GetRandom());
}

TEST(RandomPage, StreamsForThreads)
{
    const double seed = 20240229;
    std::vector<double> means(4);
    const auto simulate = [&](std::size_t stream) {
        MCRNGUTwister source; // one for each stream, never shared
        source.SetSeed(static_cast<double>(stream) + seed / 4294967296.0);
        MCRNGNormal normal(0.0, 1.0);
        normal.SetURNGenerator(source);
        for (int i = 0; i < 1000; ++i) means[stream] += normal.GetNext() / 1000;
    };
    std::vector<std::thread> threads;
    for (std::size_t stream = 0; stream < means.size(); ++stream) threads.emplace_back(simulate, stream);
    for (std::thread& thread : threads) thread.join();

    const std::vector<double> together = means;
    means.assign(4, 0.0);
    for (std::size_t stream = 0; stream < means.size(); ++stream) simulate(stream);
    EXPECT_EQ(means, together); // whichever thread ran when
}
