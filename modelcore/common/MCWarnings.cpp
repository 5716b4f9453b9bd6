// MCWarnings and MCParameterValue.
#include "modelcore/common/MCWarnings.h"

#include "modelcore/common/MCDisplay.h"

#include <algorithm>
#include <iterator>
#include <tuple>
#include <utility>

namespace MCCommon_930 {

namespace {

// A vector that grows by as much as it holds, as push_back lets it, whatever the number of elements asked for.
template <class T>
void MakeRoom(std::vector<T>& list, std::size_t added)
{
    if (list.capacity() - list.size() < added) list.reserve(list.size() + std::max(list.size(), added));
}

bool HasNaN(const MCStatus& status)
{
    return !(status == status); // NOLINT(misc-redundant-expression)
}

void DisplayList(const char* label, const std::vector<MCStatus>& list)
{
    MCDisplay_930::Display(label, list.size());
    for (const MCStatus& status : list) status.Display();
}

} // namespace

void MCWarnings::MCParameterValue::SetInteger(int value)
{
    fInteger = value;
    fType = TypeInteger;
}

void MCWarnings::MCParameterValue::SetDouble(double value)
{
    fReal = value;
    fType = TypeReal;
}

void MCWarnings::MCParameterValue::SetString(std::string value)
{
    fString = std::move(value);
    fType = TypeString;
}

MCWarnings::~MCWarnings() = default;

void MCWarnings::MCParameterValue::Display() const
{
    MCDisplay_930::DisplayStart("MCParameterValue");
    MCDisplay_930::Display("Type", static_cast<int>(fType));
    MCDisplay_930::Display("Integer", fInteger);
    MCDisplay_930::Display("Real", fReal);
    MCDisplay_930::Display("String", fString);
    MCDisplay_930::DisplayEnd("MCParameterValue");
}

bool MCWarnings::Less::operator()(const MCStatus& a, const MCStatus& b) const
{
    const auto fields = [](const MCStatus& status) {
        return std::tuple(status.GetErrorCode(), status.IsWarning(), status.GetDiscreteDatum(0),
                          status.GetDiscreteDatum(1), status.GetDiscreteDatum(2), status.GetScaleDatum(0),
                          status.GetScaleDatum(1), status.GetScaleDatum(2));
    };
    return fields(a) < fields(b);
}

void MCWarnings::List::Add(const MCStatus& status)
{
    MakeRoom(statuses, 1);
    if (HasNaN(status) || sorted.insert(status).second) statuses.push_back(status);
}

void MCWarnings::List::MakeRoomFor(const List& added)
{
    MakeRoom(statuses, added.statuses.size());
}

// The nodes of the sorted statuses pass from list to list: after MakeRoomFor nothing here needs memory.
void MCWarnings::List::Take(List& added) noexcept
{
    for (const MCStatus& status : added.statuses)
        if (HasNaN(status) || !sorted.contains(status)) statuses.push_back(status);
    sorted.merge(added.sorted);
}

void MCWarnings::Merge(List& primary, List& secondary)
{
    fPrimary.MakeRoomFor(primary);
    fSecondary.MakeRoomFor(secondary);
    fPrimary.Take(primary);
    fSecondary.Take(secondary);
}

void MCWarnings::AddWarning(const MCStatus& status, Destination destination)
{
    if (!status.IsWarning()) return;
    List primary, secondary;
    if (destination != DestSecondary) primary.Add(status);
    if (destination != DestPrimary) secondary.Add(status);
    Merge(primary, secondary);
}

void MCWarnings::AddWarnings(const std::vector<MCStatus>& statuses)
{
    List primary, secondary;
    for (const MCStatus& status : statuses)
        if (status.IsWarning()) primary.Add(status);
    Merge(primary, secondary);
}

void MCWarnings::AddWarnings(MCWarnings other)
{
    // Codes without parameters are no content, so all that needs memory comes before anything is added.
    for (const auto& [code, place] : other.fParameterIndex)
        MakeRoom(ParametersOf(code), other.fvParameters[place].size());
    Merge(other.fPrimary, other.fSecondary);
    for (const auto& [code, place] : other.fParameterIndex) {
        Parameters& from = other.fvParameters[place];
        Parameters& to = ParametersOf(code);
        to.insert(to.end(), std::make_move_iterator(from.begin()), std::make_move_iterator(from.end()));
    }
}

bool MCWarnings::AddParameter(const MCStatus& status, int value)
{
    return Append(status, MCParameterValue(value));
}

bool MCWarnings::AddParameter(const MCStatus& status, double value)
{
    return Append(status, MCParameterValue(value));
}

bool MCWarnings::AddParameter(const MCStatus& status, std::string value)
{
    return Append(status, MCParameterValue(std::move(value)));
}

bool MCWarnings::HasParameter(const MCStatus& status) const
{
    const Parameters* const found = FindParameters(status);
    return found != nullptr && !found->empty();
}

const std::vector<MCWarnings::MCParameterValue>& MCWarnings::GetParameters(const MCStatus& status) const
{
    const Parameters* const found = FindParameters(status);
    if (found != nullptr)
        fvResult = *found;
    else
        fvResult.clear();
    return fvResult;
}

void MCWarnings::Display() const
{
    MCDisplay_930::DisplayStart("MCWarnings");
    DisplayList("Number of primary warnings", fPrimary.statuses);
    DisplayList("Number of secondary warnings", fSecondary.statuses);
    for (const auto& [code, place] : fParameterIndex) {
        if (fvParameters[place].empty()) continue;
        MCDisplay_930::Display("Parameters of code", static_cast<int>(code));
        for (const MCParameterValue& parameter : fvParameters[place]) {
            switch (parameter.GetType()) {
            case MCParameterValue::TypeInteger: MCDisplay_930::Display("Integer", parameter.ToInteger()); break;
            case MCParameterValue::TypeReal: MCDisplay_930::Display("Real", parameter.ToDouble()); break;
            case MCParameterValue::TypeString: MCDisplay_930::Display("String", parameter.ToString()); break;
            }
        }
    }
    MCDisplay_930::DisplayEnd("MCWarnings");
}

bool MCWarnings::Append(const MCStatus& status, MCParameterValue parameter)
{
    ParametersOf(static_cast<std::int32_t>(status.GetErrorCode())).push_back(std::move(parameter));
    return true;
}

MCWarnings::Parameters& MCWarnings::ParametersOf(std::int32_t code)
{
    const auto at = fParameterIndex.find(code);
    if (at != fParameterIndex.end()) return fvParameters[at->second];
    MakeRoom(fvParameters, 1);
    fParameterIndex.emplace(code, fvParameters.size());
    return fvParameters.emplace_back();
}

const MCWarnings::Parameters* MCWarnings::FindParameters(const MCStatus& status) const
{
    const auto at = fParameterIndex.find(static_cast<std::int32_t>(status.GetErrorCode()));
    return at != fParameterIndex.end() ? &fvParameters[at->second] : nullptr;
}

} // namespace MCCommon_930
