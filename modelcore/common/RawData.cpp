// RawData.
#include "modelcore/common/RawData.h"

#include "modelcore/common/MCDisplay.h"

namespace MCCommon_930 {

void RawData::SetString(const std::string& value, bool isNull)
{
    fString = value;
    fStorage = MCXML_930::IMCVariable::StorageString;
    fIsNull = isNull;
}

void RawData::SetString(const char* value, bool isNull)
{
    fString = value != nullptr ? value : "";
    fStorage = MCXML_930::IMCVariable::StorageString;
    fIsNull = isNull;
}

void RawData::Display() const
{
    MCDisplay_930::DisplayStart("RawData");
    MCDisplay_930::Display("Storage type", static_cast<int>(fStorage));
    MCDisplay_930::Display("Null indicator", fIsNull);
    switch (fStorage) {
    case MCXML_930::IMCVariable::StorageUndefined: break;
    case MCXML_930::IMCVariable::StorageInteger: MCDisplay_930::Display("Value", GetInteger()); break;
    case MCXML_930::IMCVariable::StorageString: MCDisplay_930::Display("Value", fString); break;
    default: MCDisplay_930::Display("Value", GetReal()); break;
    }
    MCDisplay_930::DisplayEnd("RawData");
}

} // namespace MCCommon_930
