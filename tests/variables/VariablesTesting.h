// What the tests of variables and encoders share: cells, rows, and the saved state by both roads.
#pragma once

#include "modelcore/modelcore.h"
#include "support/Saved.h"
#include "support/Testing.h"

#include <cstdio>
#include <fstream>

using namespace MCXML_930;
using MCCommon_930::MCStatus;
using MCCommon_930::Value;

constexpr double kRefused = static_cast<double>(IMCEncoder::Refused);

/// The object comes back from the value stream and from the text of its JSON, to the bit; what is damaged is refused
/// and changes nothing.
template <class T>
void ExpectSaved(const T& object, T other)
{
    const std::string saved = Saved(object), before = Saved(other);
    for (const std::string& damaged : {std::string(), saved.substr(0, saved.size() / 2), "<X>" + saved}) {
        EXPECT_EQ(Restore(other, damaged), 0);
        EXPECT_EQ(Saved(other), before);
    }
    EXPECT_FALSE(other.FromJson(JsonObject("text")));
    T fromStream(other), fromJson(other);
    EXPECT_GT(Restore(fromStream, saved), 0);
    EXPECT_EQ(Saved(fromStream), saved);
    std::string text;
    JsonObject json;
    ASSERT_TRUE(object.ToJson().ToText(text));
    ASSERT_TRUE(JsonObject::Parse(text, json)) << text;
    EXPECT_TRUE(fromJson.FromJson(json)) << text;
    EXPECT_EQ(Saved(fromJson), saved);
    EXPECT_TRUE(fromJson == object);
}

/// The row of a value, an outcome in front; -1 is never an outcome.
inline std::vector<double> Row(const IMCEncoder& encoder, const Value& value)
{
    std::vector<double> row(static_cast<std::size_t>(encoder.GetNColumns()) + 1, -1.0);
    row[0] = static_cast<double>(encoder.Encode(value, std::span(row).subspan(1)));
    return row;
}

/// What the row of a value is decoded to, as text; "none" when it is refused.
inline std::string Decoded(const IMCEncoder& encoder, const Value& value)
{
    const std::vector<double> row = Row(encoder, value);
    Value back("unchanged");
    if (!encoder.Decode(std::span(row).subspan(1), back)) return "none";
    return back.IsNull() ? "null" : back.GetString();
}

/// EncodeBlock gives what Encode gives, on any stride, with system-missing where that refuses.
inline void ExpectBlockLikeRows(const IMCEncoder& encoder, const std::vector<double>& x)
{
    const auto columns = static_cast<std::size_t>(encoder.GetNColumns());
    for (const std::size_t stride : {columns, columns + 2}) {
        std::vector<double> rows(x.size() * stride + 1, 77.0), expected(rows);
        std::vector<IMCEncoder::Outcome> outcomes(x.size());
        int encoded = 0;
        for (std::size_t i = 0; i < x.size(); ++i) {
            const std::vector<double> row = Row(encoder, x[i]);
            for (std::size_t j = 0; j < columns; ++j)
                expected[i * stride + j] = row[0] == kRefused ? kMissing : row[j + 1];
            encoded += row[0] == kRefused ? 0 : 1;
        }
        EXPECT_EQ(encoder.EncodeBlock(x, rows, static_cast<int>(stride), outcomes), encoded);
        EXPECT_TRUE(SameBits(rows, expected));
        for (std::size_t i = 0; i < x.size(); ++i) {
            EXPECT_EQ(static_cast<double>(outcomes[i]), Row(encoder, x[i])[0]) << x[i];
            // Alone: a value beside a special one goes the special one's road.
            std::vector<double> row(columns);
            std::vector<IMCEncoder::Outcome> alone(1);
            encoder.EncodeBlock(std::span(x).subspan(i, 1), row, static_cast<int>(columns), alone);
            EXPECT_EQ(alone[0], outcomes[i]) << x[i];
            EXPECT_TRUE(SameBits(row, {expected.begin() + static_cast<std::ptrdiff_t>(i * stride),
                                       expected.begin() + static_cast<std::ptrdiff_t>(i * stride + columns)}))
                << x[i];
        }
        if (columns == 0) continue;
        EXPECT_EQ(encoder.EncodeBlock(x, std::span(rows).first(columns - 1), 9999), -1);
    }
}
