// A self-contained SVG picture, element by element.
#pragma once

#include "modelcore/modelcore.h"

#include <memory>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace procedure {

/// The colours of all pictures. Blue and orange differ for the colour-blind, and in lightness, so in grey as well.
namespace colours {
inline constexpr const char* kInk = "#222222";
inline constexpr const char* kSoftInk = "#555555";
inline constexpr const char* kGrid = "#e3e6ea";
inline constexpr const char* kAxisLine = "#8a9099";
inline constexpr const char* kBlue = "#1f5fa8";
inline constexpr const char* kPaleBlue = "#b9cbe0";
inline constexpr const char* kOrange = "#d1603d";
inline constexpr const char* kGrey = "#6f7680";
} // namespace colours

/// A picture of a given size in units of its own; a later figure lies over an earlier one. It needs nothing but itself:
/// no fonts, scripts or style sheets.
class Svg {
public:
    using Attributes = std::vector<std::pair<const char*, std::string>>;

    /// @param title  what a reader that cannot see is told
    Svg(double width, double height, const std::string& title);

    void Text(double left, double top, const std::string& text, double size, const char* colour,
              const Attributes& more = {}) const;
    /// @param dashes  lengths of dashes and gaps; empty: solid
    void Path(const std::vector<std::pair<double, double>>& points, const char* colour, double width,
              const char* dashes = "") const;
    void Rectangle(double left, double top, double width, double height, const char* colour) const;
    void Circle(double left, double top, double radius, const char* colour, const char* edge) const;

    void Write(std::ostream& out) const;

    /// About how wide a text is: fonts differ.
    static double TextWidth(const std::string& text, double size);
    /// The text cut so that it is about that wide at most, with three points behind what is left.
    static std::string Cut(const std::string& text, double size, double width);
    /// A place in the picture: hundredths are finer than any screen shows.
    static std::string At(double place);

private:
    MCXML_930::XMLElement& Add(const char* name, const Attributes& attributes) const;

    std::unique_ptr<MCXML_930::XMLElement> fRoot;
};

} // namespace procedure
