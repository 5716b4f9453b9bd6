// Description of a continuous variable.
#pragma once

#include "modelcore/common/MCMV.h"
#include "modelcore/common/internal/EmptiedOnMove.h"
#include "modelcore/modelcore_export.h"
#include "modelcore/variables/MCVariable.h"

#include <memory>
#include <string>

namespace MCXML_930 {

/// A variable whose values are amounts: numbers, dates, times. It may have an interval of valid values and a unit.
class MODELCORE_EXPORT MCContinuousVariable : public MCVariable {
public:
    /// Storage string and boolean are taken as undefined: they hold no amounts.
    explicit MCContinuousVariable(std::string name = {}, VariableStorage storage = StorageReal,
                                  VariableRole role = RoleInput);

    /// Copies are deep. An assignment that runs out of memory leaves the variable as it was.
    MCContinuousVariable(const MCContinuousVariable& other) = default;
    MCContinuousVariable& operator=(const MCContinuousVariable& other)
    {
        return MCMath_930::internal::AssignByCopy(*this, other);
    }
    MCContinuousVariable(MCContinuousVariable&& other) noexcept = default;
    MCContinuousVariable& operator=(MCContinuousVariable&& other) noexcept = default;
    ~MCContinuousVariable() override = default;

    MeasureLevel GetMeasureLevel() const override { return LevelContinuous; }

    /// Values outside [lowest, highest] are invalid. System-missing leaves an end open, which both are at first.
    /// @return  false, and nothing changed, when an end is a NaN or lowest is above highest
    bool SetInterval(double lowest, double highest);
    /// The lower end; system-missing when it is open.
    double GetLowest() const { return fdLowest; }
    /// The upper end; system-missing when it is open.
    double GetHighest() const { return fdHighest; }

    /// The unit of the values, for people.
    void SetUnit(const std::string& unit) { fUnit = unit; }
    const std::string& GetUnit() const { return fUnit; }

    std::unique_ptr<IMCVariable> Clone() const override;

protected:
    const char* ClassName() const override { return "MCContinuousVariable"; }
    ValueKind ClassifyStored(const MCCommon_930::Value& value) const override;
    std::string RangeText(int width) const override;
    void Save(MCCommon_930::Value& map) const override;
    bool Load(const MCCommon_930::Value& map) override;
    std::unique_ptr<MCVariable> Loaded(const MCCommon_930::Value& map) const override;
    void Take(MCVariable& other) noexcept override;

private:
    double fdLowest = MCCommon_930::MCMV::gMissingValue;
    double fdHighest = MCCommon_930::MCMV::gMissingValue;
    std::string fUnit;
};

} // namespace MCXML_930
