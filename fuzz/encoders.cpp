// Saved states of encoders and variables, as text, bytes and JSON; and encoders that learned generated cases.
#include "States.h"

using namespace MCXML_930;
using MCCommon_930::Value;

namespace {

Value AnyValue(Input& input)
{
    switch (input.Byte() % 6) {
    case 0: return Value();
    case 1: return input.Bool();
    case 2: return static_cast<int>(input.Int(-3, 9));
    case 3: return input.Text(6);
    default: return input.Real();
    }
}

/// Every call that a finished encoder answers, and that what it says of a value does not depend on the way it is asked.
void Use(const MCEncoderBase& encoder, Input input)
{
    const int width = encoder.GetNColumns();
    REQUIRE(width >= 0);
    if (width > 10000) return;
    for (int column = 0; column < width; ++column) encoder.GetColumnName(column);
    encoder.GetColumnName(-1);
    encoder.GetColumnName(width);
    std::vector<double> columns(static_cast<std::size_t>(width)), rows(columns);
    for (int i = 0; i < 8; ++i) {
        const Value value = AnyValue(input);
        std::fill(columns.begin(), columns.end(), 0.0);
        std::fill(rows.begin(), rows.end(), 0.0);
        const IMCEncoder::Outcome outcome = encoder.Encode(value, columns);
        Value decoded;
        encoder.Decode(columns, decoded);
        if (value.GetType() != Value::TypeReal || !encoder.IsFinished() || width == 0) continue;
        const double x = value.GetReal();
        std::array<IMCEncoder::Outcome, 1> outcomes{IMCEncoder::Encoded};
        encoder.EncodeBlock(std::span(&x, 1), rows, width, outcomes);
        if (outcome == IMCEncoder::Refused) columns.assign(columns.size(), MCCommon_930::MCMV::Missing());
        REQUIRE(outcomes[0] == outcome && SameBits(rows, columns));
    }
    encoder.Display();
}

template <class Object>
void TryJson(const Object& initial, std::string_view text)
{
    JsonObject json;
    if (!JsonObject::Parse(text, json)) return;
    Object object(initial);
    if (!object.FromJson(json)) {
        REQUIRE(object == initial);
        return;
    }
    Object again(initial);
    REQUIRE(again.FromJson(object.ToJson()) && again == object);
    REQUIRE(again.ToJson() == object.ToJson());
}

template <class Encoder>
void TryEncoder(Input& input, const char* kind)
{
    Encoder fresh("x");
    if (input.Bool()) {
        TryJson(fresh, input.Rest());
        return;
    }
    Input values(input);
    if (!ReadState(fresh, input, kind)) return;
    Encoder again;
    REQUIRE(again.FromJson(fresh.ToJson()) && again == fresh);
    Use(fresh, values);
    fresh.Finish();
    Use(fresh, values);
    fresh.Learn(0.5);
    fresh.Merge(again);
}

template <class Variable>
void TryVariable(Input& input, const char* kind)
{
    Variable variable("x");
    if (input.Bool()) {
        TryJson(variable, input.Rest());
        return;
    }
    if (!ReadState(variable, input, kind)) return;
    for (int i = 0; i < 4; ++i) variable.Classify(AnyValue(input));
    variable.ToString();
    variable.Display();
}

/// Learns in one go and in two parts that are merged: the same. Saved and read: the same.
template <class Encoder, class Set>
void Learn(Input& input, Set set)
{
    Encoder whole("x");
    set(whole, input);
    whole.SetMissingRule(static_cast<IMCEncoder::MissingRule>(input.Int(0, 4)), AnyValue(input));
    Encoder part(whole), other(whole);
    const int cases = input.Int(0, 24);
    bool sumsAreFinite = true; // in any order
    for (int i = 0; i < cases; ++i) {
        const Value x = AnyValue(input), y = input.Int(0, 2);
        if (x.GetType() == Value::TypeReal && !(std::fabs(x.GetReal()) < 1e100)) sumsAreFinite = false;
        const double weight = input.Int(0, 3);
        Encoder& half = i % 2 == 0 ? part : other;
        if (whole.NeedsTarget())
            REQUIRE(whole.LearnWithTarget(x, y, weight) == half.LearnWithTarget(x, y, weight));
        else
            REQUIRE(whole.Learn(x, weight) == half.Learn(x, weight));
    }
    REQUIRE(part.Merge(other));
    Encoder saved;
    REQUIRE(MCStateBytes::Restore(MCStateBytes::Save(whole), saved) == MCStateBytes::Ok && saved == whole);
    const MCCommon_930::MCStatus status = whole.Finish();
    REQUIRE(saved.Finish().IsError() == status.IsError() && saved == whole);
    REQUIRE(whole.IsFinished() || status.IsError());
    // Sums of weights are whole numbers, so the order of the cases leaves no trace in what kind of result there is.
    part.Finish();
    REQUIRE(!sumsAreFinite || (part.IsFinished() == whole.IsFinished() && part.GetNColumns() == whole.GetNColumns()));
    REQUIRE(MCStateBytes::Restore(MCStateBytes::Save(whole), saved) == MCStateBytes::Ok && saved == whole);
    REQUIRE(part.FromJson(whole.ToJson()) && part == whole);
    Use(whole, input);
}

void SetCategories(MCCategoryEncoder& encoder, Input& input)
{
    encoder.SetUnseenRule(static_cast<IMCEncoder::UnseenRule>(input.Int(0, 4)));
    encoder.SetReference(static_cast<MCCategoryEncoder::Reference>(input.Int(0, 3)));
    if (input.Bool()) encoder.SetMaxKept(input.Int(0, 4));
    if (input.Bool()) encoder.SetMinWeight(input.Real());
    if (input.Bool()) encoder.SetCategories({AnyValue(input), AnyValue(input), AnyValue(input)});
}

void LearnAny(Input& input)
{
    switch (input.Byte() % 5) {
    case 0:
        Learn<MCContinuousEncoder>(input, [](MCContinuousEncoder& e, Input& in) {
            e.SetScaling(static_cast<MCContinuousEncoder::Scaling>(in.Int(0, 4)));
            const auto rule = static_cast<IMCEncoder::OutlierRule>(in.Int(0, 4));
            if (in.Bool()) e.SetLimits(in.Real(), in.Real(), rule);
            if (in.Bool()) e.SetLimitsLearned(rule);
        });
        break;
    case 1:
        Learn<MCBinningEncoder>(input, [](MCBinningEncoder& e, Input& in) {
            switch (in.Byte() % 5) {
            case 0: e.SetCuts({in.Real(), in.Real(), in.Real()}); break;
            case 1: e.SetEqualWidth(in.Int(-1, 20)); break;
            case 2: e.SetEqualFrequency(in.Int(-1, 20)); break;
            case 3: e.SetDeviations(in.Int(-1, 20), in.Bool()); break;
            default: e.SetMDLP();
            }
            e.SetOutput(static_cast<MCBinningEncoder::Output>(in.Int(0, 1)));
            e.SetClosed(static_cast<MCBinningEncoder::Closed>(in.Int(0, 1)));
            if (in.Bool()) e.SetEndsClosed(in.Real(), in.Real(), static_cast<IMCEncoder::OutlierRule>(in.Int(0, 4)));
        });
        break;
    case 2:
        Learn<MCCategoricalEncoder>(input, [](MCCategoricalEncoder& e, Input& in) {
            SetCategories(e, in);
            e.SetCoding(static_cast<MCCategoricalEncoder::Coding>(in.Int(0, 7)));
        });
        break;
    case 3:
        Learn<MCCategoricalNumericEncoder>(input, [](MCCategoricalNumericEncoder& e, Input& in) {
            SetCategories(e, in);
            e.SetMethod(static_cast<MCCategoricalNumericEncoder::Method>(in.Int(0, 3)));
            e.SetSmoothing(in.Real());
            if (in.Bool()) e.SetScores({{AnyValue(in), in.Real()}, {AnyValue(in), in.Real()}});
        });
        break;
    default:
        Learn<MCStringEncoder>(input, [](MCStringEncoder& e, Input& in) {
            SetCategories(e, in);
            e.SetTrim(static_cast<MCStringEncoder::Trim>(in.Int(0, 4)));
            e.SetCase(static_cast<MCStringEncoder::Case>(in.Int(0, 3)));
            e.SetMaxLength(in.Int(-1, 5));
            e.SetMapping({{in.Text(4), in.Text(4)}});
            e.SetEmptyIsMissing(in.Bool());
            const std::string text = e.Normalize(in.Text(40));
            if (e.GetMaxLength() == 0 && e.GetMapping().empty()) REQUIRE(e.Normalize(text) == text);
        });
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    if (size < 2) return 0;
    const Silence silence;
    Input input(bytes, size);
    switch (input.Byte() % 14) {
    case 0: TryEncoder<MCContinuousEncoder>(input, "MCContinuousEncoder"); break;
    case 1: TryEncoder<MCRoundingEncoder>(input, "MCRoundingEncoder"); break;
    case 2: TryEncoder<MCBinningEncoder>(input, "MCBinningEncoder"); break;
    case 3: TryEncoder<MCCategoricalEncoder>(input, "MCCategoricalEncoder"); break;
    case 4: TryEncoder<MCCategoricalNumericEncoder>(input, "MCCategoricalNumericEncoder"); break;
    case 5: TryEncoder<MCStringEncoder>(input, "MCStringEncoder"); break;
    case 6: TryVariable<MCContinuousVariable>(input, "MCContinuousVariable"); break;
    case 7: TryVariable<MCCategoricalVariable>(input, "MCCategoricalVariable"); break;
    case 8: TryVariable<MCWeightVariable>(input, "MCWeightVariable"); break;
    case 9: {
        MCVariableList list;
        list.Add(MCContinuousVariable("x"));
        if (input.Bool())
            TryJson(list, input.Rest());
        else if (ReadState(list, input, "MCVariableList"))
            list.ToString();
        break;
    }
    default: LearnAny(input);
    }
    return 0;
}
