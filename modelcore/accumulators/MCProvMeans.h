// Provisional means: cases added and taken back by the sign of their weight.
#pragma once

#include "modelcore/accumulators/MCMeansXProdData.h"

namespace MCMath_930 {

/// MCMeansXProdData driven by signed case weights: a positive weight adds a case, a negative one takes it back.
class MODELCORE_EXPORT MCProvMeans : public MCMeansXProdData {
public:
    /// No variables; with the intercept.
    MCProvMeans() = default;

    /// p variables and no cases yet; no variables when p is not an order that a packed matrix can have.
    MCProvMeans(int p, bool intercept);

    MCProvMeans(const MCProvMeans& other) = default;
    MCProvMeans& operator=(const MCProvMeans& other) = default;

    /// Takes everything over; other has no variables afterwards and keeps its intercept flag.
    MCProvMeans(MCProvMeans&& other) noexcept = default;
    MCProvMeans& operator=(MCProvMeans&& other) noexcept = default;

    ~MCProvMeans() override;

    /// Adds the case x when w > 0, deletes it with weight -w when w < 0, leaves all as it is when w = 0. A weight that
    /// brings the weighted number of cases to exactly 0 clears the accumulator.
    /// @param x  at least p values, the first p are used
    /// @return   false, and nothing changed, when x is too short or the weighted number of cases would be negative or
    ///           not a number
    bool Update(const std::vector<double>& x, double w);

    /// As the base does, with a frame of its own; so do the next two.
    void Display() const override;
    int WriteObjectXML(std::ostream& stream, int indent) const override;
    int ReadObjectXML(std::ifstream& stream) override;
};

} // namespace MCMath_930
