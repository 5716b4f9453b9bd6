// Broadcasting.
#include "Vectorize.h"

#include <algorithm>
#include <cmath>

namespace modelcore_python {

namespace {

constexpr std::size_t kMost = 4;

struct Argument {
    nb::object array; // keeps the memory
    HeldBuffer buffer;
};

bool IsPlainNumber(nb::handle x)
{
    return PyFloat_CheckExact(x.ptr()) || PyLong_CheckExact(x.ptr());
}

double MissingAsNaN(double x)
{
    return MCCommon_930::MCMV::IsMissing(x) ? kNaN : x;
}

/// Turns missing results into NaN; with raise, the first that no NaN argument explains is an error.
/// Returns its place, or count.
std::size_t Settle(const Operand* operands, std::size_t arguments, std::size_t count, double* out)
{
    std::size_t fault = count;
    for (std::size_t k = 0; k < count; ++k) {
        if (!MCCommon_930::MCMV::IsMissing(out[k])) continue;
        out[k] = kNaN;
        bool explained = false;
        for (std::size_t i = 0; i < arguments; ++i) {
            double x;
            std::memcpy(&x, operands[i].data + static_cast<std::ptrdiff_t>(k) * operands[i].stride, sizeof(double));
            explained = explained || std::isnan(MissingAsNaN(x));
        }
        if (!explained) fault = std::min(fault, k);
    }
    return fault;
}

[[noreturn]] void RaiseFault(const char* name)
{
    Refuse(std::string(name) + ": an argument is outside the domain, or the result does not exist");
}

} // namespace

nb::object Apply(const char* name, LoopFunction loop, const nb::handle* handles, std::size_t count, bool raise)
{
    double scalars[kMost];
    Operand operands[kMost];
    bool allScalars = true;
    for (std::size_t i = 0; i < count; ++i) {
        operands[i] = {reinterpret_cast<const char*>(&scalars[i]), 0};
        if (!IsPlainNumber(handles[i])) {
            allScalars = false;
            continue;
        }
        scalars[i] = PyFloat_AsDouble(handles[i].ptr());
        if (scalars[i] == -1.0 && PyErr_Occurred() != nullptr) throw nb::python_error();
    }
    if (allScalars) {
        double out = 0.0;
        loop(operands, 1, &out);
        if (Settle(operands, count, 1, &out) == 0 && raise) RaiseFault(name);
        return nb::float_(out);
    }

    Argument arguments[kMost];
    std::vector<std::size_t> shape;
    for (std::size_t i = 0; i < count; ++i) {
        if (IsPlainNumber(handles[i])) continue;
        HeldBuffer& buffer = arguments[i].buffer;
        arguments[i].array = NumericArray(handles[i], buffer);
        const auto dimensions = static_cast<std::size_t>(buffer.view.ndim);
        if (dimensions > shape.size()) shape.insert(shape.begin(), dimensions - shape.size(), 1);
        for (std::size_t d = 0; d < dimensions; ++d) {
            const auto size = static_cast<std::size_t>(buffer.view.shape[d]);
            std::size_t& wanted = shape[shape.size() - dimensions + d];
            if (wanted == 1)
                wanted = size;
            else if (size != 1 && size != wanted)
                Refuse(std::string(name) + ": the shapes do not broadcast");
        }
    }

    const std::size_t dimensions = shape.size();
    std::vector<std::array<std::ptrdiff_t, kMost>> strides(dimensions, std::array<std::ptrdiff_t, kMost>{});
    std::size_t total = 1;
    for (const std::size_t size : shape) total *= size;
    for (std::size_t i = 0; i < count; ++i) {
        const Py_buffer& view = arguments[i].buffer.view;
        if (!arguments[i].buffer.held) continue;
        operands[i].data = static_cast<const char*>(view.buf);
        const std::size_t own = static_cast<std::size_t>(view.ndim);
        for (std::size_t d = 0; d < own; ++d)
            if (view.shape[d] != 1) strides[dimensions - own + d][i] = view.strides[d];
    }
    double* out = nullptr;
    Array result = NewArray(shape, out);
    if (total == 0) return result;

    // Neighbouring dimensions that every argument walks through evenly are one.
    std::vector<std::size_t> sizes;
    std::vector<std::array<std::ptrdiff_t, kMost>> steps;
    for (std::size_t d = 0; d < dimensions; ++d) {
        bool joins = !sizes.empty();
        for (std::size_t i = 0; joins && i < count; ++i)
            joins = steps.back()[i] == strides[d][i] * static_cast<std::ptrdiff_t>(shape[d]);
        if (joins) {
            sizes.back() *= shape[d];
            steps.back() = strides[d];
        } else {
            sizes.push_back(shape[d]);
            steps.push_back(strides[d]);
        }
    }
    if (sizes.empty()) { // arrays without dimensions
        sizes.push_back(1);
        steps.emplace_back();
    }

    std::size_t fault = total;
    Watch watch;
    const auto run = [&](bool watched) {
        constexpr std::size_t kChunk = 1024;
        const std::size_t inner = sizes.back();
        std::vector<std::size_t> at(sizes.size() - 1, 0);
        for (std::size_t done = 0; done < total;) {
            Operand row[kMost];
            for (std::size_t i = 0; i < count; ++i) {
                row[i] = {operands[i].data, steps.back()[i]};
                for (std::size_t d = 0; d < at.size(); ++d)
                    row[i].data += static_cast<std::ptrdiff_t>(at[d]) * steps[d][i];
            }
            for (std::size_t first = 0; first < inner; first += kChunk) {
                const std::size_t here = std::min(kChunk, inner - first);
                loop(row, here, out + done);
                const std::size_t found = Settle(row, count, here, out + done);
                if (found < here) fault = std::min(fault, done + found);
                done += here;
                for (std::size_t i = 0; i < count; ++i)
                    row[i].data += static_cast<std::ptrdiff_t>(here) * row[i].stride;
                if (watched && watch.Stop(here)) return;
            }
            for (std::size_t d = at.size(); d-- > 0;) {
                if (++at[d] < sizes[d]) break;
                at[d] = 0;
            }
        }
    };
    if (total < 1000) {
        run(false);
    } else {
        const nb::gil_scoped_release release;
        run(true);
    }
    watch.Finish();
    if (raise && fault < total) RaiseFault(name);
    return result;
}

} // namespace modelcore_python
