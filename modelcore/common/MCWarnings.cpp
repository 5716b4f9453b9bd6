// MCWarnings and MCParameterValue.
#include "modelcore/common/MCWarnings.h"

#include "modelcore/common/MCDisplay.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace MCCommon_930 {

namespace {

void AddOnce(std::vector<MCStatus>& list, const MCStatus& status)
{
    if (std::find(list.begin(), list.end(), status) == list.end()) list.push_back(status);
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

void MCWarnings::AddWarning(const MCStatus& status, Destination destination)
{
    if (!status.IsWarning()) return;
    const MCStatus added = status; // it may stand in a list that is about to grow
    if (destination != DestSecondary) AddOnce(fvPrimary, added);
    if (destination != DestPrimary) AddOnce(fvSecondary, added);
}

void MCWarnings::AddWarnings(const std::vector<MCStatus>& statuses)
{
    // By index and size on entry: the list may be our own, which grows when it holds a NaN datum.
    for (std::size_t i = 0, count = statuses.size(); i < count; ++i) AddWarning(statuses[i], DestPrimary);
}

void MCWarnings::AddWarnings(MCWarnings other)
{
    for (const MCStatus& status : other.fvPrimary) AddWarning(status, DestPrimary);
    for (const MCStatus& status : other.fvSecondary) AddWarning(status, DestSecondary);
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
    DisplayList("Number of primary warnings", fvPrimary);
    DisplayList("Number of secondary warnings", fvSecondary);
    for (const auto& [code, place] : fParameterIndex) {
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
    fvParameters.emplace_back();
    fParameterIndex.emplace(code, fvParameters.size() - 1); // last: a table entry without an index harms nothing
    return fvParameters.back();
}

const MCWarnings::Parameters* MCWarnings::FindParameters(const MCStatus& status) const
{
    const auto at = fParameterIndex.find(static_cast<std::int32_t>(status.GetErrorCode()));
    return at != fParameterIndex.end() ? &fvParameters[at->second] : nullptr;
}

} // namespace MCCommon_930
