// Distinct values of a field, found by one hash.
#pragma once

#include "modelcore/common/Value.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace MCXML_930::internal {

/// Whether the value says that nothing is known: null, the missing real or a NaN.
bool IsUnknown(const MCCommon_930::Value& value);
bool IsUnknown(double x);

/// A number as a real; false for any other type. Null is the missing real.
bool ToNumber(const MCCommon_930::Value& value, double& x);

/// Categories in order: false, true, then numbers as numbers, then text by bytes. 0 for the same category.
int CompareCategories(const MCCommon_930::Value& a, const MCCommon_930::Value& b);

/// Distinct categories 0, 1, 2, ... Bools, numbers and strings can be categories; an integer is the same category as
/// the real of that size, and -0.0 as 0.0. Unlike Value's, this equality is exact.
class CategoryIndex {
public:
    int Size() const { return static_cast<int>(fvValues.size()); }
    const MCCommon_930::Value& At(int i) const { return fvValues[static_cast<std::size_t>(i)]; }
    const std::vector<MCCommon_930::Value>& GetValues() const { return fvValues; }

    /// The place of a category; -1 when it is not there or can be none.
    int Find(const MCCommon_930::Value& value) const;
    int Find(double x) const;
    int Find(std::string_view text) const;

    /// The place of each number, as Find gives it.
    void FindAll(std::span<const double> x, int* places) const;

    /// The place of a category, which is added at the end when it is new; -1 for what can be none. Where the same
    /// number comes as integer and as real, the integer is kept, whichever came first.
    int Insert(const MCCommon_930::Value& value);

    /// Sorts the categories. Returns the old place of each.
    std::vector<int> Sort();

private:
    struct Key {
        std::uint64_t hash = 0;
        std::uint64_t word = 0; // decides when the kind is not Text
        std::uint8_t kind = 0;
    };
    struct Slot {
        std::uint64_t word = 0;  // of a text its hash
        std::uint32_t place = 0; // from 1; 0 for none
        std::uint8_t kind = 0;
    };

    static Key KeyOf(const MCCommon_930::Value& value);
    static Key KeyOf(double x);
    static Key KeyOf(std::string_view text);
    int Find(const Key& key, std::string_view text) const;
    void Enter(const Key& key, std::size_t place);
    void Rebuild(std::size_t slots);

    std::vector<MCCommon_930::Value> fvValues;
    std::vector<Slot> fvSlots; // open addressing, a power of two
};

} // namespace MCXML_930::internal
