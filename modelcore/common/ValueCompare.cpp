// Value: equality and ordering.
#include "modelcore/common/Value.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace MCCommon_930 {

namespace {

// How far apart two reals may be and still be equal, in units of Value::EPSILON.
constexpr double kEqualUnits = 100.0;

} // namespace

bool Value::IsZeroDiff(double a, double b, double units)
{
    const double difference = std::fabs(a - b);
    if (difference == 0.0) return true;
    if (a == 0.0 || b == 0.0) return false;
    return std::max(std::fabs(a), std::fabs(b)) * (units * EPSILON) >= difference;
}

// Walks two values of the same shape side by side, each pair of elements once, and stops where the shapes differ.
class Value::PairWalk {
public:
    enum class Step { Pair, End, LeftFirst, RightFirst };

    static bool Descends(const Value& a, const Value& b) { return a.IsContainer() && a.fType == b.fType; }

    // Makes the elements of two containers of the same type the next pairs.
    void Enter(const Value& a, const Value& b)
    {
        Level level{&a, &b, 0, {}, {}};
        if (a.fType == TypeMap) {
            level.atA = a.fData.map->begin();
            level.atB = b.fData.map->begin();
        }
        fvLevels.push_back(level);
    }

    // The next pair, or which side comes first because it has ended or has the smaller key.
    Step Next(const Value*& a, const Value*& b)
    {
        for (; !fvLevels.empty(); fvLevels.pop_back()) {
            Level& level = fvLevels.back();
            const Step step = level.a->fType == TypeArray ? NextOfArrays(level, a, b) : NextOfMaps(level, a, b);
            if (step != Step::End) return step;
        }
        return Step::End;
    }

private:
    struct Level {
        const Value* a;
        const Value* b;
        std::size_t index;
        Map::const_iterator atA, atB;
    };

    static Step NextOfArrays(Level& level, const Value*& a, const Value*& b)
    {
        const Array& left = *level.a->fData.array;
        const Array& right = *level.b->fData.array;
        const std::size_t i = level.index++;
        if (i == left.size()) return i == right.size() ? Step::End : Step::LeftFirst;
        if (i == right.size()) return Step::RightFirst;
        a = &left[i];
        b = &right[i];
        return Step::Pair;
    }

    static Step NextOfMaps(Level& level, const Value*& a, const Value*& b)
    {
        if (level.atA == level.a->fData.map->end())
            return level.atB == level.b->fData.map->end() ? Step::End : Step::LeftFirst;
        if (level.atB == level.b->fData.map->end()) return Step::RightFirst;
        const int keys = level.atA->first.compare(level.atB->first);
        if (keys != 0) return keys < 0 ? Step::LeftFirst : Step::RightFirst;
        a = &level.atA++->second;
        b = &level.atB++->second;
        return Step::Pair;
    }

    std::vector<Level> fvLevels;
};

bool Value::LeavesEqual(const Value& a, const Value& b)
{
    if (a.fType != b.fType) return false;
    switch (a.fType) {
    case TypeBool: return a.fData.boolean == b.fData.boolean;
    case TypeInteger: return a.fData.integer == b.fData.integer;
    case TypeReal:
        // Before any arithmetic: the system-missing value is within tolerance of its neighbours.
        if (a.IsSystemMissingValue() || b.IsSystemMissingValue())
            return a.IsSystemMissingValue() && b.IsSystemMissingValue();
        return IsZeroDiff(a.fData.real, b.fData.real, kEqualUnits);
    case TypeString: return *a.fData.string == *b.fData.string;
    default: return false; // two nulls
    }
}

bool Value::operator==(const Value& other) const
{
    PairWalk walk;
    const Value* a = this;
    const Value* b = &other;
    for (PairWalk::Step step = PairWalk::Step::Pair; step != PairWalk::Step::End; step = walk.Next(a, b)) {
        if (step != PairWalk::Step::Pair) return false;
        if (PairWalk::Descends(*a, *b)) {
            if (a->Size() != b->Size()) return false;
            walk.Enter(*a, *b);
        } else if (!LeavesEqual(*a, *b)) {
            return false;
        }
    }
    return true;
}

Value::Order Value::CompareLeaves(const Value& a, const Value& b)
{
    const auto order = [](const auto& x, const auto& y) {
        return x < y ? Order::Less : y < x ? Order::Greater : Order::Neither;
    };
    if (a.fType != b.fType) return order(a.GetString(), b.GetString());
    switch (a.fType) {
    case TypeBool: return order(a.fData.boolean, b.fData.boolean);
    case TypeInteger: return order(a.fData.integer, b.fData.integer);
    case TypeReal: return a.IsMissing() || b.IsMissing() ? Order::Neither : order(a.fData.real, b.fData.real);
    case TypeString: return order(*a.fData.string, *b.fData.string);
    default: return Order::Neither; // two nulls
    }
}

// One walk settles both directions for every pair: asking a < b and then b < a of nested elements would double the work
// at each level.
bool Value::operator<(const Value& other) const
{
    PairWalk walk;
    const Value* a = this;
    const Value* b = &other;
    for (PairWalk::Step step = PairWalk::Step::Pair; step != PairWalk::Step::End; step = walk.Next(a, b)) {
        if (step != PairWalk::Step::Pair) return step == PairWalk::Step::LeftFirst;
        if (PairWalk::Descends(*a, *b)) {
            walk.Enter(*a, *b);
        } else {
            const Order order = CompareLeaves(*a, *b);
            if (order != Order::Neither) return order == Order::Less;
        }
    }
    return false;
}

} // namespace MCCommon_930
