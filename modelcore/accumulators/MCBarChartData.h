// A bar chart of one categorical field in one pass.
#pragma once

#include "modelcore/modelcore_export.h"
#include "modelcore/output/MCVariateData.h"

#include <string>
#include <vector>

namespace MCMath_930 {

/// One bar for each named category of a field: the sum of the frequency weights of its cases, and the sum of their
/// products with the regression weights.
class MODELCORE_EXPORT MCBarChartData {
public:
    explicit MCBarChartData(std::vector<std::string> categories);

    /// Adds one case to a category, counted from 0.
    /// @return  false, and nothing changed, when there is no such category or a weight is not >= 0
    bool UpdateData(double freqWeight, double regWeight, int category);

    const std::vector<std::string>& GetCategories() const { return fvCategories; }
    /// The sum of frequency weights in each category.
    const std::vector<double>& GetFrequencies() const { return fvFrequencies; }
    /// The sum of the products of both weights in each category.
    const std::vector<double>& GetWeights() const { return fvWeights; }

    double GetTotalWeight() const { return fdTotalWeight; }
    double GetTotalFrequency() const { return fdTotalFrequency; }
    /// The number of cases, unweighted.
    double GetNCases() const { return fdNCases; }

    /// The bars as chart data: a variable "category" of the given field name with the numbers of all categories, and a
    /// variable "frequency" with their counts. Built at the first call; later calls return the same object, whatever
    /// was added since.
    const MCXML_930::MCVariateData& GenerateMCVariateData(const std::string& name);

    /// Writes the fields to the diagnostic text stream.
    void Display() const;

private:
    std::vector<std::string> fvCategories;
    std::vector<double> fvFrequencies;
    std::vector<double> fvWeights;
    double fdTotalWeight = 0.0;
    double fdTotalFrequency = 0.0;
    double fdNCases = 0.0;
    bool fbGenerated = false;
    MCXML_930::MCVariateData fVariateData;
};

} // namespace MCMath_930
