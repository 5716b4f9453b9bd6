// What the tests of random numbers share.
#pragma once

#include "modelcore/modelcore.h"
#include "support/Testing.h"

using namespace MCMath_930;

/// A uniform source for both families of generators, which returns given numbers, over and over.
class ScriptedSource : public MCRNGenerator, public MCCommon_930::MCRandom {
public:
    explicit ScriptedSource(std::vector<double> numbers) : fvNumbers(std::move(numbers)) {}

    void SetSeed(double) override {}
    double GetNext() override { return fvNumbers[fnDrawn++ % fvNumbers.size()]; }
    double GetRandom() override { return GetNext(); }

    std::size_t Drawn() const { return fnDrawn; }

private:
    std::vector<double> fvNumbers;
    std::size_t fnDrawn = 0;
};
