// Scalar functions of doubles as functions of arrays that broadcast.
#pragma once

#include "Common.h"

#include <array>
#include <cstring>
#include <utility>

namespace modelcore_python {

/// Where the values of one argument of a loop are.
struct Operand {
    const char* data;
    std::ptrdiff_t stride; // in bytes; 0 repeats one value
};

/// Calls the function for count elements; results are as the function gives them, system-missing included.
using LoopFunction = void (*)(const Operand* operands, std::size_t count, double* out);

/// A function of numbers with another that does whole arrays, for when every argument after the first is one number:
/// Array(x, out, count, further...), which gives the same bits. x and out may be the same.
template <class Scalar, class Array>
struct WithArrays : Scalar {
    WithArrays() = default;
    WithArrays(Scalar, Array) {}
    using ArrayFunction = Array;
};

template <class Function, std::size_t... I>
void LoopOver(const Operand* operands, std::size_t count, double* out, std::index_sequence<I...>)
{
    const Function function;
    if constexpr (requires { typename Function::ArrayFunction; }) {
        const bool stays = ((I == 0 || operands[I].stride == 0) && ...);
        if (count > 1 && stays) {
            double x[sizeof...(I)];
            ((std::memcpy(&x[I], operands[I].data, sizeof(double))), ...);
            for (std::size_t k = 0; k < count; ++k) // gathered there, since the first argument may be strided
                std::memcpy(&out[k], operands[0].data + static_cast<std::ptrdiff_t>(k) * operands[0].stride,
                            sizeof(double));
            [&]<std::size_t... J>(std::index_sequence<J...>)
            {
                typename Function::ArrayFunction{}(out, out, count, x[J + 1]...);
            }
            (std::make_index_sequence<sizeof...(I) - 1>{});
            return;
        }
    }
    std::array<Operand, sizeof...(I)> at{operands[I]...};
    for (std::size_t k = 0; k < count; ++k) {
        double x[sizeof...(I)];
        for (std::size_t i = 0; i < sizeof...(I); ++i) {
            std::memcpy(&x[i], at[i].data, sizeof(double));
            at[i].data += at[i].stride;
        }
        out[k] = function(x[I]...);
    }
}

template <class Function, std::size_t N>
void Loop(const Operand* operands, std::size_t count, double* out)
{
    LoopOver<Function>(operands, count, out, std::make_index_sequence<N>{});
}

/// A float when all arguments are scalars, else an array of the shape they broadcast to. A result that does not exist is
/// NaN, and with raise a ValueError, unless an argument is NaN. Long calls let other threads run and can be stopped.
nb::object Apply(const char* name, LoopFunction loop, const nb::handle* arguments, std::size_t count, bool raise);

template <std::size_t N, class Function, class... Arguments>
void DefineFunction(nb::module_& m, const char* name, Function, const char* doc, const Arguments&... arguments)
{
    static_assert(sizeof...(Arguments) == N);
    const auto define = [&]<std::size_t... I>(std::index_sequence<I...>)
    {
        m.def(
            name,
            [name]<class... Handles>(std::type_identity<std::tuple<Handles...>>) {
                return [name](Handles... x, bool raise) {
                    const nb::handle handles[] = {x...};
                    return nb::borrow<ArrayLike>(Apply(name, &Loop<Function, N>, handles, N, raise));
                };
            }(std::type_identity<std::tuple<std::conditional_t<(I >= 0), ArrayLike, void>...>>{}),
            arguments..., nb::kw_only(), nb::arg("raise_errors") = false, doc);
    };
    define(std::make_index_sequence<N>{});
}

} // namespace modelcore_python
