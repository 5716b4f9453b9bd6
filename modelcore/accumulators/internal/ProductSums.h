// Sums of products over the rows of a block.
#pragma once

#include "modelcore/matrix/MCSymMatrix.h"

#include <cstddef>
#include <memory>
#include <vector>

namespace MCMath_930::internal {

/// Rows of nVars values followed by nWeights weights, 2 at most.
struct WeightedRows {
    const double* rows = nullptr;
    std::size_t stride = 0;
    std::size_t nRows = 0;
    int nVars = 0;
    int nWeights = 0;

    const double* Row(std::size_t r) const { return rows + r * stride; }

    /// The weights of count rows. They are formed where they are needed: to gather all of them first would fetch every
    /// row once more.
    void GetWeights(std::size_t first, std::size_t count, double* weights) const
    {
        const double* weight = Row(first) + nVars;
        for (std::size_t k = 0; k < count; ++k, weight += stride)
            weights[k] = nWeights == 0 ? 1.0 : nWeights == 1 ? weight[0] : weight[0] * weight[1];
    }
};

/// to[k] += from[k] + s*a[k] + t*b[k] for k in [0, count), the sum from left to right; to may be from. A function of
/// its own, since g++ 12 makes the loop 1.3 times slower where it copies it into another.
void AddMergedRow(double* to, const double* from, double s, const double* a, double t, const double* b,
                  std::size_t count);

/// Adds the products of rows to a matrix, on deviations that are laid out for the register tile. The room for them is
/// made by the constructor, which may throw, so that it can be made before anything changes.
class ProductSums {
public:
    /// For blocks with the variables and at most as many rows as this one.
    explicit ProductSums(const WeightedRows& block);

    /// xProds(i,j) += (w*(x_i - m_i))*(x_j - m_j) for each row of the block in order, each operation rounded. The
    /// intermediate sums are those of the plain loop, element by element.
    /// @param means  null: zeros
    void Add(const WeightedRows& block, const double* means, MCSymMatrix& xProds) noexcept;

private:
    std::vector<double> fvZeros;
    std::unique_ptr<double[]> fRoom;
    double* fLeft;
    double* fRight;
};

} // namespace MCMath_930::internal
