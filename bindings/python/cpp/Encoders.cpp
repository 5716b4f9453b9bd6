// Encoder: one field's encoder of any class, with settings by name.
#include "State.h"

#include <nanobind/stl/map.h>

#include <algorithm>
#include <cmath>

namespace modelcore_python {

namespace {

using namespace MCXML_930;
using MCCommon_930::MCMV;
using MCCommon_930::MCStatus;
using MCCommon_930::Value;

Value ToValue(nb::handle x)
{
    if (x.is_none()) return {};
    if (PyBool_Check(x.ptr())) return Value(nb::cast<bool>(x));
    if (PyLong_Check(x.ptr())) return Value(nb::cast<long long>(x));
    if (PyUnicode_Check(x.ptr())) return Value(nb::cast<std::string>(x));
    const double number = PyFloat_AsDouble(x.ptr());
    if (number == -1.0 && PyErr_Occurred() != nullptr) {
        PyErr_Clear();
        throw nb::type_error("argument must be a string or a number, or None");
    }
    return std::isnan(number) ? Value() : Value(number);
}

nb::object FromValue(const Value& value)
{
    switch (value.GetType()) {
    case Value::TypeBool: return nb::bool_(value.GetBool());
    case Value::TypeInteger: return nb::int_(value.GetInteger());
    case Value::TypeReal:
        if (MCMV::IsMissing(value.GetReal())) return nb::none();
        return nb::float_(value.GetReal());
    case Value::TypeString: {
        const std::string& text = value.GetString();
        return nb::steal(PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "replace"));
    }
    default: return nb::none();
    }
}

/// The values of one column: numbers, or values of any type.
struct Input {
    explicit Input(nb::handle x)
    {
        static PyObject* helper = nullptr;
        if (helper == nullptr)
            helper = nb::object(nb::module_::import_("modelcore._arrays").attr("values")).release().ptr();
        const nb::object prepared = nb::handle(helper)(x);
        if (PyList_Check(prepared.ptr())) {
            for (nb::handle value : nb::cast<nb::list>(prepared)) values.push_back(ToValue(value));
            isNumeric = false;
        } else {
            numbers = ToVector(prepared);
        }
    }
    std::size_t Size() const { return isNumeric ? numbers.size() : values.size(); }
    Value At(std::size_t i) const { return isNumeric ? Value(numbers[i]) : values[i]; }

    bool isNumeric = true;
    std::vector<double> numbers;
    std::vector<Value> values;
};

double Limit(nb::handle x)
{
    const double limit = x.is_none() ? kNaN : nb::cast<double>(x);
    return std::isnan(limit) ? MCMV::Missing() : limit;
}

template <class Enum>
Enum As(nb::handle x)
{
    return static_cast<Enum>(nb::cast<int>(x));
}

class Encoder {
public:
    Encoder(const std::string& className, const std::string& field, nb::dict settings)
        : fEncoder(MCEncoderBase::Create(className))
    {
        if (!fEncoder) Refuse("there is no encoder " + className);
        Named(className, field);
        for (const auto& [name, value] : settings) {
            const std::string setting = nb::cast<std::string>(name);
            bool taken = false;
            try {
                taken = Set(setting, value);
            } catch (nb::cast_error&) {
                taken = false;
            }
            if (!taken) Refuse("setting '" + setting + "' is not one of " + className + " or its value is not legal");
        }
    }
    Encoder(const Encoder& other)
    {
        std::unique_ptr<IMCEncoder> clone = other.fEncoder->Clone();
        fEncoder.reset(static_cast<MCEncoderBase*>(clone.release()));
    }

    int Learn(nb::handle values, nb::handle weights, nb::handle targets)
    {
        const Input input(values);
        const WeightList w = RowWeights(input.Size(), nb::none(), weights);
        const std::span<const double> given = weights.is_none() ? std::span<const double>() : w.Values();
        if (fEncoder->NeedsTarget() && targets.is_none()) Refuse("this encoder learns with a target");
        if (!fEncoder->NeedsTarget()) {
            if (input.isNumeric && std::ranges::all_of(w.Values(), [](double x) { return x > 0.0; })) {
                const nb::gil_scoped_release release;
                return fEncoder->LearnBlock(input.numbers, given);
            }
            int learned = 0;
            for (std::size_t i = 0; i < input.Size(); ++i)
                if (w[i] > 0.0) learned += fEncoder->Learn(input.At(i), w[i]);
            return learned;
        }
        const Input target(targets);
        if (target.Size() != input.Size()) Refuse("one target for each value is needed");
        int learned = 0;
        for (std::size_t i = 0; i < input.Size(); ++i)
            if (w[i] > 0.0) learned += fEncoder->LearnWithTarget(input.At(i), target.At(i), w[i]);
        return learned;
    }

    void Merge(const Encoder& other)
    {
        if (!fEncoder->Merge(*other.fEncoder))
            Refuse("the encoders differ in class, field or settings, or one is finished");
    }

    nb::tuple Finish()
    {
        const MCStatus status = fEncoder->Finish();
        return nb::make_tuple(status.IsOK()        ? 0
                              : status.IsWarning() ? 1
                                                   : -1,
                              status.GetErrorCode(), status.GetDiscreteDatum(0), status.GetDiscreteDatum(1),
                              status.GetScaleDatum(0));
    }

    nb::tuple Encode(nb::handle values) const
    {
        if (!fEncoder->IsFinished()) Refuse("the encoder is not finished");
        const Input input(values);
        const auto columns = static_cast<std::size_t>(fEncoder->GetNColumns());
        const std::size_t shape[] = {input.Size(), columns};
        double* out = nullptr;
        Array array = NewArray(shape, out);
        std::vector<IMCEncoder::Outcome> outcomes(input.Size());
        const std::span<double> rows(out, input.Size() * columns);
        {
            const nb::gil_scoped_release release;
            if (input.isNumeric)
                fEncoder->EncodeBlock(input.numbers, rows, static_cast<int>(columns), outcomes);
            else
                fEncoder->EncodeBlock(std::span<const Value>(input.values), rows, static_cast<int>(columns), outcomes);
            for (std::size_t i = 0; i < outcomes.size(); ++i)
                if (outcomes[i] != IMCEncoder::Encoded)
                    for (double& x : rows.subspan(i * columns, columns))
                        if (MCMV::IsMissing(x)) x = kNaN;
        }
        std::vector<std::int64_t> codes;
        codes.reserve(outcomes.size());
        for (const IMCEncoder::Outcome outcome : outcomes) codes.push_back(static_cast<std::int64_t>(outcome));
        return nb::make_tuple(array, ToIntArray(codes));
    }

    nb::list Decode(ArrayLike rows) const
    {
        const Table table(rows);
        const auto columns = static_cast<std::size_t>(fEncoder->GetNColumns());
        if (table.NColumns() != columns) Refuse("the rows have another number of columns");
        std::vector<double> row(columns);
        nb::list values;
        for (std::size_t i = 0; i < table.NRows(); ++i) {
            table.Read(i, 1, row.data(), columns);
            for (double& x : row)
                if (std::isnan(x)) x = MCMV::Missing();
            Value value;
            if (!fEncoder->Decode(row, value)) Refuse("row " + std::to_string(i) + " is that of no value");
            values.append(FromValue(value));
        }
        return values;
    }

    std::vector<std::string> ColumnNames() const
    {
        std::vector<std::string> names;
        for (int j = 0; j < fEncoder->GetNColumns(); ++j) names.push_back(fEncoder->GetColumnName(j));
        return names;
    }
    nb::list Levels() const
    {
        nb::list levels;
        if (const auto* encoder = dynamic_cast<const MCCategoryEncoder*>(fEncoder.get()))
            for (const Value& level : encoder->GetLevels()) levels.append(FromValue(level));
        return levels;
    }
    Array Cuts() const
    {
        const auto* encoder = dynamic_cast<const MCBinningEncoder*>(fEncoder.get());
        return ToArray(encoder != nullptr ? encoder->GetCuts() : std::vector<double>());
    }
    bool NeedsTarget() const { return fEncoder->NeedsTarget(); }

    std::string ToJson() const { return JsonText(fEncoder->ToJson()); }
    static Encoder FromJson(const std::string& text)
    {
        JsonObject json;
        if (!JsonObject::Parse(text, json)) Refuse("not JSON");
        std::unique_ptr<MCEncoderBase> encoder = MCEncoderBase::CreateFromJson(json);
        if (!encoder) Refuse("this is not the state of an encoder");
        return Encoder(std::move(encoder));
    }

    nb::bytes ToStateBytes() const { return ToBytes(MCStateBytes::Save(*fEncoder)); }
    static Encoder FromStateBytes(const nb::bytes& bytes)
    {
        MCStateBytes::Reader reader(View(bytes));
        std::unique_ptr<MCEncoderBase> encoder = MCEncoderBase::Create(std::string(reader.GetKind()));
        MCStateBytes::Fault fault =
            encoder || reader.GetFault() != MCStateBytes::Ok ? reader.GetFault() : MCStateBytes::OtherKind;
        if (fault == MCStateBytes::Ok) fault = reader.Finish(encoder->ReadObjectXML(reader.Stream()) > 0);
        if (fault != MCStateBytes::Ok) RefuseState(fault, View(bytes), "encoder");
        return Encoder(std::move(encoder));
    }

private:
    explicit Encoder(std::unique_ptr<MCEncoderBase> encoder) : fEncoder(std::move(encoder)) {}

    void Named(const std::string& name, const std::string& field)
    {
        if (name == "MCContinuousEncoder")
            fEncoder = std::make_unique<MCContinuousEncoder>(field);
        else if (name == "MCCategoricalEncoder")
            fEncoder = std::make_unique<MCCategoricalEncoder>(field);
        else if (name == "MCCategoricalNumericEncoder")
            fEncoder = std::make_unique<MCCategoricalNumericEncoder>(field);
        else if (name == "MCBinningEncoder")
            fEncoder = std::make_unique<MCBinningEncoder>(field);
        else if (name == "MCStringEncoder")
            fEncoder = std::make_unique<MCStringEncoder>(field);
        else
            fEncoder = std::make_unique<MCRoundingEncoder>(field);
    }

    bool Set(const std::string& name, nb::handle x)
    {
        if (name == "missing")
            return fEncoder->SetMissingRule(As<IMCEncoder::MissingRule>(x[nb::int_(0)]), ToValue(x[nb::int_(1)]));
        if (auto* e = dynamic_cast<MCContinuousEncoder*>(fEncoder.get())) {
            if (name == "scaling") return e->SetScaling(As<MCContinuousEncoder::Scaling>(x));
            if (name == "limits")
                return e->SetLimits(Limit(x[nb::int_(0)]), Limit(x[nb::int_(1)]),
                                    As<IMCEncoder::OutlierRule>(x[nb::int_(2)]));
            if (name == "limits_learned") return e->SetLimitsLearned(As<IMCEncoder::OutlierRule>(x));
        }
        if (auto* e = dynamic_cast<MCRoundingEncoder*>(fEncoder.get())) {
            if (name == "unit") return e->SetUnit(nb::cast<double>(x));
            if (name == "digits") return e->SetDigits(nb::cast<int>(x));
            if (name == "direction") return e->SetDirection(As<MCRoundingEncoder::Direction>(x));
        }
        if (auto* e = dynamic_cast<MCBinningEncoder*>(fEncoder.get())) return SetBins(*e, name, x);
        if (auto* e = dynamic_cast<MCStringEncoder*>(fEncoder.get())) {
            if (name == "trim") return e->SetTrim(As<MCStringEncoder::Trim>(x));
            if (name == "case") return e->SetCase(As<MCStringEncoder::Case>(x));
            if (name == "max_length") return e->SetMaxLength(nb::cast<int>(x));
            if (name == "mapping") return e->SetMapping(nb::cast<std::map<std::string, std::string>>(x));
            if (name == "empty_is_missing") return e->SetEmptyIsMissing(nb::cast<bool>(x));
        }
        if (auto* e = dynamic_cast<MCCategoricalEncoder*>(fEncoder.get()))
            if (name == "coding") return e->SetCoding(As<MCCategoricalEncoder::Coding>(x));
        if (auto* e = dynamic_cast<MCCategoricalNumericEncoder*>(fEncoder.get())) {
            if (name == "method") return e->SetMethod(As<MCCategoricalNumericEncoder::Method>(x));
            if (name == "smoothing") return e->SetSmoothing(nb::cast<double>(x));
            if (name == "scores") {
                std::vector<std::pair<Value, double>> scores;
                for (const auto& [value, score] : nb::cast<nb::dict>(x))
                    scores.emplace_back(ToValue(value), nb::cast<double>(score));
                return e->SetScores(scores);
            }
        }
        if (auto* e = dynamic_cast<MCCategoryEncoder*>(fEncoder.get())) {
            if (name == "categories") {
                std::vector<Value> categories;
                for (nb::handle value : x) categories.push_back(ToValue(value));
                return e->SetCategories(categories);
            }
            if (name == "reference") return e->SetReference(As<MCCategoryEncoder::Reference>(x));
            if (name == "reference_category") return e->SetReference(ToValue(x));
            if (name == "min_weight") return e->SetMinWeight(nb::cast<double>(x));
            if (name == "max_kept") return e->SetMaxKept(nb::cast<int>(x));
            if (name == "other_name") return e->SetOtherName(nb::cast<std::string>(x));
            if (name == "unseen") return e->SetUnseenRule(As<IMCEncoder::UnseenRule>(x));
        }
        return false;
    }

    static bool SetBins(MCBinningEncoder& e, const std::string& name, nb::handle x)
    {
        if (name == "cuts") return e.SetCuts(nb::cast<std::vector<double>>(x));
        if (name == "equal_width") return e.SetEqualWidth(nb::cast<int>(x));
        if (name == "equal_frequency") return e.SetEqualFrequency(nb::cast<int>(x));
        if (name == "deviations") return e.SetDeviations(nb::cast<int>(x));
        if (name == "mdlp") return e.SetMDLP();
        if (name == "closed") return e.SetClosed(As<MCBinningEncoder::Closed>(x));
        if (name == "ends")
            return e.SetEndsClosed(Limit(x[nb::int_(0)]), Limit(x[nb::int_(1)]),
                                   As<IMCEncoder::OutlierRule>(x[nb::int_(2)]));
        if (name == "output") return e.SetOutput(As<MCBinningEncoder::Output>(x));
        if (name == "sketch_limit") return e.SetSketchLimit(nb::cast<int>(x));
        return false;
    }

    std::unique_ptr<MCEncoderBase> fEncoder;
};

} // namespace

void RegisterEncoders(nb::module_& m)
{
    nb::class_<Encoder>(m, "Encoder", "The encoder of one field; modelcore.encoders has those of whole tables.")
        .def(nb::init<const std::string&, const std::string&, nb::dict>(), nb::arg("class_name"), nb::arg("field"),
             nb::arg("settings"),
             nb::sig("def __init__(self, class_name: str, field: str, settings: dict[str, typing.Any]) -> None"))
        .def("learn", &Encoder::Learn, nb::arg("values"), nb::arg("weights") = nb::none(),
             nb::arg("targets") = nb::none(),
             nb::sig(
                 "def learn(self, values: typing.Any, weights: typing.Any = None, targets: typing.Any = None) -> int"),
             "Adds values; returns how many were learned from.")
        .def("merge", &Encoder::Merge, nb::arg("other"), "Adds what another one has learned.")
        .def("finish", &Encoder::Finish, nb::sig("def finish(self) -> tuple[int, int, int, int, float]"),
             "Severity (1 warning, -1 error), code and data of the status.")
        .def("encode", &Encoder::Encode, nb::arg("values"),
             nb::sig("def encode(self, values: typing.Any) -> tuple[numpy.typing.NDArray[numpy.float64], "
                     "numpy.typing.NDArray[numpy.int64]]"),
             "A row for each value, and the outcomes.")
        .def("decode", &Encoder::Decode, nb::arg("rows"),
             nb::sig("def decode(self, rows: typing.Any) -> list[typing.Any]"), "The values that rows stand for.")
        .def_prop_ro("column_names", &Encoder::ColumnNames, "Names of the columns.")
        .def_prop_ro("levels", &Encoder::Levels, nb::sig("def levels(self) -> list[typing.Any]"),
                     "Levels, of categories.")
        .def_prop_ro("cuts", &Encoder::Cuts, "Cuts, of bins.")
        .def_prop_ro("needs_target", &Encoder::NeedsTarget, "Whether learning takes a target.")
        .def(
            "copy", [](const Encoder& self) { return Encoder(self); }, "An independent copy.")
        .def("to_json", &Encoder::ToJson, "The whole state.")
        .def_static("from_json", &Encoder::FromJson, nb::arg("text"), "Restores what to_json gave.")
        .def("to_bytes", &Encoder::ToStateBytes, "The whole state as bytes; see CrossProducts.to_bytes.")
        .def_static("from_bytes", &Encoder::FromStateBytes, nb::arg("state"), "Restores what to_bytes gave.")
        .def("__getstate__", &Encoder::ToStateBytes)
        .def("__setstate__",
             [](Encoder& self, const nb::bytes& bytes) { new (&self) Encoder(Encoder::FromStateBytes(bytes)); });
}

} // namespace modelcore_python
