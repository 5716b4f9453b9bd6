// The formula of a model: "y ~ x + f + x:f".
#pragma once

#include <compare>
#include <functional>
#include <string>
#include <vector>

namespace procedure {

/// A column in a term, raised to a power.
struct FormulaPart {
    std::string name;
    int power = 1;

    auto operator<=>(const FormulaPart&) const = default;
};

/// A product of columns; without any it is the constant.
using FormulaTerm = std::vector<FormulaPart>;

struct Formula {
    std::string target;
    bool intercept = true;
    std::vector<FormulaTerm> terms; ///< those of fewer columns first, else as written; without the constant

    /// "x:f", "x^2"
    static std::string NameOf(const FormulaTerm& term);
};

/// Reads a formula.
///
///     a + b    both terms                      a:b      the product of both
///     a * b    a + b + a:b                     x^2      the square of a column
///     (a + b + c)^2   the terms, and the products of up to two of them
///     - a      takes a term away; - 1 and + 0 the intercept
///     .        all columns without another role, one term each
///
/// Names stand as they are, or between quotes (", ' or `) when they have other characters than letters, digits, points,
/// underscores and bytes above 127. A column counts once in a product: a:a is a.
///
/// @param allOthers  gives the columns that a point stands for, for a target
/// @throw Failure    for a text that is no formula, with the place
Formula ParseFormula(const std::string& text,
                     const std::function<std::vector<std::string>(const std::string& target)>& allOthers);

} // namespace procedure
