#pragma once
// Pictures of fuzzy sets: the text plot that the engine prints on a logical
// stream, and an SVG drawing of the terms of a variable for a browser or a
// document.

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "cogent/fuzzy/VXFuzzyLogic.h"

namespace cogent {

// ---------------------------------------------------------------- text plot

// The plot is a grid of this many columns and of rows 0 to FuzzyPlotRows.
inline constexpr int FuzzyPlotColumns = 50;
inline constexpr int FuzzyPlotRows = 20;
inline constexpr const char* FuzzyPlotAxis = "    |----|----|----|----|----|----|----|----|----|----|";
inline constexpr const char* FuzzyPlotTicks = "%7.2f %9.2f %9.2f %9.2f %9.2f %9.2f";
inline constexpr const char* FuzzyPlotUniverse = "Universe of Discourse: From %0.2f to %.2f";
// Stands in for plot characters that are not given at all.
inline constexpr char32_t FuzzyPlotDefaultChar = U'*';

// The lines of a text plot of Sets between Low and High, each without a line
// end, as the engine hands them one by one to its output. Set i is drawn with
// code point i of PlotChars, the last one for every set beyond it; column c
// (1 to 50) shows x = Low + (c - 1) * (High - Low) / 50, and the character
// goes into row Round(20 * min(y, 1)), halves to even, where a later set
// overwrites an earlier one. A membership below 0 (or not a number) is drawn
// in row 0. With Low = High every column shows the same x, a flat line at
// the membership there; Low above High draws the universe backwards.
// Variable, when given, names the plot and its universe. Nil sets are
// skipped.
std::vector<std::string> FuzzyPlotLines(const std::vector<IFuzzySet>& Sets, const TFuzzyVariable* Variable,
                                        TFzyFloat Low, TFzyFloat High, const std::string& PlotChars);

// The limits of a plot from the limits asked for, where given: with a
// variable a given Low is raised to the low end of its universe and a given
// High lowered to the high end, and a limit not given is that end itself.
// Without a variable a given limit stands as it is, and one not given is the
// least or the greatest x of the points of the sets (0 and 1 when they have
// none). Nil sets are skipped.
void FuzzyPlotLimits(const std::vector<IFuzzySet>& Sets, const TFuzzyVariable* Variable,
                     std::optional<TFzyFloat> Low, std::optional<TFzyFloat> High, TFzyFloat& PlotLow,
                     TFzyFloat& PlotHigh);

// ---------------------------------------------------------------- SVG

// What a picture shows besides the sets: the universe along the x axis, its
// units under it, and a title above.
struct TFuzzyPictureAxis {
  TFzyFloat Low = 0.0;
  TFzyFloat High = 1.0;
  std::string Units;
  std::string Title;
};

// The geometry of a picture, in SVG user units: the plot area lies between
// Left and Right, membership 1 at Top and 0 at Bottom; the legend stands to
// the right of it, and the picture grows taller for a legend of many sets.
struct TFuzzyPictureLayout {
  static constexpr double Width = 640.0;
  static constexpr double Height = 400.0;
  static constexpr double Left = 70.0;
  static constexpr double Right = 470.0;
  static constexpr double Top = 50.0;
  static constexpr double Bottom = 330.0;
};

// The colours of the sets, by position, from the first again after the last.
inline constexpr const char* FuzzyPicturePalette[] = {"#1f77b4", "#d62728", "#2ca02c", "#ff7f0e", "#9467bd",
                                                      "#8c564b", "#e377c2", "#7f7f7f", "#bcbd22", "#17becf"};

// The universe a picture really spans: limits that are no finite numbers
// give 0 to 1, limits the wrong way round are swapped, and a universe of no
// width is widened by 1 on either side, so that mapping never divides by 0.
void FuzzyPictureRange(TFzyFloat Low, TFzyFloat High, TFzyFloat& From, TFzyFloat& To) noexcept;
// The curve of Set over From..To as points: the set's own points inside the
// universe, with the curve cut where it leaves it and its flat ends drawn
// out to the limits. Edges of equal x stay vertical; memberships are bounded
// to 0..1. A set without points is 0 from From to To.
TFuzzyPoints FuzzyPictureCurve(const TFuzzySet& Set, TFzyFloat From, TFzyFloat To);
// A point of a curve in picture coordinates.
double FuzzyPictureX(TFzyFloat X, TFzyFloat From, TFzyFloat To) noexcept;
double FuzzyPictureY(TFzyFloat Y) noexcept;

// Text as XML character data or an attribute value: markup characters and
// quotes as entities, control characters that XML cannot hold and invalid
// UTF-8 as U+FFFD.
std::string XMLEscape(const std::string& Text);

// An SVG document with the axes, the universe's limits and units, the
// membership axis from 0 to 1, and each set as a polyline in its colour of
// the palette with its name in the legend. Nil sets are skipped.
void WriteFuzzySetsSVG(std::ostream& Out, const std::vector<IFuzzySet>& Sets, const TFuzzyPictureAxis& Axis);
// The terms of a variable over its universe, titled with its name.
void WriteFuzzyVariableSVG(std::ostream& Out, const TFuzzyVariable& Variable);
std::string FuzzyVariableToSVG(const TFuzzyVariable& Variable);

// Writes the picture of the variable to FileName, replacing what is there
// at once: the picture goes to a scratch file beside it first, which is
// renamed over it when whole. Raises EInOutError when the system refuses.
void SaveFuzzyVariableSVG(const std::string& FileName, const TFuzzyVariable& Variable);
// One picture per variable in Dir, made when missing: NAME.svg, with the
// characters of the name that a file name should not hold as "_", and
// "-2", "-3", ... after a name already taken (letter case aside). Gives the
// paths written, in the order of Variables; nil variables are skipped.
std::vector<std::string> SaveFuzzyVariableSVGs(const std::string& Dir, const std::vector<IFuzzyVariable>& Variables);

}  // namespace cogent
