#include "Column.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

namespace describe {

using MCCommon_930::MCMV;
using MCMath_930::ExactProduct;
using MCMath_930::ExactSum;
using MCMath_930::MCExtended;
using MCXML_930::JsonObject;

// ---------------------------------------------------------------------------------------------------------------------
// Moments

void PowerSums::Add(double x, double frequency, double weight)
{
    if (!fHasShift) fShift = x;
    fHasShift = true;
    const MCExtended d = ExactSum(x, -fShift);
    const double both = frequency * weight;
    fFrequencies += {frequency};
    MCExtended power = both == 1.0 ? MCExtended{1.0} : ExactProduct(frequency, weight);
    fSums[0] += power;
    for (std::size_t k = 1; k < fSums.size(); ++k) {
        power = power * d;
        fSums[k] += power;
    }
}

void PowerSums::Merge(const PowerSums& other)
{
    if (!other.fHasShift) return;
    if (!fHasShift) {
        *this = other;
        return;
    }
    // (x - c)^k = ((x - o) + d)^k with d = o - c, by the binomial theorem.
    const MCExtended d = ExactSum(other.fShift, -fShift);
    constexpr double kBinomials[5][5] = {{1}, {1, 1}, {1, 2, 1}, {1, 3, 3, 1}, {1, 4, 6, 4, 1}};
    for (std::size_t k = 0; k < fSums.size(); ++k) {
        MCExtended power{1.0};
        for (std::size_t j = k + 1; j-- > 0;) {
            fSums[k] += other.fSums[j] * power * kBinomials[k][j];
            power = power * d;
        }
    }
    fFrequencies += other.fFrequencies;
}

double PowerSums::GetMean() const
{
    const double weights = GetWeights();
    if (!(weights > 0.0)) return MCMV::Missing();
    // The quotient has the digits of a double; what is left of the sum after it gives the rest.
    const double mean = fSums[1].high / weights;
    const double rest = (fSums[1] - fSums[0] * mean).high / weights;
    return (ExactSum(fShift, mean) + MCExtended{rest}).high;
}

std::array<double, 3> PowerSums::CentralMoments() const
{
    const double weights = GetWeights();
    const double quotient = fSums[1].high / weights;
    const MCExtended d = ExactSum(quotient, (fSums[1] - fSums[0] * quotient).high / weights);
    const MCExtended dd = d * d;
    const MCExtended second = fSums[2] - d * fSums[1];
    const MCExtended third = fSums[3] - d * fSums[2] * 3.0 + dd * fSums[1] * 3.0 - dd * d * fSums[0];
    const MCExtended fourth =
        fSums[4] - d * fSums[3] * 4.0 + dd * fSums[2] * 6.0 - dd * d * fSums[1] * 4.0 + dd * dd * fSums[0];
    return {second.high / weights, third.high / weights, fourth.high / weights};
}

double PowerSums::GetVariance() const
{
    const double cases = GetFrequencies();
    if (!(cases > 1.0) || !(GetWeights() > 0.0)) return MCMV::Missing();
    return std::max(0.0, CentralMoments()[0]) * (GetWeights() / (cases - 1.0));
}

double PowerSums::GetSkewness() const
{
    const double n = GetFrequencies();
    if (!(n > 2.0) || !(GetWeights() > 0.0)) return MCMV::Missing();
    const auto [m2, m3, m4] = CentralMoments();
    if (!(m2 > 0.0)) return MCMV::Missing();
    return std::sqrt(n * (n - 1.0)) / (n - 2.0) * m3 / (m2 * std::sqrt(m2));
}

double PowerSums::GetKurtosis() const
{
    const double n = GetFrequencies();
    if (!(n > 3.0) || !(GetWeights() > 0.0)) return MCMV::Missing();
    const auto [m2, m3, m4] = CentralMoments();
    if (!(m2 > 0.0)) return MCMV::Missing();
    return (n - 1.0) / ((n - 2.0) * (n - 3.0)) * ((n + 1.0) * (m4 / (m2 * m2) - 3.0) + 6.0);
}

std::array<double, 13> PowerSums::GetState() const
{
    std::array<double, 13> state{fShift, fFrequencies.high, fFrequencies.low};
    for (std::size_t k = 0; k < fSums.size(); ++k) {
        state[3 + 2 * k] = fSums[k].high;
        state[4 + 2 * k] = fSums[k].low;
    }
    return state;
}

void PowerSums::SetState(const std::array<double, 13>& state)
{
    fShift = state[0];
    fFrequencies = {state[1], state[2]};
    for (std::size_t k = 0; k < fSums.size(); ++k) fSums[k] = {state[3 + 2 * k], state[4 + 2 * k]};
    fHasShift = state[1] > 0.0;
}

// ---------------------------------------------------------------------------------------------------------------------
// Levels

namespace {

/// FNV-1a, and the finisher of SplitMix64, without which similar texts have similar high bits.
std::uint64_t HashOf(std::string_view text)
{
    std::uint64_t hash = 0xcbf29ce484222325u;
    for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001b3u;
    hash = (hash ^ (hash >> 30)) * 0xbf58476d1ce4e5b9u;
    hash = (hash ^ (hash >> 27)) * 0x94d049bb133111ebu;
    return hash ^ (hash >> 31);
}

} // namespace

void LevelCounts::Add(std::string_view text, double frequency)
{
    const auto found = fCounts.find(text);
    if (found != fCounts.end()) {
        found->second += frequency;
        return;
    }
    if (fDropped) {
        const std::uint64_t hash = HashOf(text);
        if (hash > fByHash.rbegin()->first) return;
        fByHash.emplace(hash, text);
        fCounts.emplace(text, frequency);
    } else {
        fCounts.emplace(text, frequency);
    }
    if (fCounts.size() > kLimit) Trim();
}

void LevelCounts::Merge(const LevelCounts& other)
{
    if (other.fDropped && !fDropped) { // what the other one would not have kept must go
        LevelCounts merged = other;
        merged.Merge(*this);
        *this = std::move(merged);
        return;
    }
    for (const auto& [text, count] : other.fCounts) Add(text, count);
    if (!other.fDropped) return;
    // Of two that dropped texts, the smaller bound holds for both.
    const std::uint64_t bound = other.fByHash.rbegin()->first;
    while (!fByHash.empty() && fByHash.rbegin()->first > bound) {
        fCounts.erase(fCounts.find(fByHash.rbegin()->second));
        fByHash.erase(std::prev(fByHash.end()));
    }
}

void LevelCounts::Trim()
{
    if (!fDropped)
        for (const auto& [text, count] : fCounts) fByHash.emplace(HashOf(text), text);
    fDropped = true;
    while (fCounts.size() > kLimit) {
        const auto last = std::prev(fByHash.end());
        fCounts.erase(fCounts.find(last->second));
        fByHash.erase(last);
    }
}

double LevelCounts::GetDistinct() const
{
    if (!fDropped) return static_cast<double>(fCounts.size());
    const double share = static_cast<double>(fByHash.rbegin()->first) / std::ldexp(1.0, 64);
    return std::round((static_cast<double>(fByHash.size()) - 1.0) / share);
}

void LevelCounts::Restore(std::map<std::string, double, std::less<>> counts, bool dropped)
{
    fCounts = std::move(counts);
    fDropped = dropped && !fCounts.empty();
    fByHash.clear();
    if (fDropped)
        for (const auto& [text, count] : fCounts) fByHash.emplace(HashOf(text), text);
}

// ---------------------------------------------------------------------------------------------------------------------
// The column

double ColumnState::Missing() const
{
    double sum = 0.0;
    for (const auto& [code, cases] : missing) sum += cases;
    return sum;
}

void ColumnState::Merge(const ColumnState& other)
{
    for (const auto& [code, cases] : other.missing) missing[code] += cases;
    textCases += other.textCases;
    wholeCases += other.wholeCases;
    sums.Merge(other.sums);
    sketch.Merge(other.sketch);
    texts.Merge(other.texts);
}

namespace {

/// Any bytes as text of JSON: what is not UTF-8 as % and two hexadecimal digits for each byte, behind a %.
std::string Escaped(const std::string& bytes)
{
    if (JsonObject::IsUTF8(bytes) && !bytes.starts_with('%')) return bytes;
    constexpr const char* kDigits = "0123456789abcdef";
    std::string text("%");
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text.append({kDigits[byte >> 4], kDigits[byte & 15]});
    }
    return text;
}

bool Unescape(const std::string& text, std::string& bytes)
{
    if (!text.starts_with('%')) {
        bytes = text;
        return true;
    }
    if (text.size() % 2 == 0) return false;
    std::string out;
    for (std::size_t i = 1; i < text.size(); i += 2) {
        const auto digit = [](char c) {
            return c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
        };
        if (digit(text[i]) < 0 || digit(text[i + 1]) < 0) return false;
        out += static_cast<char>(16 * digit(text[i]) + digit(text[i + 1]));
    }
    bytes.swap(out);
    return true;
}

template <class Map>
JsonObject CountsToJson(const Map& counts)
{
    std::vector<std::string> texts;
    std::vector<double> numbers;
    for (const auto& [text, count] : counts) {
        texts.push_back(Escaped(text));
        numbers.push_back(count);
    }
    JsonObject object = JsonObject::NewObject();
    object.Set("texts", JsonObject::FromStrings(texts));
    object.Set("cases", JsonObject::FromReals(numbers));
    return object;
}

template <class Map>
bool CountsFromJson(const JsonObject& json, Map& counts)
{
    std::vector<std::string> texts;
    std::vector<double> numbers;
    if (!json["texts"].Read(texts) || !json["cases"].Read(numbers) || texts.size() != numbers.size()) return false;
    for (std::size_t i = 0; i < texts.size(); ++i) {
        std::string text;
        if (!Unescape(texts[i], text) || !(numbers[i] > 0.0)) return false;
        counts[text] = numbers[i];
    }
    return true;
}

} // namespace

JsonObject ColumnState::ToJson() const
{
    JsonObject json = JsonObject::NewObject();
    json.Set("name", Escaped(name));
    json.Set("missing", CountsToJson(missing));
    json.Set("textCases", textCases);
    json.Set("wholeCases", wholeCases);
    json.Set("powerSums", JsonObject::FromReals(sums.GetState()));
    json.Set("sketchLimit", sketch.GetLimit());
    json.Set("sketchBits", sketch.GetFractionBits());
    std::vector<double> numbers;
    for (const MCMath_930::MCQuantileSketch::Bucket& b : sketch.GetBuckets())
        numbers.insert(numbers.end(), {b.min, b.max, b.weight, b.minWeight, b.maxWeight});
    json.Set("sketch", JsonObject::FromReals(numbers));
    json.Set("levels", CountsToJson(texts.GetCounts()));
    json.Set("levelsAreExact", texts.IsExact());
    return json;
}

bool ColumnState::FromJson(const JsonObject& json)
{
    ColumnState state;
    std::string text;
    std::vector<double> sumState;
    std::vector<double> numbers;
    int limit = 0;
    int bits = 0;
    bool exact = true;
    std::map<std::string, double, std::less<>> levels;
    if (!json["name"].Read(text) || !Unescape(text, state.name) || !CountsFromJson(json["missing"], state.missing) ||
        !json["textCases"].Read(state.textCases) || !json["wholeCases"].Read(state.wholeCases) ||
        !json["powerSums"].Read(sumState) || sumState.size() != 13 || !json["sketchLimit"].Read(limit) ||
        !json["sketchBits"].Read(bits) || !json["sketch"].Read(numbers) || numbers.size() % 5 != 0 ||
        !CountsFromJson(json["levels"], levels) || !json["levelsAreExact"].Read(exact))
        return false;
    std::array<double, 13> sumArray{};
    std::copy(sumState.begin(), sumState.end(), sumArray.begin());
    state.sums.SetState(sumArray);
    std::vector<MCMath_930::MCQuantileSketch::Bucket> buckets;
    for (std::size_t i = 0; i < numbers.size(); i += 5)
        buckets.push_back({numbers[i], numbers[i + 1], numbers[i + 2], numbers[i + 3], numbers[i + 4]});
    if (!state.sketch.Restore(limit, bits, buckets)) return false;
    state.texts.Restore(std::move(levels), !exact);
    *this = std::move(state);
    return true;
}

} // namespace describe
