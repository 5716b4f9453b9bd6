// The code of docs/sparse-and-block.md: a sparse design, independent parts, a grid of symmetric matrices.
#include "modelcore/modelcore.h"

#include <cmath>
#include <cstdio>
#include <vector>

using namespace MCMath_930;

namespace {

struct Case {
    int group;
    double x;
};

void Print(const char* what, const std::vector<double>& values)
{
    std::printf("%s", what);
    for (const double value : values) std::printf(" %.4g", value);
    std::printf("\n");
}

void SparseDesign()
{
    const std::vector<Case> cases{{0, 1}, {0, 2}, {1, 0}, {1, 5}, {2, 3}, {2, 4}};
    const std::vector<double> y{3, 5, 4, 14, 3, 5}; // 1, 4, -3 for the groups and 2 for x

    // Three groups and a covariate are four columns, of which a case has two.
    MCSparseRectMatrix design(100, 4, 2);
    MCSymMatrix crossProducts(4);
    std::vector<int> columns(2);
    std::vector<double> values(2);
    const MCSparseVector row(columns, values); // looks at the two vectors
    for (const Case& c : cases) {
        columns = {c.group, 3};
        values = {1.0, c.x};
        design.AddRow(row);
        row.QuadraticOuterProductIncr(crossProducts, 1.0);
    }

    std::vector<double> right, diagonal, estimates, fitted;
    design.ComputeVR(y, right); // X'y
    crossProducts.GetDiagonal(diagonal);
    const int redundant = crossProducts.LTChol(diagonal, 1e-8, true);
    crossProducts.LTSolve(right, estimates);
    design.ComputeRV(estimates, fitted);

    std::printf("%d redundant columns\n", redundant);
    Print("estimates", estimates);
    Print("fitted", fitted);
}

void IndependentParts()
{
    const std::vector<double> b{1, 2, 3, 4, 5, 6, 7};

    const MCSymMatrix pair(2, std::vector<double>{4, 2, 3}); // packed elements
    MCSymBlockDiagMatrix covariance;
    covariance.AddBlock(pair);
    covariance.AddBlock(MCDiagMatrix({2, 5, 10}));
    covariance.AddBlock(pair);
    const double inBlock = covariance.GetElem(6, 5);   // in the last block
    const double between = covariance.GetElem(5, 1);   // 0: between blocks
    const bool stored = covariance.SetElem(5, 1, 1.0); // false, and nothing changed

    MCSymBlockDiagMatrix factor(covariance);
    double logDet = 0.0;
    factor.LTChol(1e-12, logDet, true);
    std::vector<double> x;
    factor.LTSolve(b, x); // covariance * x = b

    std::vector<double> diagonal;
    covariance.GetDiagonal(diagonal);
    MCSymBlockDiagMatrix inverse;
    const int rank = covariance.CholInverse(diagonal, 1e-12, inverse);

    std::printf("elements %g and %g, %s\n", inBlock, between, stored ? "stored" : "not stored");
    std::printf("determinant %.0f, rank %d, %s blocks\n", std::exp(logDet), rank,
                inverse.IsSameStructure(covariance) ? "the same" : "other");
    Print("x", x);
}

void Grid()
{
    // Two logits, two predictors: for each pair of logits a symmetric matrix of order 2.
    const std::vector<double> x{1, 3};
    const std::vector<double> probs{0.5, 0.25}; // of the categories but the last
    MCSymBlockMatrix information(2, 2);
    for (int b = 0; b < 2; ++b)
        for (int c = 0; c <= b; ++c) {
            const double pb = probs[static_cast<std::size_t>(b)], pc = probs[static_cast<std::size_t>(c)];
            information.GetElemSSRef(b, c).UpdateXX(x, (b == c ? pb : 0.0) - pb * pc);
        }
    MCSymMatrix whole;
    information.CopyToSymMatrix(whole); // of order 4

    Print("information", {whole.AsSpan().begin(), whole.AsSpan().end()});
}

} // namespace

int main()
{
    SparseDesign();
    IndependentParts();
    Grid();
}
