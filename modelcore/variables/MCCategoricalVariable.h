// Description of a categorical variable.
#pragma once

#include "modelcore/common/internal/EmptiedOnMove.h"
#include "modelcore/modelcore_export.h"
#include "modelcore/variables/MCVariable.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace MCXML_930 {

/// A variable whose values are names of groups: a list of categories in a given order, which counts (ordinal) or does
/// not (nominal). While no valid category is listed, every value of the storage type is valid; from then on the listed
/// ones are.
class MODELCORE_EXPORT MCCategoricalVariable : public MCVariable {
public:
    /// One value and what it is.
    struct Category {
        MCCommon_930::Value value;   ///< a bool, number or string
        std::string label;           ///< for people; may be empty
        ValueKind kind = ValueValid; ///< what it is to a model
    };

    /// A nominal variable without categories.
    explicit MCCategoricalVariable(std::string name = {}, VariableStorage storage = StorageString,
                                   VariableRole role = RoleInput);

    /// Copies are deep. An assignment that runs out of memory leaves the variable as it was.
    MCCategoricalVariable(const MCCategoricalVariable& other) = default;
    MCCategoricalVariable& operator=(const MCCategoricalVariable& other)
    {
        return MCMath_930::internal::AssignByCopy(*this, other);
    }
    MCCategoricalVariable(MCCategoricalVariable&& other) noexcept = default;
    MCCategoricalVariable& operator=(MCCategoricalVariable&& other) noexcept = default;
    ~MCCategoricalVariable() override = default;

    MeasureLevel GetMeasureLevel() const override { return fbOrdered ? LevelOrdinal : LevelNominal; }
    /// Whether the order of the categories says something; not so at first.
    void SetOrdered(bool ordered) { fbOrdered = ordered; }
    bool IsOrdered() const { return fbOrdered; }

    /// Adds a category at the end.
    /// @return  its place; -1, and nothing changed, when there is a category of that value (numbers compared as
    ///          numbers), or the value is missing, or no bool, number or string
    int AddCategory(const MCCommon_930::Value& value, const std::string& label = {}, ValueKind kind = ValueValid);
    /// The number of categories.
    int GetNCategories() const { return static_cast<int>(fvCategories.size()); }
    /// The categories in their order.
    const std::vector<Category>& GetCategories() const { return fvCategories; }
    /// The place of a category; -1 when it is not listed. Takes time in the logarithm of their number.
    int FindCategory(const MCCommon_930::Value& value) const;

    /// Sorts the categories: false before true, numbers by size, then text by bytes.
    void SortCategories();

    std::unique_ptr<IMCVariable> Clone() const override;

protected:
    const char* ClassName() const override { return "MCCategoricalVariable"; }
    ValueKind ClassifyStored(const MCCommon_930::Value& value) const override;
    std::string RangeText(int width) const override;
    void Save(MCCommon_930::Value& map) const override;
    bool Load(const MCCommon_930::Value& map) override;
    std::unique_ptr<MCVariable> Loaded(const MCCommon_930::Value& map) const override;
    void Take(MCVariable& other) noexcept override;

private:
    std::size_t LowerBound(const MCCommon_930::Value& value) const;

    std::vector<Category> fvCategories;
    std::vector<int> fvSorted; // places of the categories in sorted order
    int fnValid = 0;
    bool fbOrdered = false;
};

} // namespace MCXML_930
