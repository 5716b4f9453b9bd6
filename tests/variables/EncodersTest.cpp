// What all encoders hold to, and the encoders of numbers that need no bins.
#include "VariablesTesting.h"
#include "support/FailingOutput.h"
#include "support/MovedFrom.h"

#include <cfenv>

namespace {

using Make = std::function<std::unique_ptr<MCEncoderBase>()>;

template <class Encoder, class Set>
Make With(Set set)
{
    return [set] {
        auto encoder = std::make_unique<Encoder>("f");
        set(*encoder);
        encoder->SetMissingRule(IMCEncoder::MissingOwnCategory, 2.5);
        return encoder;
    };
}

/// Encoders of every class, with settings that are not those of the start.
std::vector<Make> AllEncoders()
{
    std::vector<Make> all{
        With<MCContinuousEncoder>([](auto& e) { e.SetScaling(e.ScaleZScore); }),
        With<MCContinuousEncoder>([](auto& e) { e.SetScaling(e.ScaleSymmetric), e.SetLimitsLearned(); }),
        With<MCContinuousEncoder>([](auto& e) { e.SetScaling(e.ScaleUnit), e.SetLimits(1, kMissing); }),
        With<MCCategoricalNumericEncoder>([](auto& e) { e.SetMinWeight(9), e.SetUnseenRule(e.UnseenAsOther); }),
        With<MCCategoricalNumericEncoder>([](auto& e) { e.SetMethod(e.MethodTargetMean), e.SetSmoothing(2.5); }),
        With<MCCategoricalNumericEncoder>([](auto& e) {
            e.SetScores({{2.5, 1.0}, {Value(), -1.0}, {0.5, 0.25}}), e.SetUnseenRule(e.UnseenAsBaseline);
        }),
        With<MCBinningEncoder>([](auto& e) { e.SetEqualFrequency(4), e.SetSketchLimit(16); }),
        With<MCBinningEncoder>([](auto& e) { e.SetEqualWidth(5), e.SetOutput(e.OutputIndicator); }),
        With<MCBinningEncoder>([](auto& e) { e.SetDeviations(2, false), e.SetClosed(e.ClosedLower); }),
        With<MCBinningEncoder>([](auto& e) { e.SetMDLP(), e.SetEndsClosed(0.25, 4.0, e.OutlierClipped); }),
        With<MCBinningEncoder>([](auto& e) {
            e.SetCuts({0.1, 0.3});
        }),
        With<MCStringEncoder>([](auto& e) {
            e.SetMaxLength(2), e.SetMapping({{"1.", "one"}, {"\xFF", ""}}), e.SetCategories({"one", "2.7", "0.5"});
            e.SetUnseenRule(e.UnseenAsMissing), e.SetCase(e.CaseUpper);
        }),
        With<MCRoundingEncoder>([](auto& e) { e.SetDigits(1), e.SetDirection(e.RoundUp); }),
        With<MCRoundingEncoder>([](auto& e) { e.SetUnit(0.75); }),
    };
    for (const auto coding :
         {MCCategoricalEncoder::Indicator, MCCategoricalEncoder::Dummy, MCCategoricalEncoder::Deviation,
          MCCategoricalEncoder::Helmert, MCCategoricalEncoder::Difference, MCCategoricalEncoder::Repeated,
          MCCategoricalEncoder::Polynomial})
        all.push_back(With<MCCategoricalEncoder>([coding](auto& e) {
            e.SetCoding(coding), e.SetReference(e.ReferenceMostFrequent), e.SetMaxKept(5);
            e.SetUnseenRule(e.UnseenAsBaseline);
        }));
    return all;
}

struct Data {
    std::vector<double> x, target, weights;
    void Learn(IMCEncoder& encoder, std::size_t from, std::size_t to) const
    {
        const auto part = [&](const std::vector<double>& v) { return std::span(v).subspan(from, to - from); };
        EXPECT_GE(encoder.LearnBlockWithTarget(part(x), part(target), part(weights)), 0);
    }
};

/// Multiples of 1/2 and small whole weights, so that every sum is exact; the mean of the z-score is not.
Data Random(std::size_t count)
{
    TestRandom random(11);
    Data data;
    for (std::size_t i = 0; i < count; ++i) {
        const double x = 0.5 * random.Below(14);
        data.x.push_back(x == 6.5 ? kMissing : x == 6.0 ? kNan : x == 5.5 ? 0.01 * random.Below(100) : x);
        data.target.push_back(random.Below(4) + (x > 3 ? 2 : 0));
        data.weights.push_back(1 + random.Below(3));
    }
    return data;
}

} // namespace

TEST(Encoders, MergeInAnyOrderSaveAndGoOnAlike)
{
    const Data data = Random(400);
    TestRandom random(4);
    std::vector<double> probes(data.x.begin(), data.x.begin() + 60);
    probes.insert(probes.end(), {-0.0, kInf, -kInf, 77.0, 0.3, kNan, kMissing});
    for (const Make& make : AllEncoders()) {
        const auto whole = make();
        std::vector<std::unique_ptr<MCEncoderBase>> parts;
        for (std::size_t from = 0; from < data.x.size();) {
            const std::size_t to = std::min(from + static_cast<std::size_t>(random.Below(120)), data.x.size());
            data.Learn(*parts.emplace_back(make()), from, to);
            from = to;
        }
        for (std::size_t i = data.x.size(); i > 0; --i) data.Learn(*whole, i - 1, i); // backwards
        std::swap(parts.front(), parts.back());
        const auto merged = make();
        for (const auto& part : parts) EXPECT_TRUE(merged->Merge(*part));
        const bool exact = dynamic_cast<MCContinuousEncoder*>(whole.get()) == nullptr &&
                           Saved(*whole).find("deviations") == std::string::npos;
        if (exact) {
            EXPECT_EQ(Saved(*merged), Saved(*whole));
        }

        // Saved half way and whole, and going on alike.
        const auto restored = make();
        EXPECT_GT(Restore(*restored, Saved(*merged)), 0);
        EXPECT_EQ(Saved(*restored), Saved(*merged));
        EXPECT_FALSE(merged->Finish().IsError());
        EXPECT_FALSE(restored->Finish().IsError());
        EXPECT_EQ(Saved(*restored), Saved(*merged));
        std::string json;
        JsonObject parsed;
        ASSERT_TRUE(merged->ToJson().ToText(json));
        ASSERT_TRUE(JsonObject::Parse(json, parsed));
        const auto reread = MCEncoderBase::CreateFromJson(parsed);
        ASSERT_NE(reread, nullptr) << json;
        EXPECT_TRUE(*reread == *merged) << json;
        for (const double x : probes) EXPECT_TRUE(SameBits(Row(*reread, x), Row(*merged, x)));
        ExpectBlockLikeRows(*reread, probes);
        EXPECT_EQ(Restore(*reread, Saved(*whole).substr(0, 300)), 0);
        const std::string bytes = MCStateBytes::Save(*merged);
        MCStateBytes::Reader reader(bytes);
        const auto travelled = MCEncoderBase::Create(std::string(reader.GetKind()));
        ASSERT_NE(travelled, nullptr);
        EXPECT_GT(travelled->ReadObjectXML(reader.Stream()), 0);
        EXPECT_EQ(reader.Finish(true), MCStateBytes::Ok);
        EXPECT_TRUE(*travelled == *merged);

        // Names are there and different; Display says the class; a finished encoder learns and merges no more.
        std::vector<std::string> names;
        for (int j = 0; j < merged->GetNColumns(); ++j) names.push_back(merged->GetColumnName(j));
        std::sort(names.begin(), names.end());
        EXPECT_TRUE(std::adjacent_find(names.begin(), names.end()) == names.end());
        EXPECT_EQ(merged->GetColumnName(merged->GetNColumns()), "");
        EXPECT_FALSE(merged->Learn(1.0));
        EXPECT_FALSE(merged->SetMissingRule(IMCEncoder::MissingStays));
        EXPECT_FALSE(merged->Merge(*whole));
        EXPECT_TRUE(merged->Finish().IsError());
        EXPECT_TRUE(*std::unique_ptr<MCEncoderBase>(static_cast<MCEncoderBase*>(merged->Clone().release())) == *merged);
        const DisplayCapture capture;
        merged->Display();
        EXPECT_EQ(capture.Text().find("MC"), 0u);
    }
}

TEST(Encoders, AssignmentWithoutMemoryLeavesThemAsTheyWere)
{
    const auto test = []<class Encoder>(Encoder first) {
        Encoder second("a field whose name is longer than a small string");
        second.SetMissingRule(second.MissingOwnCategory, 2.5);
        for (const double x : {1.5, 2.5, 3.5}) first.Learn(x), second.Learn(-x);
        first.Finish();
        ExpectAssignmentIsWhole(first, second, [](const Encoder& e) { return Saved(e); });
        ExpectAssignmentIsWhole(second, first, [](const Encoder& e) { return Saved(e); });
    };
    test(MCContinuousEncoder("f")), test(MCRoundingEncoder("f")), test(MCBinningEncoder("f"));
    test(MCCategoricalEncoder("f")), test(MCCategoricalNumericEncoder("f")), test(MCStringEncoder("f"));
}

// Each in the middle of learning, with other cases to merge, to read back and to learn.
TEST(Encoders, WithoutMemoryTheyAreAsTheyWere)
{
    struct Held {
        std::unique_ptr<MCEncoderBase> encoder;
        explicit Held(std::unique_ptr<MCEncoderBase> made) : encoder(std::move(made)) {}
        Held(const Held& other) : encoder(static_cast<MCEncoderBase*>(other.encoder->Clone().release())) {}
    };
    const Data data = Random(60);
    // More values than a piece of a block has, with new ones in the second, all valid for the fast way; and targets that
    // were not seen before.
    std::vector<double> more(552), weights(more.size()), targets(more.size());
    for (std::size_t i = 0; i < more.size(); ++i) {
        more[i] = 1.0 + 0.25 * static_cast<double>(i < 512 ? i % 40 : i);
        weights[i] = 1.0 + static_cast<double>(i % 3);
        targets[i] = static_cast<double>(20 + i % 4);
    }
    for (const Make& make : AllEncoders()) {
        const Held filled(make()), other(make());
        data.Learn(*filled.encoder, 0, 40);
        data.Learn(*other.encoder, 30, 60);
        const SavedFile file(Saved(*other.encoder));
        const JsonObject json = other.encoder->ToJson();
        const auto wholeOr = [&filled](const Held& empty, auto change) {
            ExpectWholeWhenMemoryRunsOut(
                filled, empty, [&](Held& held) { change(*held.encoder); },
                [](const Held& held) { return Saved(*held.encoder); });
        };
        const auto whole = [&](auto change) { wholeOr(filled, change); };
        ExpectFailureIsTold([&](std::ostream& stream) { return filled.encoder->WriteObjectXML(stream, 0) > 0; });
        whole([](auto& e) { e.LearnWithTarget(77.25, 2.0, 1.0); });
        whole([](auto& e) { e.LearnWithTarget(77.25, "a target with more text than a small string", 1.0); });
        // Of a block that memory ran out for nothing is left, nor of what was learned before it.
        const Held empty(make());
        wholeOr(empty, [&](auto& e) { e.LearnBlock(more); });
        wholeOr(empty, [&](auto& e) { e.LearnBlock(more, weights); });
        wholeOr(empty, [&](auto& e) { e.LearnBlockWithTarget(more, targets, weights); });
        whole([](auto& e) { e.LearnWithTarget("a category with more text than a small string", 7.0, 1.0); });
        whole([](auto& e) { e.SetMissingRule(e.MissingReplaced, "a text that is longer than a small string"); });
        whole([&](auto& e) { e.Merge(*other.encoder); });
        whole([&](auto& e) { e.FromJson(json); });
        whole([&](auto& e) { Restore(e, file); });
        whole([](auto& e) { e.Finish(); });
        ExpectWholeTextOrNone([&] {
            std::ostringstream text;
            return filled.encoder->WriteObjectXML(text, 1) > 0 ? text.str() : std::string();
        });
    }
}

TEST(Encoders, SettingsWithoutMemoryAreAsTheyWere)
{
    MCCategoricalNumericEncoder given("f");
    given.SetCategories({"a category with more text than a small string", 1.0});
    const auto whole = [&given](auto set) {
        ExpectWholeWhenMemoryRunsOut(given, given, set, [](const auto& e) {
            MCCategoricalNumericEncoder next(e);
            next.LearnWithTarget(1.0, 2.0);
            return Saved(e) + Saved(next);
        });
    };
    whole([](auto& e) { e.SetMethod(e.MethodTargetMean); });
    whole([](auto& e) { e.SetCategories({1.0, 2.0, "another category with more text than a small string"}); });
    whole([](auto& e) { e.SetScores({{1.0, 0.5}, {"a category with more text than a small string", 2.0}}); });
    whole([](auto& e) { e.SetReference("a category with more text than a small string"); });
    whole([](auto& e) { e.SetOtherName("a name with more text than a small string"); });
}

TEST(Encoders, RefuseWeightsThatWouldSumUpToInfinity)
{
    for (const Make& make : AllEncoders()) {
        const auto encoder = make(), other = make();
        for (const double x : {0.5, 2.5, 1.0}) {
            const bool taken = encoder->LearnWithTarget(x, 2.0, 1e307);
            EXPECT_EQ(other->LearnWithTarget(x, 2.0, 2e307), taken);
        }
        for (const double x : {0.5, kMissing}) EXPECT_EQ(encoder->LearnWithTarget(x, 2.0, 8e307), false);
        const std::string before = Saved(*encoder);
        EXPECT_EQ(encoder->Merge(*other), false);
        EXPECT_EQ(Saved(*encoder), before);
        const auto restored = make();
        EXPECT_GT(Restore(*restored, before), 0) << before;
        EXPECT_EQ(Saved(*restored), before);
    }
}

// Of every class and rule for missing values; without any, and of one column, most have roads of their own.
TEST(Encoders, BlocksOfNumbersAndOfValuesAreTheRowsOneByOne)
{
    const Data data = Random(400);
    std::vector<double> known;
    for (const double x : data.x)
        for (const double far : {0.0, 100.0, -1e9})
            if (std::isfinite(x) && x != kMissing) known.push_back(x * 1.37 + far);
    std::vector<Make> all = AllEncoders();
    all.push_back(With<MCRoundingEncoder>([](auto& e) { e.SetUnit(0.3), e.SetDirection(e.RoundDown); }));
    for (std::size_t k = 0; k < all.size(); ++k)
        for (const auto rule : {IMCEncoder::MissingStays, IMCEncoder::MissingOwnCategory, IMCEncoder::MissingRefused}) {
            const std::unique_ptr<MCEncoderBase> encoder = all[k]();
            ASSERT_TRUE(encoder->SetMissingRule(rule, 2.5));
            data.Learn(*encoder, 0, data.x.size());
            ASSERT_FALSE(encoder->Finish().IsError()) << k;
            const auto columns = static_cast<std::size_t>(encoder->GetNColumns());
            for (const std::vector<double>* const x : {&data.x, &std::as_const(known)})
                for (const std::size_t stride : {columns, columns + 1}) {
                    std::vector<double> rows(x->size() * stride, 9.0), same(rows), row(columns);
                    std::vector<IMCEncoder::Outcome> outcomes(x->size()), others(outcomes);
                    const std::vector<Value> values(x->begin(), x->end());
                    const int encoded = encoder->EncodeBlock(*x, rows, static_cast<int>(stride), outcomes);
                    EXPECT_EQ(encoder->EncodeBlock(values, same, static_cast<int>(stride), others), encoded);
                    EXPECT_TRUE(SameBits(rows, same) && outcomes == others) << k;
                    EXPECT_EQ(encoder->EncodeBlock(values, same, static_cast<int>(columns) - 1), -1);
                    for (std::size_t i = 0; i < x->size(); ++i) {
                        const IMCEncoder::Outcome outcome = encoder->Encode(values[i], row);
                        ASSERT_EQ(outcomes[i], outcome) << k << ": " << (*x)[i];
                        if (outcome == IMCEncoder::Refused) continue;
                        const auto at = rows.begin() + static_cast<std::ptrdiff_t>(i * stride);
                        const std::vector<double> found(at, at + static_cast<std::ptrdiff_t>(columns));
                        ASSERT_TRUE(SameBits(found, row)) << k << ": " << (*x)[i];
                    }
                }
        }
}

namespace {

template <class Encoder>
using Setters = std::vector<std::function<bool(Encoder&)>>;

/// The first are refused always, the second once a case has been learned.
template <class E>
void ExpectRefused(Setters<E> never, Setters<E> before)
{
    never.push_back([](E& e) { return e.SetMissingRule(static_cast<IMCEncoder::MissingRule>(-1)); });
    never.push_back([](E& e) { return e.SetMissingRule(static_cast<IMCEncoder::MissingRule>(4)); });
    never.push_back([](E& e) { return e.SetMissingRule(E::MissingReplaced, kNan); });
    before.push_back([](E& e) { return e.SetMissingRule(E::MissingReplaced, 1.5); });
    E fresh("f"), learned("f");
    const std::string empty = Saved(fresh);
    for (std::size_t i = 0; i < never.size(); ++i) EXPECT_FALSE(never[i](fresh)) << empty << i;
    EXPECT_EQ(Saved(fresh), empty);
    EXPECT_TRUE(learned.LearnWithTarget(1.0, 2.0));
    const std::string state = Saved(learned);
    for (std::size_t i = 0; i < before.size(); ++i) {
        E other("f");
        EXPECT_TRUE(before[i](other)) << empty << i;
        EXPECT_FALSE(before[i](learned)) << empty << i;
    }
    EXPECT_EQ(Saved(learned), state);
}

template <class E>
Setters<E> OfCategories(bool never)
{
    if (never)
        return {[](E& e) { return e.SetReference(static_cast<MCCategoryEncoder::Reference>(-1)); },
                [](E& e) { return e.SetReference(static_cast<MCCategoryEncoder::Reference>(9)); },
                [](E& e) { return e.SetReference(Value()); },
                [](E& e) { return e.SetMinWeight(-1); },
                [](E& e) { return e.SetMinWeight(kInf); },
                [](E& e) { return e.SetMinWeight(kNan); },
                [](E& e) { return e.SetMaxKept(-1); },
                [](E& e) { return e.SetManyCategories(0); },
                [](E& e) { return e.SetUnseenRule(static_cast<IMCEncoder::UnseenRule>(-1)); },
                [](E& e) { return e.SetUnseenRule(static_cast<IMCEncoder::UnseenRule>(9)); }};
    return {[](E& e) { return e.SetReference(e.ReferenceLast); },
            [](E& e) { return e.SetReference("a"); },
            [](E& e) { return e.SetMinWeight(2); },
            [](E& e) { return e.SetMaxKept(3); },
            [](E& e) { return e.SetManyCategories(5); },
            [](E& e) { return e.SetUnseenRule(e.UnseenAsOther); },
            [](E& e) { return e.SetOtherName("rest"); },
            [](E& e) {
                return e.SetCategories({"a", "b"});
            }};
}

} // namespace

TEST(Encoders, SettingsOutOfRangeOrAfterTheFirstCaseAreRefused)
{
    constexpr int kHuge = std::numeric_limits<int>::max();
    constexpr auto kNoRule = static_cast<IMCEncoder::OutlierRule>(9);
    using C = MCContinuousEncoder;
    ExpectRefused<C>({[](C& e) { return e.SetScaling(static_cast<C::Scaling>(-1)); },
                      [](C& e) { return e.SetScaling(static_cast<C::Scaling>(9)); },
                      [](C& e) { return e.SetLimits(2, 1); }, [](C& e) { return e.SetLimits(kNan, 1); },
                      [](C& e) { return e.SetLimits(0, kNan); }, [](C& e) { return e.SetLimits(0, 1, kNoRule); },
                      [](C& e) { return e.SetLimitsLearned(kNoRule); }},
                     {[](C& e) { return e.SetScaling(e.ScaleUnit); }, [](C& e) { return e.SetLimits(1, 1); },
                      [](C& e) { return e.SetLimitsLearned(); }});
    using R = MCRoundingEncoder;
    ExpectRefused<R>({[](R& e) { return e.SetDigits(16); }, [](R& e) { return e.SetDigits(-16); },
                      [](R& e) { return e.SetUnit(0); },
                      [](R& e) { return e.SetDirection(static_cast<R::Direction>(-1)); },
                      [](R& e) { return e.SetDirection(static_cast<R::Direction>(3)); }},
                     {[](R& e) { return e.SetUnit(2); }, [](R& e) { return e.SetDirection(e.RoundUp); }});
    using B = MCBinningEncoder;
    ExpectRefused<B>({[](B& e) {
                          return e.SetCuts({1, 1});
                      },
                      [](B& e) { return e.SetCuts({kInf}); }, [](B& e) { return e.SetCuts({kMissing}); },
                      [](B& e) { return e.SetEqualWidth(0); }, [](B& e) { return e.SetEqualWidth(kHuge); },
                      [](B& e) { return e.SetEqualFrequency(0); }, [](B& e) { return e.SetEqualFrequency(kHuge); },
                      [](B& e) { return e.SetDeviations(0); }, [](B& e) { return e.SetDeviations(kHuge); },
                      [](B& e) { return e.SetClosed(static_cast<B::Closed>(-1)); },
                      [](B& e) { return e.SetClosed(static_cast<B::Closed>(9)); },
                      [](B& e) { return e.SetOutput(static_cast<B::Output>(-1)); },
                      [](B& e) { return e.SetOutput(static_cast<B::Output>(9)); },
                      [](B& e) { return e.SetEndsClosed(2, 1); }, [](B& e) { return e.SetEndsClosed(-kInf, 1); },
                      [](B& e) { return e.SetEndsClosed(1, kInf); },
                      [](B& e) { return e.SetEndsClosed(1, 2, kNoRule); }, [](B& e) { return e.SetSketchLimit(0); },
                      [](B& e) { return e.SetSketchLimit(kHuge); }},
                     {[](B& e) { return e.SetCuts({1}); }, [](B& e) { return e.SetEqualWidth(3); },
                      [](B& e) { return e.SetEqualFrequency(3); }, [](B& e) { return e.SetDeviations(2); },
                      [](B& e) { return e.SetMDLP(); }, [](B& e) { return e.SetClosed(e.ClosedLower); },
                      [](B& e) { return e.SetOutput(e.OutputIndicator); }, [](B& e) { return e.SetEndsClosed(1, 2); },
                      [](B& e) { return e.SetSketchLimit(64); }});
    using K = MCCategoricalEncoder;
    Setters<K> never = OfCategories<K>(true), before = OfCategories<K>(false);
    for (const int coding : {-1, 7}) never.push_back([=](K& e) { return e.SetCoding(static_cast<K::Coding>(coding)); });
    before.push_back([](K& e) { return e.SetCoding(e.Dummy); });
    ExpectRefused<K>(never, before);
    using N = MCCategoricalNumericEncoder;
    ExpectRefused<N>({[](N& e) { return e.SetSmoothing(-1); }, [](N& e) { return e.SetSmoothing(kInf); },
                      [](N& e) { return e.SetSmoothing(kNan); }, [](N& e) { return e.SetMethod(e.MethodScores); },
                      [](N& e) {
                          return e.SetScores({{"a", kInf}});
                      },
                      [](N& e) {
                          return e.SetScores({{"a", kMissing}});
                      }},
                     {[](N& e) { return e.SetSmoothing(1); }, [](N& e) { return e.SetMethod(e.MethodTargetMean); }});
    using S = MCStringEncoder;
    ExpectRefused<S>({[](S& e) { return e.SetTrim(static_cast<S::Trim>(-1)); },
                      [](S& e) { return e.SetTrim(static_cast<S::Trim>(9)); },
                      [](S& e) { return e.SetCase(static_cast<S::Case>(-1)); },
                      [](S& e) { return e.SetCase(static_cast<S::Case>(9)); }, [](S& e) { return e.SetMaxLength(-1); }},
                     {[](S& e) { return e.SetTrim(e.TrimLeft); }, [](S& e) { return e.SetCase(e.CaseUpper); },
                      [](S& e) { return e.SetMaxLength(2); }, [](S& e) { return e.SetEmptyIsMissing(true); },
                      [](S& e) {
                          return e.SetMapping({{"a", "b"}});
                      }});
}

// Numbers without end, and bytes that are no UTF-8: states as lines and as JSON bring them back.
TEST(Encoders, CategoriesOfEveryKindComeBack)
{
    const Value categories[] = {kInf,
                                -kInf,
                                0.1,
                                -7,
                                true,
                                "",
                                "\xE2\x82\xAC",
                                "\x80",
                                "\xC3",
                                "\xE2\x82",
                                "\xE0\x80\x80",
                                "\xED\xA0\x80",
                                "\xF4\x90\x80\x80",
                                "\xF0\x8F\xBF\xBF",
                                "\xF5",
                                "\xC3("};
    for (const Value& category : categories) {
        SCOPED_TRACE(category.GetString());
        MCCategoricalEncoder encoder("f"), restored("g");
        ASSERT_TRUE(encoder.Learn(category) && encoder.Learn("other") && encoder.Finish().IsOK());
        const std::string state = Saved(encoder);
        EXPECT_GT(Restore(restored, state), 0);
        EXPECT_EQ(Saved(restored), state);
        const std::unique_ptr<IMCEncoder> created = MCEncoderBase::CreateFromJson(encoder.ToJson());
        ASSERT_NE(created, nullptr);
        EXPECT_EQ(Saved(dynamic_cast<const MCCategoricalEncoder&>(*created)), state);
        EXPECT_EQ(Row(*created, category), Row(encoder, category));
        EXPECT_EQ(Row(encoder, category)[0], IMCEncoder::Encoded);
    }
}

TEST(Encoders, WhatIsNoNumberReplacesNoneAndWhatIsUnseenMayBeMissing)
{
    const auto refuses = [](MCEncoderBase& encoder) {
        encoder.SetMissingRule(IMCEncoder::MissingReplaced, "text");
        encoder.LearnBlock(std::vector{1.0, 2.0});
        EXPECT_EQ(encoder.Finish(), MCStatus(MCEncoderBase::FinishUnknownReplacement, false));
        EXPECT_FALSE(encoder.IsFinished());
    };
    MCContinuousEncoder number("f");
    MCBinningEncoder bins("f");
    MCRoundingEncoder rounded("f");
    for (MCEncoderBase* const encoder : std::initializer_list<MCEncoderBase*>{&number, &bins, &rounded})
        refuses(*encoder);
    MCCategoricalEncoder names("f");
    names.SetUnseenRule(IMCEncoder::UnseenAsMissing);
    names.SetMissingRule(IMCEncoder::MissingOwnCategory);
    names.SetCoding(names.Helmert);
    for (const Value& value : {Value("a"), Value("b"), Value()}) names.Learn(value);
    ASSERT_TRUE(names.Finish().IsOK());
    std::vector<double> unseen(2), missing(2);
    EXPECT_EQ(names.Encode("c", unseen), IMCEncoder::EncodedUnseen);
    EXPECT_EQ(names.Encode(Value(), missing), IMCEncoder::EncodedMissing);
    EXPECT_EQ(unseen, missing);
    Value decoded = 7;
    EXPECT_FALSE(names.Decode(std::vector<double>{0.125, 0.125}, decoded));
    EXPECT_EQ(decoded, Value(7));
}

TEST(Encoders, RefuseBadCasesAndOtherSettings)
{
    MCContinuousEncoder encoder("f"), scaled("f"), field("g");
    scaled.SetScaling(scaled.ScaleUnit);
    const std::string before = Saved(encoder);
    for (const double weight : {0.0, -1.0, kNan, kInf, kMissing}) EXPECT_FALSE(encoder.Learn(1.0, weight));
    for (const Value& value : {Value("text"), Value(true), Value(kInf)}) EXPECT_FALSE(encoder.Learn(value));
    const double two[2] = {1.0, 2.0};
    EXPECT_EQ(encoder.LearnBlock(two, std::span(two).first(1)), -1);
    EXPECT_FALSE(encoder.Merge(scaled));
    EXPECT_FALSE(encoder.Merge(field));
    EXPECT_FALSE(encoder.Merge(encoder));
    EXPECT_FALSE(encoder.Merge(MCRoundingEncoder("f")));
    EXPECT_EQ(Saved(encoder), before);
    std::vector<double> row(1, 7.0);
    EXPECT_EQ(encoder.Encode(1.0, row), IMCEncoder::Refused);
    EXPECT_EQ(encoder.EncodeBlock(two, row, 1), -1);
    // A state that gives a field twice, first as a number and then as a list.
    std::string twice = before;
    ASSERT_NE(twice.find("\"stats\""), std::string::npos);
    twice.replace(twice.find("\"stats\""), 7, "\"columns\"");
    EXPECT_EQ(Restore(encoder, twice), 0);
    EXPECT_EQ(Saved(encoder), before);
    EXPECT_EQ(MCEncoderBase::Create("MCOtherEncoder"), nullptr);
    EXPECT_EQ(MCEncoderBase::CreateFromJson(JsonObject::NewObject()), nullptr);
    MCCategoricalEncoder named("f");
    EXPECT_TRUE(named.SetReference("a"));
    std::string json;
    ASSERT_TRUE(named.ToJson().ToText(json));
    for (const bool contradicts : {false, true}) {
        const std::size_t at = json.find("\"a\"");
        ASSERT_NE(at, std::string::npos) << json;
        if (contradicts) json.replace(at, 3, "null"); // a named reference without its name
        JsonObject object;
        ASSERT_TRUE(JsonObject::Parse(json, object));
        EXPECT_EQ(MCEncoderBase::CreateFromJson(object) == nullptr, contradicts) << json;
    }
    MCCategoricalNumericEncoder target("f");
    target.SetMethod(target.MethodTargetMean);
    EXPECT_FALSE(target.Learn("a"));
    for (const Value& y : {Value(), Value("y"), Value(kInf)}) EXPECT_FALSE(target.LearnWithTarget("a", y));
    EXPECT_EQ(target.LearnBlockWithTarget(two, std::span(two).first(1)), -1);
    EXPECT_EQ(target.GetValidWeight(), 0.0);
}

TEST(MCContinuousEncoder, EveryOutcomeAndRule)
{
    using E = MCContinuousEncoder;
    constexpr double encoded = E::Encoded, missing = E::EncodedMissing, outlier = E::EncodedOutlier;
    struct Case {
        const char* name;
        std::function<void(E&)> set;
        Value x;
        std::vector<double> row; // the outcome in front; what is refused leaves the row at -1
    };
    // Learned are 1, 3, 5, 7 and one missing value: mean 4, variance 20/3.
    const double s = std::sqrt(20.0 / 3.0);
    const auto limits = [](E::OutlierRule rule) { return [rule](E& e) { e.SetLimits(0.0, 6.0, rule); }; };
    const auto missings = [](E::MissingRule rule, const Value& v) {
        return [=](E& e) { e.SetScaling(e.ScaleUnit), e.SetMissingRule(rule, v); };
    };
    const Case cases[] = {
        {"none", [](E&) {}, 9, {encoded, 9}},
        {"text", [](E&) {}, "9", {kRefused, -1}},
        {"infinity flows", [](E&) {}, kInf, {encoded, kInf}},
        {"z-score", [](E& e) { e.SetScaling(e.ScaleZScore); }, 9.0, {encoded, 5.0 / s}},
        {"unit", [](E& e) { e.SetScaling(e.ScaleUnit); }, 8.5, {encoded, 1.25}},
        {"symmetric", [](E& e) { e.SetScaling(e.ScaleSymmetric); }, 2.5, {encoded, -0.5}},
        {"stays beyond", limits(E::OutlierStays), 7, {encoded, 7}},
        {"clipped above", limits(E::OutlierClipped), kInf, {outlier, 6}},
        {"clipped below", limits(E::OutlierClipped), -0.5, {outlier, 0}},
        {"limit itself", limits(E::OutlierClipped), 6.0, {encoded, 6}},
        {"as missing", limits(E::OutlierAsMissing), 6.5, {outlier, kMissing}},
        {"refused", limits(E::OutlierRefused), 6.5, {kRefused, -1}},
        {"no lowest limit", [](E& e) { e.SetLimits(-kInf, 6.0); }, kMissing, {missing, kMissing}},
        {"learned limits", [](E& e) { e.SetLimitsLearned(); }, 100, {outlier, 7}},
        {"missing stays", [](E&) {}, Value(), {missing, kMissing}},
        {"NaN is missing", [](E&) {}, kNan, {missing, kMissing}},
        {"replaced by mean", missings(E::MissingReplaced, {}), kMissing, {missing, 0.5}},
        {"replaced by number", missings(E::MissingReplaced, 7), kMissing, {missing, 1.0}},
        {"own column", missings(E::MissingOwnCategory, {}), kMissing, {missing, 0.5, 1.0}},
        {"own column, valid", missings(E::MissingOwnCategory, {}), 1.0, {encoded, 0.0, 0.0}},
        {"missing refused", missings(E::MissingRefused, {}), Value(), {kRefused, -1}},
    };
    const double learned[] = {5.0, 1.0, kMissing, 7.0, 3.0};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        E encoder("f");
        c.set(encoder);
        encoder.LearnBlock(learned);
        ASSERT_FALSE(encoder.Finish().IsError());
        const std::vector<double> row = Row(encoder, c.x);
        ASSERT_EQ(row.size(), c.row.size());
        for (std::size_t i = 0; i < row.size(); ++i) EXPECT_LE(UlpDistance(row[i], c.row[i]), 4u) << row[i];
        if (encoder.GetScaling() == E::ScaleZScore) {
            EXPECT_EQ(row[1],
                      (c.x.GetReal() - encoder.GetStats().GetMean()) / std::sqrt(encoder.GetStats().GetVariance()));
        }
        ExpectBlockLikeRows(encoder, {1.0, kNan, 9.0, kMissing, -kInf, 2.0});
        if (c.row[0] == missing) {
            EXPECT_EQ(Decoded(encoder, c.x), c.row.size() > 2 || c.row[1] == kMissing ? "null"
                                             : encoder.GetReplacement() == 7          ? "7"
                                                                                      : "4");
        } else if (c.row[0] == encoded && c.x.GetType() == Value::TypeReal) {
            EXPECT_EQ(Decoded(encoder, c.x), c.x.GetString());
        }
    }
    // A long block without anything special takes another road to the same bits.
    E encoder("f");
    encoder.SetScaling(encoder.ScaleSymmetric);
    TestRandom random(1);
    const std::vector<double> x = random.Vector(1500, -3.0, 5.0);
    encoder.LearnBlock(x);
    encoder.Finish();
    ExpectBlockLikeRows(encoder, x);
}

TEST(MCContinuousEncoder, FieldsOfOneValueAndOfNone)
{
    using E = MCContinuousEncoder;
    for (const auto scaling : {E::ScaleNone, E::ScaleZScore, E::ScaleUnit, E::ScaleSymmetric}) {
        E one("f"), none("f"), two("f");
        for (E* const each : {&one, &none, &two}) each->SetScaling(scaling);
        one.Learn(5.0);
        EXPECT_EQ(one.Finish(), MCStatus(E::FinishConstant, true));
        const double at5[] = {5.0, 0.0, 0.0, -1.0}, at6[] = {6.0, 1.0, 1.0, 1.0};
        EXPECT_EQ(Row(one, 5.0)[1], at5[scaling]);
        EXPECT_EQ(Row(one, 6.0)[1], at6[scaling]);
        none.Learn(kMissing, 3.0);
        EXPECT_EQ(none.GetMissingWeight(), 3.0);
        EXPECT_EQ(none.Finish(), MCStatus(E::FinishNoValues, true));
        EXPECT_EQ(Row(none, 5.0)[0], static_cast<double>(scaling == E::ScaleNone ? E::Encoded : E::Refused));
        EXPECT_EQ(Row(none, kMissing)[0], static_cast<double>(E::EncodedMissing));
        ExpectSaved(none, one);
        // Two values whose weights add up to no more than one have no variance, and infinite widths no scale.
        two.Learn(-1.7e308, 0.5);
        two.Learn(1.7e308, 0.5);
        EXPECT_EQ(two.Finish().IsError(), scaling != E::ScaleNone);
        EXPECT_EQ(two.IsFinished(), scaling == E::ScaleNone);
    }
}

TEST(MCRoundingEncoder, RoundsByUnitAndDigits)
{
    using E = MCRoundingEncoder;
    struct Case {
        double x, unit;
        int digits;
        double even, up, down;
    };
    const Case cases[] = {{2.5, 1, 0, 2, 3, 2},
                          {3.5, 1, 0, 4, 4, 3},
                          {-2.5, 1, 0, -2, -2, -3},
                          {-0.3, 1, 0, 0, 0, -1},
                          {-0.0, 1, 0, 0, 0, 0},
                          {0.49999999999999994, 1, 0, 0, 1, 0},
                          {7.4, 0.5, 0, 7.5, 7.5, 7},
                          {0.3, 0, 1, 0.3, 0.3, 0.3},
                          {2.675, 0, 2, 2.68, 2.68, 2.67},
                          {0.07, 0, 2, 0.07, 0.07, 0.07},
                          {1.005, 0, 3, 1.005, 1.005, 1.005},
                          {1250, 0, -2, 1200, 1300, 1200},
                          {-149, 0, -2, -100, -100, -200},
                          {0x1p52 + 1, 1, 0, 0x1p52 + 1, 0x1p52 + 1, 0x1p52 + 1},
                          {1e300, 0, 15, 1e300, 1e300, 1e300},
                          {kInf, 0.1, 0, kInf, kInf, kInf},
                          {4503599627370495.5, 1, 0, 0x1p52, 0x1p52, 0x1p52 - 1}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.x);
        for (const auto& [direction, expected] :
             {std::pair(E::RoundHalfEven, c.even), {E::RoundUp, c.up}, {E::RoundDown, c.down}}) {
            E encoder("f");
            ASSERT_TRUE(c.unit > 0.0 ? encoder.SetUnit(c.unit) : encoder.SetDigits(c.digits));
            encoder.SetDirection(direction);
            encoder.Finish();
            EXPECT_TRUE(SameBits(Row(encoder, c.x), std::vector<double>{E::Encoded, expected})) << encoder.Round(c.x);
            EXPECT_EQ(Decoded(encoder, c.x), Value(expected).GetString());
        }
    }
    E encoder("f");
    for (const double unit : {0.0, -1.0, kNan, kInf}) EXPECT_FALSE(encoder.SetUnit(unit));
    EXPECT_FALSE(encoder.SetDigits(16));
    EXPECT_TRUE(encoder.Learn(3));
    EXPECT_FALSE(encoder.Learn("3"));
    EXPECT_FALSE(encoder.SetDigits(1)) << "a case has been learned";
    E replaces("f");
    replaces.SetMissingRule(E::MissingReplaced);
    EXPECT_EQ(replaces.Finish(), MCStatus(E::FinishUnknownReplacement, false));
    EXPECT_TRUE(replaces.SetMissingRule(E::MissingReplaced, 2.6));
    replaces.Finish();
    EXPECT_EQ(Row(replaces, Value()), (std::vector<double>{E::EncodedMissing, 3.0}));
    ExpectBlockLikeRows(replaces, {1.5, 2.5, kNan, -7.2});
    ExpectBlockLikeRows(replaces, TestRandom(8).Vector(1100, -9.0, 9.0));
}
