// Saving and restoring of the accumulators through the flat value stream.
#include "accumulators/AccumulatorsTesting.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>

namespace {

/// What ReadObjectXML returns for that text.
template <class T>
int Restore(T& object, const std::string& text)
{
    const std::string path =
        ::testing::TempDir() + ::testing::UnitTest::GetInstance()->current_test_info()->name() + ".xml";
    std::ofstream(path) << text;
    std::ifstream file(path);
    const int lines = object.ReadObjectXML(file);
    std::remove(path.c_str());
    return lines;
}

/// The texts are equal exactly when all bits of the states are: numbers are written with all their digits. Then both
/// must go on alike.
template <class T, class Continue>
void ExpectSavedWhole(const T& object, T restored, Continue goOn)
{
    const std::string text = Saved(object);
    std::ostringstream again;
    const int lines = object.WriteObjectXML(again, 0);
    EXPECT_EQ(lines, std::count(text.begin(), text.end(), '\n'));
    EXPECT_EQ(Restore(restored, text), lines);
    EXPECT_EQ(Saved(restored), text);
    T original(object);
    goOn(original);
    goOn(restored);
    EXPECT_EQ(Saved(restored), Saved(original));

    // Cut anywhere, with a line too few or too many, or of another class: refused, and nothing changes.
    const std::string before = Saved(restored);
    const std::size_t second = text.find('\n', text.find('\n') + 1) + 1;
    const std::size_t last = text.rfind("<item");
    for (const std::string& damaged :
         {std::string(), text.substr(0, text.size() / 2), text.substr(0, text.size() - 3),
          text.substr(0, text.find('\n') + 1) + text.substr(second),
          text.substr(0, last) + text.substr(last, text.find('\n', last) - last) + text.substr(last),
          "<Other>\n" + text.substr(text.find('\n') + 1)}) {
        EXPECT_EQ(Restore(restored, damaged), 0) << damaged;
        EXPECT_EQ(Saved(restored), before);
    }
    std::ofstream nowhere("/nonexistent/file");
    EXPECT_EQ(object.WriteObjectXML(nowhere, 0), 0);
}

} // namespace

TEST(SavedState, RestoresEveryBitOfTheMeans)
{
    const auto goOn = [](MCMeansXProdData& data) { data.AddCase({0.7, 0.1, 3.0}, 2.0); };
    MCProvMeans means(3, true);
    for (const double x : {0.1, 1.0 / 3.0, 1e-300, -7e200}) means.Update({x, 1.0 - x, 3.0}, 1.0 + 0.1 * x * 1e-201);
    ExpectSavedWhole(means, MCProvMeans(), goOn);
    means.Update({kNan, HUGE_VAL, -0.0}, 1.0);
    ExpectSavedWhole(means, MCProvMeans(7, false), goOn);
    MCMeansXProdData raw(3, false);
    goOn(raw);
    ExpectSavedWhole(raw, MCMeansXProdData(), goOn);
    ExpectSavedWhole(MCMeansXProdData(), MCMeansXProdData(2, false), [](MCMeansXProdData&) {});
}

TEST(SavedState, RestoresBothRoadsOfTheBlocks)
{
    TestRandom random(3);
    const MCRectMatrix X = RandomBlock(random, 20, 3, 2);
    MCMeansXProducts data(3, false, true, true);
    data.Update(X, 0);
    data.UpdateOnePass(X, 9);
    ExpectSavedWhole(data, MCMeansXProducts(), [&](MCMeansXProducts& each) {
        each.Update(X, 5);
        each.UpdateOnePass(X, 0);
    });
    data.SetNVars(2); // the one-pass sums keep three
    ExpectSavedWhole(data, MCMeansXProducts(), [](MCMeansXProducts& each) { each.FinishUpdateOnePass(); });
}

TEST(SavedState, RestoresPairsAndSummaries)
{
    TestRandom random(4);
    MCAccumXProdPair pairs(3, 4);
    MCContStats field;
    MCCatStats counts(std::vector<double>{0.0, 2.5, 0.0});
    for (int i = 0; i < 25; ++i) {
        pairs.Update(i % 3, random.Uniform(0, 1), random.Uniform(0, 1), 1.0);
        field.Update(random.Uniform(0, 1), 1.5, 0.3);
        counts.Update(random.Uniform(0, 9), 0.1);
    }
    ExpectSavedWhole(pairs, MCAccumXProdPair(0, 1), [](MCAccumXProdPair& each) { each.Update(1, 3.0, 5.0, 2.0); });
    ExpectSavedWhole(field, MCContStats(), [](MCContStats& each) { each.Update(4.0); });
    ExpectSavedWhole(counts, MCCatStats(), [](MCCatStats& each) { each.Update(30.0, 0.1); });
    ExpectSavedWhole(MCContStats(), MCContStats(field), [](MCContStats&) {});
    MCCatStats none;
    EXPECT_EQ(Restore(counts, Saved(none)), 3);
    EXPECT_TRUE(counts.GetCatCounts().empty());
}

TEST(SavedState, DamagedCountsAreRefused)
{
    MCMeansXProdData means(2, true);
    MCAccumXProdPair pairs(2, 1);
    MCCatStats counts;
    for (const char* count : {"-1", "65536", "65535", "2147483647", "1e3"}) {
        const std::string head = std::string("<item value=\"") + count + "\"/>\n";
        EXPECT_EQ(Restore(means, "<MCMeansXProdData>\n" + head + "<item value=\"true\"/>\n</MCMeansXProdData>\n"), 0);
        EXPECT_EQ(Restore(pairs, "<MCAccumXProdPair>\n" + head + "<item value=\"1\"/>\n</MCAccumXProdPair>\n"), 0);
        EXPECT_EQ(Restore(counts, "<MCCatStats>\n" + head + "</MCCatStats>\n"), 0);
    }
    EXPECT_EQ(Restore(pairs, "<MCAccumXProdPair>\n<item value=\"1\"/>\n<item value=\"0\"/>\n</MCAccumXProdPair>\n"), 0);
    EXPECT_EQ(means.GetNVars(), 2);
    EXPECT_EQ(pairs.GetNVars(), 2);
}
