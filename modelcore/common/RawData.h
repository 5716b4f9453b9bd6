// One typed cell of a raw data row.
#pragma once

#include "modelcore/common/IMCVariable.h"
#include "modelcore/modelcore_export.h"

#include <bit>
#include <string>

namespace MCCommon_930 {

/// A typed cell that may be null: a storage type, a null flag, one 8-byte numeric field that all numeric types share
/// and a string. Setting a value changes the type, the flag and the field it belongs to, and leaves the other field.
class MODELCORE_EXPORT RawData {
public:
    /// Storage undefined, null, 0 and an empty string.
    RawData() = default;

    /// Stores an integer; the null flag becomes isNull, here and below.
    void SetInteger(const long long& value, bool isNull)
    {
        SetNumeric(MCXML_930::IMCVariable::StorageInteger, value, isNull);
    }
    /// Stores a real.
    void SetReal(const double& value, bool isNull) { SetReal(MCXML_930::IMCVariable::StorageReal, value, isNull); }
    /// Stores a date; its unit is a matter of those who write and read it, here and below.
    void SetDate(const double& value, bool isNull) { SetReal(MCXML_930::IMCVariable::StorageDate, value, isNull); }
    /// Stores a time of day.
    void SetTime(const double& value, bool isNull) { SetReal(MCXML_930::IMCVariable::StorageTime, value, isNull); }
    /// Stores a date with a time.
    void SetTimestamp(const double& value, bool isNull)
    {
        SetReal(MCXML_930::IMCVariable::StorageTimestamp, value, isNull);
    }
    /// Stores a byte string. When memory runs out the cell is as it was.
    void SetString(const std::string& value, bool isNull);
    /// A null pointer is an empty string.
    void SetString(const char* value, bool isNull);

    /// Changes the flag only.
    void SetIsNull(bool isNull) { fIsNull = isNull; }

    /// The null flag.
    bool IsNull() const { return fIsNull; }
    /// What was stored last. The name is spelled so for good: programs call it.
    MCXML_930::IMCVariable::VariableStorage GetStorgeType() const { return fStorage; }

    /// The numeric field. Nothing is converted: reading a cell with the getter of the other kind gives the stored 8
    /// bytes as that kind, so GetReal of an integer cell is not the integer's value.
    long long GetInteger() const { return fNumeric; }
    double GetReal() const { return std::bit_cast<double>(fNumeric); }
    double GetDate() const { return GetReal(); }
    double GetTime() const { return GetReal(); }
    double GetTimestamp() const { return GetReal(); }

    /// The string; empty when none was stored.
    const std::string& GetString() const { return fString; }

    /// Writes the cell to the diagnostic text stream.
    void Display() const;

private:
    void SetNumeric(MCXML_930::IMCVariable::VariableStorage storage, long long bits, bool isNull)
    {
        fStorage = storage;
        fIsNull = isNull;
        fNumeric = bits;
    }
    void SetReal(MCXML_930::IMCVariable::VariableStorage storage, double value, bool isNull)
    {
        SetNumeric(storage, std::bit_cast<long long>(value), isNull);
    }

    MCXML_930::IMCVariable::VariableStorage fStorage = MCXML_930::IMCVariable::StorageUndefined;
    bool fIsNull = true;
    long long fNumeric = 0; // the bits of a double for all types but integer
    std::string fString;
};

} // namespace MCCommon_930
