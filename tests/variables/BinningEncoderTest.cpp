#include "VariablesTesting.h"

namespace {

using E = MCBinningEncoder;
constexpr double kEncoded = E::Encoded, kOutMissing = E::EncodedMissing, kOutlier = E::EncodedOutlier;

std::string Bins(const E& encoder)
{
    std::string text;
    for (int bin = 0; bin < encoder.GetNBins(); ++bin)
        text += encoder.GetBinText(bin) + " " +
                Value(encoder.GetBinWeights()[static_cast<std::size_t>(bin)]).GetString() + "; ";
    return text;
}

std::vector<double> Ramp(int count)
{
    std::vector<double> x;
    for (int i = 1; i <= count; ++i) x.push_back(i);
    return x;
}

} // namespace

TEST(MCBinningEncoder, ChoosesCuts)
{
    struct Case {
        const char* name;
        std::function<void(E&)> set;
        std::vector<double> x;
        long code; // of Finish
        const char* bins;
    };
    const auto lower = [](E& e) { e.SetEqualFrequency(5), e.SetClosed(e.ClosedLower); };
    const auto five = [](E& e) { e.SetEqualFrequency(5); };
    const auto four = [](E& e) { e.SetEqualFrequency(4); };
    const auto fourLower = [](E& e) { e.SetEqualFrequency(4), e.SetClosed(e.ClosedLower); };
    const auto width = [](int bins) { return [bins](E& e) { e.SetEqualWidth(bins); }; };
    const auto closed = [](E& e) { e.SetEqualWidth(2), e.SetEndsClosed(0, kMissing, e.OutlierRefused); };
    const auto closedLower = [](E& e) { e.SetEqualWidth(2), e.SetEndsClosed(0, 4), e.SetClosed(e.ClosedLower); };
    const auto deviations = [](auto... rule) { return [=](E& e) { e.SetDeviations(rule...); }; };
    const auto given = [](std::vector<double> cuts, E::Closed side = E::ClosedUpper) {
        return [=](E& e) { e.SetCuts(cuts), e.SetClosed(side); };
    };
    const std::vector<double> zeros{0, -0.0, 3, 0, 2, -0.0, 1, 0, 4, 0}, top{2, 2, 2, 1, 2, 2, 2, 2, 2, 2};
    const std::vector<double> around{-1, -1, 1, 1, 0}, twins{1.0, std::nextafter(1.0, 2.0)};
    const Case cases[] = {
        {"equal weight", four, Ramp(10), 0, "(-inf, 3] 3; (3, 5] 2; (5, 8] 3; (8, inf) 2; "},
        {"the same, [)", fourLower, Ramp(10), 0, "(-inf, 4) 3; [4, 6) 2; [6, 9) 3; [9, inf) 2; "},
        {"ties below", five, zeros, E::FinishFewerBins, "(-inf, 0] 6; (0, 2] 2; (2, inf) 2; "},
        {"ties below, [)", lower, zeros, E::FinishFewerBins, "(-inf, 1) 6; [1, 3) 2; [3, inf) 2; "},
        {"ties above", five, top, E::FinishFewerBins, "(-inf, inf) 10; "},
        {"one value", five, {7, 7}, E::FinishConstant, "(-inf, inf) 2; "},
        {"no value", five, {kMissing, kInf}, E::FinishNoValues, "(-inf, inf) 0; "},
        {"equal width", width(4), {-1, 3, 0}, 0, "(-inf, 0] 2; (0, 1] 0; (1, 2] 0; (2, inf) 1; "},
        {"width, closed ends", closed, {-1, 4, 0, 3}, 0, "[0, 2] 1; (2, 4] 2; "},
        {"width, [)", closedLower, {2, 4}, 0, "[0, 2) 0; [2, 4] 2; "},
        {"width of all doubles", width(2), {-1.7e308, 1.7e308}, 0, "(-inf, 0] 1; (0, inf) 1; "},
        {"width without room", width(4), twins, E::FinishFewerBins, "(-inf, inf) 2; "},
        {"width, one value", width(4), {1.0}, E::FinishConstant, "(-inf, inf) 1; "},
        {"deviations", deviations(1), around, 0, "(-inf, -1] 2; (-1, 0] 1; (0, 1] 2; (1, inf) 0; "},
        {"without the mean", deviations(1, false), around, 0, "(-inf, -1] 2; (-1, 1] 3; (1, inf) 0; "},
        {"deviations of nothing", deviations(2), {}, E::FinishNoValues, "(-inf, inf) 0; "},
        {"given", given({0.0, 2.5}), {-0.0, 0, 1, 9}, 0, "(-inf, 0] 2; (0, 2.5] 1; (2.5, inf) 1; "},
        {"given, [)", given({0.0}, E::ClosedLower), {-0.0, 0, 1}, 0, "(-inf, 0) 0; [0, inf) 3; "},
        {"given, none", given({}), {1, 2}, 0, "(-inf, inf) 2; "},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        E encoder("f");
        c.set(encoder);
        encoder.LearnBlock(c.x);
        const MCStatus status = encoder.Finish();
        EXPECT_EQ(status.GetErrorCode(), c.code);
        EXPECT_FALSE(status.IsError());
        EXPECT_EQ(Bins(encoder), c.bins);
        ExpectBlockLikeRows(encoder, {0.0, -0.0, 2.0, 4.0, kInf, -kInf, kNan, kMissing, 1.0, 3.5});
        ExpectBlockLikeRows(encoder, {0.5, 2.0, -0.0, 3.0});
        ExpectSaved(encoder, E("other"));
        for (int bin = 0; bin < encoder.GetNBins(); ++bin) {
            Value inside;
            const double number = bin;
            ASSERT_TRUE(encoder.Decode({&number, 1}, inside));
            EXPECT_EQ(encoder.FindBin(inside.GetReal()), bin) << inside;
        }
    }
}

TEST(MCBinningEncoder, EveryOutcomeAndRule)
{
    struct Case {
        const char* name;
        std::function<void(E&)> set;
        double x;
        std::vector<double> row;
        const char* decoded;
    };
    // Cuts 2 and 4; learned 1 to 5, the median is 3.
    const auto ownIndicator = [](E& e) { e.SetOutput(e.OutputIndicator), e.SetMissingRule(e.MissingOwnCategory); };
    const auto closed = [](E::OutlierRule rule) { return [rule](E& e) { e.SetEndsClosed(1.0, 5.0, rule); }; };
    const Case cases[] = {
        {"on a cut", [](E&) {}, 2.0, {kEncoded, 0}, "1.5"},
        {"above a cut", [](E&) {}, std::nextafter(2.0, 3.0), {kEncoded, 1}, "3"},
        {"open end", [](E&) {}, kInf, {kEncoded, 2}, "4.5"},
        {"missing stays", [](E&) {}, kNan, {kOutMissing, kMissing}, "null"},
        {"median", [](E& e) { e.SetMissingRule(e.MissingReplaced); }, kMissing, {kOutMissing, 1}, "3"},
        {"number", [](E& e) { e.SetMissingRule(e.MissingReplaced, 99); }, kMissing, {kOutMissing, 2}, "4.5"},
        {"own bin", [](E& e) { e.SetMissingRule(e.MissingOwnCategory); }, kMissing, {kOutMissing, 3}, "null"},
        {"missing refused", [](E& e) { e.SetMissingRule(e.MissingRefused); }, kMissing, {kRefused, -1}, ""},
        {"indicator", [](E& e) { e.SetOutput(e.OutputIndicator); }, 4.5, {kEncoded, 0, 0, 1}, "4.5"},
        {"indicator, own", ownIndicator, kNan, {kOutMissing, 0, 0, 0, 1}, "null"},
        {"lower edge", closed(E::OutlierRefused), 1.0, {kEncoded, 0}, "1.5"},
        {"upper edge", closed(E::OutlierRefused), 5.0, {kEncoded, 2}, "4.5"},
        {"refused", closed(E::OutlierRefused), 0.5, {kRefused, -1}, ""},
        {"as missing", closed(E::OutlierAsMissing), 5.5, {kOutlier, kMissing}, "null"},
        {"clipped", closed(E::OutlierClipped), -kInf, {kOutlier, 0}, "1.5"},
        {"stays", closed(E::OutlierStays), 1e9, {kEncoded, 2}, "4.5"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        E encoder("f");
        encoder.SetCuts({2.0, 4.0});
        c.set(encoder);
        encoder.LearnBlock(Ramp(5));
        ASSERT_TRUE(encoder.Finish().IsOK());
        EXPECT_TRUE(SameBits(Row(encoder, c.x), c.row)) << ::testing::PrintToString(Row(encoder, c.x));
        if (c.row[0] != kRefused) {
            EXPECT_EQ(Decoded(encoder, c.x), c.decoded);
        }
        ExpectBlockLikeRows(encoder, {c.x, 1.0, 2.0, 3.0, kNan, -7.0});
    }
    E encoder("f");
    EXPECT_FALSE(encoder.SetCuts({1.0, 1.0}));
    EXPECT_FALSE(encoder.SetCuts({kNan}));
    EXPECT_FALSE(encoder.SetEqualWidth(0));
    EXPECT_FALSE(encoder.SetEndsClosed(2.0, 1.0));
    encoder.SetCuts({9.0});
    encoder.SetEndsClosed(0.0, 5.0);
    EXPECT_EQ(encoder.Finish(), MCStatus(E::FinishNotPossible, false));
    EXPECT_EQ(Row(encoder, "text")[0], kRefused);
}

// One end alone is closed when nothing was learned; and a saved state is no way around what the setters refuse.
TEST(MCBinningEncoder, OneClosedEndAndStatesOfImpossibleLimits)
{
    const std::vector<double> x{-kInf, -1.0, 0.0, 5.0, 10.0, 11.0, kInf, kMissing, kNan, 1e308, -1e308};
    for (const auto& [lowest, highest] : {std::pair(0.0, kMissing), {kMissing, 10.0}, {0.0, 10.0}}) {
        for (const auto rule : {E::OutlierStays, E::OutlierClipped, E::OutlierAsMissing, E::OutlierRefused}) {
            E encoder("f");
            encoder.SetCuts({5.0});
            encoder.SetEndsClosed(lowest, highest, rule);
            encoder.SetMissingRule(E::MissingOwnCategory);
            encoder.Finish();
            ExpectBlockLikeRows(encoder, x);
        }
    }
    E encoder("f");
    encoder.SetCuts({5.0});
    encoder.SetOutput(E::OutputIndicator);
    encoder.SetMissingRule(E::MissingReplaced, 1.0);
    encoder.Finish();
    std::string saved;
    encoder.ToJson().ToText(saved);
    for (const auto& [from, to] : {std::pair(R"("replacement":1.0)", R"("replacement":"NaN")"),
                                   {R"("lowest":null)", R"("lowest":"NaN")"},
                                   {R"("lowest":null,)", R"("lowest":7,)"}}) {
        std::string altered = saved;
        const std::size_t at = altered.find(from);
        ASSERT_NE(at, std::string::npos) << saved;
        altered.replace(at, std::string(from).size(), to);
        JsonObject json;
        ASSERT_TRUE(JsonObject::Parse(altered, json));
        E other("g");
        EXPECT_EQ(other.FromJson(json), std::string(to).find("NaN") == std::string::npos) << to;
    }
}

// With many cuts bins are searched, with few they are counted; and beyond the sketch's limit the error is stated.
TEST(MCBinningEncoder, QuantilesOfManyValues)
{
    TestRandom random(6);
    const std::vector<double> x = random.Vector(20000, 0.0, 1.0);
    for (const auto& [bins, limit] : {std::pair(10, 32768), {10, 1024}, {300, 32768}}) {
        for (const auto closed : {E::ClosedUpper, E::ClosedLower}) {
            E encoder("f");
            encoder.SetEqualFrequency(bins);
            encoder.SetSketchLimit(limit);
            encoder.SetClosed(closed);
            encoder.LearnBlock(x);
            const MCStatus status = encoder.Finish();
            EXPECT_EQ(status.GetErrorCode(), limit == 1024 ? E::FinishApproximate : 0);
            EXPECT_EQ(status.GetScaleDatum(0), encoder.GetRankError());
            ASSERT_EQ(encoder.GetNBins(), bins);
            std::vector<double> counts(static_cast<std::size_t>(bins)), rows(x.size());
            ASSERT_EQ(encoder.EncodeBlock(x, rows, 1), 20000);
            for (const double bin : rows) counts[static_cast<std::size_t>(bin)] += 1.0;
            for (const double count : counts)
                EXPECT_NEAR(count, 20000.0 / bins, 1.0 + 2.0 * 20000.0 * encoder.GetRankError());
            ExpectBlockLikeRows(encoder, std::vector<double>(x.begin(), x.begin() + 600));
        }
    }
}

// Fayyad and Irani's criterion by hand. 20 A, 20 B, 20 A: entropy 0.9183; the cut at 20.5 leaves 40/60, gain 0.2516,
// delta = log2 7 - (2*0.9183 - 2) = 2.9708, threshold (log2 59 + 2.9708)/60 = 0.1476: cut; the rest has entropy 1 and is
// cut at 40.5. Of 10, 10, 10 the gain is the same and the threshold (log2 29 + 2.9708)/30 = 0.2610: none.
// The temperatures are the known small example of Witten, Frank & Hall (Data Mining, section on discretisation): the
// best cut, 84, leaves 0.827 of 0.940 bits, a gain of 0.113 below (log2 13 + log2 7 - 2*0.940 + 2*0.890)/14 = 0.458.
TEST(MCBinningEncoder, MDLPDecidesAsByHand)
{
    const auto groups = [](int size) {
        std::vector<std::pair<double, Value>> cases;
        for (int i = 1; i <= 3 * size; ++i) cases.emplace_back(i, (i - 1) / size == 1 ? "B" : "A");
        return cases;
    };
    std::vector<std::pair<double, Value>> weather, three;
    const double degrees[] = {64, 65, 68, 69, 70, 71, 72, 72, 75, 75, 80, 81, 83, 85};
    const bool play[] = {true, false, true, true, true, false, false, true, true, true, false, true, true, false};
    for (int i = 0; i < 14; ++i) weather.emplace_back(degrees[i], play[i]);
    for (int i = 0; i < 90; ++i) three.emplace_back(i / 30 + (i % 2 == 0 ? 0.0 : 0.25), i / 30);
    struct Case {
        const char* name;
        std::vector<std::pair<double, Value>> cases;
        std::vector<double> cuts;
    };
    const Case cases[] = {{"eight", {{1, 0}, {2, 0}, {3, 0}, {4, 0}, {5, 1}, {6, 1}, {7, 1}, {8, 1}}, {4.5}},
                          {"sixty", groups(20), {20.5, 40.5}},
                          {"thirty", groups(10), {}},
                          {"temperature", weather, {}},
                          {"three classes", three, {0.625, 1.625}},
                          {"one class", {{1, "x"}, {2, "x"}, {3, "x"}}, {}},
                          {"nothing", {}, {}}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        E encoder("f"), backwards("f");
        encoder.SetMDLP();
        backwards.SetMDLP();
        for (const auto& [x, group] : c.cases) EXPECT_TRUE(encoder.LearnWithTarget(x, group));
        for (auto i = c.cases.rbegin(); i != c.cases.rend(); ++i) backwards.LearnWithTarget(i->first, i->second);
        encoder.Finish();
        backwards.Finish();
        EXPECT_EQ(encoder.GetCuts(), c.cuts);
        EXPECT_EQ(Saved(encoder), Saved(backwards));
    }
}
