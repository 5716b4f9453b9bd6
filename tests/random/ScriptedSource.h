// A uniform source that returns given numbers, over and over.
#pragma once

#include "modelcore/random/MCRNGenerator.h"
#include "modelcore/random/MCRandom.h"

#include <cstddef>
#include <utility>
#include <vector>

/// For both families of generators.
class ScriptedSource : public MCMath_930::MCRNGenerator, public MCCommon_930::MCRandom {
public:
    explicit ScriptedSource(std::vector<double> numbers) : fvNumbers(std::move(numbers)) {}

    void SetSeed(double s) override { fSeed = s; }
    double GetNext() override { return fvNumbers[fnDrawn++ % fvNumbers.size()]; }
    double GetRandom() override { return GetNext(); }

    double Seed() const { return fSeed; }
    std::size_t Drawn() const { return fnDrawn; }

private:
    std::vector<double> fvNumbers;
    std::size_t fnDrawn = 0;
    double fSeed = 0.0;
};
