#include "modelcore/accumulators/MCClassificationMatrix.h"

#include "modelcore/accumulators/internal/StateStream.h"
#include "modelcore/common/MCDisplay.h"
#include "modelcore/common/internal/Index.h"

#include <algorithm>
#include <utility>

namespace MCMath_930 {

using internal::AsSize;

MCClassificationMatrix::MCClassificationMatrix(int k) : fWeights(k, k)
{
    fnCategories = fWeights.GetNRows();
}

MCClassificationMatrix::~MCClassificationMatrix() = default;

bool MCClassificationMatrix::UpdateData(double weight, int row, int column)
{
    const auto isCategory = [&](int i) { return i >= 0 && i < fnCategories; };
    if (!(weight > 0.0) || !isCategory(row) || !isCategory(column)) return false;
    fWeights.SetElem(row, column, fWeights.GetElem(row, column) + weight);
    fdTotalWeight += weight;
    return true;
}

bool MCClassificationMatrix::Merge(const MCClassificationMatrix& other)
{
    if (fnCategories != other.fnCategories) return false;
    for (int i = 0; i < fnCategories; ++i)
        for (int j = 0; j < fnCategories; ++j)
            fWeights.SetElem(i, j, fWeights.GetElem(i, j) + other.fWeights.GetElem(i, j));
    fdTotalWeight += other.fdTotalWeight;
    return true;
}

void MCClassificationMatrix::Display() const
{
    MCDisplay_930::DisplayStart("MCClassificationMatrix");
    MCDisplay_930::Display("Number of categories", static_cast<int>(fnCategories));
    MCDisplay_930::Display("Total weight", static_cast<double>(fdTotalWeight));
    MCDisplay_930::DisplayLine("Weights:");
    fWeights.Display();
    MCDisplay_930::DisplayEnd("MCClassificationMatrix");
}

int MCClassificationMatrix::WriteObjectXML(std::ostream& stream, int indent) const
{
    internal::StateWriter writer(stream, "MCClassificationMatrix", indent);
    writer.Write(static_cast<int>(fnCategories));
    writer.Write(static_cast<double>(fdTotalWeight));
    writer.Write(std::span(fWeights.GetPtr(), AsSize(fnCategories) * AsSize(fnCategories)));
    return writer.Finish();
}

int MCClassificationMatrix::ReadObjectXML(std::ifstream& stream)
{
    internal::StateReader reader(stream, "MCClassificationMatrix");
    int k = 0;
    double total = 0.0;
    std::vector<double> weights;
    reader.Read(k);
    reader.Require(k >= 0);
    reader.Read(total);
    reader.Read(weights, AsSize(k) * AsSize(k));
    const int lines = reader.Finish();
    if (lines == 0) return 0;
    MCClassificationMatrix read(k);
    read.fdTotalWeight = total;
    std::copy(weights.begin(), weights.end(), read.fWeights.GetPtr());
    *this = std::move(read);
    return lines;
}

} // namespace MCMath_930
