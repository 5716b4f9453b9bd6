// Description of a variable of a model.
#pragma once

#include "modelcore/common/Value.h"
#include "modelcore/modelcore_export.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace MCXML_930 {

/// A variable of a model: the interface that descriptions of continuous, categorical and weight variables share. A
/// variable describes a field of the data (how it is stored, which of its values are missing or invalid) and its place
/// in a model (its role, the level on which it was measured). The order of the virtual functions is part of the binary
/// interface.
class MODELCORE_EXPORT IMCVariable {
public:
    /// How the values of a variable are stored. Dates, times and timestamps are numbers.
    enum VariableStorage : std::int32_t {
        StorageUndefined = 0,
        StorageInteger = 1,
        StorageReal = 2,
        StorageString = 3,
        StorageDate = 4,
        StorageTime = 5,
        StorageTimestamp = 6,
        StorageBoolean = 7
    };

    /// What the values say: names, an order, or amounts.
    enum MeasureLevel : std::int32_t { LevelNominal = 0, LevelOrdinal = 1, LevelContinuous = 2 };

    /// What a model does with the variable.
    enum VariableRole : std::int32_t {
        RoleInput = 0,
        RoleTarget = 1,
        RoleFrequencyWeight = 2,
        RoleRegressionWeight = 3,
        RoleOffset = 4,
        RoleGroup = 5,
        RoleOrder = 6,
        RoleSupplementary = 7 ///< kept beside the model, not used by it
    };

    /// What a value of the field is to a model.
    enum ValueKind : std::int32_t { ValueValid = 0, ValueMissing = 1, ValueInvalid = 2 };

    virtual ~IMCVariable();

    /// The name by which the variable is found.
    virtual const std::string& GetName() const = 0;
    /// Text for people; may be empty.
    virtual const std::string& GetLabel() const = 0;
    /// The level on which it was measured.
    virtual MeasureLevel GetMeasureLevel() const = 0;
    /// What a model does with it.
    virtual VariableRole GetRole() const = 0;
    /// How its values are stored.
    virtual VariableStorage GetStorage() const = 0;
    /// The values that stand for a missing one, besides null, the system-missing real and NaN.
    virtual const std::vector<MCCommon_930::Value>& GetMissingCodes() const = 0;

    /// What the value is: missing (null, system-missing, NaN or a missing code), invalid (not of the storage type, or
    /// not among the values that the description allows) or valid. Numbers are compared as numbers, exactly: the
    /// integer 9 is the real 9.0.
    virtual ValueKind Classify(const MCCommon_930::Value& value) const = 0;

    /// A copy on the heap.
    virtual std::unique_ptr<IMCVariable> Clone() const = 0;

    /// One line for people: name, level, role, storage and values.
    virtual std::string ToString() const = 0;

    /// Writes the description to the diagnostic text stream.
    virtual void Display() const = 0;

protected:
    IMCVariable() = default;
    IMCVariable(const IMCVariable&) = default;
    IMCVariable& operator=(const IMCVariable&) = default;
};

} // namespace MCXML_930
