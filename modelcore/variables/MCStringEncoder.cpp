#include "modelcore/variables/MCStringEncoder.h"

#include "modelcore/variables/internal/StateTree.h"

#include <cstdint>
#include <limits>
#include <utility>

namespace MCXML_930 {

using internal::StateFields;
using internal::StateTree;
using MCCommon_930::Value;

namespace {

constexpr std::initializer_list<const char*> kTrims{"none", "left", "right", "both"};
constexpr std::initializer_list<const char*> kCases{"kept", "lower", "upper"};
constexpr std::string_view kBlanks = " \t\n\v\f\r";

/// Letters whose capitals are a constant distance below them (Unicode's simple case mappings).
struct LetterRange {
    std::uint32_t first, last; // of the small letters
    std::uint32_t distance;
};
constexpr LetterRange kRanges[] = {
    {'a', 'z', 32},     {0xE0, 0xF6, 32},   {0xF8, 0xFE, 32},   {0x3AC, 0x3AC, 38},
    {0x3AD, 0x3AF, 37}, {0x3B1, 0x3C1, 32}, {0x3C3, 0x3CB, 32}, {0x3CC, 0x3CC, 64},
    {0x3CD, 0x3CE, 63}, {0x430, 0x44F, 32}, {0x450, 0x45F, 80},
};
/// Letters in pairs: the capital, then the small one; the first letter is a capital.
struct PairRange {
    std::uint32_t first, last;
};
constexpr PairRange kPairs[] = {{0x100, 0x12F}, {0x132, 0x137}, {0x139, 0x148}, {0x14A, 0x177},
                                {0x179, 0x17E}, {0x460, 0x481}, {0x48A, 0x4BF}, {0x4D0, 0x52F}};

std::uint32_t ChangeCase(std::uint32_t letter, bool toUpper)
{
    for (const LetterRange& range : kRanges) {
        const std::uint32_t shift = toUpper ? 0 : range.distance;
        if (letter >= range.first - shift && letter <= range.last - shift)
            return toUpper ? letter - range.distance : letter + range.distance;
    }
    for (const PairRange& range : kPairs) {
        if (letter < range.first || letter > range.last) continue;
        const bool isCapital = (letter - range.first) % 2 == 0;
        return isCapital == toUpper ? letter : isCapital ? letter + 1 : letter - 1;
    }
    return letter;
}

/// How many bytes the character at the front takes; 1 for a byte that begins none.
std::size_t LengthOf(std::string_view text)
{
    const auto lead = static_cast<unsigned char>(text.front());
    const std::size_t length = lead < 0xC2 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 1;
    if (text.size() < length) return 1;
    for (std::size_t i = 1; i < length; ++i)
        if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) return 1;
    return length;
}

} // namespace

MCStringEncoder::MCStringEncoder(std::string field) : MCCategoricalEncoder(std::move(field)) {}

bool MCStringEncoder::SetTrim(Trim trim)
{
    if (!IsFresh() || trim < TrimNone || trim > TrimBoth) return false;
    fTrim = trim;
    return true;
}

bool MCStringEncoder::SetCase(Case letters)
{
    if (!IsFresh() || letters < CaseKept || letters > CaseUpper) return false;
    fCase = letters;
    return true;
}

bool MCStringEncoder::SetMaxLength(int characters)
{
    if (!IsFresh() || characters < 0) return false;
    fnMaxLength = characters;
    return true;
}

bool MCStringEncoder::SetMapping(const std::map<std::string, std::string>& mapping)
{
    if (!IsFresh()) return false;
    fMapping = {mapping.begin(), mapping.end()};
    return true;
}

bool MCStringEncoder::SetEmptyIsMissing(bool missing)
{
    if (!IsFresh()) return false;
    fbEmptyIsMissing = missing;
    return true;
}

std::string MCStringEncoder::Normalize(std::string_view text) const
{
    if (fTrim == TrimLeft || fTrim == TrimBoth)
        text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
    if (fTrim == TrimRight || fTrim == TrimBoth) text = text.substr(0, text.find_last_not_of(kBlanks) + 1);
    std::string tidy;
    if (fCase == CaseKept && fnMaxLength == 0) {
        tidy = text;
    } else {
        for (int count = 0; !text.empty() && (fnMaxLength == 0 || count < fnMaxLength); ++count) {
            const std::size_t length = LengthOf(text);
            const auto first = static_cast<unsigned char>(text[0]);
            const bool ascii = first < 0x80;
            const std::uint32_t letter = ascii ? first
                                         : length == 2
                                             ? (first & 0x1Fu) << 6 | (static_cast<unsigned char>(text[1]) & 0x3Fu)
                                             : 0; // the letters that have a case here take at most two bytes
            const std::uint32_t changed = fCase == CaseKept ? letter : ChangeCase(letter, fCase == CaseUpper);
            if (changed == letter) {
                tidy.append(text.substr(0, length));
            } else if (ascii) {
                tidy += static_cast<char>(changed);
            } else {
                tidy += static_cast<char>(0xC0 | changed >> 6);
                tidy += static_cast<char>(0x80 | (changed & 0x3F));
            }
            text.remove_prefix(length);
        }
    }
    const auto mapped = fMapping.find(tidy);
    return mapped == fMapping.end() ? tidy : mapped->second;
}

const Value& MCStringEncoder::Normalized(const Value& value, Value& work) const
{
    if (value.IsNull() || value.GetType() > Value::TypeString) return value;
    work = Normalize(value.GetType() == Value::TypeString ? value.GetStringRef() : value.GetString());
    if (fbEmptyIsMissing && work.GetStringRef().empty()) work = Value();
    return work;
}

std::unique_ptr<IMCEncoder> MCStringEncoder::Clone() const
{
    return std::make_unique<MCStringEncoder>(*this);
}

void MCStringEncoder::SaveSettings(Value& map) const
{
    MCCategoricalEncoder::SaveSettings(map);
    map["trim"] = internal::WordOf(fTrim, kTrims);
    map["case"] = internal::WordOf(fCase, kCases);
    map["maxLength"] = fnMaxLength;
    map["emptyIsMissing"] = fbEmptyIsMissing;
    std::vector<Value> from, to;
    for (const auto& [text, replacement] : fMapping) {
        from.emplace_back(text);
        to.emplace_back(replacement);
    }
    map["mappedFrom"] = StateTree::FromScalars(from);
    map["mappedTo"] = StateTree::FromScalars(to);
}

// The base comes first, while nothing is tidied: tidying saved categories again could change what a mapping gave.
bool MCStringEncoder::LoadSettings(const Value& map)
{
    StateFields fields(map);
    std::vector<Value> from, to;
    fTrim = TrimNone;
    fields.Require(MCCategoricalEncoder::LoadSettings(map));
    fields.ReadScalars("mappedFrom", from);
    fields.ReadScalars("mappedTo", to);
    if (!fields.Require(from.size() == to.size())) return false;
    fields.ReadWord("trim", fTrim, kTrims);
    fields.ReadWord("case", fCase, kCases);
    fields.Read("maxLength", fnMaxLength, 0, std::numeric_limits<int>::max());
    fields.Read("emptyIsMissing", fbEmptyIsMissing);
    for (std::size_t i = 0; i < from.size(); ++i) {
        fields.Require(from[i].GetType() == Value::TypeString && to[i].GetType() == Value::TypeString);
        if (fields.Ok()) fMapping[from[i].GetStringRef()] = to[i].GetStringRef();
    }
    return fields.Ok();
}

bool MCStringEncoder::Replace(const Value& tree)
{
    return ReplaceBy(*this, tree);
}

} // namespace MCXML_930
