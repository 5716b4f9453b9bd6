// What the classes of the extension share.
#include "State.h"

#include <cmath>

namespace modelcore_python {

WeightList RowWeights(std::size_t rows, nb::handle frequency, nb::handle weight, WeightList* frequencies)
{
    const auto column = [rows](nb::handle given, const char* what) {
        const std::optional<Table> table = OptionalColumn(given, rows, what);
        if (!table) return std::vector<double>();
        std::vector<double> values = table->ReadColumn(0);
        for (std::size_t i = 0; i < values.size(); ++i) {
            if (!(values[i] < 0.0 || std::isinf(values[i]))) continue;
            std::string message = what;
            message += ": weights are finite and not negative (row ";
            message += std::to_string(i);
            message += ")";
            Refuse(message);
        }
        return values;
    };
    std::vector<double> cases = column(frequency, "frequency");
    std::vector<double> weights = column(weight, "weight");
    for (std::size_t i = 0; i < std::min(weights.size(), cases.size()); ++i) weights[i] = cases[i] * weights[i];
    if (weights.empty()) weights = cases;
    if (frequencies != nullptr && !cases.empty()) *frequencies = WeightList(std::move(cases));
    return weights.empty() ? WeightList() : WeightList(std::move(weights));
}

void RefuseState(MCStateBytes::Fault fault, std::string_view bytes, const std::string& wanted)
{
    std::string message = MCStateBytes::GetText(fault);
    if (fault == MCStateBytes::OtherVersion) {
        const auto version = static_cast<unsigned>(static_cast<unsigned char>(bytes[4])) |
                             static_cast<unsigned>(static_cast<unsigned char>(bytes[5])) << 8;
        message +=
            ": version " + std::to_string(version) + ", and it reads version " + std::to_string(MCStateBytes::kVersion);
    }
    if (fault == MCStateBytes::OtherKind) {
        std::string_view kind, content;
        MCStateBytes::Unwrap(bytes, kind, content);
        message += ": " + std::string(kind) + ", not " + wanted;
    }
    Refuse(message);
}

void RegisterState(nb::module_& m)
{
    m.def(
        "wrap_state",
        [](const std::string& kind, const nb::bytes& content) {
            return ToBytes(MCStateBytes::Wrap(kind, View(content)));
        },
        nb::arg("kind"), nb::arg("content"), "Content of one's own in the envelope of a state.");
    m.def(
        "unwrap_state",
        [](const std::string& kind, const nb::bytes& bytes) {
            std::string_view found, content;
            const MCStateBytes::Fault fault = MCStateBytes::Unwrap(View(bytes), found, content);
            if (fault != MCStateBytes::Ok) RefuseState(fault, View(bytes), kind);
            if (found != kind) RefuseState(MCStateBytes::OtherKind, View(bytes), kind);
            return ToBytes(std::string(content));
        },
        nb::arg("kind"), nb::arg("state"), "The content of an envelope of that kind; ValueError says what is wrong.");
}

} // namespace modelcore_python
