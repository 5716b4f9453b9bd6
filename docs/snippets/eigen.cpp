// The code of docs/eigen.md.
#include "modelcore/modelcore.h"

#include <cstdio>
#include <vector>

using namespace MCMath_930;

int main()
{
    // Correlations that were computed from different cases need not fit together.
    const std::vector<double> packed = {1.0, 0.9, 1.0, -0.9, 0.9, 1.0};
    const MCSymMatrix correlations(3, packed);
    MCEigenValues eigen(correlations, 1e-14, 30);
    std::vector<double> values;
    MCRectMatrix vectors;
    if (eigen.GetSorted(values, vectors, true) < 3) return 1; // vectors in columns

    MCSymMatrix repaired;
    bool changed = false;
    eigen.GetPDHMatrix(1e-3, repaired, changed); // the negative eigenvalue is raised to 1e-3
    std::printf("%.4f %.4f %.4f%s\n", values[0], values[1], values[2], changed ? ", repaired" : "");

    const MCRectMatrix table(3, 2, std::vector<double>{3, 0, 4, 5, 0, 0});
    MCRectMatrix U, V;
    if (MCSingularValues(table).Compute(values, U, V) < 2) return 1; // table = U * diag(values) * V'
    std::printf("%.4f %.4f\n", values[0], values[1]);
}
