// What the classes of the extension share.
#include "Common.h"

#include <cmath>

namespace modelcore_python {

std::vector<double> RowWeights(std::size_t rows, nb::handle frequency, nb::handle weight,
                               std::vector<double>* frequencies)
{
    std::vector<double> weights(rows, 1.0);
    if (frequencies != nullptr) frequencies->assign(rows, 1.0);
    const auto multiply = [&](nb::handle given, const char* what, bool isFrequency) {
        const std::optional<Table> column = OptionalColumn(given, rows, what);
        if (!column) return;
        const std::vector<double> values = column->ReadColumn(0);
        for (std::size_t i = 0; i < rows; ++i) {
            if (values[i] < 0.0 || std::isinf(values[i])) {
                std::string message = what;
                message += ": weights are finite and not negative (row ";
                message += std::to_string(i);
                message += ")";
                Refuse(message);
            }
            weights[i] *= values[i];
            if (isFrequency && frequencies != nullptr) (*frequencies)[i] = values[i];
        }
    };
    multiply(frequency, "frequency", true);
    multiply(weight, "weight", false);
    return weights;
}

} // namespace modelcore_python
