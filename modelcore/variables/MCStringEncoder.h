// Encoder of text fields.
#pragma once

#include "modelcore/common/internal/EmptiedOnMove.h"
#include "modelcore/modelcore_export.h"
#include "modelcore/variables/MCCategoricalEncoder.h"

#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace MCXML_930 {

/// A categorical encoder that tidies text before it looks at it, in learning as in encoding, in this order: trim, case,
/// length, mapping. Numbers and bools are taken by their text, so every category is a string. Codings, references, rare
/// and unseen categories are those of MCCategoricalEncoder; categories that are named in settings are tidied too, by the
/// settings made before.
///
/// Text is taken as UTF-8. Case changes the letters A to Z, the Latin letters up to U+017F that have one partner there,
/// Greek and Cyrillic; everything else, bytes that are no UTF-8 included, stays as it is. A length is counted in
/// characters (code points). Decode gives the tidied text.
class MODELCORE_EXPORT MCStringEncoder : public MCCategoricalEncoder {
public:
    /// Which ends blanks, tabs and line ends are taken off from.
    enum Trim : std::int32_t { TrimNone, TrimLeft, TrimRight, TrimBoth };
    /// What becomes of upper and lower case letters.
    enum Case : std::int32_t { CaseKept, CaseLower, CaseUpper };

    /// An encoder of the field's texts.
    explicit MCStringEncoder(std::string field = {});

    /// Copies are deep. An assignment that runs out of memory leaves the encoder as it was.
    MCStringEncoder(const MCStringEncoder& other) = default;
    MCStringEncoder& operator=(const MCStringEncoder& other)
    {
        return MCMath_930::internal::AssignByCopy(*this, other);
    }
    MCStringEncoder(MCStringEncoder&& other) noexcept = default;
    MCStringEncoder& operator=(MCStringEncoder&& other) noexcept = default;
    ~MCStringEncoder() override = default;

    /// TrimBoth at first.
    bool SetTrim(Trim trim);
    Trim GetTrim() const { return fTrim; }
    /// CaseKept at first.
    bool SetCase(Case letters);
    Case GetCase() const { return fCase; }
    /// The number of characters that count; 0, which is so at first, for all.
    bool SetMaxLength(int characters);
    int GetMaxLength() const { return fnMaxLength; }
    /// Texts that are replaced by others, after everything else. The replacement is taken as it is.
    bool SetMapping(const std::map<std::string, std::string>& mapping);
    const std::map<std::string, std::string, std::less<>>& GetMapping() const { return fMapping; }
    /// Whether an empty text is a missing value, which it is not at first.
    bool SetEmptyIsMissing(bool missing);
    /// Whether an empty text is a missing value.
    bool IsEmptyMissing() const { return fbEmptyIsMissing; }

    /// The text tidied.
    std::string Normalize(std::string_view text) const;

    std::unique_ptr<IMCEncoder> Clone() const override;

protected:
    const char* ClassName() const override { return "MCStringEncoder"; }
    const MCCommon_930::Value& Normalized(const MCCommon_930::Value& value, MCCommon_930::Value& work) const override;
    bool ChangesValues() const override { return true; }
    void SaveSettings(MCCommon_930::Value& map) const override;
    bool LoadSettings(const MCCommon_930::Value& map) override;
    bool Replace(const MCCommon_930::Value& tree) override;

private:
    friend class MCEncoderBase;

    Trim fTrim = TrimBoth;
    Case fCase = CaseKept;
    int fnMaxLength = 0;
    std::map<std::string, std::string, std::less<>> fMapping;
    bool fbEmptyIsMissing = false;
};

} // namespace MCXML_930
