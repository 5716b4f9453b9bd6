// MCSetting, MCSettings: what is taken and refused, messages, all or nothing, JSON, schema, saved state.
#include "modelcore/settings/MCSettings.h"
#include "modelcore/xml/XMLValueStream.h"
#include "support/FailingOutput.h"
#include "support/MovedFrom.h"
#include "support/Program.h"
#include "support/Saved.h"
#include "support/Testing.h"

namespace {

using namespace MCXML_930;
using MCCommon_930::MCStatus;
using MCCommon_930::MCWarnings;
using MCCommon_930::Value;

constexpr long long kLargest = std::numeric_limits<long long>::max();
constexpr int kAnyCount = std::numeric_limits<int>::max();

/// Settings of every type, with a rule over two of them.
MCSettings Example()
{
    MCSettings s;
    s.AddBool("intercept", true, "whether the model has a constant", "Model");
    s.AddChoice("method", "enter", {"enter", "forward", "stepwise"}, "how terms come into the model", "Model");
    s.AddReal("pEnter", 0.05, MCRealRange::OpenClosed(0.0, 1.0), "largest significance of a term that enters", "Steps");
    s.AddReal("pRemove", 0.1, MCRealRange::OpenClosed(0.0, 1.0), "smallest significance that removes a term", "Steps");
    s.AddInteger("maxSteps", 0, 0, 1000, "most steps; 0 for twice the number of terms", "Steps");
    s.AddString("title", "", "title of the output");
    s.AddRealList("cuts", {0.5}, MCRealRange::Open(0.0, 1.0), 1, 3, "cut points");
    s.AddStringList("terms", {}, {}, 0, kAnyCount, "terms that are always in");
    EXPECT_TRUE(s.AddRule("pEnter must be less than pRemove", [](const MCSettings& now) {
        return now.Get("pEnter").GetReal() < now.Get("pRemove").GetReal();
    }));
    return s;
}

Value List(std::initializer_list<Value> elements)
{
    Value list;
    list.Resize(static_cast<int>(elements.size()));
    int i = 0;
    for (const Value& element : elements) list[i++] = element;
    return list;
}

JsonObject Json(const char* text)
{
    JsonObject json;
    EXPECT_TRUE(JsonObject::Parse(text, json)) << text;
    return json;
}

std::string Text(const JsonObject& json)
{
    std::string text;
    EXPECT_TRUE(json.ToText(text));
    return text;
}

TEST(MCSettings, RefusalsNameTheLegalValuesAndChangeNothing)
{
    struct Case {
        const char* name;
        Value value;
        long code;
        const char* message;
    };
    const Case cases[] = {
        {"pentr", 0.1, MCSetting::UnknownName, R"(there is no setting "pentr"; do you mean "pEnter"?)"},
        {"meth", "enter", MCSetting::UnknownName, R"(there is no setting "meth"; do you mean "method"?)"},
        {"inter", true, MCSetting::UnknownName, R"(there is no setting "inter"; do you mean "intercept"?)"},
        {"zzz", 1, MCSetting::UnknownName, R"(there is no setting "zzz")"},
        {"intercept", 1, MCSetting::WrongType, "intercept: 1 is not true or false; legal: true or false"},
        {"maxSteps", 1001, MCSetting::NotLegal, "maxSteps: 1001 is not legal; legal: 0 to 1000"},
        {"maxSteps", 2.5, MCSetting::WrongType, "maxSteps: 2.5 is not a whole number of 64 bits; legal: 0 to 1000"},
        {"pEnter", 0.0, MCSetting::NotLegal, "pEnter: 0 is not legal; legal: (0, 1]"},
        {"pEnter", std::nan(""), MCSetting::NotLegal, "pEnter: nan is not legal; legal: (0, 1]"},
        {"pEnter", "0.1", MCSetting::WrongType, R"(pEnter: "0.1" is not a real number; legal: (0, 1])"},
        {"pEnter", Value(), MCSetting::WrongType, "pEnter: null is not a real number; legal: (0, 1]"},
        {"pEnter", 0.1, MCSetting::BrokenRule, "pEnter must be less than pRemove"},
        {"method", "Forwrad", MCSetting::NotLegal,
         R"(method: "Forwrad" is not legal; legal: enter, forward or stepwise; do you mean "forward"?)"},
        {"method", 3, MCSetting::WrongType, "method: 3 is not a text; legal: enter, forward or stepwise"},
        {"title", 3, MCSetting::WrongType, "title: 3 is not a text; legal: any text"},
        {"title", "\xFF", MCSetting::NotLegal,
         "title: a text that is not in the code page is not legal; legal: any text"},
        {"cuts", 0.5, MCSetting::WrongType,
         "cuts: 0.5 is not a list of real numbers; legal: 1 to 3 reals, each (0, 1)"},
        {"cuts", List({}), MCSetting::NotLegal,
         "cuts: a list of 0 elements is not legal; legal: 1 to 3 reals, each (0, 1)"},
        {"cuts", List({0.1, 0.2, 0.3, 0.4}), MCSetting::NotLegal,
         "cuts: a list of 4 elements is not legal; legal: 1 to 3 reals, each (0, 1)"},
        {"cuts", List({0.1, 1.0}), MCSetting::NotLegal,
         "cuts: element 2: 1 is not legal; legal: 1 to 3 reals, each (0, 1)"},
        {"terms", List({"a", 2}), MCSetting::WrongType,
         "terms: element 2: 2 is not legal; legal: any number of texts, each any text"},
    };
    MCSettings settings = Example();
    const MCSettings before = settings;
    for (const Case& c : cases) {
        std::string message;
        const MCStatus status = settings.Set(c.name, c.value, &message);
        EXPECT_TRUE(status.IsError()) << c.message;
        EXPECT_EQ(status.GetErrorCode(), c.code) << c.message;
        EXPECT_EQ(message, c.message);
        EXPECT_EQ(settings, before) << c.message;
    }
    MCSetting copy = *settings.Find("cuts");
    EXPECT_TRUE(copy.Check(List({0.1, 0.2})).IsOK() && copy.Check(List({7})).IsError() && copy.IsDefault());
    const MCStatus status = copy.Set(List({0.1, 0.2, 7}));
    EXPECT_EQ(status.GetDiscreteDatum(1), 2);
    EXPECT_EQ(status.GetScaleDatum(0), 7.0);
    EXPECT_TRUE(copy.IsDefault());
}

// What is legal as text, and that two settings are equal only when everything about them is.
TEST(MCSettings, LegalTextsAndWhatTellsSettingsApart)
{
    const auto only = [](auto add) {
        MCSettings settings;
        return MCSetting(*add(settings));
    };
    const auto list = [&](int least, int most, std::vector<double> values, const MCRealRange& range) {
        return only([&](MCSettings& s) { return s.AddRealList("n", values, range, least, most, "d", "g"); });
    };
    const auto texts = [&](int least, int most, std::vector<std::string> values, std::vector<std::string> choices) {
        return only([&](MCSettings& s) { return s.AddStringList("n", values, choices, least, most, "d", "g"); });
    };
    const auto whole = [&](const char* name, int value, int least, int most, const char* text, const char* group) {
        return only([&](MCSettings& s) { return s.AddInteger(name, value, least, most, text, group); });
    };
    const std::pair<MCSetting, const char*> settings[] = {
        {list(3, 3, {1, 2, 3}, MCRealRange::AtLeast(0)), "3 reals, each [0, inf)"},
        {list(1, 1, {1}, MCRealRange::Above(0)), "1 real: (0, inf)"},
        {list(1, 1, {1}, MCRealRange::AtLeast(0)), "1 real: [0, inf)"},
        {list(1, 1, {1}, MCRealRange::ClosedOpen(0, 2)), "1 real: [0, 2)"},
        {list(1, 1, {1}, MCRealRange::Closed(0, 2)), "1 real: [0, 2]"},
        {list(1, 1, {1}, MCRealRange()), "1 real: any real number"},
        {texts(1, 1, {"a"}, {"a", "b"}), "1 text: a or b"},
        {texts(1, 1, {"a"}, {"a", "c"}), "1 text: a or c"},
        {texts(2, kAnyCount, {"a", "a"}, {}), "at least 2 texts, each any text"},
        {texts(1, kAnyCount, {"a", "a"}, {}), "at least 1 texts, each any text"},
        {texts(1, kAnyCount, {"a", "b"}, {}), "at least 1 texts, each any text"},
        {texts(1, 2, {"a", "b"}, {}), "1 to 2 texts, each any text"},
        {whole("n", 5, 5, 5, "d", "g"), "5"},
        {whole("n", 5, 4, 5, "d", "g"), "4 to 5"},
        {whole("n", 5, 5, 6, "d", "g"), "5 to 6"},
        {whole("m", 5, 5, 5, "d", "g"), "5"},
        {whole("n", 5, 5, 5, "e", "g"), "5"},
        {whole("n", 5, 5, 5, "d", "h"), "5"},
        {whole("n", 6, 5, 6, "d", "g"), "5 to 6"}};
    for (const auto& [setting, legal] : settings) {
        EXPECT_EQ(setting.GetLegalText(), legal);
        for (const auto& [other, text] : settings) EXPECT_EQ(setting == other, &setting == &other) << legal << text;
    }
    MCSetting changed = settings[13].first;
    EXPECT_TRUE(changed.Set(4).IsOK() && !(changed == settings[13].first));
}

TEST(MCSettings, TakesWhatIsLegalInTheTypeOfTheSetting)
{
    MCSettings settings = Example();
    EXPECT_TRUE(settings.IsDefault());
    EXPECT_TRUE(settings.Set("maxSteps", 12.0).IsOK());
    EXPECT_EQ(settings.Get("maxSteps").GetInteger(), 12);
    EXPECT_TRUE(settings.Set("pRemove", 1).IsOK());
    EXPECT_EQ(settings.Get("pRemove").GetReal(), 1.0);
    EXPECT_TRUE(settings.Set("cuts", List({0.25, 0.75})).IsOK());
    EXPECT_EQ(settings.Find("cuts")->GetReals(), (std::vector<double>{0.25, 0.75}));
    EXPECT_TRUE(settings.Set("terms", List({"a", "b"})).IsOK());
    EXPECT_EQ(settings.Find("terms")->GetStrings(), (std::vector<std::string>{"a", "b"}));
    EXPECT_TRUE(settings.Get("unknown").IsNull());
    EXPECT_FALSE(settings.IsDefault());
    EXPECT_TRUE(settings.Reset());
    EXPECT_EQ(settings, Example());
}

TEST(MCSettings, ManyAreSetTogetherOrNotAtAll)
{
    MCSettings settings = Example();
    const MCSetting* const held = settings.Find("pEnter");
    // Each alone would break the rule for a while.
    std::string message = "old";
    EXPECT_TRUE(settings.SetAll({{"pEnter", 0.3}, {"pRemove", 0.4}}, nullptr, &message).IsOK());
    EXPECT_EQ(message, "");
    EXPECT_EQ(held->Get().GetReal(), 0.3);

    const MCSettings before = settings;
    MCWarnings warnings;
    const std::map<std::string, Value> bad{{"method", "stepwise"}, {"pEnter", 2.0}, {"pRemov", 0.9}};
    EXPECT_EQ(settings.SetAll(bad, &warnings, &message).GetErrorCode(), MCSetting::NotLegal);
    EXPECT_EQ(message,
              "pEnter: 2 is not legal; legal: (0, 1]\nthere is no setting \"pRemov\"; do you mean \"pRemove\"?");
    EXPECT_EQ(warnings.GetParameters(MCStatus(MCSetting::UnknownName, false)).size(), 1u);
    EXPECT_EQ(settings, before);
    EXPECT_EQ(settings.SetAll({{"method", "stepwise"}, {"pEnter", 0.5}}).GetErrorCode(), MCSetting::BrokenRule);
    EXPECT_EQ(settings, before);
    // A rule that throws changes nothing either.
    bool throws = false;
    MCSettings other = before;
    EXPECT_TRUE(other.AddRule("fails", [&throws](const MCSettings&) { return throws ? throw 7 : true; }));
    const MCSettings otherBefore = other;
    throws = true;
    EXPECT_THROW(other.Set("title", "new"), int);
    EXPECT_EQ(other, otherBefore);
    EXPECT_FALSE(other == before);
}

TEST(MCSettings, WithoutMemoryTheyAreAsTheyWere)
{
    const std::string text = "a text that is longer than a small string";
    MCSettings other = Example();
    const std::map<std::string, Value> values{
        {"title", text}, {"cuts", List({0.1, 0.2, 0.3})}, {"terms", List({text})}};
    ASSERT_TRUE(other.SetAll(values).IsOK());
    const SavedFile file(Saved(other));
    const JsonObject json = other.ToJson();
    ExpectFailureIsTold([&](std::ostream& stream) { return other.WriteObjectXML(stream, 0) > 0; });
    ExpectFailureIsTold([&](std::ostream& stream) { return json.Write(stream, true) == 0; });
    const auto whole = [](auto change) {
        const auto look = [](const MCSettings& settings) {
            const DisplayCapture capture;
            settings.Display();
            return capture.Text();
        };
        ExpectWholeWhenMemoryRunsOut(Example(), MCSettings(), change, look);
    };
    whole([&](MCSettings& s) { s.AddString("another", text, text, "Model"); });
    whole([&](MCSettings& s) { s.AddStringList("others", {text, "b"}, {text, "b"}, 0, 3, text); });
    whole([&](MCSettings& s) { s.AddRule(text, [text](const MCSettings&) { return !text.empty(); }); });
    whole([&](MCSettings& s) { s.Set("title", text); });
    whole([&](MCSettings& s) { s.SetAll(values); });
    whole([&](MCSettings& s) { s.FromJson(json); });
    whole([&](MCSettings& s) { Restore(s, file); });
    whole([&](MCSettings& s) { s = other; });
    whole([](MCSettings& s) { s.Reset(); });
    ExpectAssignmentIsWhole(*other.Find("terms"), *other.Find("cuts"),
                            [](const MCSetting& s) { return s.GetName() + s.GetValueText() + s.GetLegalText(); });
    MCWarnings warnings;
    std::string message;
    whole([&](MCSettings& s) { s.SetAll({{"pEnter", 2.0}, {text, true}}, &warnings, &message); });
}

TEST(MCSettings, AddRefusesNamesDefaultsAndRulesThatCannotBe)
{
    MCSettings s = Example();
    const std::size_t size = s.Size();
    for (const char* const name : {"", "1a", "a b", "intercept", "\xC3\xA4"})
        EXPECT_EQ(s.AddBool(name, true, ""), nullptr);
    EXPECT_EQ(s.AddInteger("n", 5, 6, 4, ""), nullptr);
    EXPECT_EQ(s.AddReal("x", kInf, {}, ""), nullptr);
    EXPECT_EQ(s.AddReal("x", Value::SYSMISVALUE, {}, ""), nullptr);
    EXPECT_EQ(s.AddReal("x", 1.0, MCRealRange::ClosedOpen(0.0, 1.0), ""), nullptr);
    EXPECT_EQ(s.AddChoice("c", "b", {"a"}, ""), nullptr);
    EXPECT_EQ(s.AddChoice("c", "", {}, ""), nullptr);
    EXPECT_EQ(s.AddRealList("l", {1.0}, {}, 2, 3, ""), nullptr);
    EXPECT_FALSE(s.AddRule("never", [](const MCSettings&) { return false; }));
    EXPECT_EQ(s.Size(), size);

    const std::pair<MCRealRange, const char*> ranges[] = {
        {{}, "any real number"},
        {MCRealRange::Closed(-1.5, 1e300), "[-1.5, 1e+300]"},
        {MCRealRange::AtLeast(0.0), "[0, inf)"},
        {MCRealRange::Above(0.0), "(0, inf)"},
        {{-kInf, 2.0, false, true}, "(-inf, 2)"},
    };
    for (const auto& [range, text] : ranges) EXPECT_EQ(range.GetText(), text);
    EXPECT_EQ(s.AddStringList("s", {"a"}, {"a", "b"}, 1, 1, "")->GetLegalText(), "1 text: a or b");
}

TEST(MCSettings, JsonTakesTheChangedOnesThereAndBack)
{
    MCSettings settings = Example();
    EXPECT_EQ(Text(settings.ToJson(true)), "{}");
    EXPECT_EQ(Text(settings.ToJson()), R"({"intercept":true,"method":"enter","pEnter":0.05,"pRemove":0.1,"maxSteps":0,)"
                                       R"("title":"","cuts":[0.5],"terms":[]})");
    const JsonObject changed = Json(R"({"title":"a \u00e4","pEnter":0.2,"pRemove":1,"maxSteps":3.0,"terms":["x"]})");
    std::string message;
    ASSERT_TRUE(settings.FromJson(changed, nullptr, &message).IsOK()) << message;
    EXPECT_EQ(Text(settings.ToJson(true)), R"({"pEnter":0.2,"pRemove":1.0,"maxSteps":3,"title":"a ä","terms":["x"]})");
    MCSettings again = Example();
    ASSERT_TRUE(again.FromJson(settings.ToJson(true)).IsOK());
    EXPECT_EQ(again, settings);

    const std::pair<const char*, const char*> refused[] = {
        {"[]", "the settings are not a JSON object"},
        {R"({"pEnter":null})", "pEnter: null is not a real number; legal: (0, 1]"},
        {R"({"title":"t","Intercep":true})", "there is no setting \"Intercep\"; do you mean \"intercept\"?"},
        {R"({"maxSteps":9223372036854775808})",
         "maxSteps: 9.223372036854776e+18 is not a whole number of 64 bits; legal: 0 to 1000"},
        {R"({"cuts":{}})", "cuts: {} is not a list of real numbers; legal: 1 to 3 reals, each (0, 1)"},
        {R"({"pEnter":0.9,"pRemove":0.8})", "pEnter must be less than pRemove"},
    };
    for (const auto& [json, expected] : refused) {
        EXPECT_TRUE(settings.FromJson(Json(json), nullptr, &message).IsError());
        EXPECT_EQ(message, expected);
        EXPECT_EQ(settings, again);
    }
    // A whole number where a real is wanted is the nearest, as if it had a point.
    MCSettings wide;
    wide.AddReal("x", 0.0, {}, "");
    EXPECT_TRUE(wide.FromJson(Json(R"({"x":9007199254740993})")).IsOK());
    EXPECT_EQ(wide.Get("x").GetReal(), 0x1p53);
}

TEST(MCSettings, SchemaSaysTypesLimitsAndNames)
{
    MCSettings s;
    s.AddReal("p", 0.5, MCRealRange::OpenClosed(0.0, 1.0), "a share");
    s.AddInteger("n", 1, 1, kLargest, "");
    s.AddChoice("c", "a", {"a", "b"}, "");
    s.AddRealList("l", {}, MCRealRange::AtLeast(0.0), 0, 2, "");
    s.AddBool("f", false, "");
    s.AddStringList("t", {"a"}, {"a", "b"}, 1, std::numeric_limits<int>::max(), "");
    s.AddRule("p is not 1", [](const MCSettings& now) { return now.Get("p").GetReal() != 1.0; });
    EXPECT_EQ(Text(s.CreateJsonSchema()),
              R"({"$schema":"https://json-schema.org/draft/2020-12/schema","type":"object","properties":{)"
              R"("p":{"type":"number","exclusiveMinimum":0.0,"maximum":1.0,"description":"a share","default":0.5},)"
              R"("n":{"type":"integer","minimum":1,"maximum":9223372036854775807,"default":1},)"
              R"("c":{"type":"string","enum":["a","b"],"default":"a"},)"
              R"("l":{"type":"array","items":{"type":"number","minimum":0.0},"maxItems":2,"default":[]},)"
              R"("f":{"type":"boolean","default":false},)"
              R"("t":{"type":"array","items":{"type":"string","enum":["a","b"]},"minItems":1,"default":["a"]}},)"
              R"("additionalProperties":false,"$comment":"p is not 1"})");
}

// Every member with every kind of value: what another program's validator says of the schema is what FromJson does. The
// file of documents has one a line; the validator writes a 1 or a 0 for each.
TEST(MCSettings, AValidatorAcceptsWithTheSchemaWhatFromJsonTakes)
{
    MCSettings settings = Example();
    settings.AddStringList("levels", {"a"}, {"a", "b"}, 1, 3, "");
    settings.AddReal("share", 0.5, MCRealRange::Open(0.0, 1.0), "");
    std::istringstream values(
        R"(true false null 0 1 1.0 -1 1000 1001 2.5 1e300 1e-300 -0.0 "" "a" "enter" [] {} [0.5] )"
        R"([0] [0.5,1] [0.1,0.2] [1,"a"] ["a"] ["c"] [null] [[0.5]] ["a","b","a"] ["a","a","a","a"] )"
        R"([0.1,0.2,0.3,0.4] 9223372036854775808)");
    const TemporaryFolder folder;
    std::vector<std::string> documents{"{}", "[]", "3", R"({"pEnter":0.01,"title":"x","unknown":1})"};
    for (std::string value; values >> value;) {
        documents.push_back(R"({"Title":)" + value + '}');
        for (std::size_t i = 0; i < settings.Size(); ++i)
            documents.push_back("{\"" + settings.At(i).GetName() + "\":" + value + '}');
    }
    std::string lines;
    for (const std::string& document : documents) lines += document + '\n';
    const std::string script = folder.Write(
        "validate.py", "import json, sys, jsonschema\n"
                       "check = jsonschema.Draft202012Validator(json.load(open(sys.argv[1])))\n"
                       "check.check_schema(check.schema)\n"
                       "print(*[int(check.is_valid(json.loads(d))) for d in open(sys.argv[2])], sep='')\n");
    const ProgramResult said = RunProgram({"python3", script, folder.Write("schema", Text(settings.CreateJsonSchema())),
                                           folder.Write("documents", lines)});
    if (said.err.find("No module named") != std::string::npos) GTEST_SKIP() << "Debian: python3-jsonschema";
    ASSERT_EQ(said.out.size(), documents.size() + 1) << said.err;
    for (std::size_t i = 0; i < documents.size(); ++i) {
        MCSettings taking(settings);
        std::string message;
        const bool isTaken = !taking.FromJson(Json(documents[i].c_str()), nullptr, &message).IsError();
        // The rule over two settings is beyond a schema.
        const bool isTakenButForRule = isTaken || message == "pEnter must be less than pRemove";
        EXPECT_EQ(said.out[i] == '1', isTakenButForRule) << documents[i] << ' ' << message;
    }
}

TEST(MCSettings, SavedStateComesBackOrChangesNothing)
{
    MCSettings settings = Example();
    ASSERT_TRUE(settings
                    .SetAll({{"title", "line\n\xC3\xA4<"},
                             {"pEnter", 0.1 + 0.2},
                             {"pRemove", 1.0},
                             {"maxSteps", 999},
                             {"cuts", List({0.1, 0.7})},
                             {"terms", List({"", "b"})},
                             {"intercept", false}})
                    .IsOK());
    const std::string whole = Saved(settings);
    MCSettings back = Example();
    EXPECT_EQ(Restore(back, whole), 2 + 1 + 3 * 8 + 2 + 2);
    EXPECT_EQ(back, settings);

    // Cut short at any line, another set of settings, a value that is not legal there.
    for (std::size_t at = 0; at + 1 < whole.size(); at = whole.find('\n', at + 1)) {
        MCSettings other = Example();
        EXPECT_EQ(Restore(other, whole.substr(0, at)), 0);
        EXPECT_EQ(other, Example());
        if (whole.find('\n', at + 1) + 1 >= whole.size()) break;
    }
    MCSettings narrow;
    narrow.AddInteger("maxSteps", 0, 0, 10, "");
    MCSettings wide;
    wide.AddInteger("maxSteps", 20, 0, 100, "");
    EXPECT_EQ(Restore(narrow, Saved(wide)), 0);
    EXPECT_TRUE(narrow.IsDefault());
    EXPECT_TRUE(wide.Set("maxSteps", 9).IsOK());
    EXPECT_GT(Restore(narrow, Saved(wide)), 0);
    EXPECT_EQ(narrow.Get("maxSteps").GetInteger(), 9);
}

TEST(MCSettings, DisplayShowsGroupsValuesAndWhatIsLegal)
{
    MCSettings settings = Example();
    settings.Set("method", "forward");
    const std::string shown = Shown(settings);
    EXPECT_TRUE(
        shown.starts_with("MCSettings display start\nModel:\n  intercept: true (default); legal: true or false\n"
                          "  method: \"forward\"; legal: enter, forward or stepwise\nSteps:\n"));
    EXPECT_TRUE(shown.ends_with("\nrule: pEnter must be less than pRemove\nMCSettings display end\n"));
}

} // namespace
