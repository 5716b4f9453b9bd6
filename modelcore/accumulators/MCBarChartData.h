// A bar chart of one categorical field in one pass.
#pragma once

#include "modelcore/common/internal/EmptiedOnMove.h"
#include "modelcore/modelcore_export.h"
#include "modelcore/output/MCVariateData.h"

#include <iosfwd>
#include <string>
#include <vector>

namespace MCMath_930 {

/// One bar for each named category of a field: the sum of the frequency weights of its cases, and the sum of their
/// products with the regression weights.
class MODELCORE_EXPORT MCBarChartData {
public:
    /// No cases in any of the named categories.
    explicit MCBarChartData(std::vector<std::string> categories);

    /// A deep copy.
    MCBarChartData(const MCBarChartData& other) = default;

    /// Deep as well. When memory runs out, this object is as it was.
    MCBarChartData& operator=(const MCBarChartData& other) { return internal::AssignByCopy(*this, other); }

    /// Takes everything over; other has no categories afterwards.
    MCBarChartData(MCBarChartData&& other) noexcept = default;
    MCBarChartData& operator=(MCBarChartData&& other) noexcept = default;

    ~MCBarChartData() = default;

    /// Adds one case to a category, counted from 0.
    /// @return  false, and nothing changed, when there is no such category or a weight is not >= 0
    bool UpdateData(double freqWeight, double regWeight, int category);

    /// Adds the cases of other.
    /// @return  false, and nothing changed, when the two differ in the names of their categories or in their order
    bool Merge(const MCBarChartData& other);

    /// The names of the categories.
    const std::vector<std::string>& GetCategories() const { return fvCategories; }
    /// The sum of frequency weights in each category.
    const std::vector<double>& GetFrequencies() const { return fvFrequencies; }
    /// The sum of the products of both weights in each category.
    const std::vector<double>& GetWeights() const { return fvWeights; }

    /// The sum of the products of both weights.
    double GetTotalWeight() const { return fdTotalWeight; }
    /// The sum of frequency weights.
    double GetTotalFrequency() const { return fdTotalFrequency; }
    /// The number of cases, unweighted.
    double GetNCases() const { return fdNCases; }

    /// The bars as chart data: a variable "category" of the given field name with the numbers of all categories and
    /// their names as texts, and a variable "frequency" with their counts. Every call returns the same object, built at
    /// the first and, under the name given then, built anew when cases have come since.
    const MCXML_930::MCVariateData& GenerateMCVariateData(const std::string& name);

    /// Writes the fields to the diagnostic text stream.
    void Display() const;

    /// Saves the state as an element of a flat value stream, every bit of it.
    /// @param indent  the depth of its tags, in tabs
    /// @return  the number of lines written; 0 when writing failed
    int WriteObjectXML(std::ostream& stream, int indent) const;

    /// Restores a state that was saved so. The stream stands before its element.
    /// @return  the number of lines read; 0, and nothing changed but the place in the stream, when they are not such a
    ///          state
    int ReadObjectXML(std::ifstream& stream);

private:
    std::vector<std::string> fvCategories;
    std::vector<double> fvFrequencies;
    std::vector<double> fvWeights;
    internal::EmptiedOnMove<double> fdTotalWeight = 0.0;
    internal::EmptiedOnMove<double> fdTotalFrequency = 0.0;
    internal::EmptiedOnMove<double> fdNCases = 0.0;
    internal::EmptiedOnMove<bool> fbCurrent = false; // whether fVariateData shows all cases
    MCXML_930::MCVariateData fVariateData;
};

} // namespace MCMath_930
