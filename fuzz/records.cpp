// Sequences of operations on bit sets, packed integers, counts, values and records, each beside a plain model.
#include "Input.h"

#include "modelcore/modelcore.h"

#include <map>

using namespace MCCommon_930;
using namespace MCMath_930;

namespace {

void BitSets(Input& input)
{
    MCBitSet set;
    std::vector<bool> model;
    while (!input.IsDone()) {
        const int i = input.Int(-2, 140), size = static_cast<int>(model.size());
        switch (input.Byte() % 8) {
        case 0: {
            REQUIRE(set.Resize(i) == (i >= 0));
            if (i >= 0) model.resize(static_cast<std::size_t>(i));
            break;
        }
        case 1: {
            set.SetAll();
            model.assign(model.size(), true);
            break;
        }
        case 2: set.Clear(), model.assign(model.size(), false); break;
        case 3: {
            const int a = input.Int(-2, 140);
            int expected = a >= 0 && a <= i && i < size ? 0 : -1;
            for (int k = a; expected >= 0 && k <= i; ++k) expected += model[static_cast<std::size_t>(k)];
            REQUIRE(set.InRange(a, i) == expected);
            break;
        }
        case 4: {
            const auto from = model.begin() + std::clamp(i, 0, size);
            const auto found = std::find(from, model.end(), true);
            REQUIRE(set.Next(i) == (found == model.end() ? -1 : static_cast<int>(found - model.begin())));
            break;
        }
        default: {
            const bool on = input.Bool(), isThere = i >= 0 && i < size;
            REQUIRE(set.Set(i, on) == isThere && set.IsIn(i) == (isThere && on));
            if (isThere) model[static_cast<std::size_t>(i)] = on;
        }
        }
    }
    REQUIRE(set.Size() == static_cast<int>(model.size()));
    REQUIRE(set.Count() == std::count(model.begin(), model.end(), true));
    std::vector<int> members;
    for (std::size_t i = 0; i < model.size(); ++i)
        if (model[i]) members.push_back(static_cast<int>(i));
    REQUIRE(set.Members() == members);
    set.Display();
}

void PackedInts(Input& input)
{
    const std::uint64_t max = input.Word() >> input.Int(0, 63);
    MCPackedInt packed(max, input.Index(5));
    std::vector<std::uint64_t> model(packed.Size());
    while (!input.IsDone()) {
        const std::size_t i = input.Index(150);
        const std::uint64_t value = input.Word() >> input.Int(0, 63);
        switch (input.Byte() % 6) {
        case 0: packed.Resize(i), model.resize(i); break;
        case 1:
        case 2: {
            const bool fits = i < model.size() && value <= max;
            REQUIRE(packed.Set(i, value) == fits);
            if (fits) model[i] = value;
            break;
        }
        default: {
            REQUIRE(packed.Append(value) == (value <= max));
            if (value <= max) model.push_back(value);
        }
        }
    }
    REQUIRE(packed.Size() == model.size());
    MCPackedInt again(max);
    for (std::size_t i = 0; i < model.size(); ++i) {
        REQUIRE(packed.Get(i) == model[i]);
        again.Append(model[i]);
    }
    REQUIRE(packed == again);
    packed.Display();
}

/// Weights of a few bits, so that sums are exact.
void Counts(Input& input)
{
    MCCatStats stats, other;
    std::map<int, double> model;
    while (!input.IsDone()) {
        const double category = input.Byte() % 4 == 0 ? input.Real() : input.Int(0, 400);
        const double weight = input.Small();
        MCCatStats& one = input.Bool() ? stats : other;
        const int index = category > -1.0 && category < 2147483647.0 ? static_cast<int>(category) : -1;
        if (!one.Update(category, weight)) continue;
        REQUIRE(index >= 0);
        model[index] += weight > 0.0 ? weight : 1.0;
    }
    stats.Pool(other);
    double sum = 0.0;
    for (const auto& [category, count] : model) {
        REQUIRE(stats.GetCatCount(static_cast<unsigned>(category)) == count);
        sum += count;
    }
    REQUIRE(stats.GetSumCounts() == sum);
    REQUIRE(stats.GetNCategories(false) <= stats.GetNCategories(true));
    stats.Display();
}

Value AnyValue(Input& input, int depth = 0)
{
    switch (input.Byte() % (depth < 3 ? 7 : 5)) {
    case 0: return Value();
    case 1: return input.Bool();
    case 2: return static_cast<long long>(input.Word());
    case 3: return input.Text(20);
    case 4: return input.Real();
    case 5: {
        Value list;
        list.Resize(0);
        for (int i = 0, n = input.Int(0, 3); i < n; ++i) list[i] = AnyValue(input, depth + 1);
        return list;
    }
    default: {
        Value map;
        map.AssertMap();
        for (int n = input.Int(0, 3); n > 0; --n) {
            const std::string name = input.Text(3);
            map[name] = AnyValue(input, depth + 1);
        }
        return map;
    }
    }
}

/// Copies say what their originals say; the order agrees with itself; type assertions are all that throws.
void Values(Input& input)
{
    while (!input.IsDone()) {
        Value a = AnyValue(input), b = AnyValue(input);
        const Value copy(a);
        REQUIRE(copy.GetString() == a.GetString() && copy.GetType() == a.GetType() && copy.Size() == a.Size());
        REQUIRE((a == b) == (b == a) && (a != b) != (a == b));
        REQUIRE(!(a < b && b < a) && (a < b) == (b > a) && (a <= b) == (a < b || a == b));
        MCXML_930::JsonObject json;
        if (MCXML_930::JsonObject::FromValue(a, json)) {
            Value back;
            REQUIRE(json.ToValue(back));
            MCXML_930::JsonObject again;
            REQUIRE(MCXML_930::JsonObject::FromValue(back, again) && again == json);
        }
        const std::uint16_t type = a.GetType();
        const std::string name = input.Text(3);
        const int index = input.Int(-2, 4);
        const bool isList = type == Value::TypeArray || type == Value::TypeNull, isMap = type == Value::TypeMap;
        try {
            if (input.Bool()) {
                const int size = a.Size();
                a[index] = b;
                REQUIRE(isList && index >= 0 && index <= size && a[index].GetString() == b.GetString());
            } else {
                a[name] = a;
                REQUIRE((isMap || type == Value::TypeNull) && a.Contains(name));
                REQUIRE(a.Remove(name) && !a.Contains(name));
            }
        } catch (const MCException&) {
            REQUIRE(a.GetString() == copy.GetString() || type == Value::TypeNull);
        }
        a = a.Size() > 0 && a.GetType() == Value::TypeArray ? Value(a[0]) : b;
        swap(a, b);
        // Of lists and maps a key has the texts, as strings.
        MCHashKey key({a, b, copy});
        const MCHashKey second(key.GetValues());
        REQUIRE(key.Size() == 3 && second == MCHashKey(second.GetValues()));
        const bool hasTexts = std::max({a.GetType(), b.GetType(), copy.GetType()}) >= Value::TypeArray;
        REQUIRE(hasTexts || (key == second && key.Hash() == second.Hash()));
    }
}

void Records(Input& input)
{
    ValueRecord record;
    std::vector<std::pair<std::string, int>> model;
    const auto place = [&model](const std::string& name) {
        return std::find_if(model.begin(), model.end(), [&](const auto& each) { return each.first == name; });
    };
    while (!input.IsDone()) {
        const std::string name = "field" + std::to_string(input.Int(0, 600) * (input.Bool() ? 1 : 7));
        const int value = input.Byte();
        const auto at = place(name);
        const int index = at == model.end() ? -1 : static_cast<int>(at - model.begin());
        REQUIRE(record.IndexOf(name) == index && record.Contains(name) == (index >= 0));
        switch (input.Byte() % 8) {
        case 0: {
            REQUIRE(record.Remove(name) == (index >= 0));
            if (index >= 0) model.erase(at);
            break;
        }
        case 1: {
            REQUIRE(record.SetValue(name, value) == (index >= 0));
            if (index >= 0) at->second = value;
            break;
        }
        case 2: {
            ValueRecord more;
            for (int i = 0; i < 40; ++i) more.Add(name + std::to_string(i), value + i);
            record.AddAll(more);
            for (int i = 0; i < 40; ++i) {
                const auto old = place(name + std::to_string(i));
                if (old == model.end())
                    model.emplace_back(name + std::to_string(i), value + i);
                else
                    old->second = value + i;
            }
            break;
        }
        default: {
            REQUIRE(record.Add(name, value) == (index >= 0 ? index : static_cast<int>(model.size())));
            if (index >= 0)
                at->second = value;
            else
                model.emplace_back(name, value);
        }
        }
    }
    REQUIRE(record.Size() == static_cast<int>(model.size()));
    for (int i = 0; i < record.Size(); ++i) {
        const auto& [name, value] = model[static_cast<std::size_t>(i)];
        REQUIRE(record.GetName(i) == name && record.IndexOf(name) == i && record.Get(i) == value);
    }
    record.Display();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    const Silence silence;
    Input input(bytes, size);
    switch (input.Byte() % 5) {
    case 0: BitSets(input); break;
    case 1: PackedInts(input); break;
    case 2: Counts(input); break;
    case 3: Values(input); break;
    default: Records(input);
    }
    return 0;
}
