// Descriptions of variables and their list.
#include "VariablesTesting.h"
#include "support/FailingOutput.h"
#include "support/MovedFrom.h"

namespace {

MCVariableList Example()
{
    MCContinuousVariable age("age", IMCVariable::StorageInteger);
    age.SetLabel("Alter in Jahren");
    age.SetInterval(0.0, 120.0);
    age.SetUnit("years");
    age.AddMissingCode(-9);
    age.AddMissingCode(-8);
    MCCategoricalVariable cut("cut", IMCVariable::StorageString, IMCVariable::RoleTarget);
    cut.SetOrdered(true);
    for (const char* name : {"Fair", "Good", "Ideal"}) cut.AddCategory(name);
    cut.AddCategory("?", "not seen", IMCVariable::ValueMissing);
    MCVariableList list;
    list.Add(age);
    list.Add(cut);
    list.Add(MCCategoricalVariable("\xE2\x82\xAC zone", IMCVariable::StorageBoolean));
    list.Add(MCWeightVariable("n"));
    return list;
}

} // namespace

TEST(Variables, ClassifyValues)
{
    MCContinuousVariable age("age", IMCVariable::StorageInteger);
    ASSERT_TRUE(age.SetInterval(0.0, 120.0));
    ASSERT_TRUE(age.AddMissingCode(-9));
    EXPECT_FALSE(age.AddMissingCode(-9.0)) << "the same number";
    EXPECT_FALSE(age.AddMissingCode(kNan));
    EXPECT_FALSE(age.SetInterval(3.0, 2.0));
    MCContinuousVariable date("date", IMCVariable::StorageDate);
    date.SetInterval(kMissing, 100.0);
    MCCategoricalVariable open("open"), closed("closed", IMCVariable::StorageUndefined);
    closed.AddCategory(2, "two");
    closed.AddCategory("2");
    closed.AddCategory("x", "", IMCVariable::ValueInvalid);
    closed.AddCategory(true, "", IMCVariable::ValueMissing);
    MCWeightVariable weight("w");

    constexpr auto valid = IMCVariable::ValueValid, missing = IMCVariable::ValueMissing,
                   invalid = IMCVariable::ValueInvalid;
    const struct {
        const IMCVariable& variable;
        IMCVariable::ValueKind kind;
        std::vector<Value> values;
    } cases[] = {
        {age, valid, {0, 120.0}},
        {age, invalid, {121, 0.5, "3"}},
        {age, missing, {-9.0, Value(), kMissing, kNan}},
        {date, valid, {0.5, -1e300}},
        {date, invalid, {101, kInf}},
        {open, valid, {"any"}},
        {open, invalid, {1}},
        {closed, valid, {2.0, "2"}},
        {closed, invalid, {"3", "x", false}},
        {closed, missing, {true}},
        {weight, valid, {0}},
        {weight, invalid, {-1.0, kInf}},
        {weight, missing, {kMissing}},
    };
    for (const auto& c : cases)
        for (const Value& value : c.values)
            EXPECT_EQ(c.variable.Classify(value), c.kind) << c.variable.GetName() << ": " << value;
}

TEST(Variables, RefuseWhatTheyCannotBe)
{
    MCCategoricalVariable field("f", IMCVariable::StorageString, IMCVariable::RoleFrequencyWeight);
    EXPECT_EQ(field.GetRole(), IMCVariable::RoleInput);
    EXPECT_FALSE(field.SetRole(IMCVariable::RoleRegressionWeight));
    EXPECT_TRUE(field.SetRole(IMCVariable::RoleGroup));
    EXPECT_EQ(field.AddCategory("b"), 0);
    EXPECT_EQ(field.AddCategory("b"), -1);
    EXPECT_EQ(field.AddCategory(Value()), -1);
    EXPECT_EQ(field.AddCategory(10), 1);
    EXPECT_EQ(field.AddCategory(9.5), 2);
    EXPECT_EQ(field.AddCategory("a"), 3);
    field.SortCategories();
    std::string order;
    for (const auto& category : field.GetCategories()) order += category.value.GetString() + " ";
    EXPECT_EQ(order, "9.5 10 a b ");
    EXPECT_EQ(field.FindCategory(10.0), 1);
    MCWeightVariable weight("w", IMCVariable::RoleOffset);
    EXPECT_EQ(weight.GetRole(), IMCVariable::RoleFrequencyWeight);
    EXPECT_FALSE(weight.SetRole(IMCVariable::RoleInput));
    EXPECT_TRUE(weight.SetRole(IMCVariable::RoleRegressionWeight));
    EXPECT_EQ(MCContinuousVariable("c", IMCVariable::StorageString).GetStorage(), IMCVariable::StorageUndefined);
}

TEST(MCVariableList, KeepsOrderAndNames)
{
    MCVariableList list = Example();
    EXPECT_EQ(list.Add(MCWeightVariable("age")), -1);
    EXPECT_EQ(list.Add(MCWeightVariable("")), -1);
    EXPECT_EQ(list.Size(), 4);
    EXPECT_EQ(list.Find("n"), 3);
    EXPECT_EQ(list.Find("N"), -1);
    EXPECT_EQ(list.Get("N"), nullptr);
    EXPECT_EQ(list.Get(4), nullptr);
    EXPECT_EQ(list.Find(IMCVariable::RoleInput), (std::vector<int>{0, 2}));
    MCVariableList copy(list);
    EXPECT_TRUE(copy == list);
    copy.Get(0)->AddMissingCode(-7);
    EXPECT_FALSE(copy == list) << "the copy has variables of its own";
}

TEST(MCVariableList, IsATableForPeople)
{
    const std::string expected =
        "#  Name    Level       Role              Storage  Values                                     Label\n"
        "0  age     continuous  input             integer  0 to 120 years; missing: -9, -8            Alter in Jahren\n"
        "1  cut     ordinal     target            string   Fair, Good, Ideal, ? = not seen (missing)\n"
        "2  \xE2\x82\xAC zone  nominal     input             boolean\n"
        "3  n       continuous  frequency weight  real     from 0\n";
    EXPECT_EQ(Example().ToString(), expected);
    const DisplayCapture capture;
    Example().Display();
    EXPECT_EQ(capture.Text(), "MCVariableList display start\n" + expected + "MCVariableList display end\n");
    MCCategoricalVariable many("m", IMCVariable::StorageInteger);
    for (int i = 0; i < 100; ++i) many.AddCategory(i);
    EXPECT_EQ(many.GetValuesText(10), "0, 1, 2, 3, ... (100)");
    EXPECT_EQ(Example().Get(3)->ToString(), "n: continuous, frequency weight, real, from 0");
}

TEST(Variables, SayInWordsWhatTheyAre)
{
    struct Case {
        double lowest, highest;
        const char *unit, *text;
    };
    for (const Case& c : {Case{1.5, kMissing, "", "from 1.5"},
                          {kMissing, -2, "kg", "up to -2 kg"},
                          {1, 2, "", "1 to 2"},
                          {kMissing, kMissing, "kg", "in kg"},
                          {kMissing, kMissing, "", ""}}) {
        MCContinuousVariable x("x");
        ASSERT_TRUE(x.SetInterval(c.lowest, c.highest));
        x.SetUnit(c.unit);
        x.SetLabel("length");
        EXPECT_EQ(x.GetValuesText(), c.text);
        const std::string values = *c.text == '\0' ? "" : std::string(", ") + c.text;
        EXPECT_EQ(x.ToString(), "x: continuous, input, real" + values + " (length)");
        EXPECT_EQ(Shown(x), "MCContinuousVariable display start\nName: x\nLabel: length\nMeasure level: continuous\n"
                            "Role: input\nStorage: real\nValues: " +
                                std::string(c.text) + "\nMCContinuousVariable display end\n");
        EXPECT_FALSE(x.SetInterval(2, 1) || x.SetInterval(kNan, 1) || x.SetInterval(1, kNan));
        EXPECT_EQ(x.GetValuesText(), c.text);
    }
}

TEST(MCVariableList, ComesBackFromStreamAndJson)
{
    MCVariableList list = Example();
    MCContinuousVariable odd("odd\xFF\n\"name\"");
    odd.SetInterval(-kInf, 0.1);
    odd.AddMissingCode("\xC0");
    odd.AddMissingCode(9007199254740993LL);
    odd.AddMissingCode(9.0);
    list.Add(odd);
    MCVariableList other;
    other.Add(MCWeightVariable("other"));
    ExpectSaved(list, other);
    ExpectSaved(MCVariableList(), other);
    ExpectSaved(odd, MCContinuousVariable());
    // Refused as a whole: a name twice, a weight role of a continuous variable, a class that is none.
    const std::pair<const char*, const char*> damages[] = {{"\"name\":\"cut\"", "\"name\":\"age\""},
                                                           {"\"role\":\"input\"", "\"role\":\"frequency weight\""},
                                                           {"MCWeightVariable", "MCHeavyVariable"},
                                                           {"\"highest\":120.0", "\"highest\":-1.0"}};
    for (const auto& [from, to] : damages) {
        std::string text;
        JsonObject json;
        ASSERT_TRUE(Example().ToJson().ToText(text));
        ASSERT_NE(text.find(from), std::string::npos) << text;
        text.replace(text.find(from), std::string(from).size(), to);
        ASSERT_TRUE(JsonObject::Parse(text, json));
        EXPECT_FALSE(list.FromJson(json)) << to;
        EXPECT_EQ(list.Size(), 5);
    }
}

TEST(MCVariableList, WithoutMemoryItIsAsItWas)
{
    const MCVariableList list = Example();
    MCVariableList other;
    other.Add(MCWeightVariable("a weight with more text than a small string holds"));
    const SavedFile file(Saved(other));
    const JsonObject json = other.ToJson();
    const std::string text = "a text that is longer than a small string";
    const auto whole = [](const auto& object, auto change) {
        ExpectWholeWhenMemoryRunsOut(object, object, change, [](const auto& each) { return Saved(each); });
    };
    ExpectFailureIsTold([&](std::ostream& stream) { return list.WriteObjectXML(stream, 0) > 0; });
    whole(list, [&](MCVariableList& l) { l = other; });
    whole(list, [&](MCVariableList& l) { l.Add(*other.Get(0)); });
    whole(list, [&](MCVariableList& l) { l.FromJson(json); });
    whole(list, [&](MCVariableList& l) { Restore(l, file); });
    const auto* const cut = dynamic_cast<const MCCategoricalVariable*>(list.Get("cut"));
    whole(*cut, [&](MCCategoricalVariable& v) { v.AddCategory(text, text + "'s label"); });
    whole(*cut, [&](MCCategoricalVariable& v) { v.AddMissingCode(text); });
    whole(*cut, [](MCCategoricalVariable& v) { v.SortCategories(); });
    whole(*cut,
          [](MCCategoricalVariable& v) { v = MCCategoricalVariable("a name that is longer than a small string"); });
}
