// Description of a variable that holds weights.
#pragma once

#include "modelcore/common/internal/EmptiedOnMove.h"
#include "modelcore/modelcore_export.h"
#include "modelcore/variables/MCVariable.h"

#include <memory>
#include <string>

namespace MCXML_930 {

/// A variable that says how much a case counts: how often it stands for itself (frequency weight) or how much is known
/// from it (regression weight). A weight is valid when it is finite and not below 0.
class MODELCORE_EXPORT MCWeightVariable : public MCVariable {
public:
    /// @param role  a role of weights; any other is taken as that of a frequency weight
    explicit MCWeightVariable(std::string name = {}, VariableRole role = RoleFrequencyWeight,
                              VariableStorage storage = StorageReal);

    /// Copies are deep. An assignment that runs out of memory leaves the variable as it was.
    MCWeightVariable(const MCWeightVariable& other) = default;
    MCWeightVariable& operator=(const MCWeightVariable& other)
    {
        return MCMath_930::internal::AssignByCopy(*this, other);
    }
    MCWeightVariable(MCWeightVariable&& other) noexcept = default;
    MCWeightVariable& operator=(MCWeightVariable&& other) noexcept = default;
    ~MCWeightVariable() override = default;

    MeasureLevel GetMeasureLevel() const override { return LevelContinuous; }
    bool SetRole(VariableRole role) override;
    std::unique_ptr<IMCVariable> Clone() const override;

protected:
    const char* ClassName() const override { return "MCWeightVariable"; }
    ValueKind ClassifyStored(const MCCommon_930::Value& value) const override;
    std::string RangeText(int width) const override;
    bool Load(const MCCommon_930::Value& map) override;
    std::unique_ptr<MCVariable> Loaded(const MCCommon_930::Value& map) const override;
    void Take(MCVariable& other) noexcept override;
};

} // namespace MCXML_930
