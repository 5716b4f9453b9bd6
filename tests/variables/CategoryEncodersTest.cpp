// The encoders of categories.
#include "VariablesTesting.h"

#include <numeric>

namespace {

using E = MCCategoricalEncoder;
constexpr double kEncoded = E::Encoded, kOutMissing = E::EncodedMissing, kUnseen = E::EncodedUnseen;

template <class Encoder>
void LearnAll(Encoder& encoder, const std::vector<std::pair<Value, double>>& cases)
{
    for (const auto& [value, weight] : cases) encoder.Learn(value, weight);
}

/// b (3), a (2), c (1) and a missing one.
const std::vector<std::pair<Value, double>> kLetters{{"b", 2}, {"c", 1}, {"a", 2}, {Value(), 1}, {"b", 1}};

std::string Levels(const MCCategoryEncoder& encoder)
{
    std::string text;
    for (int i = 0; i < encoder.GetNLevels(); ++i) text += (i > 0 ? " " : "") + encoder.GetLevelText(i);
    return text;
}

} // namespace

TEST(MCCategoricalEncoder, EveryOutcomeAndRule)
{
    struct Case {
        const char* name;
        std::function<void(E&)> set;
        Value x;
        std::vector<double> row;
        const char* decoded;
    };
    const auto none = [](E&) {};
    const auto dummy = [](E& e) { e.SetCoding(e.Dummy); };
    const auto last = [](E& e) { e.SetCoding(e.Dummy), e.SetReference(e.ReferenceLast); };
    const auto frequent = [](E& e) { e.SetCoding(e.Dummy), e.SetReference(e.ReferenceMostFrequent); };
    const auto deviation = [](E& e) { e.SetCoding(e.Deviation), e.SetReference("b"); };
    const auto unseen = [](auto rule) { return [rule](E& e) { e.SetUnseenRule(rule), e.SetCoding(e.Dummy); }; };
    const auto missing = [](auto... rule) { return [=](E& e) { e.SetMissingRule(rule...); }; };
    const auto given = [](std::vector<Value> values) { return [values](E& e) { e.SetCategories(values); }; };
    const auto rare = [](E& e) { e.SetMinWeight(2), e.SetOtherName("rest"); };
    const auto apart = [](E& e) { e.SetMissingRule(e.MissingOwnCategory), e.SetUnseenRule(e.UnseenAsOther); };
    const auto both = [](E& e) { e.SetMissingRule(e.MissingRefused), e.SetUnseenRule(e.UnseenAsMissing); };
    const auto givenOther = [](E& e) { e.SetCategories({"b"}), e.SetUnseenRule(e.UnseenAsOther); };
    const std::vector<double> refused{kRefused, -1, -1, -1};
    const Case cases[] = {
        {"indicator", none, "c", {kEncoded, 0, 0, 1}, "c"},
        {"unseen refused", none, "d", refused, "none"},
        {"a number is no text", none, 1, refused, "none"},
        {"missing stays", none, kNan, {kOutMissing, kMissing, kMissing, kMissing}, "null"},
        {"dummy", dummy, "c", {kEncoded, 0, 1}, "c"},
        {"dummy, reference", dummy, "a", {kEncoded, 0, 0}, "a"},
        {"last", last, "b", {kEncoded, 0, 1}, "b"},
        {"most frequent", frequent, "c", {kEncoded, 0, 1}, "c"},
        {"named", deviation, "b", {kEncoded, -1, -1}, "b"},
        {"deviation", deviation, "c", {kEncoded, 0, 1}, "c"},
        {"unseen as baseline", unseen(E::UnseenAsBaseline), "d", {kUnseen, 0, 0}, "a"},
        {"unseen as missing", unseen(E::UnseenAsMissing), "d", {kUnseen, kMissing, kMissing}, "null"},
        {"unseen as missing that is refused", both, "d", refused, "none"},
        {"unseen as other", unseen(E::UnseenAsOther), "d", {kUnseen, 0, 0, 1}, "(other)"},
        {"rare", rare, "c", {kEncoded, 0, 0, 1}, "rest"},
        {"rare, unseen", rare, "d", refused, "none"},
        {"kept", [](E& e) { e.SetMaxKept(1); }, "a", {kEncoded, 0, 1}, "(other)"},
        {"own category", missing(E::MissingOwnCategory), Value(), {kOutMissing, 0, 0, 0, 1}, "null"},
        {"other and missing apart", apart, "d", {kUnseen, 0, 0, 0, 1, 0}, "(other)"},
        {"replaced by most frequent", missing(E::MissingReplaced), kMissing, {kOutMissing, 0, 1, 0}, "b"},
        {"replaced by named", missing(E::MissingReplaced, "a"), kMissing, {kOutMissing, 1, 0, 0}, "a"},
        {"missing refused", missing(E::MissingRefused), Value(), refused, "none"},
        {"given order", given({"z", "b", "a"}), "b", {kEncoded, 0, 1, 0}, "b"},
        {"given, not in it", given({"z", "b", "a"}), "c", refused, "none"},
        {"given, other", givenOther, "a", {kUnseen, 0, 1}, "(other)"},
        {"a category named as the others", [](E& e) { e.SetOtherName("a"); }, "a", {kEncoded, 0, 0, 1}, "a"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        E encoder("f");
        c.set(encoder);
        LearnAll(encoder, kLetters);
        ASSERT_FALSE(encoder.Finish().IsError());
        EXPECT_TRUE(SameBits(Row(encoder, c.x), c.row)) << ::testing::PrintToString(Row(encoder, c.x));
        if (c.row[0] != kRefused) {
            EXPECT_EQ(Decoded(encoder, c.x), c.decoded);
        }
        ExpectSaved(encoder, E("other"));
    }
}

TEST(MCCategoricalEncoder, SortsKindsAndComparesExactly)
{
    E encoder("f");
    encoder.SetCoding(encoder.Dummy);
    // clang-format off
    const Value values[] = {
        "b", 10, 9.5, "9", true, -0.0, 9007199254740993LL, 9007199254740992.0, 10.0, 0, "B", "(missing)", false,
        9007199254740994LL, -1e300, "caf\xC3\xA9", std::nextafter(9.5, 10.0)};
    // clang-format on
    for (const Value& value : values) EXPECT_TRUE(encoder.Learn(value));
    encoder.Finish();
    EXPECT_EQ(Levels(encoder), "false true -1e+300 0 9.5 9.500000000000002 10 9007199254740992 9007199254740993 "
                               "9007199254740994 \"(missing)\" \"9\" \"B\" \"b\" \"caf\xC3\xA9\"");
    EXPECT_EQ(encoder.GetLevels()[6].GetType(), Value::TypeInteger) << "an integer, whichever came first";
    EXPECT_EQ(encoder.GetLevelWeights()[3], 2.0);
    EXPECT_EQ(encoder.GetColumnName(4), "f=9.500000000000002");
    for (const Value& value : values) {
        Value back;
        const std::vector<double> row = Row(encoder, value);
        ASSERT_TRUE(encoder.Decode(std::span(row).subspan(1), back));
        EXPECT_EQ(encoder.FindLevel(back), encoder.FindLevel(value));
        EXPECT_NE(encoder.FindLevel(value), -1);
    }
    ExpectSaved(encoder, E("other"));
}

// A coding is right when the model's coefficients are the comparisons that its name says: then the means of the levels
// are the base plus the rows times those comparisons.
TEST(MCCategoricalEncoder, CoefficientsAreTheComparisons)
{
    for (const int k : {2, 3, 4, 7}) {
        std::vector<double> m;
        std::vector<Value> categories;
        for (int i = 0; i < k; ++i) {
            m.push_back(std::cos(3.0 * i) + i);
            categories.emplace_back(i);
        }
        const auto mean = [&](int from, int to) {
            return std::accumulate(m.begin() + from, m.begin() + to, 0.0) / (to - from);
        };
        const int reference = k / 2;
        const auto compared = [&](int j) { return j < reference ? j : j + 1; };
        const auto at = [&](int i) { return m[static_cast<std::size_t>(i)]; };
        const std::pair<E::Coding, std::function<double(int)>> codings[] = {
            {E::Dummy, [&](int j) { return at(compared(j)) - at(reference); }},
            {E::Deviation, [&](int j) { return at(compared(j)) - mean(0, k); }},
            {E::Helmert, [&](int j) { return at(j) - mean(j + 1, k); }},
            {E::Difference, [&](int j) { return at(j + 1) - mean(0, j + 1); }},
            {E::Repeated, [&](int j) { return at(j + 1) - at(j); }}};
        for (const auto& [coding, comparison] : codings) {
            E encoder("f");
            encoder.SetCategories(categories);
            encoder.SetCoding(coding);
            encoder.SetReference(Value(reference));
            encoder.Finish();
            ASSERT_EQ(encoder.GetNColumns(), k - 1);
            for (int i = 0; i < k; ++i) {
                double fitted = coding == E::Dummy ? at(reference) : mean(0, k);
                for (int j = 0; j < k - 1; ++j) fitted += encoder.GetEntry(i, j) * comparison(j);
                EXPECT_NEAR(fitted, at(i), 1e-14 * k) << coding << ", level " << i << " of " << k;
                EXPECT_EQ(Decoded(encoder, i), std::to_string(i));
            }
        }
    }
}

TEST(MCCategoricalEncoder, PolynomialsAreOrthonormalAndPublished)
{
    const auto make = [](int k) {
        E encoder("f");
        encoder.SetCoding(encoder.Polynomial);
        for (int i = 0; i < k; ++i) encoder.Learn(i);
        return encoder;
    };
    // Fisher and Yates's table of orthogonal polynomials for five levels, whose squares sum up to 10, 14, 10, 70.
    const double table[4][5] = {{-2, -1, 0, 1, 2}, {2, -1, -2, -1, 2}, {-1, 2, 0, -2, 1}, {1, -4, 6, -4, 1}};
    const double squares[] = {10, 14, 10, 70};
    E five = make(5);
    five.Finish();
    for (int j = 0; j < 4; ++j)
        for (int i = 0; i < 5; ++i) EXPECT_NEAR(five.GetEntry(i, j), table[j][i] / std::sqrt(squares[j]), 1e-15);
    E many = make(E::kMaxPolynomialLevels);
    many.Finish();
    for (int a = 0; a < many.GetNColumns(); a += 17) {
        for (int b = 0; b <= a; ++b) {
            double product = 0.0, sum = 0.0;
            for (int i = 0; i < many.GetNLevels(); ++i) {
                product += many.GetEntry(i, a) * many.GetEntry(i, b);
                sum += many.GetEntry(i, a);
            }
            EXPECT_NEAR(product, a == b ? 1.0 : 0.0, 1e-14);
            EXPECT_NEAR(sum, 0.0, 1e-13);
        }
    }
    E over = make(E::kMaxPolynomialLevels + 1);
    const std::string before = Saved(over);
    EXPECT_TRUE(over.Finish().IsError());
    EXPECT_EQ(Saved(over), before) << "refused, unchanged";
    EXPECT_TRUE(over.Learn(3)) << "and still learning";
}

TEST(MCCategoricalEncoder, FieldsOfOneValueOfNoneAndOfAMillion)
{
    for (const auto coding : {E::Indicator, E::Dummy, E::Deviation, E::Helmert, E::Polynomial}) {
        E one("f"), none("f");
        for (E* const each : {&one, &none}) each->SetCoding(coding);
        one.Learn("x");
        EXPECT_EQ(one.Finish(), MCStatus(E::FinishConstant, true));
        EXPECT_EQ(one.GetNColumns(), coding == E::Indicator ? 1 : 0);
        EXPECT_EQ(Decoded(one, "x"), "x");
        none.Learn(Value());
        EXPECT_EQ(none.Finish(), MCStatus(E::FinishNoValues, true));
        EXPECT_EQ(none.GetNColumns(), 0);
        EXPECT_EQ(Row(none, "x")[0], kRefused);
        ExpectSaved(none, one);
    }
    E many("f");
    many.SetCoding(E::Dummy);
    for (int i = 1000000; i-- > 0;) many.Learn(i % 2 == 0 ? Value(i) : Value(std::to_string(i)));
    const MCStatus status = many.Finish();
    EXPECT_TRUE(status.IsWarning());
    EXPECT_EQ(status.GetErrorCode(), E::FinishManyCategories);
    EXPECT_EQ(status.GetDiscreteDatum(0), 1000000);
    EXPECT_EQ(many.FindLevel(2468), 1234);
    EXPECT_EQ(many.FindLevel("1"), 500000);
    const double x[] = {0.0, 999998.0, 1.0, kMissing};
    int levels[4];
    EXPECT_EQ(many.FindLevels(x, levels), 2);
    EXPECT_EQ(levels[1], 499999);
    EXPECT_EQ(levels[2], -1);
}

TEST(MCCategoricalEncoder, UnknownNamesAreErrorsThatChangeNothing)
{
    E encoder("f");
    EXPECT_FALSE(encoder.SetReference(Value()));
    EXPECT_FALSE(encoder.SetCategories({"a", "a"}));
    EXPECT_FALSE(encoder.SetCategories({1, Value()}));
    encoder.SetReference("q");
    LearnAll(encoder, kLetters);
    const std::string before = Saved(encoder);
    EXPECT_EQ(encoder.Finish(), MCStatus(E::FinishUnknownReference, false));
    EXPECT_EQ(Saved(encoder), before);
    encoder.Learn("q");
    EXPECT_TRUE(encoder.Finish().IsOK());
    E replaced("f");
    replaced.SetMissingRule(E::MissingReplaced, "q");
    LearnAll(replaced, kLetters);
    EXPECT_EQ(replaced.Finish(), MCStatus(E::FinishUnknownReplacement, false));
}

TEST(MCCategoricalNumericEncoder, RanksScoresAndTargetMeans)
{
    using N = MCCategoricalNumericEncoder;
    struct Case {
        const char* name;
        std::function<void(N&)> set;
        Value x;
        double outcome, code;
    };
    // a: targets 1, 3 (weight 2); b: 6 (weight 1); missing: 5. Mean of the valid: 13/4, of all: 18/5.
    const auto mean = [](double smoothing, N::MissingRule rule, N::UnseenRule unseen) {
        return [=](N& e) {
            e.SetMethod(e.MethodTargetMean), e.SetSmoothing(smoothing), e.SetMissingRule(rule), e.SetUnseenRule(unseen);
        };
    };
    const auto scores = [](N& e) {
        e.SetScores({{"b", 0.5}, {"a", -4.0}, {"(other)", 9.0}}), e.SetUnseenRule(e.UnseenAsOther);
    };
    const Case cases[] = {
        {"rank", [](N&) {}, "b", kEncoded, 2.0},
        {"rank of the missing", [](N& e) { e.SetMissingRule(e.MissingOwnCategory); }, Value(), kOutMissing, 3.0},
        {"rank of the baseline", [](N& e) { e.SetReference("b"), e.SetUnseenRule(e.UnseenAsBaseline); }, "z", kUnseen,
         2.0},
        {"score", scores, "a", kEncoded, -4.0},
        {"score of the others", scores, "z", kUnseen, 9.0},
        {"mean", mean(0, N::MissingStays, N::UnseenRefused), "a", kEncoded, 7.0 / 3.0},
        {"shrunk", mean(2, N::MissingStays, N::UnseenRefused), "b", kEncoded, (6.0 + 6.5) / 3.0},
        {"mean of the missing", mean(0, N::MissingOwnCategory, N::UnseenRefused), Value(), kOutMissing, 5.0},
        {"unseen gets the mean of all", mean(1, N::MissingStays, N::UnseenAsBaseline), "z", kUnseen, 3.25},
        {"with the missing among all", mean(1, N::MissingOwnCategory, N::UnseenAsBaseline), "z", kUnseen, 3.6},
        {"unseen refused", mean(1, N::MissingStays, N::UnseenRefused), "z", kRefused, -1.0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        N encoder("f");
        c.set(encoder);
        encoder.LearnWithTarget("a", 1.0);
        encoder.LearnWithTarget("b", 6);
        encoder.LearnWithTarget(Value(), 5.0);
        encoder.LearnWithTarget("a", 3.0, 2.0);
        ASSERT_FALSE(encoder.Finish().IsError());
        EXPECT_EQ(Row(encoder, c.x), (std::vector<double>{c.outcome, c.code}));
        if (c.outcome == kEncoded) {
            EXPECT_EQ(Decoded(encoder, c.x), c.x.GetString());
        }
        ExpectSaved(encoder, N("other"));
    }
    N tied("f"), bare("f"), short1("f");
    tied.SetScores({{"a", 1.0}, {"b", 1.0}});
    tied.Learn("a");
    tied.Finish();
    EXPECT_EQ(Decoded(tied, "a"), "none") << "two categories have the number";
    EXPECT_FALSE(bare.SetScores({{"a", kNan}}));
    EXPECT_FALSE(bare.SetScores({{"a", 1}, {"a", 2}}));
    short1.SetScores({{"a", 1.0}});
    short1.SetMissingRule(N::MissingOwnCategory);
    EXPECT_EQ(short1.Finish().GetErrorCode(), N::FinishUnknownScore);
}

TEST(MCStringEncoder, TidiesText)
{
    using S = MCStringEncoder;
    struct Case {
        S::Trim trim;
        S::Case letters;
        int length;
        const char* text;
        const char* tidy;
    };
    const Case cases[] = {
        {S::TrimNone, S::CaseKept, 0, " a ", " a "},
        {S::TrimLeft, S::CaseKept, 0, " \ta b ", "a b "},
        {S::TrimRight, S::CaseUpper, 0, " a\r\n", " A"},
        {S::TrimBoth, S::CaseLower, 0, "   ", ""},
        {S::TrimBoth, S::CaseLower, 0,
         "STRA\xC3\x9F"
         "E \xC3\x80\xC3\x97\xC5\xBD\xC4\xB0\xCE\xA9\xD0\x96\xD0\x81\xE2\x82\xAC",
         "stra\xC3\x9F"
         "e \xC3\xA0\xC3\x97\xC5\xBE\xC4\xB0\xCF\x89\xD0\xB6\xD1\x91\xE2\x82\xAC"},
        {S::TrimBoth, S::CaseUpper, 0, "\xC3\xBF \xC3\xB7\xCF\x82 \xD1\x8F\xCE\xAF",
         "\xC3\xBF \xC3\xB7\xCF\x82 \xD0\xAF\xCE\x8A"},
        {S::TrimNone, S::CaseLower, 0, "\xC4\x80\xC4\x81\xC4\xB9", "\xC4\x81\xC4\x81\xC4\xBA"},
        {S::TrimNone, S::CaseUpper, 0, "\xC4\x80\xC4\x81\xC4\xBA", "\xC4\x80\xC4\x80\xC4\xB9"},
        {S::TrimBoth, S::CaseKept, 2, " \xE2\x82\xAC\xC3\xA9z", "\xE2\x82\xAC\xC3\xA9"},
        {S::TrimBoth, S::CaseUpper, 3, "a\xFF\xC3z", "A\xFF\xC3"},
        {S::TrimBoth, S::CaseLower, 0, "YES", "mapped"},
    };
    for (const Case& c : cases) {
        S encoder("f");
        encoder.SetTrim(c.trim);
        encoder.SetCase(c.letters);
        encoder.SetMaxLength(c.length);
        encoder.SetMapping({{"yes", "mapped"}, {"mapped", "not again"}});
        EXPECT_EQ(encoder.Normalize(c.text), c.tidy) << c.text;
    }
    S encoder("f");
    encoder.SetCase(encoder.CaseLower);
    encoder.SetEmptyIsMissing(true);
    EXPECT_TRUE(encoder.SetReference(" NO "));
    for (const Value& value : {Value("No"), Value(" yes"), Value("  "), Value(12), Value("12 ")}) encoder.Learn(value);
    encoder.SetCoding(E::Dummy);
    EXPECT_TRUE(encoder.Finish().IsOK());
    EXPECT_EQ(Levels(encoder), "12 no yes");
    EXPECT_EQ(encoder.GetReferenceLevel(), 1);
    EXPECT_EQ(encoder.GetMissingWeight(), 1.0);
    EXPECT_EQ(Decoded(encoder, "YES "), "yes");
    EXPECT_EQ(Row(encoder, "")[0], kOutMissing);
    EXPECT_EQ(encoder.FindLevel(12.0), 0);
    ExpectSaved(encoder, S("other"));
}
