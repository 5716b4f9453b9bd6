// What the classes of the extension share: saved state, one user at a time, cancellation and progress.
#pragma once

#include "Arrays.h"

#include "modelcore/modelcore.h"

#include <chrono>
#include <fstream>
#include <span>
#include <sstream>

namespace modelcore_python {

using MCXML_930::JsonObject;

/// Raises ValueError with the text.
[[noreturn]] inline void Refuse(const std::string& message)
{
    throw nb::value_error(message.c_str());
}

/// The text of the value stream that the object writes.
template <class Object>
std::string StateText(const Object& object)
{
    std::ostringstream out;
    object.WriteObjectXML(out, 0);
    return out.str();
}

/// Lets a closed file stream read from memory: the reader looks at nothing but the get area, and at its end a file that
/// is not open gives the end of the text. Spares a file on disk, which ReadObjectXML otherwise needs.
class TextAsFile : private std::filebuf {
public:
    static void Set(std::filebuf& file, std::string& text)
    {
        (file.*(&TextAsFile::setg))(text.data(), text.data(), text.data() + text.size());
    }
};

/// Restores what StateText gave; raises ValueError when it is not such a state.
template <class Object>
void ReadState(Object& object, std::string text)
{
    std::ifstream in;
    TextAsFile::Set(*in.rdbuf(), text);
    if (object.ReadObjectXML(in) == 0) Refuse("this is not the saved state of such an object");
}

/// One thread at a time changes an object; a second one gets a RuntimeError instead of a spoilt result.
class Busy {
public:
    explicit Busy(bool& flag) : fFlag(flag)
    {
        if (flag) throw std::runtime_error("the object is being changed by another thread");
        flag = true;
    }
    Busy(const Busy&) = delete;
    Busy& operator=(const Busy&) = delete;
    ~Busy() { fFlag = false; }

private:
    bool& fFlag;
};

/// Ctrl-C as the library's cancel query, and a callback that is told how many rows were done since its last call (the
/// update of a progress bar). Both are asked at most every 50 ms, and take the GIL for it.
class Watch : public MCCommon_930::MCQueryCancel {
public:
    explicit Watch(nb::object progress = nb::none()) : fProgress(std::move(progress)) {}

    bool CheckCancel() override
    {
        const nb::gil_scoped_acquire gil;
        if (PyErr_CheckSignals() == 0) return false;
        fError = std::make_unique<nb::python_error>();
        return true;
    }
    bool PeekCancel() override { return fError != nullptr; }

    /// Rows were done. True when the work shall stop.
    bool Stop(std::size_t rows)
    {
        fnRows += rows;
        const auto now = std::chrono::steady_clock::now();
        if (now - fLast >= std::chrono::milliseconds(50)) {
            fLast = now;
            Report();
            if (fError == nullptr) fCancel.IsCancel(); // latches in fError
        }
        return fError != nullptr;
    }

    /// Tells the rest to the callback and raises what stopped the work. The GIL is held.
    void Finish()
    {
        if (fError == nullptr) Report();
        if (fError != nullptr) {
            nb::python_error error = std::move(*fError);
            fError.reset();
            throw error;
        }
    }

private:
    void Report()
    {
        if (fProgress.is_none() || fnRows == 0) return;
        const nb::gil_scoped_acquire gil;
        try {
            fProgress(fnRows);
            fnRows = 0;
        } catch (nb::python_error& error) {
            fError = std::make_unique<nb::python_error>(std::move(error));
        }
    }

    nb::object fProgress;
    std::size_t fnRows = 0;
    std::chrono::steady_clock::time_point fLast = std::chrono::steady_clock::now();
    std::unique_ptr<nb::python_error> fError;
    MCMath_930::MCCancelInfo fCancel{this};
};

/// The JSON text of a state, exact to the bit.
inline std::string JsonText(const JsonObject& json)
{
    std::string text;
    json.ToText(text, false, JsonObject::AsText);
    return text;
}

/// Reads a state of the given class; raises ValueError when it is none.
inline JsonObject ParseState(const std::string& text, const char* className)
{
    JsonObject json;
    JsonObject::Problem problem;
    if (!JsonObject::Parse(text, json, &problem)) Refuse("not JSON: " + problem.GetText());
    if (json["class"].GetText() != className) Refuse(std::string("this is not the state of a ") + className);
    return json;
}

template <class T>
T Member(const JsonObject& json, const char* name)
{
    T value{};
    if (!json[name].Read(value)) Refuse(std::string("the state lacks '") + name + "'");
    return value;
}

/// A weight for each row; 1 for all of them takes no memory.
class WeightList {
public:
    WeightList() = default;
    explicit WeightList(std::vector<double> values) : fvValues(std::move(values)), fnStep(1) {}

    double operator[](std::size_t row) const { return fvValues[row * fnStep]; }
    /// The weights; a single one where all are 1.
    std::span<const double> Values() const { return fvValues; }

private:
    std::vector<double> fvValues{1.0};
    std::size_t fnStep = 0;
};

/// The weight of each row: the product of the two columns, 1 for one that is not given. Missing where one of them is.
/// Negative and infinite weights raise ValueError.
WeightList RowWeights(std::size_t rows, nb::handle frequency, nb::handle weight, WeightList* frequencies = nullptr);

void RegisterState(nb::module_& m);
void RegisterCrossProducts(nb::module_& m);
void RegisterExactProducts(nb::module_& m);
void RegisterPairwiseProducts(nb::module_& m);
void RegisterSummary(nb::module_& m);
void RegisterCategories(nb::module_& m);
void RegisterSymMatrix(nb::module_& m);
void RegisterSparseRows(nb::module_& m);
void RegisterStats(nb::module_& m);
void RegisterStatsNoncentral(nb::module_& m);
void RegisterRandom(nb::module_& m);
void RegisterFit(nb::module_& m);
void RegisterEncoders(nb::module_& m);
void RegisterCharts(nb::module_& m);
void RegisterStatXml(nb::module_& m);

} // namespace modelcore_python
