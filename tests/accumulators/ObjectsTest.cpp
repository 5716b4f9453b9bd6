// What all classes of this folder owe as objects: after moves, without memory, saved, merged and shown.
#include "accumulators/AccumulatorsTesting.h"
#include "support/FailingOutput.h"
#include "support/MovedFrom.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <latch>
#include <thread>

namespace {

using MCCommon_930::Value;

template <class T>
concept Savable = requires(const T& object)
{
    object.WriteObjectXML(std::declval<std::ostream&>(), 0);
};

const auto kLook = []<class T>(const T& object) {
    if constexpr (Savable<T>)
        return Saved(object);
    else
        return Shown(object);
};

/// Calls test(name, filled, empty, use): an object that saw cases, what it is after it was moved from, and a use of it.
template <class Test>
void ForEachClass(Test test)
{
    TestRandom random(3);
    const MCRectMatrix X = RandomBlock(random, 20, 3, 2);
    MCMeansXProdData raw(3, false);
    MCProvMeans means(3, true);
    for (const double x : {0.1, 1.0 / 3.0, 1e-300, -7e200}) means.Update({x, 1.0 - x, 3.0}, 1.0 + 0.1 * x * 1e-201);
    raw.Merge(means);
    raw.AddCase({kNan, HUGE_VAL, -0.0}, 1.0);
    const auto addCase = [](auto& data) { data.AddCase({0.7, 0.1, 3.0}, 2.0); };
    test("MCMeansXProdData", raw, MCMeansXProdData(0, false), addCase);
    test("MCProvMeans", means, MCProvMeans(), addCase);
    MCMeansXProducts products(3, false, true, true);
    products.Update(X, 0);
    products.UpdateOnePass(X, 9);
    const MCMeansXProducts noProducts(0, false, true, true);
    test("MCMeansXProducts", products, noProducts, [&X](auto& each) { each.Update(X, 5); });
    test("MCMeansXProducts", products, noProducts, [&X](auto& each) { each.Compute(X, 5); });
    test("MCMeansXProducts", products, noProducts, [&X](auto& each) { each.UpdateOnePass(X, 0); });
    products.SetNVars(2); // the one-pass sums keep three
    test("MCMeansXProducts", products, noProducts, [](auto& each) { each.FinishUpdateOnePass(); });
    test("MCMeansXProducts", products, noProducts, [](auto& each) { each.StartUpdateOnePass(); });
    MCExactXProducts exact(3, false, true, true);
    exact.Update(X, 0);
    const MCExactXProducts noExact(0, false, true, true);
    test("MCExactXProducts", exact, noExact, [&X](auto& each) { each.Update(X, 5); });
    test("MCExactXProducts", exact, noExact, [&X](auto& each) { each.Compute(X, 0); });
    exact.FinishUpdate();
    test("MCExactXProducts", exact, noExact, [](auto& each) { each.AddCase({0.7, 1e-9, 3.0}, 2.0); });

    MCAccumXProdPair pairs(3, 4);
    MCContStats field;
    MCCatStats counts(std::vector<double>{0.0, 2.5, 0.0});
    MCHistogramData histogram(-1.0, 3.0, 3);
    MCScatterPlotData points, cells(0.0, 1.0, 2, 0.0, 1.0, 3);
    MCBarChartData bars({"low & <high>", ""});
    MCClassificationMatrix matrix(2);
    for (int i = 0; i < 25; ++i) {
        const double x = random.Uniform(0, 1), y = random.Uniform(0, 1);
        pairs.Update(i % 3, x, y, 1.0);
        field.Update(x, 1.5, 0.3);
        counts.Update(9.0 * x, 0.1);
        histogram.UpdateData(x, y, x);
        points.UpdateData(x, 1.0, y, x);
        cells.UpdateData(x, 1.5, y, x);
        bars.UpdateData(x, y, i % 2);
        matrix.UpdateData(x, i % 2, i % 3 % 2);
    }
    test("MCAccumXProdPair", pairs, MCAccumXProdPair(0, 4), [](auto& each) { each.Update(1, 3.0, 5.0, 2.0); });
    test("MCContStats", field, field, [](auto& each) { each.Update(4.0); });
    test("MCCatStats", counts, MCCatStats(), [](auto& each) { each.Update(30.0, 0.1); });
    counts.Update(2e9, 3.0);
    test("MCCatStats", counts, MCCatStats(), [](auto& each) { each.Update(3e5, 0.1); });
    const auto emptied = [](auto object) {
        const auto taken = std::move(object);
        return object; // NOLINT(bugprone-use-after-move): of what it keeps, the bins
    };
    test("MCHistogramData", histogram, emptied(histogram), [](auto& each) { each.UpdateData(1.0, 2.0, 0.3); });
    for (const MCScatterPlotData& plot : {points, cells})
        test("MCScatterPlotData", plot, MCScatterPlotData(), [](auto& each) { each.UpdateData(1.0, 2.0, 0.3, 0.4); });
    test("MCBarChartData", bars, MCBarChartData({}), [](auto& each) { each.UpdateData(1.0, 2.0, 1); });
    test("MCClassificationMatrix", matrix, MCClassificationMatrix(0), [](auto& each) { each.UpdateData(1.0, 1, 1); });

    MCPackedInt packed(1000, 70);
    packed.Set(69, 999);
    test("MCPackedInt", packed, MCPackedInt(1000), [](auto& each) {
        each.Append(7);
        EXPECT_EQ(each.Get(each.Size() - 1), 7u);
    });
    test("MCHashKey", MCHashKey({1, 2.5, "a text that is longer than the key itself"}), MCHashKey(),
         [](auto& each) { each.Append(2.0); });
}

} // namespace

TEST(Objects, MovedFromTheyAreEmptyAndUsable)
{
    ForEachClass([](const char* name, const auto& filled, const auto& empty, auto use) {
        SCOPED_TRACE(name);
        ExpectEmptyAfterMove(filled, empty, kLook, [&](auto& object) {
            use(object);
            if constexpr (requires { object.GenerateMCVariateData(""); }) object.GenerateMCVariateData("");
            Shown(object);
        });
    });
}

TEST(Objects, WithoutMemoryTheyAreAsTheyWereOrEmpty)
{
    ForEachClass([]<class T>(const char* name, const T& filled, const T& empty, auto use) {
        SCOPED_TRACE(name);
        ExpectAssignmentIsWhole(empty, filled, kLook);
        ExpectAssignmentIsWhole(filled, empty, kLook);
        if constexpr (Savable<T>) {
            const SavedFile file(Saved(filled));
            ExpectWholeWhenMemoryRunsOut(
                empty, empty, [&](auto& object) { Restore(object, file); }, kLook);
            const std::string bytes = MCXML_930::MCStateBytes::Save(filled);
            ExpectWholeWhenMemoryRunsOut(
                empty, empty, [&](auto& object) { MCXML_930::MCStateBytes::Restore(bytes, object); }, kLook);
            ExpectWholeTextOrNone([&] { return MCXML_930::MCStateBytes::Save(filled); });
            ExpectWholeTextOrNone([&] {
                std::ostringstream text;
                return filled.WriteObjectXML(text, 1) > 0 ? text.str() : std::string();
            });
        }
        const auto merge = [other = filled](auto& object) {
            if constexpr (requires { object.Merge(other); }) object.Merge(other);
            if constexpr (requires { object.Pool(other); }) object.Pool(other);
        };
        ExpectWholeWhenMemoryRunsOut(empty, empty, merge, kLook);
        ExpectWholeWhenMemoryRunsOut(filled, filled, merge, kLook);
        ExpectWholeWhenMemoryRunsOut(filled, filled, use, kLook);
    });
}

// Also without memory: then no case has changed its place.
TEST(Objects, GainsChartsSortAllOrNothing)
{
    using Groups = std::vector<std::vector<ClassDataInfo>>;
    Groups groups(3);
    TestRandom random(5);
    for (Groups::value_type& group : groups)
        for (int i = 0; i < 2000; ++i) group.push_back({random.Uniform(0, 1), i % 2 == 0, 1.0});
    const auto look = [](const Groups& all) {
        std::vector<double> scores;
        for (const auto& group : all)
            for (const ClassDataInfo& c : group) scores.push_back(c.fdProbability);
        return scores;
    };
    ExpectWholeWhenMemoryRunsOut(
        groups, groups, [](Groups& all) { ClassGainsChart().CalculateGains(all); }, look);
}

TEST(Objects, SavedTheyComeBackWithEveryBit)
{
    ForEachClass([]<class T>(const char* name, const T& filled, const T& empty, auto use) {
        if constexpr (Savable<T>) {
            SCOPED_TRACE(name);
            for (const auto& object : {filled, empty}) {
                // The texts are equal exactly when all bits of the states are: numbers are written with all their
                // digits.
                const std::string text = Saved(object);
                auto restored = filled;
                use(restored);
                EXPECT_EQ(Restore(restored, text), std::count(text.begin(), text.end(), '\n'));
                EXPECT_EQ(Saved(restored), text);
                auto original = object;
                use(original);
                use(restored);
                EXPECT_EQ(Saved(restored), Saved(original));

                const std::string bytes = MCXML_930::MCStateBytes::Save(object);
                auto travelled = restored;
                EXPECT_EQ(MCXML_930::MCStateBytes::Restore(bytes, travelled), MCXML_930::MCStateBytes::Ok);
                EXPECT_EQ(Saved(travelled), text);
                std::string_view kind, content;
                EXPECT_EQ(MCXML_930::MCStateBytes::Unwrap(bytes, kind, content), MCXML_930::MCStateBytes::Ok);
                EXPECT_EQ(kind, name);

                // Cut anywhere, with a line too few or too many, of another class, with a damaged count: nothing
                // changes.
                const std::string before = Saved(restored);
                const std::size_t first = text.find('\n') + 1, second = text.find('\n', first) + 1;
                const std::size_t last = text.rfind("\t\t<item");
                std::vector<std::string> damaged = {
                    "",
                    text.substr(0, text.size() / 2),
                    text.substr(0, text.size() - 3),
                    text.substr(0, first) + text.substr(second),
                    text.substr(0, last) + text.substr(last, text.find('\n', last) + 1 - last) + text.substr(last),
                    "<Other>\n" + text.substr(first)};
                for (const char* count : {"-1", "65535", "65536", "2147483647", "-2147483648", "1e3"})
                    damaged.push_back(text.substr(0, first) + "<item value=\"" + count + "\"/>\n" +
                                      text.substr(second));
                for (const std::string& each : damaged) {
                    if (each == text) continue;
                    EXPECT_EQ(Restore(restored, each), 0) << each;
                    EXPECT_EQ(Saved(restored), before);
                }
            }
            // A disk that is full says so only when the lines leave the stream's buffer.
            std::ofstream full(std::filesystem::exists("/dev/full") ? "/dev/full" : "/nonexistent/file");
            EXPECT_EQ(filled.WriteObjectXML(full, 0), 0);
            const std::string kept = Saved(filled);
            ExpectFailureIsTold([&](std::ostream& stream) { return filled.WriteObjectXML(stream, 0) > 0; });
            EXPECT_EQ(Saved(filled), kept);
        }
        if constexpr (requires { filled.Display(); })
            ExpectFailureIsTold([&](std::ostream& out) { return DisplayTo(out, [&] { filled.Display(); }); });
    });
}

// Several threads may look at one object; the first of them brings its matrix up to date.
TEST(Objects, OneSourceMergesFromManyThreads)
{
    for (int round = 0; round < 60; ++round) {
        MCProvMeans source(200, true);
        for (int c = 0; c < 60; ++c) source.AddCase(Doubles(200, c * 0.1), 1.0);
        std::vector<MCProvMeans> targets(2, MCProvMeans(200, true));
        std::latch start(2);
        std::vector<std::jthread> threads;
        for (MCProvMeans& target : targets)
            threads.emplace_back([&] {
                start.arrive_and_wait();
                target.Merge(std::as_const(source));
            });
        threads.clear();
        MCProvMeans expected(200, true);
        expected.Merge(source);
        for (const MCProvMeans& target : targets) ASSERT_TRUE(SameState(target, expected));
    }
}

// An entry without variables, as of a worker that had no data, is nothing to an object without any.
TEST(Objects, AVectorIsLookedThroughBeforeTheFirstMerge)
{
    const auto test = [](auto make) {
        const std::vector<std::pair<std::vector<int>, bool>> table = {
            {{}, false}, {{-1, -1}, false}, {{2}, true},     {{0, 2}, true},     {{-1, 0, 0, 2, -1}, true},
            {{0}, true}, {{2, 0}, false},   {{2, 3}, false}, {{0, 2, 3}, false}, {{3, 2}, false},
        };
        for (const auto& [sizes, merges] : table)
            for (const int own : {0, 2}) {
                std::vector<decltype(make(0))> entries;
                for (const int p : sizes) entries.push_back(make(std::max(p, 0)));
                std::vector<decltype(make(0))*> pointers;
                auto target = make(own), expected = make(own);
                bool all = merges;
                for (std::size_t i = 0; i < sizes.size(); ++i) {
                    pointers.push_back(sizes[i] < 0 ? nullptr : &entries[i]);
                    if (own == 2 && sizes[i] >= 0 && sizes[i] != 2) all = false;
                }
                if (all)
                    for (const auto* const entry : pointers)
                        if (entry != nullptr) expected.Merge(*entry);
                const std::vector<const decltype(make(0))*> constant(pointers.begin(), pointers.end());
                auto again = target;
                EXPECT_EQ(target.Merge(pointers), all) << own << ::testing::PrintToString(sizes);
                EXPECT_EQ(again.Merge(constant), all) << own << ::testing::PrintToString(sizes);
                EXPECT_EQ(Saved(again), Saved(target));
                EXPECT_EQ(Saved(target), Saved(expected)) << own << ::testing::PrintToString(sizes);
            }
    };
    test([](int p) {
        MCMeansXProdData data(p, true);
        data.AddCase({1.0, 2.0, 4.0}, 1.0);
        data.AddCase({3.0, 1.0, 7.0}, 2.0);
        return data;
    });
    test([](int p) {
        MCExactXProducts data(p, true, true, false);
        data.AddCase({1.0, 2.0, 4.0}, 1.0);
        return data;
    });
    test([](int p) {
        MCAccumXProdPair pairs(p, 1);
        for (const double x : {1.0, 2.0, 5.0}) pairs.Update(0, x, x * x, 1.0);
        return pairs;
    });
}
