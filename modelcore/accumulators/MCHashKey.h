// Keys of hash tables over sequences of values.
#pragma once

#include "modelcore/common/Value.h"
#include "modelcore/common/internal/EmptiedOnMove.h"
#include "modelcore/modelcore_export.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace MCMath_930 {

/// A sequence of values as the key of a hash table, for example the levels of several factors in a case:
///
///     std::unordered_map<MCHashKey, int> cells;
///     ++cells[MCHashKey({record["sex"], record["age"]})];
///
/// Two keys are equal when they hold as many values and each is equal to its counterpart in type and content. Unlike
/// Value's, this equality is exact and can be hashed: reals must be the same number, without a tolerance. Missing
/// values (null and the system-missing real) are equal to each other, so are NaNs, and so are both zeros. Arrays and
/// maps are equal when their texts (Value::GetString) are.
///
/// The key holds the bytes of its values in one string. The hash is the same on every machine and in every process, so
/// that it may also decide which of several workers gets a case.
class MODELCORE_EXPORT MCHashKey {
public:
    /// No values.
    MCHashKey() = default;

    /// The values in their order.
    explicit MCHashKey(const std::vector<MCCommon_930::Value>& values);

    /// Reals in their order.
    explicit MCHashKey(std::span<const double> values);

    /// A deep copy.
    MCHashKey(const MCHashKey& other) = default;

    /// Deep as well. When memory runs out, this object is as it was.
    MCHashKey& operator=(const MCHashKey& other) { return internal::AssignByCopy(*this, other); }

    /// Takes everything over; other has no values afterwards.
    MCHashKey(MCHashKey&& other) noexcept = default;
    MCHashKey& operator=(MCHashKey&& other) noexcept = default;

    ~MCHashKey() = default;

    /// Adds a value at the end. When memory runs out, the key is as it was.
    void Append(const MCCommon_930::Value& value);

    /// Forgets the values and keeps the memory for the next ones.
    void Clear();

    /// The number of values.
    int Size() const { return fnValues; }

    /// The values, as this key's equality sees them: missing values are null, zeros positive, NaNs the common one, and
    /// instead of arrays and maps there are their texts, as strings. A key made of them is equal to this one unless it
    /// holds arrays or maps.
    std::vector<MCCommon_930::Value> GetValues() const;

    /// FNV-1a of the bytes, mixed so that all 64 bits are usable.
    std::uint64_t Hash() const;

    /// As many values, each equal to its counterpart.
    bool operator==(const MCHashKey& other) const { return fBytes == other.fBytes; }

    /// Writes the number of values, the values and the hash to the diagnostic text stream.
    void Display() const;

private:
    void AppendReal(double value);
    void AppendWord(char tag, std::uint64_t word);
    void AppendText(char tag, std::string_view text);

    internal::EmptiedOnMove<int> fnValues = 0;
    std::string fBytes; // of each value a tag, for a text its length, and the content
};

} // namespace MCMath_930

/// Hashes a key by MCHashKey::Hash, for unordered containers.
template <>
struct std::hash<MCMath_930::MCHashKey> {
    /// The hash of the key.
    std::size_t operator()(const MCMath_930::MCHashKey& key) const noexcept
    {
        return static_cast<std::size_t>(key.Hash());
    }
};
