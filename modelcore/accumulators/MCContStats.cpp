#include "modelcore/accumulators/MCContStats.h"

#include "modelcore/accumulators/internal/StateStream.h"
#include "modelcore/common/MCDisplay.h"

#include <array>

namespace MCMath_930 {

using MCCommon_930::MCMV;

bool MCContStats::Update(double x, double freqWeight, double regWeight)
{
    if (MCMV::IsMissing(x) || MCMV::IsMissing(freqWeight) || MCMV::IsMissing(regWeight)) return false;
    if (MCMV::IsMissing(fdMin) || fdMin > x) fdMin = x;
    if (MCMV::IsMissing(fdMax) || fdMax < x) fdMax = x;
    const double frequency = freqWeight <= 0.0 ? 1.0 : freqWeight;
    const double weight = frequency * (regWeight <= 0.0 ? 1.0 : regWeight);
    const double total = fdSumWeights + weight;
    const double distance = x - fdMean;
    fdSumFreqWeights += frequency;
    // The first case has no deviation. Its square could be infinite, and 0 times that is a NaN.
    if (fdSumWeights > 0.0) [[likely]]
        fdSumSquares += fdSumWeights * weight / total * (distance * distance);
    else
        fdSumSquares = 0.0 * distance;
    fdMean += distance * weight / total;
    fdSumWeights = total;
    return true;
}

void MCContStats::Pool(const MCContStats& other)
{
    if (other.fdSumFreqWeights == 0.0) return;
    if (fdSumFreqWeights == 0.0) {
        *this = other;
        return;
    }
    if (fdMin > other.fdMin) fdMin = other.fdMin;
    if (fdMax < other.fdMax) fdMax = other.fdMax;
    const double total = fdSumWeights + other.fdSumWeights;
    const double distance = other.fdMean - fdMean;
    fdSumSquares =
        fdSumSquares + other.fdSumSquares + fdSumWeights * other.fdSumWeights * (distance * distance) / total;
    fdMean += distance * other.fdSumWeights / total;
    fdSumFreqWeights += other.fdSumFreqWeights;
    fdSumWeights = total;
}

double MCContStats::GetMean() const
{
    return fdSumFreqWeights == 0.0 ? MCMV::Missing() : fdMean;
}

double MCContStats::GetVariance() const
{
    return fdSumFreqWeights > 1.0 ? fdSumSquares / (fdSumFreqWeights - 1.0) : MCMV::Missing();
}

void MCContStats::Display() const
{
    const std::array extrema{fdMin, fdMax};
    const std::array sums{fdSumFreqWeights, fdSumWeights};
    MCDisplay_930::DisplayStart("MCContStats");
    MCDisplay_930::Display("Min & max", extrema);
    MCDisplay_930::Display("Sum of freq. wgts, composite wgts", sums);
    MCDisplay_930::Display("Mean", GetMean());
    MCDisplay_930::Display("Sum of squared deviations", fdSumSquares);
    MCDisplay_930::DisplayEnd("MCContStats");
}

int MCContStats::WriteObjectXML(std::ostream& stream, int indent) const
{
    internal::StateWriter writer(stream, "MCContStats", indent);
    writer.Write(GetState());
    return writer.Finish();
}

int MCContStats::ReadObjectXML(std::ifstream& stream)
{
    internal::StateReader reader(stream, "MCContStats");
    std::array<double, 6> state{};
    for (double& number : state) reader.Read(number);
    const int lines = reader.Finish();
    if (lines > 0) SetState(state);
    return lines;
}

void MCContStats::SetState(const std::array<double, 6>& state)
{
    fdMin = state[0];
    fdMax = state[1];
    fdSumFreqWeights = state[2];
    fdSumWeights = state[3];
    fdMean = state[4];
    fdSumSquares = state[5];
}

} // namespace MCMath_930
