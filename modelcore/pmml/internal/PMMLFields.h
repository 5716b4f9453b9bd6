// The fields of a PMML document: what stands of them in data dictionary, mining schema and derived fields.
#pragma once

#include "modelcore/common/Value.h"
#include "modelcore/pmml/internal/PMMLWriter.h"
#include "modelcore/variables/IMCEncoder.h"
#include "modelcore/variables/MCVariableList.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace MCXML_930::internal {

/// What the document says of one variable.
struct PMMLField {
    enum class Data : std::uint8_t { Number, Text, Bool };

    const MCVariable* variable = nullptr;
    const IMCEncoder* encoder = nullptr;
    std::vector<std::string> columns; ///< names of the derived fields of the encoder
    std::string tidied;               ///< name of the derived field of tidied text; empty: none
    std::string present;              ///< the same, but missing where it counts as such; empty: none

    Data data = Data::Number;
    bool categorical = false;
    bool used = false;                      ///< by the model, or shown
    bool refusesMissing = false;            ///< the model would not notice that a value is missing
    std::vector<MCCommon_930::Value> valid; ///< listed as the valid values; empty: all are
    std::string outliers = "asIs";          ///< and the other treatments, as the mining schema has them
    double lowest = MCCommon_930::MCMV::gMissingValue, highest = lowest;
    std::string missing = "asIs", replacement, invalid = "asMissing";

    const std::string& Name() const { return variable->GetName(); }
    /// A value as text in the field's data type.
    std::string Text(const MCCommon_930::Value& value) const;
    /// The field that the columns of an encoder of categories look at.
    const std::string& Source() const { return !present.empty() ? present : !tidied.empty() ? tidied : Name(); }
};

/// All variables of a list with their encoders. Names are settled by the constructor and do not depend on the model.
class PMMLFields {
public:
    using Encoders = std::map<std::string, std::shared_ptr<const IMCEncoder>, std::less<>>;
    PMMLFields(const MCVariableList& variables, const Encoders& encoders);

    /// Null when there is none of that name.
    PMMLField* Find(std::string_view name);
    std::vector<PMMLField>& All() { return fvFields; }

    /// A name that no field of the document has yet, and which it takes: the one wanted, or that with a number.
    std::string TakeName(const std::string& wanted);

    /// Makes the field the target of a model that predicts one of the categories, or a number if there are none.
    void MakeTarget(PMMLField& field, const std::vector<MCCommon_930::Value>& categories) const;
    /// The name of a derived field that is 1 where the field has the value, which is made when it is not there yet.
    const std::string& Indicator(const PMMLField& field, const MCCommon_930::Value& level);

    void WriteDataDictionary(PMMLWriter& writer, XMLElement& root) const;
    void WriteDerivedFields(PMMLWriter& writer, XMLElement& root) const;
    /// @param target  null when the model has none
    void WriteMiningSchema(PMMLWriter& writer, XMLElement& model, const PMMLField* target) const;

private:
    void Plan(PMMLField& field) const;

    std::vector<PMMLField> fvFields;
    std::map<std::string, std::size_t, std::less<>> fPlaces;
    std::set<std::string, std::less<>> fNames;
    std::map<std::pair<std::string, std::string>, std::string> fIndicators; // name of field and text of level
};

/// What is to be known of a field that has an encoder, before anything is written.
void PlanEncoder(PMMLField& field);
/// Evaluators take distances without the fields that are missing, so what the encoder of one has no number for is to be
/// refused before. False where PMML has no way to say so.
bool PlanDistances(PMMLField& field);
/// The derived fields of the encoder's columns. Refuses what PMML cannot say.
void WriteEncoder(PMMLWriter& writer, XMLElement& parent, const PMMLField& field);

/// Whether a value says that nothing is known.
bool IsAbsent(const MCCommon_930::Value& value);
/// The type that values have in a document; fallback when there are none.
PMMLField::Data DataOf(const std::vector<MCCommon_930::Value>& values, PMMLField::Data fallback);
/// A new derived field that holds numbers.
XMLElement& AddDerivedField(PMMLWriter& writer, XMLElement& parent, const std::string& name);

} // namespace MCXML_930::internal
