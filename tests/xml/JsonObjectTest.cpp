// JsonObject: what is accepted and refused, numbers, members, pointers, limits, conversion.
#include "modelcore/xml/JsonObject.h"
#include "modelcore/common/Value.h"
#include "modelcore/xml/internal/CodePageText.h"
#include "support/MovedFrom.h"
#include "support/Testing.h"

#include <charconv>
#include <new>
#include <random>

namespace {

using namespace MCXML_930;
using namespace std::string_literals;
using MCCommon_930::Value;
using Problem = JsonObject::Problem;

/// Parses from memory of exactly the text's size, so that a sanitizer sees every byte read beyond it.
bool ParseExactly(const std::string& text, JsonObject& result, Problem* problem = nullptr,
                  const JsonObject::Limits& limits = {})
{
    const std::unique_ptr<char[]> exact(new char[text.size()]);
    text.copy(exact.get(), text.size());
    return JsonObject::Parse({exact.get(), text.size()}, result, problem, limits);
}

JsonObject Parsed(const std::string& text, const JsonObject::Limits& limits = {})
{
    JsonObject result;
    Problem problem;
    EXPECT_TRUE(ParseExactly(text, result, &problem, limits)) << text << ": " << problem.GetText();
    return result;
}

std::string Text(const JsonObject& value, bool indented = false, JsonObject::NonFinite rule = JsonObject::Refuse)
{
    std::string text = "unchanged";
    const bool written = value.ToText(text, indented, rule);
    EXPECT_EQ(written, text != "unchanged");
    return text;
}

TEST(JsonObjectParse, AcceptsWhatTheStandardAllows)
{
    struct Case {
        std::string text, written;
    };
    const Case cases[] = {
        {"null", "null"},
        {" true\t", "true"},
        {"\r\nfalse\n", "false"},
        {"\"\"", "\"\""},
        {"[]", "[]"},
        {"[ \n]", "[]"},
        {"{\t}", "{}"},
        {"[[], {} , [[ ]]]\n", "[[],{},[[]]]"},
        {"{\"\":0,\"a\" : {\"b\":null}}", R"({"":0,"a":{"b":null}})"},
        {R"(["\"\\\/\b\f\n\r\t"])", R"(["\"\\/\b\f\n\r\t"])"},
        {R"(["\u0041\u00e4\u20AC\uD834\uDd1e\u0000\u001f"])", "[\"A\u00e4\u20AC\U0001D11E\\u0000\\u001f\"]"},
        {"[\"\x7f\u0080\u07ff\u0800\ud7ff\ue000\uffff\U00010000\U0010ffff\"]",
         "[\"\x7f\u0080\u07ff\u0800\ud7ff\ue000\uffff\U00010000\U0010ffff\"]"},
        {R"({"a name of more than fourteen bytes":"a text of more than fourteen bytes, \n and one escape"})",
         R"({"a name of more than fourteen bytes":"a text of more than fourteen bytes, \n and one escape"})"},
        {"[0,-1,10,-0,0.0,-0.0,1E2,1e+2,1e-2,1.50]", "[0,-1,10,-0.0,0.0,-0.0,100.0,100.0,0.01,1.5]"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(Text(Parsed(c.text)), c.written) << c.text;
        EXPECT_EQ(Parsed(c.written), Parsed(c.text));
        EXPECT_EQ(Parsed(Text(Parsed(c.text), true)), Parsed(c.text));
    }
}

TEST(JsonObjectParse, RefusesWhatTheStandardForbidsAndSaysWhere)
{
    struct Case {
        std::string text;
        std::size_t offset;
        int line = 1, column = 0; // 0: offset + 1
    };
    // UTF-8: trailing byte alone, overlong, cut off, surrogate, too large, not a first byte.
    // clang-format off
    const std::pair<JsonObject::Code, std::vector<Case>> groups[] = {
        {JsonObject::BadSyntax, {
            {"", 0}, {" \n ", 3, 2, 2}, {"[", 1}, {"[1", 2}, {"[1,", 3}, {"[[1] \n", 6, 2, 1}, {"[1,]", 3},
            {"[,1]", 1}, {"[1,,2]", 3}, {"[1 2]", 3}, {"[1}", 2}, {"]", 0}, {"{]", 1}, {"{\"a\"}", 4},
            {"{\"a\":}", 5}, {"{\"a\" 1}", 5}, {"{\"a\":1,}", 7}, {"{,}", 1}, {"{1:2}", 1}, {"{a:1}", 1},
            {"{'a':1}", 1}, {"{\"a\":1,\"b\"", 10}, {"[\0]"s, 1}, {"[1\f]", 2}, {"[/**/1]", 1},
            {"\xEF\xBB\xBF[]", 0}, {"[\u00a0 1]", 1}, {"\r\n\r[\n\"\u00e4\u20ac\",?]", 13, 4, 6}, {"nul", 3},
            {"[nul]", 4}, {"[True]", 1}, {"[truex]", 5}, {"NaN", 0}, {"[Infinity]", 1}, {"[.5]", 1},
            {"[+1]", 1}, {"[0x10]", 2}, {"[1.5.2]", 4}, {"\"", 1}, {"[\"abc", 5}, {"[\"abc]", 6},
            {R"(["\)", 3}, {R"(["\u12)", 6}}},
        {JsonObject::BadNumber, {
            {"-", 1}, {"[-]", 2}, {"[-a]", 2}, {"[01]", 2}, {"[-012]", 3}, {"[1.]", 3}, {"[1.e1]", 3},
            {"[1e]", 3}, {"[1e+]", 4}, {"[1E-x]", 4}, {"[-Infinity]", 2}, {"[5,1E400]", 3},
            {"[-1e99999999999999999999]", 1}, {"[1.7976931348623159e308]", 1},
            {"[1" + std::string(309, '0') + "]", 1}}},
        {JsonObject::BadString, {
            {"[\"abc]\n", 6}, {"[\"a\nb\"]", 3}, {"[\"a\tb\"]", 3}, {"[\"0123456789\0\"]"s, 12},
            {R"(["\x"])", 3}, {R"(["\u12"])", 6}, {R"(["\u00g0"])", 6}, {R"(["ab\uD834"])", 4},
            {R"(["\uD834\n"])", 2}, {R"(["\uD834\u0041"])", 2}, {R"(["\uDD1E\uD834"])", 2}}},
        {JsonObject::BadUTF8, {
            {"[\"\x80\"]", 2}, {"[\"ab\xC0\xAF\"]", 4}, {"[\"\xE0\x9F\xBF\"]", 2},
            {"[\"\xF0\x8F\xBF\xBF\"]", 2}, {"[\"\xE2\x82\"]", 2}, {"[\"\xE2", 2}, {"[\"\xED\xA0\x80\"]", 2},
            {"[\"\xF4\x90\x80\x80\"]", 2}, {"[\"\u00e4\xFF\"]", 4, 1, 4}, {"{\"\xE9\":1}", 2}}},
        {JsonObject::TrailingText, {
            {"[1]]", 3}, {"1 2", 2}, {"{}\n\n x", 5, 3, 2}, {"null\0"s, 4}, {"[1] // one", 4}}},
        {JsonObject::DuplicateName, {
            {R"({"a":1,"a":2})", 7}, {R"({"a":1, "b":{"c":"\"a\"","d":[{"a":1}]}, "\u0061":2})", 41}}},
    };
    // clang-format on
    for (const auto& [code, cases] : groups)
        for (const Case& c : cases) {
            SCOPED_TRACE(c.text);
            JsonObject result("kept");
            Problem problem;
            EXPECT_FALSE(ParseExactly(c.text, result, &problem));
            EXPECT_EQ(problem.code, code);
            EXPECT_EQ(problem.offset, c.offset);
            EXPECT_EQ(problem.line, c.line);
            EXPECT_EQ(problem.column, c.column != 0 ? c.column : static_cast<int>(c.offset) + 1);
            EXPECT_EQ(result, JsonObject("kept"));
        }
    Problem problem;
    JsonObject result;
    EXPECT_TRUE(JsonObject::Parse("1", result, &problem));
    EXPECT_EQ(problem.GetText(), "no fault");
    EXPECT_FALSE(JsonObject::Parse("[1,\n 01]", result, &problem));
    EXPECT_EQ(problem.GetText(), "line 2, column 3: not a number, or one that is too large");
}

// Numbers

TEST(JsonObjectNumber, LiteralsBecomeTheNearestAndAreWrittenShortest)
{
    struct Case {
        const char* literal;
        JsonObject::Type type;
        double value;
        const char* written;
    };
    const auto integer = JsonObject::TypeInteger, real = JsonObject::TypeReal;
    const Case cases[] = {
        {"9223372036854775807", integer, 0x1p63, "9223372036854775807"},
        {"-9223372036854775808", integer, -0x1p63, "-9223372036854775808"},
        {"9223372036854775808", real, 0x1p63, "9.223372036854776e18"},
        {"-9223372036854775809", real, -0x1p63, "-9.223372036854776e18"},
        {"18446744073709551616", real, 0x1p64, "1.8446744073709552e19"},
        {"100000000000000000000000", real, 1e23, "1e23"},
        {"12345678901234567.0", real, 12345678901234568.0, "12345678901234568.0"},
        {"1e17", real, 1e17, "1e17"},
        {"1e16", real, 1e16, "10000000000000000.0"},
        {"0.00001", real, 1e-5, "0.00001"},
        {"0.000001234", real, 1.234e-6, "1.234e-6"},
        {"0.1", real, 0.1, "0.1"},
        {"9007199254740993.0", real, 9007199254740992.0, "9007199254740992.0"}, // ties to even
        {"9007199254740995.0", real, 9007199254740996.0, "9007199254740996.0"},
        {"9007199254740993.00000000000000000000000000000001", real, 9007199254740994.0, "9007199254740994.0"},
        {"2.2250738585072011e-308", real, 0x0.fffffffffffffp-1022, "2.225073858507201e-308"},
        {"4.9406564584124654e-324", real, 0x1p-1074, "5e-324"},
        {"2.4703282292062327e-324", real, 0.0, "0.0"},
        {"-1e-999999999999999999999", real, -0.0, "-0.0"},
        {"0e999999999999999999999", real, 0.0, "0.0"},
        {"1.7976931348623157e308", real, 0x1.fffffffffffffp1023, "1.7976931348623157e308"},
        {"0.00000000000000000000000000000000000000123456789012345678", real, 1.2345678901234568e-39,
         "1.2345678901234568e-39"},
    };
    for (const Case& c : cases) {
        const JsonObject value = Parsed(c.literal);
        EXPECT_EQ(value.GetType(), c.type) << c.literal;
        double read = 7.0;
        if (c.type == real) {
            EXPECT_TRUE(value.Read(read));
            EXPECT_EQ(std::bit_cast<std::uint64_t>(read), std::bit_cast<std::uint64_t>(c.value)) << c.literal;
        }
        EXPECT_EQ(Text(value), c.written);
        EXPECT_EQ(Parsed(Text(value)), value) << c.literal;
    }
    // A number with a thousand digits, and with a million zeros that an exponent takes back.
    EXPECT_EQ(Parsed("0." + std::string(1000, '3')), JsonObject(1.0 / 3.0));
    EXPECT_EQ(Parsed("0." + std::string(1000000, '0') + "25e1000001"), JsonObject(2.5));
}

TEST(JsonObjectNumber, RandomOnesEqualTheStandardLibrary)
{
    std::mt19937_64 random(11);
    for (int i = 0; i < 100000; ++i) {
        // All bit patterns, short decimals, powers of two and neighbours of powers of ten.
        const std::uint64_t bits = random();
        double x = std::bit_cast<double>(bits);
        if (i % 4 == 1) x = static_cast<double>(bits % 1000000) / 1000.0;
        if (i % 4 == 2) x = std::ldexp(1.0, static_cast<int>(bits % 2098) - 1074);
        if (i % 4 == 3) x = std::nextafter(std::pow(10.0, static_cast<double>(bits % 600) - 300.0), 0.0);
        if (!std::isfinite(x)) continue;
        const std::string text = Text(x);
        double back = 0.0;
        std::from_chars(text.data(), text.data() + text.size(), back);
        ASSERT_EQ(std::bit_cast<std::uint64_t>(back), std::bit_cast<std::uint64_t>(x)) << text;
        ASSERT_EQ(Parsed(text), JsonObject(x)) << text;
        // No text of theirs is shorter but for the ".0" and the notation: the digits are the same.
        const auto digits = [](std::string_view from) {
            std::string kept;
            for (const char c : from.substr(0, from.find('e')))
                if (c >= '0' && c <= '9' && (c != '0' || !kept.empty())) kept.push_back(c);
            while (!kept.empty() && kept.back() == '0') kept.pop_back();
            return kept;
        };
        char theirs[40];
        const auto end = std::to_chars(theirs, theirs + sizeof theirs, x, std::chars_format::scientific).ptr;
        ASSERT_EQ(digits(text), digits({theirs, end}));

        // Decimals that are no double's own.
        const std::string decimal = std::to_string(bits >> random() % 60) + "." + std::to_string(random()) + "e" +
                                    std::to_string(static_cast<int>(random() % 640) - 330);
        const bool fits = std::from_chars(decimal.data(), decimal.data() + decimal.size(), back).ec == std::errc();
        JsonObject parsed;
        ASSERT_TRUE(JsonObject::Parse(decimal, parsed) || !fits) << decimal;
        if (!parsed.IsNull()) {
            ASSERT_EQ(parsed, JsonObject(fits ? back : 0.0)) << decimal;
        }
    }
}

TEST(JsonObjectNumber, MissingAndNonFiniteRealsFollowTheRule)
{
    const double oddNaN = std::bit_cast<double>(0xFFF0000000000001u), nan = kNan;
    const std::vector<double> reals{Value::SYSMISVALUE, kInf, -kInf, nan, oddNaN, 1.0};
    const JsonObject array = JsonObject::FromReals(reals);
    EXPECT_TRUE(array.At(0)->IsNull());
    EXPECT_TRUE(Parsed("-1.7976931348623157e308").IsNull());
    EXPECT_EQ(Text(array), "unchanged");
    EXPECT_EQ(Text(array, false, JsonObject::AsNull), "[null,null,null,null,null,1.0]");
    const std::string text = Text(array, false, JsonObject::AsText);
    EXPECT_EQ(text, R"j([null,"Infinity","-Infinity","NaN","NaN(fff0000000000001)",1.0])j");
    std::vector<double> back;
    ASSERT_TRUE(Parsed(text).Read(back));
    for (std::size_t i = 0; i < reals.size(); ++i)
        EXPECT_EQ(std::bit_cast<std::uint64_t>(back[i]), std::bit_cast<std::uint64_t>(reals[i])) << i;
    EXPECT_EQ(array, JsonObject(array));
    EXPECT_FALSE(JsonObject(0.0) == JsonObject(-0.0));

    std::ostringstream stream;
    EXPECT_EQ(array.Write(stream), -1);
    EXPECT_EQ(stream.str(), "");
    EXPECT_EQ(array.Write(stream, false, JsonObject::AsText), 0);
    EXPECT_EQ(stream.str(), text);
}

TEST(JsonObjectRead, TakesWhatFitsAndLeavesTheResultOtherwise)
{
    // What can be read as: b a bool, i an int, w a wide integer, d a double, s a text. 2^53 + 1 is no double, and the
    // NaNs with digits are not as they are written, or none.
    // clang-format off
    const std::pair<const char*, std::string> cases[] = {
        {"true", "b"}, {"null", "d"}, {"2", "iwd"}, {"-3.0", "iwd"}, {"2.5", "d"}, {"2147483648", "wd"},
        {"9007199254740993", "w"}, {"9223372036854775807", "w"}, {"9223372036854775808", "d"},
        {"\"NaN\"", "ds"}, {"\"NaN(7ff8000000000000)\"", "s"}, {"\"NaN(0000000000000001)\"", "s"},
        {"\"12\"", "s"}, {"[2]", ""}};
    // clang-format on
    for (const auto& [text, expected] : cases) {
        const JsonObject value = Parsed(text);
        bool b = false;
        int i = 77;
        long long w = 77;
        double d = 77.0;
        std::string s = "77", read, changed;
        const auto look = [&](char name, auto& result) {
            const auto before = result;
            if (value.Read(result)) read += name;
            if (result != before) changed += name;
        };
        look('b', b);
        look('i', i);
        look('w', w);
        look('d', d);
        look('s', s);
        EXPECT_EQ(read, expected) << text;
        EXPECT_EQ(changed, expected) << text;
    }
    long narrow = 77;
    EXPECT_TRUE(Parsed("-5").Read(narrow) && !Parsed("9223372036854775808").Read(narrow) && narrow == -5);
    const JsonObject list = Parsed("[1,2.5]");
    EXPECT_TRUE(list.Elements().size() == 2 && list.Elements()[1] == JsonObject(2.5) &&
                JsonObject(2.5).Elements().empty());
    EXPECT_EQ(Shown(list), "JsonObject display start\n[1, 2.5]\nJsonObject display end\n");
    std::vector<int> whole{1};
    EXPECT_FALSE(list.Read(whole));
    EXPECT_EQ(whole, std::vector<int>{1});
    EXPECT_TRUE(JsonObject::FromIntegers(std::vector<int>{4, -5}).Read(whole));
    EXPECT_EQ(whole, (std::vector<int>{4, -5}));
    std::vector<std::string> texts;
    EXPECT_TRUE(JsonObject::FromStrings(std::vector<std::string>{"a", ""}).Read(texts));
    EXPECT_EQ(texts, (std::vector<std::string>{"a", ""}));
}

// Arrays and objects

TEST(JsonObjectMembers, FollowAPlainListThroughRandomChanges)
{
    // The names collide in all ways: short and long ones, ones that differ at the end only.
    const auto name = [](std::uint64_t i) { return std::string(i % 3 * 10, 'x') + std::to_string(i); };
    std::mt19937_64 random(5);
    for (const std::uint64_t names : {6u, 40u, 3000u}) {
        JsonObject object;
        std::vector<std::pair<std::string, long long>> model;
        for (int step = 0; step < 6000; ++step) {
            const std::string key = name(random() % names);
            const auto at = std::find_if(model.begin(), model.end(), [&](const auto& m) { return m.first == key; });
            if (random() % 3 != 0) {
                ASSERT_TRUE(object.Set(key, step));
                if (at == model.end())
                    model.emplace_back(key, step);
                else
                    at->second = step;
            } else if (random() % 2 != 0) {
                ASSERT_EQ(object.Remove(key), at != model.end());
                if (at != model.end()) model.erase(at);
            } else if (!model.empty()) {
                ASSERT_TRUE(object.Remove(model.size() - 1));
                model.pop_back();
            }
            long long found = -1;
            const std::string probe = name(random() % names);
            const auto wanted =
                std::find_if(model.begin(), model.end(), [&](const auto& m) { return m.first == probe; });
            ASSERT_EQ(object[probe].Read(found), wanted != model.end());
            ASSERT_EQ(found, wanted != model.end() ? wanted->second : -1);
        }
        ASSERT_EQ(object.Size(), model.size());
        for (int i = 0; i < 10000; ++i) { // a name that is gone leaves nothing behind
            const std::string passing = std::to_string(i) + "y";
            ASSERT_TRUE(object.Set(passing, i) && object.Remove(passing) && object[passing].IsNull());
        }
        for (std::size_t i = 0; i < model.size(); ++i) {
            EXPECT_EQ(object.NameAt(i), model[i].first);
            EXPECT_EQ(*object.At(i), JsonObject(model[i].second));
        }
        // Equality does not ask for the order.
        JsonObject backwards;
        for (std::size_t i = model.size(); i-- > 0;) backwards.Set(model[i].first, model[i].second);
        EXPECT_EQ(object, backwards);
        EXPECT_EQ(object, Parsed(Text(object)));
        if (model.empty()) continue;
        backwards.Set(model[0].first, "other");
        EXPECT_FALSE(object == backwards);
    }
}

TEST(JsonObjectMembers, PartsOfAValueMayBeGivenToIt)
{
    JsonObject value = Parsed(R"({"a":[1,"a text of more than fourteen bytes"],"b":{}})");
    value.Set("c", value);
    value.Set(value.NameAt(0), std::move(*value.Find("b")));
    value.Append(1); // not an array: refused
    for (int i = 0; i < 20; ++i) value.Find("c")->Find("a")->Append(*value.FindPointer("/c/a/1"));
    EXPECT_EQ(value["c"]["a"].Size(), 22u);
    EXPECT_EQ(value["c"]["a"][21], JsonObject("a text of more than fourteen bytes"));
    EXPECT_TRUE(value["c"]["a"][22].IsNull());
    EXPECT_TRUE(value["c"]["a"][-1].IsNull());
    EXPECT_TRUE(value["b"].IsNull()); // moved from
    value = value["c"]["a"][1];
    EXPECT_EQ(Text(value), "\"a text of more than fourteen bytes\"");
    EXPECT_FALSE(value.Set("a", 1));
    JsonObject moved = std::move(value);
    EXPECT_TRUE(value.IsNull());
    EXPECT_FALSE(value.Set("\xC3", 1)); // no name: not even an object now
    EXPECT_TRUE(value.IsNull());
    EXPECT_EQ(Text(JsonObject("a\xC3z\xED\xA0")), "\"a\uFFFDz\uFFFD\uFFFD\"");
}

TEST(JsonObjectMembers, DuplicateNamesAreFoundInLargeObjectsAndTheLastIsKeptWhenAsked)
{
    for (const int count : {2, 8, 9, 1000}) {
        std::string text = "{";
        for (int i = 0; i < count; ++i) text += "\"n" + std::to_string(i) + "\":" + std::to_string(i) + ",";
        const std::size_t place = text.size();
        text += "\"n1\":-1,\"z\":[0],\"n0\":\"a text of more than fourteen bytes\"}";
        Problem problem;
        JsonObject result;
        EXPECT_FALSE(ParseExactly(text, result, &problem));
        EXPECT_EQ(problem.code, JsonObject::DuplicateName);
        EXPECT_EQ(problem.offset, place);
        result = Parsed(text, {1024, true});
        ASSERT_EQ(result.Size(), static_cast<std::size_t>(count) + 1);
        EXPECT_EQ(result.NameAt(0), "n0");
        EXPECT_EQ(result.At(0)->GetText(), "a text of more than fourteen bytes");
        EXPECT_EQ(result["n1"], JsonObject(-1));
        EXPECT_EQ(result.NameAt(static_cast<std::size_t>(count)), "z");
        result.Set("n1", 5);
        EXPECT_EQ(result, Parsed(Text(result)));
    }
}

TEST(JsonObjectPointer, FollowsRfc6901)
{
    // The document of section 5.
    const JsonObject document =
        Parsed(R"({"foo":["bar","baz"],"":0,"a/b":1,"c%d":2,"e^f":3,"g|h":4,"i\\j":5,"k\"l":6," ":7,"m~n":8})");
    EXPECT_EQ(document.FindPointer(""), &document);
    // clang-format off
    const std::pair<const char*, const char*> cases[] = {
        {"/foo", R"(["bar","baz"])"}, {"/foo/0", "\"bar\""}, {"/", "0"}, {"/a~1b", "1"}, {"/c%d", "2"},
        {"/e^f", "3"}, {"/g|h", "4"}, {"/i\\j", "5"}, {"/k\"l", "6"}, {"/ ", "7"}, {"/m~0n", "8"}};
    // clang-format on
    for (const auto& [pointer, expected] : cases) {
        ASSERT_NE(document.FindPointer(pointer), nullptr) << pointer;
        EXPECT_EQ(Text(*document.FindPointer(pointer)), expected);
    }
    for (const char* const none : {"foo", "/foo/", "/foo/2", "/foo/-", "/foo/00", "/foo/+1", "/foo/1x", "/foo/0/x",
                                   "/m~n", "/m~2n", "/m~", "/no", "//", "/foo/18446744073709551616"})
        EXPECT_EQ(document.FindPointer(none), nullptr) << none;
}

TEST(JsonObjectText, IndentedHasAMemberALineAndNumbersOnOne)
{
    const JsonObject value = Parsed(R"({"a":[1,2.5,null],"b":[],"c":{"d":["x",{}]},"e":"\u0001"})");
    EXPECT_EQ(Text(value, true), R"({
  "a": [1, 2.5, null],
  "b": [],
  "c": {
    "d": [
      "x",
      {}
    ]
  },
  "e": "\u0001"
})");
    // Pieces of the writer's buffer end within strings of escapes and within long runs alike.
    for (const char* const part : {"\\u0001", "a", "\u20ac\\n"}) {
        std::string text = "[\"";
        for (int i = 0; i < 40000; ++i) text += part;
        text += "\"]";
        EXPECT_EQ(Text(Parsed(text)), text);
    }
}

// Depth, random documents, memory

TEST(JsonObjectDepth, IsLimitedByTheLimitAlone)
{
    constexpr std::size_t kDeep = 200000;
    std::string text;
    for (std::size_t i = 0; i < kDeep / 2; ++i) text += "[{\"a\":";
    text += "0";
    for (std::size_t i = 0; i < kDeep / 2; ++i) text += "}]";
    const JsonObject::Limits deep{static_cast<int>(kDeep), false};
    JsonObject value = Parsed(text, deep);
    EXPECT_EQ(Text(value), text);
    JsonObject copy(value);
    EXPECT_EQ(copy, value);
    EXPECT_LT(Text(value, true).size(), 250 * kDeep);
    Value variant;
    EXPECT_TRUE(value.ToValue(variant));
    EXPECT_TRUE(JsonObject::FromValue(variant, copy));
    EXPECT_EQ(copy, value);

    Problem problem;
    EXPECT_FALSE(ParseExactly(text, value, &problem, {static_cast<int>(kDeep) - 1, false}));
    EXPECT_EQ(problem.code, JsonObject::TooDeep);
    EXPECT_EQ(problem.offset, 6 * (kDeep / 2 - 1) + 1);
    EXPECT_FALSE(JsonObject::Parse(std::string(kDeep, '['), value, &problem, deep));
    EXPECT_EQ(problem.offset, kDeep);
    EXPECT_FALSE(JsonObject::Parse(text, value, &problem));
    EXPECT_EQ(problem.offset, 3u * 1024);
    EXPECT_TRUE(JsonObject::Parse("1", value, &problem, {0, false}));
    EXPECT_FALSE(JsonObject::Parse("[]", value, &problem, {0, false}));
}

/// A document with everything in it, built by the interface.
JsonObject RandomDocument(std::mt19937_64& random, int depth)
{
    const auto text = [&random] {
        static const char* const kParts[] = {"a",    "bc",     "\"",     "\\",         "\n",
                                             "\x01", "\u00e4", "\u20ac", "\U0001F600", "name"};
        std::string made;
        for (std::uint64_t left = random() % 12; left > 0; --left) made += kParts[random() % 10];
        return made;
    };
    switch (random() % (depth > 0 ? 9 : 6)) {
    case 0: return nullptr;
    case 1: return random() % 2 == 0;
    case 2: return static_cast<long long>(random() >> random() % 64);
    case 3: return static_cast<double>(random() % 100000) / 64.0;
    case 4: {
        const double any = std::bit_cast<double>(random());
        return std::isfinite(any) ? any : -0.0;
    }
    case 5: return text();
    case 6: {
        JsonObject array = JsonObject::NewArray();
        for (std::uint64_t left = random() % 6; left > 0; --left) array.Append(RandomDocument(random, depth - 1));
        return array;
    }
    default: {
        JsonObject object = JsonObject::NewObject();
        for (std::uint64_t left = random() % 14; left > 0; --left)
            object.Set(text(), RandomDocument(random, depth - 1));
        return object;
    }
    }
}

TEST(JsonObjectRandom, DocumentsComeBackAndMutationsAreRefusedOrConsistent)
{
    std::mt19937_64 random(2024);
    for (int i = 0; i < 2000; ++i) {
        const JsonObject document = RandomDocument(random, 5);
        std::string text = Text(document, i % 2 == 0);
        ASSERT_EQ(Parsed(text), document) << text;
        ASSERT_EQ(JsonObject(document), document);
        for (int mutation = 0; mutation < 10; ++mutation) {
            const std::size_t at = random() % text.size();
            switch (random() % 4) {
            case 0: text[at] = static_cast<char>(random()); break;
            case 1: text.erase(at, 1 + random() % 3); break;
            case 2: text.insert(at, 1, "[]{},:\"\\0.e-ntu "[random() % 16]); break;
            default: text.insert(at, text.substr(random() % text.size(), random() % 8));
            }
            if (text.empty()) break;
            JsonObject result, again;
            Problem problem;
            if (ParseExactly(text, result, &problem, {1024, i % 3 == 0})) {
                ASSERT_TRUE(JsonObject::Parse(Text(result), again));
                ASSERT_EQ(again, result) << text;
            } else {
                ASSERT_NE(problem.code, JsonObject::ParseOk);
                ASSERT_LE(problem.offset, text.size());
                // Up to the fault the text has none: it is good or ends too early.
                Problem cut;
                ASSERT_TRUE(ParseExactly(text.substr(0, problem.offset), result, &cut, {1024, i % 3 == 0}) ||
                            cut.offset == problem.offset)
                    << text << problem.GetText();
            }
        }
    }
}

TEST(JsonObjectMemory, RunningOutLeavesTheValueAsItWas)
{
    // Larger than the slabs that small blocks come from, so that requests are made.
    const JsonObject part = JsonObject::FromReals(std::vector<double>(600, 1.5));
    JsonObject object;
    for (int i = 0; i < 60; ++i) object.Set("a name of more than fourteen bytes " + std::to_string(i), part);
    const std::string text = Text(object);
    JsonObject array = JsonObject::FromReals(std::vector<double>(512, 2.0));
    const JsonObject added(std::string(5000, 'z'));

    long refused = 0;
    const auto run = [&refused](auto change, const JsonObject& before) {
        refused += ExpectWholeWhenMemoryRunsOut(before, before, change, [](const JsonObject& value) { return value; });
    };
    run([&](JsonObject& value) { value = object; }, array);
    run([&](JsonObject& value) { JsonObject::Parse(text, value); }, array);
    run([&](JsonObject& value) { value.Append(added); }, array);
    run([&](JsonObject& value) { value.Set("added, with a name of its own", added); }, object);
    run([&](JsonObject& value) { value.Reserve(100000); }, object);
    EXPECT_GT(refused, 20);
}

// Code pages and values

TEST(JsonObjectValue, ConvertsBothWays)
{
    Value map;
    map["real"] = 0.1;
    map["missing"] = Value::SYSMISVALUE;
    map["list"][0] = 1;
    map["list"][1] = "two";
    map["list"][2] = true;
    map["none"] = Value();
    map["empty"].AssertMap();
    JsonObject json;
    ASSERT_TRUE(JsonObject::FromValue(map, json));
    EXPECT_EQ(Text(json), R"({"empty":{},"list":[1,"two",true],"missing":null,"none":null,"real":0.1})");
    Value back;
    ASSERT_TRUE(json.ToValue(back));
    EXPECT_EQ(back.GetString(),
              R"({"empty": {}, "list": [1, "two", true], "missing": null, "none": null, "real": 0.1})");
    EXPECT_EQ(back["real"].GetReal(), 0.1);
}

TEST(JsonObjectValue, CodePagesConvertWholeTextsOrNothing)
{
    internal::CodePageText latin("ISO-8859-1"), utf8("UTF-8"), unknown("no such code page");
    std::string text = "kept";
    EXPECT_TRUE(latin.ToUTF8("\xE4-z", text));
    EXPECT_EQ(text, "\u00e4-z");
    EXPECT_TRUE(latin.FromUTF8("\u00e4-z", text));
    EXPECT_EQ(text, "\xE4-z");
    for (internal::CodePageText* const page : {&latin, &utf8, &unknown}) {
        EXPECT_EQ(page->FromUTF8("\u20ac", text), page != &latin);
        EXPECT_FALSE(page->FromUTF8("\xE4", text));
        EXPECT_TRUE(page->ToUTF8("", text));
        const std::string long1(5000, 'q');
        EXPECT_TRUE(page->FromUTF8(long1 + "\u00fc", text));
        EXPECT_TRUE(page->ToUTF8(text, text));
        EXPECT_EQ(text, long1 + "\u00fc");
    }
    EXPECT_FALSE(utf8.ToUTF8("\xE4", text));
}

} // namespace
