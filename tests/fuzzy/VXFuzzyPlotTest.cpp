// GCC 12 takes the release of a counted handle in a destroyed vector for a
// delete at an offset into the object, the counted base not being the first
// base; the sanitized build checks that the objects are freed whole. The
// warning is placed in the header, so this stands before the includes.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wfree-nonheap-object"
#endif

#include "cogent/fuzzy/VXFuzzyPlot.h"

#include <gtest/gtest.h>

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "cogent/host/SysUtils.h"

using namespace cogent;

namespace {

// ---------------------------------------------------------------- a small XML reader

// Enough XML to read a picture back: a declaration, comments, elements,
// attributes, character data and the predefined and numeric entities.
// Anything malformed raises.
struct TXMLElement {
  std::string Name;
  std::map<std::string, std::string> Attributes;
  std::string Text;  // the character data directly inside, entities decoded
  std::vector<std::unique_ptr<TXMLElement>> Children;

  std::string Attr(const std::string& Key) const {
    const auto It = Attributes.find(Key);
    if (It == Attributes.end()) throw std::runtime_error("no attribute " + Key + " on " + Name);
    return It->second;
  }
  std::vector<const TXMLElement*> All(const std::string& Tag, const std::string& Class = {}) const {
    std::vector<const TXMLElement*> Found;
    Collect(Tag, Class, Found);
    return Found;
  }
  void Collect(const std::string& Tag, const std::string& Class, std::vector<const TXMLElement*>& Found) const {
    for (const auto& Child : Children) {
      const auto It = Child->Attributes.find("class");
      if (Child->Name == Tag && (Class.empty() || (It != Child->Attributes.end() && It->second == Class)))
        Found.push_back(Child.get());
      Child->Collect(Tag, Class, Found);
    }
  }
};

class TXMLReader {
public:
  explicit TXMLReader(std::string AText) : FText(std::move(AText)) {}

  std::unique_ptr<TXMLElement> Document() {
    if (FText.compare(0, 5, "<?xml") == 0) Skip("?>");
    Misc();
    auto Root = Element();
    Misc();
    if (FPos != FText.size()) Fail("content after the root element");
    return Root;
  }

private:
  [[noreturn]] void Fail(const std::string& What) const {
    throw std::runtime_error(What + " at " + std::to_string(FPos));
  }
  bool At(const char* S) const { return FText.compare(FPos, std::char_traits<char>::length(S), S) == 0; }
  char Peek() const { return FPos < FText.size() ? FText[FPos] : '\0'; }
  void Skip(const char* End) {
    const auto Found = FText.find(End, FPos);
    if (Found == std::string::npos) Fail(std::string("missing ") + End);
    FPos = Found + std::char_traits<char>::length(End);
  }
  void Blanks() {
    while (Peek() == ' ' || Peek() == '\n' || Peek() == '\t' || Peek() == '\r') ++FPos;
  }
  void Misc() {
    for (Blanks(); At("<!--"); Blanks()) Skip("-->");
  }
  static bool NameChar(char C) {
    return std::isalnum(static_cast<unsigned char>(C)) || C == '-' || C == '_' || C == ':' || C == '.';
  }
  std::string Name() {
    const std::size_t Start = FPos;
    if (!std::isalpha(static_cast<unsigned char>(Peek())) && Peek() != '_') Fail("name expected");
    while (NameChar(Peek())) ++FPos;
    return FText.substr(Start, FPos - Start);
  }
  std::string Entity() {
    const auto End = FText.find(';', FPos);
    if (End == std::string::npos || End - FPos > 10) Fail("unterminated entity");
    const std::string Body = FText.substr(FPos + 1, End - FPos - 1);
    FPos = End + 1;
    static const std::map<std::string, std::string> Named{
        {"amp", "&"}, {"lt", "<"}, {"gt", ">"}, {"quot", "\""}, {"apos", "'"}};
    if (const auto It = Named.find(Body); It != Named.end()) return It->second;
    if (Body.size() > 1 && Body[0] == '#') {
      const bool Hex = Body[1] == 'x';
      const std::string Digits = Body.substr(Hex ? 2 : 1);
      if (Digits.empty() || Digits.find_first_not_of(Hex ? "0123456789abcdefABCDEF" : "0123456789") !=
                                std::string::npos)
        Fail("bad character reference");
      const unsigned long Code = std::stoul(Digits, nullptr, Hex ? 16 : 10);
      if (Code == 0 || Code > 0x10FFFF) Fail("bad character reference");
      std::string Result;
      UTF8Append(Result, static_cast<char32_t>(Code));
      return Result;
    }
    Fail("unknown entity &" + Body + ";");
  }
  std::unique_ptr<TXMLElement> Element() {
    if (Peek() != '<') Fail("element expected");
    ++FPos;
    auto Result = std::make_unique<TXMLElement>();
    Result->Name = Name();
    for (;;) {
      const std::size_t Before = FPos;
      Blanks();
      if (At("/>")) {
        FPos += 2;
        return Result;
      }
      if (Peek() == '>') {
        ++FPos;
        break;
      }
      if (FPos == Before) Fail("blank expected before an attribute");
      const std::string Key = Name();
      Blanks();
      if (Peek() != '=') Fail("= expected");
      ++FPos;
      Blanks();
      const char Quote = Peek();
      if (Quote != '"' && Quote != '\'') Fail("quoted value expected");
      ++FPos;
      std::string Value;
      while (Peek() != Quote) {
        if (Peek() == '\0' || Peek() == '<') Fail("bad attribute value");
        if (Peek() == '&')
          Value += Entity();
        else
          Value += FText[FPos++];
      }
      ++FPos;
      if (!Result->Attributes.emplace(Key, Value).second) Fail("duplicate attribute " + Key);
    }
    for (;;) {
      if (FPos >= FText.size()) Fail("unclosed element " + Result->Name);
      if (At("</")) {
        FPos += 2;
        if (Name() != Result->Name) Fail("mismatched end tag of " + Result->Name);
        Blanks();
        if (Peek() != '>') Fail("> expected");
        ++FPos;
        return Result;
      }
      if (At("<!--"))
        Skip("-->");
      else if (Peek() == '<')
        Result->Children.push_back(Element());
      else if (Peek() == '&')
        Result->Text += Entity();
      else if (Peek() == '>')
        Fail("> in character data");
      else
        Result->Text += FText[FPos++];
    }
  }

  std::string FText;
  std::size_t FPos = 0;
};

std::unique_ptr<TXMLElement> ReadXML(const std::string& Text) { return TXMLReader(Text).Document(); }

// ---------------------------------------------------------------- fixtures

IFuzzySet MakeSet(const std::string& Name, std::initializer_list<TFuzzyPoint> Points,
                  TFuzzyVariable* Variable = nullptr) {
  IFuzzySet Set(new TFuzzySet(Variable, Name));
  for (const TFuzzyPoint& P : Points) Set->AddPoint(P.X, P.Y);
  return Set;
}

// Memberships below 0 or above 1, which the library refuses from callers,
// given by a subclass of its own: pictures must stay in bounds all the same.
class TUncheckedFuzzySet : public TFuzzySet {
public:
  TUncheckedFuzzySet(const std::string& Name, TFuzzyPoints Points)
      : TFuzzySet(static_cast<TFuzzyVariable*>(nullptr), Name) {
    DoSetPoints(std::move(Points), fstCustom);
  }
};

IFuzzySet MakeUncheckedSet(const std::string& Name, TFuzzyPoints Points) {
  return IFuzzySet(new TUncheckedFuzzySet(Name, std::move(Points)));
}

IFuzzyVariable MakeVariable(const std::string& Name) {
  return IFuzzyVariable(new TFuzzyVariable(Name));
}

std::string Row(const std::string& Label, const std::string& Cells) {
  return Label + Cells + std::string(50 - UTF8Length(Cells), ' ');
}

std::vector<TFuzzyPoint> ParsePoints(const std::string& Text) {
  std::vector<TFuzzyPoint> Points;
  std::istringstream In(Text);
  std::string Pair;
  while (In >> Pair) {
    const auto Comma = Pair.find(',');
    if (Comma == std::string::npos) throw std::runtime_error("bad point " + Pair);
    Points.push_back({StrToFloat(Pair.substr(0, Comma)), StrToFloat(Pair.substr(Comma + 1))});
  }
  return Points;
}

// The points the picture must show for a curve, in picture coordinates.
void ExpectCurve(const TXMLElement& Polyline, std::initializer_list<TFuzzyPoint> Curve, double From, double To) {
  const std::vector<TFuzzyPoint> Drawn = ParsePoints(Polyline.Attr("points"));
  ASSERT_EQ(Drawn.size(), Curve.size()) << Polyline.Attr("points");
  std::size_t I = 0;
  for (const TFuzzyPoint& P : Curve) {
    const double X = TFuzzyPictureLayout::Left + (P.X - From) / (To - From) *
                                                     (TFuzzyPictureLayout::Right - TFuzzyPictureLayout::Left);
    const double Y = TFuzzyPictureLayout::Bottom - P.Y * (TFuzzyPictureLayout::Bottom - TFuzzyPictureLayout::Top);
    EXPECT_NEAR(Drawn[I].X, X, 0.006) << "point " << I;
    EXPECT_NEAR(Drawn[I].Y, Y, 0.006) << "point " << I;
    ++I;
  }
}

class TTempDir {
public:
  TTempDir() {
    static int Count = 0;
    FPath = std::filesystem::temp_directory_path() /
            ("cogent-plot-" + std::to_string(std::rand()) + "-" + std::to_string(++Count));
    std::filesystem::remove_all(FPath);
  }
  ~TTempDir() {
    std::error_code Ignored;
    std::filesystem::remove_all(FPath, Ignored);
  }
  std::string Path(const std::string& Name = {}) const { return (Name.empty() ? FPath : FPath / Name).string(); }

private:
  std::filesystem::path FPath;
};

std::string ReadFile(const std::string& Name) {
  std::ifstream In(Name, std::ios::binary);
  std::ostringstream Text;
  Text << In.rdbuf();
  return Text.str();
}

// ---------------------------------------------------------------- text plot

TEST(FuzzyPlotTest, FullMembershipFillsTheTopRowAndNoneTheBottom) {
  const IFuzzyVariable Variable = MakeVariable("level");
  Variable->SetUniverse(0.0, 10.0);
  const std::vector<std::string> Lines =
      FuzzyPlotLines({MakeSet("full", {{0.0, 1.0}}), MakeSet("none", {{5.0, 0.0}})}, Variable.get(), 0.0, 10.0, "#.");
  std::vector<std::string> Expected{"Fuzzy Variable: level", "Fuzzy Values: full(#) none(.)", "",
                                    Row("1.00", std::string(50, '#'))};
  for (int R = 19; R >= 1; --R) Expected.push_back(Row(Format("%4.2f", R / 20.0), ""));
  Expected.push_back(Row("0.00", std::string(50, '.')));
  Expected.emplace_back("    |----|----|----|----|----|----|----|----|----|----|");
  Expected.emplace_back("   0.00      2.00      4.00      6.00      8.00     10.00");
  Expected.emplace_back("");
  Expected.emplace_back("Universe of Discourse: From 0.00 to 10.00");
  EXPECT_EQ(Lines, Expected);

  // Without a variable there is neither its name nor its universe.
  const std::vector<std::string> Bare = FuzzyPlotLines({MakeSet("full", {{0.0, 1.0}})}, nullptr, -5.0, 5.0, "o");
  ASSERT_EQ(Bare.size(), 26U);
  EXPECT_EQ(Bare[0], "Fuzzy Values: full(o)");
  EXPECT_EQ(Bare[24], "  -5.00     -3.00     -1.00      1.00      3.00      5.00");
  EXPECT_EQ(Bare[25], "");
}

TEST(FuzzyPlotTest, ColumnsStartAtLowAndRowsRoundHalvesToEven) {
  // A ramp sampled at x = 0, 1, ..., 49: the top row is reached only in the
  // last column, and the first two columns stay in the bottom row.
  const std::vector<std::string> Ramp = FuzzyPlotLines({MakeSet("up", {{0.0, 0.0}, {50.0, 1.0}})}, nullptr, 0.0,
                                                        50.0, "*");
  EXPECT_EQ(Ramp[2], Row("1.00", std::string(49, ' ') + "*"));
  EXPECT_EQ(Ramp[22], Row("0.00", "**"));
  EXPECT_EQ(Ramp[21], Row("0.05", "  **"));

  // 20 * 0.625 = 12.5 goes to row 12, 20 * 0.375 = 7.5 to row 8; a later
  // set overwrites an earlier one where both fall into one cell.
  const std::vector<std::string> Halves =
      FuzzyPlotLines({MakeSet("a", {{0.0, 0.625}}), MakeSet("b", {{0.0, 0.375}}),
                      MakeSet("c", {{0.0, 0.375}, {25.0, 0.375}, {25.0, 0.0}})},
                     nullptr, 0.0, 50.0, "abc");
  EXPECT_EQ(Halves[2 + 20 - 12], Row("0.60", std::string(50, 'a')));
  EXPECT_EQ(Halves[2 + 20 - 8], Row("0.40", std::string(26, 'c') + std::string(24, 'b')));
  EXPECT_EQ(Halves[22], Row("0.00", std::string(26, ' ') + std::string(24, 'c')));
}

TEST(FuzzyPlotTest, CharactersAreCodePointsAndTheLastServesTheRest) {
  const IFuzzySet Low = MakeSet("low", {{0.0, 1.0}, {10.0, 0.0}});
  const IFuzzySet High = MakeSet("high", {{0.0, 0.0}, {10.0, 1.0}});
  const IFuzzySet Mid = MakeSet("mid", {{0.0, 0.5}});
  const std::vector<std::string> One = FuzzyPlotLines({Low, High, Mid}, nullptr, 0.0, 10.0, "+");
  EXPECT_EQ(One[0], "Fuzzy Values: low(+) high(+) mid(+)");
  EXPECT_EQ(One[12], Row("0.50", std::string(50, '+')));

  // A character beyond ASCII is one column; no characters at all draw "*".
  const std::vector<std::string> Wide = FuzzyPlotLines({Mid}, nullptr, 0.0, 10.0, "\u2022");
  EXPECT_EQ(Wide[0], "Fuzzy Values: mid(\u2022)");
  std::string Bullets;
  for (int I = 0; I < 50; ++I) Bullets += "\u2022";
  EXPECT_EQ(Wide[12], "0.50" + Bullets);
  EXPECT_EQ(FuzzyPlotLines({Mid}, nullptr, 0.0, 10.0, "")[12], Row("0.50", std::string(50, '*')));
}

TEST(FuzzyPlotTest, DegenerateLimitsAndSetsStayInTheGrid) {
  // Low = High samples one x in every column: a flat line at its membership.
  const IFuzzySet Ramp = MakeSet("r", {{0.0, 0.0}, {50.0, 1.0}});
  const std::vector<std::string> Flat = FuzzyPlotLines({Ramp}, nullptr, 25.0, 25.0, "*");
  EXPECT_EQ(Flat[12], Row("0.50", std::string(50, '*')));
  EXPECT_EQ(Flat[24], "  25.00     25.00     25.00     25.00     25.00     25.00");

  // Limits the wrong way round draw the universe backwards.
  const std::vector<std::string> Backwards = FuzzyPlotLines({Ramp}, nullptr, 50.0, 0.0, "*");
  EXPECT_EQ(Backwards[2], Row("1.00", "**"));

  // No points, memberships below 0 or above 1: the bottom or the top row.
  const std::vector<std::string> Odd = FuzzyPlotLines(
      {MakeSet("empty", {}), MakeUncheckedSet("neg", {{0.0, -3.0}}), MakeUncheckedSet("big", {{0.0, 7.0}}), nullptr}, nullptr, 0.0,
      10.0, "enb");
  EXPECT_EQ(Odd[0], "Fuzzy Values: empty(e) neg(n) big(b)");
  EXPECT_EQ(Odd[2], Row("1.00", std::string(50, 'b')));
  EXPECT_EQ(Odd[22], Row("0.00", std::string(50, 'n')));
  // Limits that are no numbers leave every row its 54 columns.
  const std::vector<std::string> NaN = FuzzyPlotLines({Ramp}, nullptr, std::nan(""), HUGE_VAL, "*");
  ASSERT_EQ(NaN.size(), 26U);
  for (std::size_t I = 2; I <= 22; ++I) EXPECT_EQ(UTF8Length(NaN[I]), 54U) << I;
}

TEST(FuzzyPlotTest, LimitsStayInsideTheUniverseOrSpanTheSets) {
  const IFuzzyVariable Variable = MakeVariable("v");
  Variable->SetUniverse(0.0, 100.0);
  const std::vector<IFuzzySet> Sets{MakeSet("a", {{-20.0, 0.0}, {30.0, 1.0}}), nullptr,
                                    MakeSet("b", {{10.0, 1.0}, {250.0, 0.0}}), MakeSet("c", {})};
  TFzyFloat Low = -1;
  TFzyFloat High = -1;
  FuzzyPlotLimits(Sets, Variable.get(), -50.0, 80.0, Low, High);
  EXPECT_EQ(Low, 0.0);
  EXPECT_EQ(High, 80.0);
  FuzzyPlotLimits(Sets, Variable.get(), 20.0, 500.0, Low, High);
  EXPECT_EQ(Low, 20.0);
  EXPECT_EQ(High, 100.0);
  FuzzyPlotLimits(Sets, Variable.get(), std::nullopt, std::nullopt, Low, High);
  EXPECT_EQ(Low, 0.0);
  EXPECT_EQ(High, 100.0);
  FuzzyPlotLimits(Sets, nullptr, std::nullopt, 40.0, Low, High);
  EXPECT_EQ(Low, -20.0);
  EXPECT_EQ(High, 40.0);
  FuzzyPlotLimits(Sets, nullptr, -500.0, std::nullopt, Low, High);
  EXPECT_EQ(Low, -500.0);
  EXPECT_EQ(High, 250.0);
  FuzzyPlotLimits({}, nullptr, std::nullopt, std::nullopt, Low, High);
  EXPECT_EQ(Low, 0.0);
  EXPECT_EQ(High, 1.0);
}

// ---------------------------------------------------------------- SVG

TEST(FuzzyPlotTest, PictureShowsAxesLabelsAndEachTermAsItsCurve) {
  IFuzzyVariable Variable(new TFuzzyVariable("temp <\"inside\" & 'out'>"));
  Variable->SetUniverse(-10.0, 40.0);
  Variable->SetUnits("\u00b0C & more");
  Variable->AddTerm(MakeSet("cold", {{-10.0, 1.0}, {10.0, 0.0}}));
  Variable->AddTerm(MakeSet("a<b", {{0.0, 0.0}, {15.0, 1.0}, {30.0, 0.0}}));
  Variable->AddTerm(MakeSet("hot", {{20.0, 0.0}, {40.0, 1.0}}));
  Variable->GetEmptyFuzzySet();  // no term: not drawn

  const auto Svg = ReadXML(FuzzyVariableToSVG(*Variable));
  EXPECT_EQ(Svg->Name, "svg");
  EXPECT_EQ(Svg->Attr("xmlns"), "http://www.w3.org/2000/svg");
  ASSERT_EQ(Svg->All("text", "title").size(), 1U);
  EXPECT_EQ(Svg->All("text", "title")[0]->Text, Variable->GetName());
  EXPECT_EQ(Svg->All("text", "units").at(0)->Text, "\u00b0C & more");
  EXPECT_EQ(Svg->All("line", "x-axis").size(), 1U);
  EXPECT_EQ(Svg->All("line", "y-axis").size(), 1U);
  const auto XLabels = Svg->All("text", "x-label");
  ASSERT_EQ(XLabels.size(), 6U);
  EXPECT_EQ(XLabels.front()->Text, "-10");
  EXPECT_EQ(XLabels[1]->Text, "0");
  EXPECT_EQ(XLabels.back()->Text, "40");
  const auto YLabels = Svg->All("text", "y-label");
  EXPECT_EQ(YLabels.front()->Text, "0");
  EXPECT_EQ(YLabels.back()->Text, "1");
  // The labels of the limits stand at the ends of the axis.
  EXPECT_NEAR(StrToFloat(XLabels.front()->Attr("x")), TFuzzyPictureLayout::Left, 0.006);
  EXPECT_NEAR(StrToFloat(XLabels.back()->Attr("x")), TFuzzyPictureLayout::Right, 0.006);

  const auto Sets = Svg->All("g", "fuzzy-set");
  ASSERT_EQ(Sets.size(), 3U);
  const char* Names[] = {"cold", "a<b", "hot"};
  for (std::size_t I = 0; I < 3; ++I) {
    EXPECT_EQ(Sets[I]->All("text", "legend").at(0)->Text, Names[I]);
    EXPECT_EQ(Sets[I]->All("polyline", "curve").at(0)->Attr("stroke"), FuzzyPicturePalette[I]);
    EXPECT_EQ(Sets[I]->All("text", "legend").at(0)->Attr("fill"), FuzzyPicturePalette[I]);
  }
  // Each curve runs over the whole universe, flat beyond its own points.
  ExpectCurve(*Sets[0]->All("polyline")[0], {{-10.0, 1.0}, {10.0, 0.0}, {40.0, 0.0}}, -10.0, 40.0);
  ExpectCurve(*Sets[1]->All("polyline")[0], {{-10.0, 0.0}, {0.0, 0.0}, {15.0, 1.0}, {30.0, 0.0}, {40.0, 0.0}},
              -10.0, 40.0);
  ExpectCurve(*Sets[2]->All("polyline")[0], {{-10.0, 0.0}, {20.0, 0.0}, {40.0, 1.0}}, -10.0, 40.0);
}

TEST(FuzzyPlotTest, DegenerateSetsGiveValidPictures) {
  const IFuzzySet Single = MakeSet("single", {{50.0, 0.7}});
  const IFuzzySet Zero = MakeSet("zero", {{10.0, 0.0}, {90.0, 0.0}});
  const IFuzzySet Crisp = MakeSet("crisp", {{20.0, 0.0}, {20.0, 1.0}, {60.0, 1.0}, {60.0, 0.0}});
  const IFuzzySet Empty = MakeSet("empty", {});
  // Beyond the universe on both sides, and above 1: cut at the limits.
  const IFuzzySet Wide = MakeUncheckedSet("wide", {{-50.0, 0.0}, {150.0, 2.0}});
  std::ostringstream Out;
  WriteFuzzySetsSVG(Out, {Single, Zero, nullptr, Crisp, Empty, Wide}, {0.0, 100.0, "", "a & b"});
  const auto Svg = ReadXML(Out.str());
  EXPECT_TRUE(Svg->All("text", "units").empty());
  const auto Curves = Svg->All("polyline", "curve");
  ASSERT_EQ(Curves.size(), 5U);
  ExpectCurve(*Curves[0], {{0.0, 0.7}, {50.0, 0.7}, {100.0, 0.7}}, 0.0, 100.0);
  ExpectCurve(*Curves[1], {{0.0, 0.0}, {10.0, 0.0}, {90.0, 0.0}, {100.0, 0.0}}, 0.0, 100.0);
  ExpectCurve(*Curves[2], {{0.0, 0.0}, {20.0, 0.0}, {20.0, 1.0}, {60.0, 1.0}, {60.0, 0.0}, {100.0, 0.0}}, 0.0, 100.0);
  ExpectCurve(*Curves[3], {{0.0, 0.0}, {100.0, 0.0}}, 0.0, 100.0);
  ExpectCurve(*Curves[4], {{0.0, 0.5}, {100.0, 1.0}}, 0.0, 100.0);

  // A universe of no width, or of limits that are no numbers, still maps.
  TFzyFloat From;
  TFzyFloat To;
  FuzzyPictureRange(5.0, 5.0, From, To);
  EXPECT_EQ(From, 4.0);
  EXPECT_EQ(To, 6.0);
  FuzzyPictureRange(std::nan(""), 1.0, From, To);
  EXPECT_EQ(From, 0.0);
  EXPECT_EQ(To, 1.0);
  FuzzyPictureRange(1e300, 1e300, From, To);
  EXPECT_LT(From, To);
  // Many sets: the palette starts again, and the legend stays on the page.
  std::vector<IFuzzySet> Many;
  for (int I = 0; I < 25; ++I) Many.push_back(MakeSet("s" + std::to_string(I), {{I * 4.0, 1.0}}));
  std::ostringstream Crowd;
  WriteFuzzySetsSVG(Crowd, Many, {0.0, 100.0, "", ""});
  const auto Crowded = ReadXML(Crowd.str());
  const auto Legends = Crowded->All("text", "legend");
  ASSERT_EQ(Legends.size(), 25U);
  EXPECT_EQ(Crowded->All("polyline")[12]->Attr("stroke"), FuzzyPicturePalette[2]);
  EXPECT_LT(StrToFloat(Legends.back()->Attr("y")), StrToFloat(Crowded->Attr("height")));
  EXPECT_EQ(Crowded->Attr("viewBox"), "0 0 640.00 " + Crowded->Attr("height"));

  std::ostringstream Point;
  WriteFuzzySetsSVG(Point, {Crisp}, {20.0, 20.0, "u", ""});
  ExpectCurve(*ReadXML(Point.str())->All("polyline")[0], {{19.0, 0.0}, {20.0, 0.0}, {20.0, 1.0}, {21.0, 1.0}}, 19.0,
              21.0);
}

TEST(FuzzyPlotTest, TextThatXMLCannotHoldIsReplaced) {
  EXPECT_EQ(XMLEscape("a<b>&\"c\"'d'"), "a&lt;b&gt;&amp;&quot;c&quot;&apos;d&apos;");
  // A control character, a broken UTF-8 sequence and a non-character.
  const std::string Name = std::string("x\x01y\xC3z\xEF\xBF\xBF\t");
  const IFuzzyVariable Variable = MakeVariable(Name);
  Variable->SetUnits(Name);
  Variable->AddTerm(MakeSet(Name, {{0.0, 1.0}}));
  const auto Svg = ReadXML(FuzzyVariableToSVG(*Variable));
  EXPECT_EQ(Svg->All("text", "legend").at(0)->Text, "x\uFFFDy\uFFFDz\uFFFD\t");
}

TEST(FuzzyPlotTest, PicturesGoToOneFilePerVariableReplacedWhole) {
  TTempDir Temp;
  const IFuzzyVariable Speed = MakeVariable("speed");
  Speed->AddTerm(MakeSet("slow", {{0.0, 1.0}, {1.0, 0.0}}));
  const IFuzzyVariable Slash = MakeVariable("a/b");
  const IFuzzyVariable Clash = MakeVariable("A_b");
  const IFuzzyVariable Hidden = MakeVariable("..x");
  const std::string Dir = Temp.Path("nested/pictures");
  const std::vector<IFuzzyVariable> All{Speed, nullptr, Slash, Clash, Hidden};
  const std::vector<IFuzzyVariable> One{Speed};
  const std::vector<std::string> Written = SaveFuzzyVariableSVGs(Dir, All);
  const std::string Prefix = IncludeTrailingPathDelimiter(Dir);
  EXPECT_EQ(Written, (std::vector<std::string>{Prefix + "speed.svg", Prefix + "a_b.svg", Prefix + "A_b-2.svg",
                                               Prefix + "_.x.svg"}));
  for (const std::string& File : Written) EXPECT_NO_THROW(ReadXML(ReadFile(File))) << File;
  EXPECT_EQ(ReadXML(ReadFile(Written[0]))->All("g", "fuzzy-set").size(), 1U);

  // Written again, a file holds the new picture, and no scratch file stays.
  Speed->AddTerm(MakeSet("fast", {{0.0, 0.0}, {1.0, 1.0}}));
  SaveFuzzyVariableSVGs(Dir, One);
  EXPECT_EQ(ReadXML(ReadFile(Written[0]))->All("g", "fuzzy-set").size(), 2U);
  int Count = 0;
  for ([[maybe_unused]] const auto& Entry : std::filesystem::directory_iterator(Dir)) ++Count;
  EXPECT_EQ(Count, 4);

  // A folder that cannot be made, or a picture over a folder, is an error.
  EXPECT_THROW(SaveFuzzyVariableSVGs(Written[0], One), EInOutError);
  std::filesystem::create_directory(Prefix + "taken.svg");
  EXPECT_THROW(SaveFuzzyVariableSVG(Prefix + "taken.svg", *Speed), EInOutError);
  EXPECT_THROW(SaveFuzzyVariableSVGs("", One), EInOutError);
}

}  // namespace
