#include "cogent/fuzzy/VXFuzzyPlot.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <sstream>
#include <utility>

#include "cogent/host/Rounding.h"
#include "cogent/host/SysUtils.h"

namespace cogent {

namespace {

// ---------------------------------------------------------------- text plot

std::u32string PlotCharacters(const std::string& PlotChars) {
  std::u32string Result = UTF8ToUTF32(PlotChars);
  if (Result.empty()) Result.push_back(FuzzyPlotDefaultChar);
  return Result;
}

// The row of a membership: NaN and anything below 0 go to the bottom row,
// anything from 1 up to the top one.
int PlotRow(TFzyFloat Y) noexcept {
  if (!(Y > 0.0)) return 0;
  const double Row = RoundHalfToEven(static_cast<double>(FuzzyPlotRows) * std::min(Y, 1.0));
  return static_cast<int>(std::clamp(Row, 0.0, static_cast<double>(FuzzyPlotRows)));
}

// ---------------------------------------------------------------- SVG

using TLayout = TFuzzyPictureLayout;

std::string Coordinate(double Value) { return Format("%.2f", Value); }

// A number of the universe as a label: six significant digits at most, and
// a value that only rounding keeps from 0 shown as 0.
std::string AxisNumber(double Value, double Span) {
  if (std::fabs(Value) < std::fabs(Span) * 1e-9) Value = 0.0;
  return Format("%.6g", Value);
}

void Text(std::ostream& Out, const char* Class, double X, double Y, const char* Anchor, const std::string& Content,
          const std::string& Extra = {}) {
  Out << "  <text class=\"" << Class << "\" x=\"" << Coordinate(X) << "\" y=\"" << Coordinate(Y)
      << "\" text-anchor=\"" << Anchor << '"' << Extra << '>' << XMLEscape(Content) << "</text>\n";
}

void Line(std::ostream& Out, const char* Class, double X1, double Y1, double X2, double Y2,
          const std::string& Extra = {}) {
  Out << "  <line class=\"" << Class << "\" x1=\"" << Coordinate(X1) << "\" y1=\"" << Coordinate(Y1) << "\" x2=\""
      << Coordinate(X2) << "\" y2=\"" << Coordinate(Y2) << '"' << Extra << "/>\n";
}

// A file name from a variable's name: what could leave the folder, hide the
// file or trouble a shell or another system becomes "_".
std::string FileBaseName(const std::string& Name) {
  std::string Result;
  for (const char C : Name) {
    const auto U = static_cast<unsigned char>(C);
    const bool Keep = U >= 0x80 || (C >= 'a' && C <= 'z') || (C >= 'A' && C <= 'Z') || (C >= '0' && C <= '9') ||
                      C == '-' || C == '_' || (C == '.' && !Result.empty());
    Result += Keep ? C : '_';
  }
  return Result.empty() ? std::string("fuzzy") : Result;
}

}  // namespace

// ---------------------------------------------------------------- text plot

std::vector<std::string> FuzzyPlotLines(const std::vector<IFuzzySet>& Sets, const TFuzzyVariable* Variable,
                                         TFzyFloat Low, TFzyFloat High, const std::string& PlotChars) {
  const std::u32string Chars = PlotCharacters(PlotChars);
  std::vector<std::u32string> Grid(FuzzyPlotRows + 1, std::u32string(FuzzyPlotColumns, U' '));
  const TFzyFloat Step = (High - Low) / FuzzyPlotColumns;
  std::string Legend;
  std::size_t Index = 0;
  for (const IFuzzySet& Set : Sets) {
    if (!Set) continue;
    const char32_t Char = Chars[std::min(Index, Chars.size() - 1)];
    ++Index;
    Legend += ' ';
    Legend += Set->GetName();
    Legend += '(';
    UTF8Append(Legend, Char);
    Legend += ')';
    TFzyFloat X = Low;
    for (int Column = 0; Column < FuzzyPlotColumns; ++Column, X += Step)
      Grid[static_cast<std::size_t>(PlotRow(Set->DegreeOfMembership(X)))][static_cast<std::size_t>(Column)] = Char;
  }

  std::vector<std::string> Lines;
  if (Variable) Lines.push_back("Fuzzy Variable: " + Variable->GetName());
  Lines.push_back("Fuzzy Values:" + Legend);
  Lines.emplace_back();
  for (int Row = FuzzyPlotRows; Row >= 0; --Row)
    Lines.push_back(Format(FuzzyFormatStr, static_cast<double>(Row) / FuzzyPlotRows) +
                    UTF32ToUTF8(Grid[static_cast<std::size_t>(Row)]));
  Lines.emplace_back(FuzzyPlotAxis);
  const TFzyFloat Tick = (High - Low) / 5;
  Lines.push_back(Format(FuzzyPlotTicks, Low, Low + Tick, Low + 2 * Tick, Low + 3 * Tick, Low + 4 * Tick, High));
  Lines.emplace_back();
  if (Variable) Lines.push_back(Format(FuzzyPlotUniverse, Variable->GetUniverseLow(), Variable->GetUniverseHigh()));
  return Lines;
}

void FuzzyPlotLimits(const std::vector<IFuzzySet>& Sets, const TFuzzyVariable* Variable,
                     std::optional<TFzyFloat> Low, std::optional<TFzyFloat> High, TFzyFloat& PlotLow,
                     TFzyFloat& PlotHigh) {
  if (Variable) {
    PlotLow = Low ? std::max(*Low, Variable->GetUniverseLow()) : Variable->GetUniverseLow();
    PlotHigh = High ? std::min(*High, Variable->GetUniverseHigh()) : Variable->GetUniverseHigh();
    return;
  }
  bool HavePoints = false;
  TFzyFloat Least = 0.0;
  TFzyFloat Greatest = 1.0;
  for (const IFuzzySet& Set : Sets) {
    if (!Set || Set->GetPointCount() == 0) continue;
    // The points are sorted by x.
    const TFzyFloat First = Set->GetPoints().front().X;
    const TFzyFloat Last = Set->GetPoints().back().X;
    Least = HavePoints ? std::min(Least, First) : First;
    Greatest = HavePoints ? std::max(Greatest, Last) : Last;
    HavePoints = true;
  }
  PlotLow = Low ? *Low : Least;
  PlotHigh = High ? *High : Greatest;
}

// ---------------------------------------------------------------- geometry

void FuzzyPictureRange(TFzyFloat Low, TFzyFloat High, TFzyFloat& From, TFzyFloat& To) noexcept {
  if (!std::isfinite(Low) || !std::isfinite(High)) {
    From = 0.0;
    To = 1.0;
    return;
  }
  From = std::min(Low, High);
  To = std::max(Low, High);
  // A span that overflows or that rounding swallows cannot be divided by.
  if (!(std::isfinite(To - From) && To - From > 0.0 && From + (To - From) / 2 > From)) {
    From -= 1.0;
    To += 1.0;
    if (!(To > From)) {
      From = 0.0;
      To = 1.0;
    }
  }
}

TFuzzyPoints FuzzyPictureCurve(const TFuzzySet& Set, TFzyFloat From, TFzyFloat To) {
  const TFuzzyPoints& Points = Set.GetPoints();
  if (Points.empty()) return {{From, 0.0}, {To, 0.0}};
  // The curve keeps its first y to the left and its last y to the right.
  TFuzzyPoints Curve;
  Curve.reserve(Points.size() + 2);
  Curve.push_back({std::min(From, Points.front().X), Points.front().Y});
  Curve.insert(Curve.end(), Points.begin(), Points.end());
  Curve.push_back({std::max(To, Points.back().X), Points.back().Y});

  TFuzzyPoints Result;
  const auto Add = [&Result](TFzyFloat X, TFzyFloat Y) {
    const TFuzzyPoint Point{X, std::clamp(Y, 0.0, 1.0)};
    if (Result.empty() || !(Result.back() == Point)) Result.push_back(Point);
  };
  const auto Cut = [](const TFuzzyPoint& A, const TFuzzyPoint& B, TFzyFloat X) {
    return A.Y + (B.Y - A.Y) * ((X - A.X) / (B.X - A.X));
  };
  for (std::size_t I = 0; I < Curve.size(); ++I) {
    const TFuzzyPoint& P = Curve[I];
    if (I > 0) {
      const TFuzzyPoint& Previous = Curve[I - 1];
      if (Previous.X < From && P.X > From) Add(From, Cut(Previous, P, From));
      if (Previous.X < To && P.X > To) Add(To, Cut(Previous, P, To));
    }
    if (P.X >= From && P.X <= To) Add(P.X, P.Y);
  }
  return Result;
}

double FuzzyPictureX(TFzyFloat X, TFzyFloat From, TFzyFloat To) noexcept {
  const double Fraction = std::clamp((X - From) / (To - From), 0.0, 1.0);
  return TLayout::Left + Fraction * (TLayout::Right - TLayout::Left);
}

double FuzzyPictureY(TFzyFloat Y) noexcept {
  const double Membership = std::isnan(Y) ? 0.0 : std::clamp(Y, 0.0, 1.0);
  return TLayout::Bottom - Membership * (TLayout::Bottom - TLayout::Top);
}

// ---------------------------------------------------------------- SVG

std::string XMLEscape(const std::string& Text) {
  std::string Result;
  Result.reserve(Text.size());
  std::size_t Pos = 0;
  while (Pos < Text.size()) {
    char32_t C = UTF8Decode(Text, Pos);
    switch (C) {
      case U'&': Result += "&amp;"; continue;
      case U'<': Result += "&lt;"; continue;
      case U'>': Result += "&gt;"; continue;
      case U'"': Result += "&quot;"; continue;
      case U'\'': Result += "&apos;"; continue;
      // As references, so that an attribute value keeps them.
      case U'\t': Result += "&#9;"; continue;
      case U'\n': Result += "&#10;"; continue;
      case U'\r': Result += "&#13;"; continue;
      default: break;
    }
    if (C < 0x20 || (C >= 0xD800 && C <= 0xDFFF) || C == 0xFFFE || C == 0xFFFF || C > 0x10FFFF) C = 0xFFFD;
    UTF8Append(Result, C);
  }
  return Result;
}

namespace {

// The sets by plain pointer: their owners hold them while the picture is
// written.
void WriteSVG(std::ostream& Out, const std::vector<const TFuzzySet*>& Sets, const TFuzzyPictureAxis& Axis) {
  TFzyFloat From;
  TFzyFloat To;
  FuzzyPictureRange(Axis.Low, Axis.High, From, To);
  const double MidX = (TLayout::Left + TLayout::Right) / 2;
  // A long legend makes the picture taller rather than leave it.
  const double Height =
      std::max(TLayout::Height, TLayout::Top + 10 + static_cast<double>(Sets.size()) * 20 + 10);

  Out << "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      << "<svg xmlns=\"http://www.w3.org/2000/svg\" version=\"1.1\" width=\"" << Coordinate(TLayout::Width)
      << "\" height=\"" << Coordinate(Height) << "\" viewBox=\"0 0 " << Coordinate(TLayout::Width) << ' '
      << Coordinate(Height) << "\" font-family=\"sans-serif\" font-size=\"12\">\n"
      << "  <title>" << XMLEscape(Axis.Title) << "</title>\n"
      << "  <rect class=\"background\" x=\"0\" y=\"0\" width=\"" << Coordinate(TLayout::Width) << "\" height=\""
      << Coordinate(Height) << "\" fill=\"white\"/>\n";
  Text(Out, "title", TLayout::Width / 2, 28, "middle", Axis.Title, " font-size=\"16\"");

  // Membership from 0 at the bottom to 1 at the top, with a faint grid.
  Out << "  <g class=\"axes\" stroke=\"black\" stroke-width=\"1\">\n";
  for (int I = 0; I <= 4; ++I) {
    const double Y = FuzzyPictureY(I / 4.0);
    Line(Out, "grid", TLayout::Left, Y, TLayout::Right, Y, " stroke=\"#dddddd\"");
    Line(Out, "tick", TLayout::Left - 5, Y, TLayout::Left, Y);
  }
  for (int I = 0; I <= 5; ++I) {
    const double X = TLayout::Left + I * (TLayout::Right - TLayout::Left) / 5;
    Line(Out, "tick", X, TLayout::Bottom, X, TLayout::Bottom + 5);
  }
  Line(Out, "x-axis", TLayout::Left, TLayout::Bottom, TLayout::Right, TLayout::Bottom);
  Line(Out, "y-axis", TLayout::Left, TLayout::Bottom, TLayout::Left, TLayout::Top);
  Out << "  </g>\n";
  for (int I = 0; I <= 4; ++I)
    Text(Out, "y-label", TLayout::Left - 8, FuzzyPictureY(I / 4.0) + 4, "end", Format("%g", I / 4.0));
  // The first and the last label are the limits of the universe.
  for (int I = 0; I <= 5; ++I) {
    const double Value = I == 5 ? To : From + I * (To - From) / 5;
    Text(Out, "x-label", TLayout::Left + I * (TLayout::Right - TLayout::Left) / 5, TLayout::Bottom + 20, "middle",
         AxisNumber(Value, To - From));
  }
  if (!Axis.Units.empty()) Text(Out, "units", MidX, TLayout::Bottom + 42, "middle", Axis.Units);
  const double MidY = (TLayout::Top + TLayout::Bottom) / 2;
  Text(Out, "membership", 20, MidY, "middle", "membership",
       " transform=\"rotate(-90 20 " + Coordinate(MidY) + ")\"");

  std::size_t Index = 0;
  for (const TFuzzySet* Set : Sets) {
    const char* Colour = FuzzyPicturePalette[Index % std::size(FuzzyPicturePalette)];
    const double LegendY = TLayout::Top + 10 + static_cast<double>(Index) * 20;
    ++Index;
    Out << "  <g class=\"fuzzy-set\">\n  <title>" << XMLEscape(Set->GetName()) << "</title>\n"
        << "  <polyline class=\"curve\" fill=\"none\" stroke=\"" << Colour
        << "\" stroke-width=\"2\" stroke-linejoin=\"round\" points=\"";
    bool First = true;
    for (const TFuzzyPoint& P : FuzzyPictureCurve(*Set, From, To)) {
      Out << (First ? "" : " ") << Coordinate(FuzzyPictureX(P.X, From, To)) << ','
          << Coordinate(FuzzyPictureY(P.Y));
      First = false;
    }
    Out << "\"/>\n";
    Line(Out, "swatch", TLayout::Right + 20, LegendY, TLayout::Right + 44, LegendY,
         std::string(" stroke=\"") + Colour + "\" stroke-width=\"2\"");
    Text(Out, "legend", TLayout::Right + 50, LegendY + 4, "start", Set->GetName(),
         std::string(" fill=\"") + Colour + '"');
    Out << "  </g>\n";
  }
  Out << "</svg>\n";
}

}  // namespace

void WriteFuzzySetsSVG(std::ostream& Out, const std::vector<IFuzzySet>& Sets, const TFuzzyPictureAxis& Axis) {
  std::vector<const TFuzzySet*> Drawn;
  for (const IFuzzySet& Set : Sets)
    if (Set) Drawn.push_back(Set.get());
  WriteSVG(Out, Drawn, Axis);
}

void WriteFuzzyVariableSVG(std::ostream& Out, const TFuzzyVariable& Variable) {
  std::vector<const TFuzzySet*> Terms;
  for (std::int32_t I = 0; I < Variable.GetTermCount(); ++I)
    if (const IFuzzySet& Set = Variable.GetTerm(I); Set && Set->GetIsTerm()) Terms.push_back(Set.get());
  WriteSVG(Out, Terms,
                    {Variable.GetUniverseLow(), Variable.GetUniverseHigh(), Variable.GetUnits(), Variable.GetName()});
}

std::string FuzzyVariableToSVG(const TFuzzyVariable& Variable) {
  std::ostringstream Out;
  WriteFuzzyVariableSVG(Out, Variable);
  return Out.str();
}

// ---------------------------------------------------------------- files

void SaveFuzzyVariableSVG(const std::string& FileName, const TFuzzyVariable& Variable) {
  if (FileName.empty()) throw EInOutError(SPathEmpty);
  SaveFileReplacing(FileName, FuzzyVariableToSVG(Variable));
}

std::vector<std::string> SaveFuzzyVariableSVGs(const std::string& Dir, const std::vector<IFuzzyVariable>& Variables) {
  if (Dir.empty()) throw EInOutError(SPathEmpty);
  ForceDirectories(Dir);
  std::vector<std::string> Taken;
  std::vector<std::string> Written;
  for (const IFuzzyVariable& Variable : Variables) {
    if (!Variable) continue;
    const std::string Base = FileBaseName(Variable->GetName());
    std::string Name = Base;
    for (int Suffix = 2; std::find(Taken.begin(), Taken.end(), LowerCase(Name)) != Taken.end(); ++Suffix)
      Name = Base + "-" + IntToStr(Suffix);
    Taken.push_back(LowerCase(Name));
    const std::string FileName = IncludeTrailingPathDelimiter(Dir) + Name + ".svg";
    SaveFuzzyVariableSVG(FileName, *Variable);
    Written.push_back(FileName);
  }
  return Written;
}

}  // namespace cogent
