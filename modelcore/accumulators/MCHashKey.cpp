#include "modelcore/accumulators/MCHashKey.h"

#include "modelcore/common/MCDisplay.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

namespace MCMath_930 {

using MCCommon_930::MCMV;
using MCCommon_930::Value;

namespace {

enum Tag : char { kMissing, kBool, kInteger, kReal, kString, kText };

constexpr std::size_t kWordBytes = 8;

} // namespace

MCHashKey::MCHashKey(const std::vector<Value>& values)
{
    for (const Value& value : values) Append(value);
}

MCHashKey::MCHashKey(std::span<const double> values)
{
    for (const double value : values) Append(value);
}

void MCHashKey::Append(const Value& value)
{
    switch (value.GetType()) {
    case Value::TypeReal: AppendReal(value.GetReal()); break;
    case Value::TypeNull: fBytes.push_back(kMissing); break;
    case Value::TypeBool: AppendWord(kBool, value.GetBool() ? 1 : 0); break;
    case Value::TypeInteger: AppendWord(kInteger, static_cast<std::uint64_t>(value.GetInteger())); break;
    case Value::TypeString: AppendText(kString, value.GetStringRef()); break;
    default: AppendText(kText, value.GetString()); break;
    }
    ++fnValues;
}

void MCHashKey::AppendReal(double value)
{
    if (MCMV::IsMissing(value))
        fBytes.push_back(kMissing);
    else if (std::isnan(value)) // one NaN for all
        AppendWord(kReal, std::bit_cast<std::uint64_t>(std::numeric_limits<double>::quiet_NaN()));
    else
        AppendWord(kReal, value == 0.0 ? 0 : std::bit_cast<std::uint64_t>(value));
}

std::vector<Value> MCHashKey::GetValues() const
{
    std::vector<Value> values;
    for (std::size_t at = 0; at < fBytes.size();) {
        const char tag = fBytes[at++];
        if (tag == kMissing) {
            values.emplace_back();
            continue;
        }
        std::uint64_t word = 0;
        for (std::size_t i = kWordBytes; i-- > 0;) word = word << 8 | static_cast<unsigned char>(fBytes[at + i]);
        at += kWordBytes;
        switch (tag) {
        case kBool: values.emplace_back(word != 0); break;
        case kInteger: values.emplace_back(static_cast<long long>(word)); break;
        case kReal: values.emplace_back(std::bit_cast<double>(word)); break;
        default:
            values.emplace_back(fBytes.substr(at, static_cast<std::size_t>(word)));
            at += static_cast<std::size_t>(word);
            break;
        }
    }
    return values;
}

void MCHashKey::Clear()
{
    fBytes.clear();
    fnValues = 0;
}

// Byte by byte from the lowest, so that the hash does not depend on the machine's byte order. All at once, so that it
// is there whole or, when memory runs out, not at all.
void MCHashKey::AppendWord(char tag, std::uint64_t word)
{
    char bytes[1 + kWordBytes] = {tag};
    for (std::size_t i = 1; i <= kWordBytes; ++i, word >>= 8) bytes[i] = static_cast<char>(word & 0xFF);
    fBytes.append(bytes, sizeof(bytes));
}

// With the length in front no text can be taken for the beginning of the next value.
void MCHashKey::AppendText(char tag, std::string_view text)
{
    const std::size_t size = fBytes.size() + 1 + kWordBytes + text.size();
    if (size > fBytes.capacity()) fBytes.reserve(std::max(size, 2 * fBytes.capacity()));
    AppendWord(tag, text.size());
    fBytes.append(text);
}

std::uint64_t MCHashKey::Hash() const
{
    std::uint64_t hash = 14695981039346656037u;
    for (const char byte : fBytes) hash = (hash ^ static_cast<unsigned char>(byte)) * 1099511628211u;
    // The finisher of MurmurHash3 (Appleby): FNV's multiplications never carry high bits down.
    hash = (hash ^ (hash >> 33)) * 0xff51afd7ed558ccdu;
    hash = (hash ^ (hash >> 33)) * 0xc4ceb9fe1a85ec53u;
    return hash ^ (hash >> 33);
}

void MCHashKey::Display() const
{
    MCDisplay_930::DisplayStart("MCHashKey");
    MCDisplay_930::Display("Number of values", Size());
    for (const Value& value : GetValues()) MCDisplay_930::Display("Value", value.GetString());
    MCDisplay_930::Display("Hash", static_cast<unsigned long long>(Hash()));
    MCDisplay_930::DisplayEnd("MCHashKey");
}

} // namespace MCMath_930
