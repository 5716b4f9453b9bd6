// Categories: the weight of each category of a field.
#include "State.h"

#include <cmath>
#include <map>
#include <string_view>

namespace modelcore_python {

namespace {

/// Counts of numbers and of texts, each in their order. A bool is the number 0 or 1, as in Python.
class Categories {
public:
    static constexpr const char* kClass = "Categories";

    void Update(nb::handle values, nb::handle frequency, nb::handle weight, bool remove)
    {
        const Busy busy(fbBusy);
        const nb::object prepared = nb::module_::import_("modelcore._arrays").attr("values")(values);
        Categories copy(*this);
        if (PyList_Check(prepared.ptr())) {
            const auto list = nb::cast<nb::list>(prepared);
            const WeightList weights = RowWeights(list.size(), frequency, weight);
            std::size_t i = 0;
            for (nb::handle value : list) copy.AddObject(value, remove ? -weights[i] : weights[i]), ++i;
        } else {
            const Table table(prepared);
            if (table.NColumns() != 1) Refuse("one column of categories is needed");
            const WeightList weights = RowWeights(table.NRows(), frequency, weight);
            const std::vector<double> numbers = table.ReadColumn(0);
            for (std::size_t i = 0; i < numbers.size(); ++i)
                copy.AddNumber(numbers[i], remove ? -weights[i] : weights[i]);
        }
        if (remove) copy.DropEmpty();
        std::swap(*this, copy);
        fbBusy = true;
    }

    void Merge(const Categories& other)
    {
        const Busy busy(fbBusy);
        Categories copy(*this);
        for (const auto& [key, weight] : other.fNumbers) copy.fNumbers[key] += weight;
        for (const auto& [key, weight] : other.fTexts) copy.fTexts[key] += weight;
        copy.fdMissing += other.fdMissing;
        std::swap(*this, copy);
        fbBusy = true;
    }

    nb::list Keys() const
    {
        nb::list keys;
        for (const auto& [key, weight] : fNumbers) keys.append(NumberObject(key));
        for (const auto& [key, weight] : fTexts) keys.append(nb::str(key.data(), key.size()));
        return keys;
    }
    std::vector<double> Weights() const
    {
        std::vector<double> weights;
        for (const auto& [key, weight] : fNumbers) weights.push_back(weight);
        for (const auto& [key, weight] : fTexts) weights.push_back(weight);
        return weights;
    }
    nb::dict Counts() const
    {
        nb::dict counts;
        for (const auto& [key, weight] : fNumbers) counts[NumberObject(key)] = weight;
        for (const auto& [key, weight] : fTexts) counts[nb::str(key.data(), key.size())] = weight;
        return counts;
    }
    double Get(nb::handle value) const
    {
        if (PyUnicode_Check(value.ptr())) {
            const auto found = fTexts.find(Text(value));
            return found == fTexts.end() ? 0.0 : found->second;
        }
        const double number = Number(value);
        if (std::isnan(number)) return fdMissing;
        const auto found = fNumbers.find(number);
        return found == fNumbers.end() ? 0.0 : found->second;
    }
    double Missing() const { return fdMissing; }
    double Total() const
    {
        double sum = 0.0;
        for (const double weight : Weights()) sum += weight;
        return sum;
    }
    std::size_t Size() const { return fNumbers.size() + fTexts.size(); }

    std::string ToJson() const
    {
        JsonObject json;
        json.Set("class", kClass);
        std::vector<double> numbers, numberWeights, textWeights;
        std::vector<std::string> texts;
        for (const auto& [key, weight] : fNumbers) numbers.push_back(key), numberWeights.push_back(weight);
        for (const auto& [key, weight] : fTexts) texts.push_back(key), textWeights.push_back(weight);
        json.Set("numbers", JsonObject::FromReals(numbers));
        json.Set("number_weights", JsonObject::FromReals(numberWeights));
        json.Set("texts", JsonObject::FromStrings(texts));
        json.Set("text_weights", JsonObject::FromReals(textWeights));
        json.Set("missing", fdMissing);
        return JsonText(json);
    }
    static Categories FromJson(const std::string& text)
    {
        const JsonObject json = ParseState(text, kClass);
        const auto numbers = Member<std::vector<double>>(json, "numbers");
        const auto numberWeights = Member<std::vector<double>>(json, "number_weights");
        const auto texts = Member<std::vector<std::string>>(json, "texts");
        const auto textWeights = Member<std::vector<double>>(json, "text_weights");
        if (numbers.size() != numberWeights.size() || texts.size() != textWeights.size())
            Refuse("the state contradicts itself");
        Categories result;
        for (std::size_t i = 0; i < numbers.size(); ++i) result.fNumbers[numbers[i]] = numberWeights[i];
        for (std::size_t i = 0; i < texts.size(); ++i) result.fTexts[texts[i]] = textWeights[i];
        result.fdMissing = Member<double>(json, "missing");
        return result;
    }

    template <class Self, class State>
    static void Fields(Self& self, State& state)
    {
        state.Field(self.fdMissing);
        FieldsOf(self.fNumbers, state);
        FieldsOf(self.fTexts, state);
    }

private:
    template <class Map, class State>
    static void FieldsOf(Map& map, State& state)
    {
        using Key = typename std::remove_const_t<Map>::key_type;
        auto size = static_cast<unsigned long long>(map.size());
        state.Field(size);
        if constexpr (State::kReads) {
            Key key{};
            double weight = 0.0;
            for (unsigned long long i = 0; i < size && state.Good(); ++i) {
                state.Field(key);
                state.Field(weight);
                state.Require(map.empty() || map.rbegin()->first < key); // also keeps NaN out
                if (state.Good()) map.emplace_hint(map.end(), key, weight);
            }
        } else {
            for (const auto& [key, weight] : map) state.Field(key), state.Field(weight);
        }
    }

    static std::string Text(nb::handle value)
    {
        Py_ssize_t size = 0;
        const char* const text = PyUnicode_AsUTF8AndSize(value.ptr(), &size);
        if (text == nullptr) throw nb::python_error();
        return {text, static_cast<std::size_t>(size)};
    }
    static double Number(nb::handle value)
    {
        if (value.is_none()) return kNaN;
        const double number = PyFloat_AsDouble(value.ptr());
        if (number == -1.0 && PyErr_Occurred() != nullptr) {
            PyErr_Clear();
            throw nb::type_error("categories are numbers, bools or text");
        }
        return MCCommon_930::MCMV::IsMissing(number) ? kNaN : number;
    }
    static nb::object NumberObject(double key)
    {
        if (key == std::floor(key) && std::fabs(key) < 9e15) return nb::int_(static_cast<long long>(key));
        return nb::float_(key);
    }

    void AddObject(nb::handle value, double weight)
    {
        if (!PyUnicode_Check(value.ptr())) return AddNumber(Number(value), weight);
        if (std::isnan(weight)) return; // a missing weight leaves the value out
        if (weight != 0.0) Add(fTexts, Text(value), weight);
    }
    void AddNumber(double value, double weight)
    {
        if (std::isnan(weight)) return; // a missing weight leaves the value out
        if (std::isnan(value)) return AddMissing(weight);
        if (weight != 0.0) Add(fNumbers, value + 0.0, weight); // -0.0 is 0
    }
    void AddMissing(double weight)
    {
        fdMissing += weight;
        if (fdMissing < 0.0) Refuse("more missing values would be removed than were added");
    }
    template <class Map, class Key>
    static void Add(Map& map, Key&& key, double weight)
    {
        const auto [place, isNew] = map.try_emplace(std::forward<Key>(key), 0.0);
        place->second += weight;
        if (place->second < 0.0) Refuse("more of a category would be removed than was added");
    }
    void DropEmpty()
    {
        std::erase_if(fNumbers, [](const auto& entry) { return entry.second == 0.0; });
        std::erase_if(fTexts, [](const auto& entry) { return entry.second == 0.0; });
    }

    bool fbBusy = false;
    std::map<double, double> fNumbers;
    std::map<std::string, double, std::less<>> fTexts;
    double fdMissing = 0.0;
};

} // namespace

void RegisterCategories(nb::module_& m)
{
    nb::class_<Categories> type(
        m, "Categories",
        "The weight of each category of one field, numbers or text; updated, taken back, merged and "
        "saved.\n\nCategories come numbers first, by size, then text, by its bytes in UTF-8: their "
        "order never depends on that of the data. 1, 1.0 and True are one category, as in Python. "
        "None, NaN and nulls are counted as missing.");
    type.def(nb::init<>())
        .def(
            "update",
            [](nb::object self, ArrayLike values, OptionalArrayLike frequency, OptionalArrayLike weight) {
                nb::cast<Categories&>(self).Update(values, frequency, weight, false);
                return self;
            },
            nb::arg("values"), nb::kw_only(), nb::arg("frequency") = nb::none(), nb::arg("weight") = nb::none(),
            nb::sig(
                "def update(self, values: typing.Any, *, frequency: typing.Any = None, weight: typing.Any = None) -> "
                "Categories"),
            "Adds values, each with frequency times weight.")
        .def(
            "remove",
            [](nb::object self, ArrayLike values, OptionalArrayLike frequency, OptionalArrayLike weight) {
                nb::cast<Categories&>(self).Update(values, frequency, weight, true);
                return self;
            },
            nb::arg("values"), nb::kw_only(), nb::arg("frequency") = nb::none(), nb::arg("weight") = nb::none(),
            nb::sig(
                "def remove(self, values: typing.Any, *, frequency: typing.Any = None, weight: typing.Any = None) -> "
                "Categories"),
            "Takes values back; exact for whole weights. A category whose weight becomes 0 is gone. More than was "
            "added "
            "raises ValueError and changes nothing.")
        .def(
            "merge",
            [](nb::object self, const Categories& other) {
                nb::cast<Categories&>(self).Merge(other);
                return self;
            },
            nb::arg("other"), nb::sig("def merge(self, other: Categories) -> Categories"),
            "Adds the weights of another.")
        .def("__add__",
             [](const Categories& self, const Categories& other) {
                 Categories sum(self);
                 sum.Merge(other);
                 return sum;
             })
        .def(
            "copy", [](const Categories& self) { return Categories(self); }, "An independent copy.")
        .def_prop_ro("categories", &Categories::Keys, nb::sig("def categories(self) -> list[typing.Any]"),
                     "All categories in their order.")
        .def_prop_ro(
            "weights", [](const Categories& self) { return ToArray(self.Weights()); }, "Their weights.")
        .def_prop_ro("counts", &Categories::Counts, nb::sig("def counts(self) -> dict[typing.Any, float]"),
                     "Both as a dict.")
        .def_prop_ro("missing", &Categories::Missing, "The weight of the missing values.")
        .def_prop_ro("total", &Categories::Total, "The weight of all others.")
        .def("__getitem__", &Categories::Get, "The weight of one category; 0 when it did not occur.")
        .def("__len__", &Categories::Size)
        .def("to_json", &Categories::ToJson, "The counts as JSON; from_json restores every bit of them.")
        .def_static("from_json", &Categories::FromJson, nb::arg("text"), "Restores what to_json gave.")
        .def("__repr__", [](const Categories& self) {
            return "Categories(" + std::to_string(self.Size()) + " categories, total " + std::to_string(self.Total()) +
                   ")";
        });
    DefineState(type, Categories::kClass, [] { return Categories(); });
}

} // namespace modelcore_python
