// The derived fields of each encoder: what Encode computes, as PMML says it.
#include "modelcore/pmml/internal/PMMLFields.h"

#include "modelcore/variables/MCBinningEncoder.h"
#include "modelcore/variables/MCCategoryEncoder.h"
#include "modelcore/variables/MCContinuousEncoder.h"
#include "modelcore/variables/MCRoundingEncoder.h"
#include "modelcore/variables/MCStringEncoder.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <limits>
#include <optional>

namespace MCXML_930::internal {

using MCCommon_930::MCMV;
using MCCommon_930::Value;

namespace {

using Row = std::optional<std::vector<double>>;

/// The row of a value; nothing when it has none: refused, or missing.
Row Encoded(const IMCEncoder& encoder, const Value& value)
{
    std::vector<double> row(static_cast<std::size_t>(encoder.GetNColumns()));
    if (row.empty() || encoder.Encode(value, row) == IMCEncoder::Refused || MCMV::IsMissing(row[0])) return {};
    return row;
}

double At(const std::vector<double>& row, int column)
{
    return row[static_cast<std::size_t>(column)];
}

/// Puts expressions together: calls return the element that the next argument goes into.
class Expressions {
public:
    explicit Expressions(PMMLWriter& writer) : fWriter(writer) {}

    XMLElement& Apply(XMLElement& parent, const char* function) const
    {
        XMLElement& apply = fWriter.Add(parent, "Apply");
        fWriter.Set(apply, "function", function);
        return apply;
    }
    void Ref(XMLElement& parent, const std::string& field) const
    {
        fWriter.Set(fWriter.Add(parent, "FieldRef"), "field", field);
    }
    void Constant(XMLElement& parent, double number) const
    {
        XMLElement& constant = fWriter.Add(parent, "Constant");
        fWriter.Set(constant, "dataType", "double");
        fWriter.AddText(constant, fWriter.NumberText(number));
    }
    void Constant(XMLElement& parent, const std::string& text) const
    {
        XMLElement& constant = fWriter.Add(parent, "Constant");
        fWriter.Set(constant, "dataType", "string");
        if (!text.empty()) fWriter.AddText(constant, text);
    }
    /// function(field)
    void Test(XMLElement& parent, const char* function, const std::string& field) const
    {
        Ref(Apply(parent, function), field);
    }
    /// function(field, number)
    void Compare(XMLElement& parent, const char* function, const std::string& field, double number) const
    {
        XMLElement& apply = Apply(parent, function);
        Ref(apply, field);
        Constant(apply, number);
    }
    /// if(field is missing, number, ...), or if(field is not missing, ...) without a number: an evaluator may stop at a
    /// missing argument of other functions.
    XMLElement& UnlessMissing(XMLElement& parent, const std::string& field, std::optional<double> number) const
    {
        XMLElement& choice = Apply(parent, "if");
        Test(choice, number ? "isMissing" : "isNotMissing", field);
        if (number) Constant(choice, *number);
        return choice;
    }

private:
    PMMLWriter& fWriter;
};

// Columns of the form "number, and whether it was missing", which the encoders of numbers have

/// if(field is missing, 1, 0); where `limit` puts something around the 0, it is that.
template <class Limit>
void WriteMissingFlag(PMMLWriter& writer, XMLElement& parent, const PMMLField& field, const Limit& limit)
{
    const Expressions e(writer);
    XMLElement& choice = e.Apply(AddDerivedField(writer, parent, field.columns[1]), "if");
    e.Test(choice, "isMissing", field.Name());
    e.Constant(choice, 1.0);
    e.Constant(limit(choice), 0.0);
}

void WriteContinuous(PMMLWriter& writer, XMLElement& parent, const PMMLField& field, const MCContinuousEncoder& encoder)
{
    const Expressions e(writer);
    const std::string& x = field.Name();
    if (MCMV::IsMissing(encoder.GetCenter())) {
        writer.Refuse(MCPMMLExporter::NotExpressible,
                      "the encoder of " + InQuotes(x) + " has learned nothing to scale by");
        return;
    }
    const bool own = encoder.GetMissingRule() == IMCEncoder::MissingOwnCategory;
    const bool refuses = encoder.GetOutlierRule() == IMCEncoder::OutlierRefused;
    XMLElement* at = &AddDerivedField(writer, parent, field.columns[0]);
    const Row missing = field.replacement.empty() ? Encoded(encoder, Value()) : Row();
    const bool low = refuses && !MCMV::IsMissing(encoder.GetLowest());
    const bool high = refuses && !MCMV::IsMissing(encoder.GetHighest());
    // Without a third argument the result is missing, which is how a number that is refused shows: in either column, for
    // a model may use one alone.
    const auto limit = [&](XMLElement& outside) -> XMLElement& {
        XMLElement* inside = &outside;
        const auto within = [&](const char* function, double number) {
            inside = &e.Apply(*inside, "if");
            e.Compare(*inside, function, x, number);
        };
        if (low) within("greaterOrEqual", encoder.GetLowest());
        if (high) within("lessOrEqual", encoder.GetHighest());
        return *inside;
    };
    if (missing || low || high) at = &e.UnlessMissing(*at, x, missing ? std::optional(At(*missing, 0)) : std::nullopt);
    at = &limit(*at);

    XMLElement *outer = at, *inner = at;
    const auto scaled = encoder.GetScaling() == MCContinuousEncoder::ScaleNone ? nullptr : "/";
    if (encoder.GetScaling() == MCContinuousEncoder::ScaleSymmetric) {
        outer = &e.Apply(*outer, "-");
        inner = &e.Apply(*outer, "*");
    }
    if (scaled == nullptr) {
        e.Ref(*at, x);
    } else {
        XMLElement& quotient = e.Apply(*inner, scaled);
        XMLElement& difference = e.Apply(quotient, "-");
        e.Ref(difference, x);
        e.Constant(difference, encoder.GetCenter());
        e.Constant(quotient, encoder.GetDivisor());
    }
    if (outer != at) {
        e.Constant(*inner, 2.0);
        e.Constant(*outer, 1.0);
    }
    if (own) WriteMissingFlag(writer, parent, field, limit);
}

void WriteRounding(PMMLWriter& writer, XMLElement& parent, const PMMLField& field, const MCRoundingEncoder& encoder)
{
    const Expressions e(writer);
    const std::string& x = field.Name();
    const char* const there = encoder.IsFactorMultiplied() ? "*" : "/";
    const char* const back = encoder.IsFactorMultiplied() ? "/" : "*";
    const auto scaled = [&](XMLElement& at) { e.Compare(at, there, x, encoder.GetFactor()); };
    const auto nearest = [&](XMLElement& at) { scaled(e.Apply(at, "rint")); };
    // ceil and floor would do, but evaluators make integers of 32 bits of them. One up or down from the nearest does not.
    const auto whole = [&](XMLElement& at, MCRoundingEncoder::Direction direction) {
        if (direction == MCRoundingEncoder::RoundHalfEven) {
            nearest(at);
            return;
        }
        const bool up = direction == MCRoundingEncoder::RoundUp;
        XMLElement& step = e.Apply(at, "if");
        XMLElement& misses = e.Apply(step, up ? "lessThan" : "greaterThan");
        nearest(misses);
        scaled(misses);
        XMLElement& next = e.Apply(step, up ? "+" : "-");
        nearest(next);
        e.Constant(next, 1.0);
        nearest(step);
    };
    const auto rounded = [&](XMLElement& at, MCRoundingEncoder::Direction direction) {
        XMLElement& result = e.Apply(at, back);
        whole(result, direction);
        e.Constant(result, encoder.GetFactor());
    };
    const Row missing = Encoded(encoder, Value());
    XMLElement& choice = e.UnlessMissing(AddDerivedField(writer, parent, field.columns[0]), x,
                                         missing ? std::optional(At(*missing, 0)) : std::nullopt);
    // if(|a| < 2^52 and the nearest number is another one, rounded, x): 0.07 is 0.07 in two digits, whatever 0.07*100 is
    XMLElement& test = e.Apply(choice, "if");
    XMLElement& both = e.Apply(test, "and");
    XMLElement& below = e.Apply(both, "lessThan");
    scaled(e.Apply(below, "abs"));
    e.Constant(below, 0x1p52);
    XMLElement& differs = e.Apply(both, "notEqual");
    rounded(differs, MCRoundingEncoder::RoundHalfEven);
    e.Ref(differs, x);
    // Adding zero makes -0 a zero, here as in the encoder.
    XMLElement& result = e.Apply(test, "+");
    rounded(result, encoder.GetDirection());
    e.Constant(result, 0.0);
    XMLElement& same = e.Apply(test, "+");
    e.Ref(same, x);
    e.Constant(same, 0.0);
    if (field.columns.size() > 1)
        WriteMissingFlag(writer, parent, field, [](XMLElement& at) -> XMLElement& { return at; });
}

void WriteBinning(PMMLWriter& writer, XMLElement& parent, const PMMLField& field, const MCBinningEncoder& encoder)
{
    const bool upper = encoder.GetClosed() == MCBinningEncoder::ClosedUpper;
    const bool index = encoder.GetOutput() == MCBinningEncoder::OutputIndex;
    const int bins = encoder.GetNBins();
    const std::vector<double>& cuts = encoder.GetCuts();
    const Row missing = Encoded(encoder, Value());
    const bool closed = encoder.AreEndsClosed() && (encoder.GetOutlierRule() == IMCEncoder::OutlierAsMissing ||
                                                    encoder.GetOutlierRule() == IMCEncoder::OutlierRefused);
    const bool closedLow = closed && !MCMV::IsMissing(encoder.GetLowest());
    const bool closedHigh = closed && !MCMV::IsMissing(encoder.GetHighest());
    for (int column = 0; column < static_cast<int>(field.columns.size()); ++column) {
        XMLElement& discretize =
            writer.Add(AddDerivedField(writer, parent, field.columns[static_cast<std::size_t>(column)]), "Discretize");
        writer.Set(discretize, "field", field.Name());
        if (missing) writer.Set(discretize, "mapMissingTo", At(*missing, column));
        if (missing && closed && encoder.GetOutlierRule() == IMCEncoder::OutlierAsMissing)
            writer.Set(discretize, "defaultValue", At(*missing, column));
        writer.Set(discretize, "dataType", "double");
        // Neighbouring bins of one number are one interval.
        for (int first = 0, next = 0; first < bins; first = next) {
            const double number = index ? first : first == column ? 1.0 : 0.0;
            next = index ? first + 1 : first == column ? first + 1 : first < column ? column : bins;
            next = std::min(next, bins);
            const bool begins = first == 0, ends = next == bins;
            const bool all = begins && ends && !closedLow && !closedHigh;
            const bool left = all || (begins ? closedLow : !upper);
            const bool right = all || (ends ? closedHigh : upper);
            XMLElement& bin = writer.Add(discretize, "DiscretizeBin");
            writer.Set(bin, "binValue", number);
            XMLElement& interval = writer.Add(bin, "Interval");
            writer.Set(interval, "closure",
                       left ? (right ? "closedClosed" : "closedOpen") : (right ? "openClosed" : "openOpen"));
            if (!begins)
                writer.Set(interval, "leftMargin", cuts[static_cast<std::size_t>(first) - 1]);
            else if (closedLow)
                writer.Set(interval, "leftMargin", encoder.GetLowest());
            if (!ends)
                writer.Set(interval, "rightMargin", cuts[static_cast<std::size_t>(next) - 1]);
            else if (closedHigh)
                writer.Set(interval, "rightMargin", encoder.GetHighest());
            if (!all) continue;
            // An interval has to have an end. The lowest double is no number here.
            writer.Set(interval, "leftMargin", -std::numeric_limits<double>::max() * (1.0 - 0x1p-53));
            writer.Set(interval, "rightMargin", std::numeric_limits<double>::max());
        }
    }
}

// Categories

/// The rows of an encoder of categories: what each input, a category that nobody has seen and a missing value become.
struct CategoryTable {
    std::vector<std::pair<std::string, std::vector<double>>> rows;
    Row unseen, missing;
};

/// A text that no data has, as far as the encoder can tell: an unseen category.
std::optional<Value> UnseenCategory(const MCCategoryEncoder& encoder)
{
    const auto* const tidy = dynamic_cast<const MCStringEncoder*>(&encoder);
    const std::vector<Value>& known = encoder.GetCategories();
    constexpr int kSingle = '~' - '!';
    for (int i = 0; i < 100000; ++i) {
        std::string text = "~";
        if (i < kSingle)
            text[0] = static_cast<char>('!' + i);
        else
            text += std::to_string(i);
        const std::string seen = tidy != nullptr ? tidy->Normalize(text) : text;
        if (tidy != nullptr && seen.empty()) continue;
        const auto is = [&](const Value& value) {
            return value.GetType() == Value::TypeString && value.GetStringRef() == seen;
        };
        if (std::ranges::none_of(known, is)) return Value(text);
    }
    return {};
}

/// The texts that a tidied text can be and be known: categories that no mapping replaces, and what mappings replace.
/// Reading them again may tidy them again, so each is tried with a character more, which a greatest length cuts off.
std::vector<std::pair<std::string, Row>> TidiedRows(const MCStringEncoder& encoder)
{
    const auto& mapping = encoder.GetMapping();
    std::vector<std::pair<std::string, Row>> rows;
    const auto tryText = [&](const std::string& text, const std::string& becomes) {
        for (const std::string& raw : {text, text + "x"})
            if (encoder.Normalize(raw) == becomes) {
                rows.emplace_back(text, Encoded(encoder, Value(raw)));
                return;
            }
    };
    for (const Value& category : encoder.GetCategories())
        if (mapping.find(category.GetStringRef()) == mapping.end())
            tryText(category.GetStringRef(), category.GetStringRef());
    for (const auto& [text, becomes] : mapping) tryText(text, becomes);
    return rows;
}

CategoryTable TableOf(const MCCategoryEncoder& encoder, const PMMLField& field)
{
    CategoryTable table;
    if (const auto* const tidy = dynamic_cast<const MCStringEncoder*>(&encoder)) {
        for (const auto& [text, row] : TidiedRows(*tidy))
            if (row) table.rows.emplace_back(text, *row);
    } else {
        for (const Value& category : field.valid)
            if (const Row row = Encoded(encoder, category)) table.rows.emplace_back(field.Text(category), *row);
    }
    table.missing = Encoded(encoder, Value());
    if (const std::optional<Value> unseen = UnseenCategory(encoder)) table.unseen = Encoded(encoder, *unseen);
    return table;
}

/// Characters that an evaluator may change into others than MCStringEncoder does: letters whose other case is in no
/// table of ours or depends on the place in a word.
bool ChangesCaseAlike(std::string_view text)
{
    struct Range {
        std::uint32_t first, last;
    };
    static constexpr Range kOther[] = {
        {0xB5, 0xB5},     {0xDF, 0xDF},     {0xFF, 0xFF},      {0x130, 0x131},   {0x149, 0x149},   {0x178, 0x178},
        {0x17F, 0x2AF},   {0x345, 0x345},   {0x370, 0x385},    {0x390, 0x390},   {0x3B0, 0x3B0},   {0x3C2, 0x3C3},
        {0x3CF, 0x3FF},   {0x4C0, 0x4CF},   {0x530, 0x58F},    {0x10A0, 0x10FF}, {0x13A0, 0x13FF}, {0x1C80, 0x1CBF},
        {0x1D00, 0x1FFF}, {0x2100, 0x218F}, {0x24B6, 0x24E9},  {0x2C00, 0x2D2F}, {0xA640, 0xA7FF}, {0xAB30, 0xABBF},
        {0xFB00, 0xFB17}, {0xFF21, 0xFF5A}, {0x10400, 0x1E943}};
    for (std::size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i]);
        const std::size_t length = lead < 0xC0 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        std::uint32_t code = lead < 0x80 ? lead : lead & (0xFFu >> (length + 1));
        for (std::size_t k = 1; k < length && i + k < text.size(); ++k)
            code = code << 6 | (static_cast<unsigned char>(text[i + k]) & 0x3Fu);
        if (lead >= 0x80 &&
            std::ranges::any_of(kOther, [&](const Range& range) { return code >= range.first && code <= range.last; }))
            return false;
        i += length;
    }
    return true;
}

/// Trim, case and length as a derived field, and another one that is missing where an empty text is.
void WriteTidied(PMMLWriter& writer, XMLElement& parent, const PMMLField& field, const MCStringEncoder& encoder)
{
    const Expressions e(writer);
    const auto derived = [&](const std::string& name) -> XMLElement& {
        XMLElement& element = writer.Add(parent, "DerivedField");
        writer.Set(element, "name", name);
        writer.Set(element, "optype", "categorical");
        writer.Set(element, "dataType", "string");
        return element;
    };
    struct Step {
        const char* function;
        std::string pattern, replacement;
    };
    std::vector<Step> steps; // the last that is done first
    if (encoder.GetMaxLength() > 0)
        steps.push_back({"replace", "^([\\s\\S]{" + std::to_string(encoder.GetMaxLength()) + "})[\\s\\S]*$", "$1"});
    if (encoder.GetCase() != MCStringEncoder::CaseKept)
        steps.push_back({encoder.GetCase() == MCStringEncoder::CaseLower ? "lowercase" : "uppercase", {}, {}});
    if (encoder.GetTrim() == MCStringEncoder::TrimRight || encoder.GetTrim() == MCStringEncoder::TrimBoth)
        steps.push_back({"replace", "\\s+$", ""});
    if (encoder.GetTrim() == MCStringEncoder::TrimLeft || encoder.GetTrim() == MCStringEncoder::TrimBoth)
        steps.push_back({"replace", "^\\s+", ""});
    const auto write = [&](const auto& self, XMLElement& at, std::size_t step) -> void {
        if (step == steps.size()) {
            e.Ref(at, field.Name());
            return;
        }
        XMLElement& apply = e.Apply(at, steps[step].function);
        self(self, apply, step + 1);
        if (steps[step].pattern.empty()) return;
        e.Constant(apply, steps[step].pattern);
        e.Constant(apply, steps[step].replacement);
    };
    write(write, e.UnlessMissing(derived(field.tidied), field.Name(), std::nullopt), 0);

    if (encoder.GetCase() != MCStringEncoder::CaseKept) {
        const auto check = [&](const std::string& text) {
            if (!ChangesCaseAlike(text))
                writer.Refuse(MCPMMLExporter::NotExpressible,
                              "the category " + InQuotes(text) + " of " + InQuotes(field.Name()) +
                                  " has a letter whose case evaluators change in another way");
        };
        for (const Value& category : encoder.GetCategories()) check(category.GetStringRef());
        for (const auto& [text, becomes] : encoder.GetMapping()) check(text);
    }
    if (field.present.empty()) return;
    XMLElement& choice = e.Apply(derived(field.present), "if");
    XMLElement& all = e.Apply(choice, "and");
    e.Test(all, "isNotMissing", field.tidied);
    XMLElement& isNot = e.Apply(all, "isNotIn");
    e.Ref(isNot, field.tidied);
    if (encoder.GetMapping().find("") == encoder.GetMapping().end()) e.Constant(isNot, std::string());
    for (const auto& [text, becomes] : encoder.GetMapping())
        if (becomes.empty()) e.Constant(isNot, text);
    e.Ref(choice, field.tidied);
}

void WriteCategories(PMMLWriter& writer, XMLElement& parent, const PMMLField& field, const MCCategoryEncoder& encoder)
{
    const auto* const tidy = dynamic_cast<const MCStringEncoder*>(&encoder);
    if (tidy != nullptr) WriteTidied(writer, parent, field, *tidy);
    const CategoryTable table = TableOf(encoder, field);
    for (int column = 0; column < static_cast<int>(field.columns.size()); ++column) {
        XMLElement& derived = AddDerivedField(writer, parent, field.columns[static_cast<std::size_t>(column)]);
        // One category that is 1 where everything else is 0. A text field has no list of valid values that would have
        // stopped an unseen one, so there it must be 0 too.
        const std::string* one = nullptr;
        bool plain = table.unseen ? At(*table.unseen, column) == 0.0 : tidy == nullptr;
        for (const auto& [text, row] : table.rows) {
            const double number = At(row, column);
            plain = plain && (number == 0.0 || (number == 1.0 && one == nullptr));
            if (number == 1.0) one = &text;
        }
        if (plain && one != nullptr) {
            XMLElement& indicator = writer.Add(derived, "NormDiscrete");
            writer.Set(indicator, "field", field.Source());
            writer.Set(indicator, "value", *one);
            if (table.missing) writer.Set(indicator, "mapMissingTo", At(*table.missing, column));
            continue;
        }
        XMLElement& map = writer.Add(derived, "MapValues");
        if (table.missing) writer.Set(map, "mapMissingTo", At(*table.missing, column));
        if (table.unseen) writer.Set(map, "defaultValue", At(*table.unseen, column));
        writer.Set(map, "outputColumn", "number");
        writer.Set(map, "dataType", "double");
        XMLElement& pair = writer.Add(map, "FieldColumnPair");
        writer.Set(pair, "field", field.Source());
        writer.Set(pair, "column", "category");
        XMLElement& inlineTable = writer.Add(map, "InlineTable");
        for (const auto& [text, row] : table.rows) {
            XMLElement& line = writer.Add(inlineTable, "row");
            writer.AddText(writer.Add(line, "category"), text);
            writer.AddText(writer.Add(line, "number"), writer.NumberText(At(row, column)));
        }
    }
}

} // namespace

void PlanEncoder(PMMLField& field)
{
    const auto* const base = dynamic_cast<const MCEncoderBase*>(field.encoder);
    if (base == nullptr) return; // refused when it is written
    if (base->GetMissingRule() == IMCEncoder::MissingRefused) field.missing = "returnInvalid";
    if (const auto* const categories = dynamic_cast<const MCCategoryEncoder*>(base)) {
        field.categorical = true;
        const bool isText = dynamic_cast<const MCStringEncoder*>(base) != nullptr;
        field.valid.clear();
        // The name of the others is no value of data, unless the others are texts like it.
        const auto isOthers = [&](const Value& value) {
            return value.GetType() == Value::TypeString && value.GetStringRef() == categories->GetOtherName();
        };
        const std::vector<Value>& all = categories->GetCategories();
        const bool texts = std::ranges::any_of(
            all, [&](const Value& value) { return value.GetType() == Value::TypeString && !isOthers(value); });
        if (!isText)
            std::ranges::copy_if(all, std::back_inserter(field.valid),
                                 [&](const Value& value) { return texts || !isOthers(value); });
        field.data = isText ? PMMLField::Data::Text : DataOf(field.valid, field.data);
        const IMCEncoder::UnseenRule rule = categories->GetUnseenRule();
        field.invalid = isText                                ? "asIs"
                        : rule == IMCEncoder::UnseenRefused   ? "returnInvalid"
                        : rule == IMCEncoder::UnseenAsMissing ? "asMissing"
                                                              : "asIs";
        return;
    }
    field.categorical = false;
    field.data = PMMLField::Data::Number;
    field.valid.clear();
    field.invalid = "asMissing";
    const auto* const continuous = dynamic_cast<const MCContinuousEncoder*>(base);
    if (continuous == nullptr) return;
    const IMCEncoder::OutlierRule rule = continuous->GetOutlierRule();
    if (rule == IMCEncoder::OutlierClipped || rule == IMCEncoder::OutlierAsMissing) {
        field.lowest = continuous->GetLowest();
        field.highest = continuous->GetHighest();
        if (!MCMV::IsMissing(field.lowest) || !MCMV::IsMissing(field.highest))
            field.outliers = rule == IMCEncoder::OutlierClipped ? "asExtremeValues" : "asMissingValues";
    }
    // A replacement beyond the limits is not refused, so where numbers are, the derived field replaces.
    if (base->GetMissingRule() == IMCEncoder::MissingReplaced && !MCMV::IsMissing(continuous->GetReplacement()) &&
        rule != IMCEncoder::OutlierRefused) {
        field.missing = base->GetMissingReplacement().IsNull() ? "asMean" : "asValue";
        field.replacement = TextOf(Value(continuous->GetReplacement()));
    }
}

bool PlanDistances(PMMLField& field)
{
    // Where a missing value is refused, so is what counts as one.
    const auto refuses = [&](auto rule, auto refused, auto asMissing) {
        return rule == refused || (rule == asMissing && field.refusesMissing);
    };
    const auto withLimits = [&](const auto& encoder) {
        if (!refuses(encoder.GetOutlierRule(), IMCEncoder::OutlierRefused, IMCEncoder::OutlierAsMissing) ||
            (MCMV::IsMissing(encoder.GetLowest()) && MCMV::IsMissing(encoder.GetHighest())))
            return true;
        field.lowest = encoder.GetLowest();
        field.highest = encoder.GetHighest();
        field.outliers = "asMissingValues";
        return field.refusesMissing;
    };
    if (const auto* const continuous = dynamic_cast<const MCContinuousEncoder*>(field.encoder))
        return withLimits(*continuous);
    if (const auto* const binning = dynamic_cast<const MCBinningEncoder*>(field.encoder))
        return !binning->AreEndsClosed() || withLimits(*binning);
    if (const auto* const text = dynamic_cast<const MCStringEncoder*>(field.encoder))
        return !refuses(text->GetUnseenRule(), IMCEncoder::UnseenRefused, IMCEncoder::UnseenAsMissing) &&
               !(text->IsEmptyMissing() && field.refusesMissing);
    return true; // the others have their values listed, or take all
}

void WriteEncoder(PMMLWriter& writer, XMLElement& parent, const PMMLField& field)
{
    const IMCEncoder* const encoder = field.encoder;
    if (const auto* const continuous = dynamic_cast<const MCContinuousEncoder*>(encoder))
        WriteContinuous(writer, parent, field, *continuous);
    else if (const auto* const rounding = dynamic_cast<const MCRoundingEncoder*>(encoder))
        WriteRounding(writer, parent, field, *rounding);
    else if (const auto* const binning = dynamic_cast<const MCBinningEncoder*>(encoder))
        WriteBinning(writer, parent, field, *binning);
    else if (const auto* const categories = dynamic_cast<const MCCategoryEncoder*>(encoder))
        WriteCategories(writer, parent, field, *categories);
    else
        writer.Refuse(MCPMMLExporter::NotExpressible,
                      "the encoder of " + InQuotes(field.Name()) + " is of a class that is not known here");
}

} // namespace MCXML_930::internal
