#pragma once
// The line labelling program's drawings and checks.
//
// A drawing is made from K cubes, floating one behind the other in a row
// that zigzags up and down, each hiding a corner of the next. Every cube is
// drawn in the same oblique view: the front face a unit square, the top and
// right faces slanting back. Hidden lines are taken out by clipping each
// cube's nine visible lines against the outlines of the cubes in front of
// it; where a line disappears behind an outline, a T junction splits that
// outline line. The labels follow from the geometry: a cube's outline is an
// occluding boundary going round it clockwise, its three inner lines are
// convex, and a piece of a line keeps the label of the line.
//
// The corners a junction may show, each labelling read counter-clockwise
// from the junction's first line as labelling.kb lays down, are the eighteen
// of trihedral polyhedra: they are listed here once more, apart from the
// rules, to check the program's answer by.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "ProgramSupport.h"

namespace cogent::programs {

// A line of the drawing with its true label: '+' convex, '-' concave, '>' an
// occluding boundary with the arrow from A to B.
struct TDrawingLine {
  int A = 0;
  int B = 0;
  char Kind = '+';
};

// Arms are the points at the other ends of the junction's lines, in the
// order of labelling.kb.
struct TDrawingJunction {
  int Point = 0;
  std::string Type;
  std::vector<int> Arms;
};

struct TDrawing {
  std::vector<TDrawingJunction> Junctions;
  std::vector<TDrawingLine> Lines;
  std::vector<std::pair<int, int>> Outline;  // arrows, background on their left
};

// A line's label seen from the junction at point At.
inline std::string LabelAt(const TDrawingLine& Line, int At) {
  if (Line.Kind == '+') return "plus";
  if (Line.Kind == '-') return "minus";
  return Line.A == At ? "out" : "in";
}

inline std::string MateLabel(const std::string& Label) {
  if (Label == "in") return "out";
  if (Label == "out") return "in";
  return Label;
}

// The labellings each type of junction allows; a fork's in every rotation.
inline const std::map<std::string, std::vector<std::vector<std::string>>>& JunctionCatalog() {
  static const std::map<std::string, std::vector<std::vector<std::string>>> Catalog{
      {"L", {{"in", "out"}, {"out", "in"}, {"plus", "in"}, {"out", "plus"}, {"minus", "out"}, {"in", "minus"}}},
      {"fork",
       {{"plus", "plus", "plus"},
        {"minus", "minus", "minus"},
        {"out", "in", "minus"},
        {"in", "minus", "out"},
        {"minus", "out", "in"}}},
      {"arrow", {{"in", "plus", "out"}, {"plus", "minus", "plus"}, {"minus", "plus", "minus"}}},
      {"T", {{"out", "plus", "in"}, {"out", "minus", "in"}, {"out", "in", "in"}, {"out", "out", "in"}}}};
  return Catalog;
}

inline bool CatalogAllows(const std::string& Type, const std::vector<std::string>& Labels) {
  const auto Found = JunctionCatalog().find(Type);
  if (Found == JunctionCatalog().end()) return false;
  return std::find(Found->second.begin(), Found->second.end(), Labels) != Found->second.end();
}

namespace detail {

struct TXY {
  double X = 0;
  double Y = 0;
};
inline TXY operator+(TXY A, TXY B) { return {A.X + B.X, A.Y + B.Y}; }
inline TXY operator-(TXY A, TXY B) { return {A.X - B.X, A.Y - B.Y}; }
inline TXY operator*(double S, TXY A) { return {S * A.X, S * A.Y}; }
inline double Cross(TXY A, TXY B) { return A.X * B.Y - A.Y * B.X; }
inline double Dot(TXY A, TXY B) { return A.X * B.X + A.Y * B.Y; }

// A cube's corners: front face A B C D counter-clockwise from the lower
// left, and the back corners B' C' D' that show.
enum TCorner { cA, cB, cC, cD, cB2, cC2, cD2, CornerCount };

// Its outline counter-clockwise, for inside tests and clipping.
constexpr TCorner Hexagon[6] = {cA, cB, cB2, cC2, cD2, cD};

struct TCubeLine {
  TCorner From;
  TCorner To;
  char Kind;
  int HexagonEdge;  // the outline edge it runs along, or -1
};

// Hexagon edge h runs from Hexagon[h] to Hexagon[h + 1]; the boundary arrows
// go the other way round, clockwise.
constexpr TCubeLine CubeLines[9] = {{cB, cA, '>', 0},  {cB2, cB, '>', 1}, {cC2, cB2, '>', 2},
                                    {cD2, cC2, '>', 3}, {cD, cD2, '>', 4}, {cA, cD, '>', 5},
                                    {cB, cC, '+', -1},  {cC, cD, '+', -1}, {cC, cC2, '+', -1}};

inline std::vector<TXY> CubeCorners(TXY Origin) {
  const TXY Depth{0.45, 0.35};
  std::vector<TXY> P(CornerCount);
  P[cA] = Origin;
  P[cB] = Origin + TXY{1, 0};
  P[cC] = Origin + TXY{1, 1};
  P[cD] = Origin + TXY{0, 1};
  P[cB2] = P[cB] + Depth;
  P[cC2] = P[cC] + Depth;
  P[cD2] = P[cD] + Depth;
  return P;
}

inline bool Inside(const std::vector<TXY>& Corners, TXY Point) {
  for (int H = 0; H < 6; ++H) {
    const TXY From = Corners[Hexagon[H]];
    const TXY To = Corners[Hexagon[(H + 1) % 6]];
    if (Cross(To - From, Point - From) <= 0) return false;
  }
  return true;
}

// Where a hidden stretch of a line begins or ends: the parameter on the line
// and the outline edge of the hiding cube that it crosses.
struct TCut {
  double T = 0;
  int Cube = -1;
  int Edge = -1;
};

// The stretch of P + t (Q - P), 0 < t < 1, inside a convex outline; false
// when there is none.
inline bool HiddenStretch(const std::vector<TXY>& Corners, int Cube, TXY P, TXY Q, TCut& In, TCut& Out) {
  In = {0, -1, -1};
  Out = {1, -1, -1};
  const TXY Direction = Q - P;
  for (int H = 0; H < 6; ++H) {
    const TXY From = Corners[Hexagon[H]];
    const TXY Edge = Corners[Hexagon[(H + 1) % 6]] - From;
    // Inside where Cross(Edge, X - From) > 0: a linear function of t.
    const double Start = Cross(Edge, P - From);
    const double Rate = Cross(Edge, Direction);
    if (std::abs(Rate) < 1e-12) {
      if (Start <= 0) return false;
      continue;
    }
    const double T = -Start / Rate;
    if (Rate > 0) {
      if (T > In.T) In = {T, Cube, H};
    } else if (T < Out.T) {
      Out = {T, Cube, H};
    }
  }
  return In.T < Out.T;
}

}  // namespace detail

// The drawing of Blocks cubes. Throws if the geometry goes wrong, which a
// test makes sure it does not.
inline TDrawing GenerateLabelling(int Blocks) {
  using namespace detail;
  if (Blocks < 1) throw std::invalid_argument("a drawing needs a block");
  std::vector<std::vector<TXY>> Cubes;
  TXY Origin{0, 0};
  for (int I = 0; I < Blocks; ++I) {
    Cubes.push_back(CubeCorners(Origin));
    Origin = Origin + (I % 2 == 0 ? TXY{1.1, 0.45} : TXY{1.1, -0.3});
  }

  std::vector<TXY> Points;
  std::map<std::pair<int, int>, int> CornerPoint;  // (cube, corner)
  auto Corner = [&](int Cube, TCorner C) {
    const auto Found = CornerPoint.find({Cube, C});
    if (Found != CornerPoint.end()) return Found->second;
    Points.push_back(Cubes[static_cast<std::size_t>(Cube)][C]);
    return CornerPoint[{Cube, C}] = static_cast<int>(Points.size()) - 1;
  };
  std::set<int> TPoints;

  // Cuts of each line by the cubes in front, and the T points they leave on
  // the outline lines of those cubes: (cube, hexagon edge) -> (t, point).
  struct TVisible {
    std::vector<std::pair<double, int>> Ends;  // t and point, two per visible stretch
  };
  std::map<std::pair<int, int>, TVisible> Visible;  // (cube, line)
  std::map<std::pair<int, int>, std::vector<std::pair<double, int>>> Splits;
  for (int Cube = 0; Cube < Blocks; ++Cube) {
    for (int L = 0; L < 9; ++L) {
      const TCubeLine& Line = CubeLines[L];
      const TXY P = Cubes[static_cast<std::size_t>(Cube)][Line.From];
      const TXY Q = Cubes[static_cast<std::size_t>(Cube)][Line.To];
      std::vector<std::pair<TCut, TCut>> Hidden;
      for (int Front = 0; Front < Cube; ++Front) {
        TCut In, Out;
        if (HiddenStretch(Cubes[static_cast<std::size_t>(Front)], Front, P, Q, In, Out)) Hidden.push_back({In, Out});
      }
      std::sort(Hidden.begin(), Hidden.end(), [](const auto& X, const auto& Y) { return X.first.T < Y.first.T; });
      // Walk the line, leaving out the union of the hidden stretches.
      TVisible& Stretches = Visible[{Cube, L}];
      TCut Begin{0, -1, -1};
      auto EndPoint = [&](const TCut& Cut, TCorner AtCorner) {
        if (Cut.Cube < 0) return Corner(Cube, AtCorner);
        Points.push_back(P + Cut.T * (Q - P));
        const int Id = static_cast<int>(Points.size()) - 1;
        TPoints.insert(Id);
        Splits[{Cut.Cube, Cut.Edge}].push_back({0.0, Id});
        return Id;
      };
      auto Emit = [&](const TCut& From, const TCut& To) {
        if (To.T - From.T < 1e-9) return;
        Stretches.Ends.push_back({From.T, EndPoint(From, Line.From)});
        Stretches.Ends.push_back({To.T, EndPoint(To, Line.To)});
      };
      for (const auto& [In, Out] : Hidden) {
        if (Out.T <= Begin.T) continue;
        if (In.T > Begin.T) Emit(Begin, In);
        Begin = Out;
      }
      if (Begin.T < 1) Emit(Begin, TCut{1, -1, -1});
    }
  }

  // Pieces: each visible stretch, cut again where lines of cubes behind end
  // on it.
  TDrawing Drawing;
  for (int Cube = 0; Cube < Blocks; ++Cube) {
    for (int L = 0; L < 9; ++L) {
      const TCubeLine& Line = CubeLines[L];
      const TXY P = Cubes[static_cast<std::size_t>(Cube)][Line.From];
      const TXY Q = Cubes[static_cast<std::size_t>(Cube)][Line.To];
      std::vector<std::pair<double, int>> Cuts;
      if (Line.HexagonEdge >= 0) {
        const auto Found = Splits.find({Cube, Line.HexagonEdge});
        if (Found != Splits.end())
          for (const auto& [Unused, Id] : Found->second)
            Cuts.push_back({Dot(Points[static_cast<std::size_t>(Id)] - P, Q - P) / Dot(Q - P, Q - P), Id});
      }
      std::sort(Cuts.begin(), Cuts.end());
      const std::vector<std::pair<double, int>>& Ends = Visible[{Cube, L}].Ends;
      for (std::size_t S = 0; S + 1 < Ends.size(); S += 2) {
        int From = Ends[S].second;
        for (const auto& [T, Id] : Cuts) {
          if (T <= Ends[S].first || T >= Ends[S + 1].first) continue;
          Drawing.Lines.push_back({From, Id, Line.Kind});
          From = Id;
        }
        Drawing.Lines.push_back({From, Ends[S + 1].second, Line.Kind});
      }
      for (const auto& [T, Id] : Cuts) {
        bool Covered = false;
        for (std::size_t S = 0; S + 1 < Ends.size(); S += 2)
          Covered = Covered || (T > Ends[S].first && T < Ends[S + 1].first);
        if (!Covered) throw std::logic_error("a T junction on a hidden stretch of line");
      }
    }
  }

  // Junctions: the lines round each point, counter-clockwise.
  std::map<int, std::vector<std::pair<double, int>>> Around;  // point -> (angle, other point)
  for (const TDrawingLine& Line : Drawing.Lines) {
    const TXY A = Points[static_cast<std::size_t>(Line.A)];
    const TXY B = Points[static_cast<std::size_t>(Line.B)];
    Around[Line.A].push_back({std::atan2(B.Y - A.Y, B.X - A.X), Line.B});
    Around[Line.B].push_back({std::atan2(A.Y - B.Y, A.X - B.X), Line.A});
  }
  const double Pi = std::acos(-1.0);
  for (auto& [Point, Arms] : Around) {
    std::sort(Arms.begin(), Arms.end());
    const std::size_t Count = Arms.size();
    if (Count < 2 || Count > 3) throw std::logic_error("a point with " + std::to_string(Count) + " lines");
    // The widest gap between neighbouring lines; the junction's lines start
    // behind it.
    std::size_t Widest = 0;
    double WidestGap = -1;
    for (std::size_t I = 0; I < Count; ++I) {
      double Gap = Arms[(I + 1) % Count].first - Arms[I].first;
      if (Gap <= 0) Gap += 2 * Pi;
      if (Gap > WidestGap) {
        WidestGap = Gap;
        Widest = I;
      }
    }
    TDrawingJunction Junction;
    Junction.Point = Point;
    if (Count == 2) {
      Junction.Type = "L";
    } else if (TPoints.count(Point)) {
      Junction.Type = "T";
      if (std::abs(WidestGap - Pi) > 1e-6) throw std::logic_error("a T junction whose bar bends");
    } else {
      if (std::abs(WidestGap - Pi) < 1e-6) throw std::logic_error("a corner with two lines in line");
      Junction.Type = WidestGap > Pi ? "arrow" : "fork";
    }
    for (std::size_t I = 1; I <= Count; ++I) Junction.Arms.push_back(Arms[(Widest + I) % Count].second);
    Drawing.Junctions.push_back(std::move(Junction));
  }

  // The outer contour: arrows with nothing drawn on their left.
  for (const TDrawingLine& Line : Drawing.Lines) {
    const TXY A = Points[static_cast<std::size_t>(Line.A)];
    const TXY B = Points[static_cast<std::size_t>(Line.B)];
    const TXY Middle = 0.5 * (A + B);
    const TXY Normal = (1e-4 / std::sqrt(Dot(B - A, B - A))) * TXY{A.Y - B.Y, B.X - A.X};  // to the left
    auto Covered = [&](TXY X) {
      for (const std::vector<TXY>& Cube : Cubes)
        if (Inside(Cube, X)) return true;
      return false;
    };
    const bool Left = Covered(Middle + Normal);
    const bool Right = Covered(Middle - Normal);
    if (!Right) throw std::logic_error("a line with nothing on its right");
    if (!Left) {
      if (Line.Kind != '>') throw std::logic_error("a convex line on the contour");
      Drawing.Outline.push_back({Line.A, Line.B});
    }
  }
  return Drawing;
}

// The line between two points, or nullptr.
inline const TDrawingLine* FindLine(const TDrawing& Drawing, int P, int Q) {
  for (const TDrawingLine& Line : Drawing.Lines)
    if ((Line.A == P && Line.B == Q) || (Line.A == Q && Line.B == P)) return &Line;
  return nullptr;
}

// The labellings left at each junction (by point) when every labelling that
// goes against the contour or that a neighbour cannot match is taken away,
// over and over: what the program's propagation arrives at.
inline std::map<int, std::vector<std::vector<std::string>>> PropagateLabels(const TDrawing& Drawing) {
  std::map<int, const TDrawingJunction*> ByPoint;
  std::map<int, std::vector<std::vector<std::string>>> Left;
  for (const TDrawingJunction& Junction : Drawing.Junctions) {
    ByPoint[Junction.Point] = &Junction;
    Left[Junction.Point] = JunctionCatalog().at(Junction.Type);
  }
  std::map<std::pair<int, int>, std::string> Contour;  // (at, to) -> label
  for (const auto& [From, To] : Drawing.Outline) {
    Contour[{From, To}] = "out";
    Contour[{To, From}] = "in";
  }
  for (bool Changed = true; Changed;) {
    Changed = false;
    for (const TDrawingJunction& Junction : Drawing.Junctions) {
      auto& Labellings = Left[Junction.Point];
      const auto Before = Labellings.size();
      Labellings.erase(std::remove_if(Labellings.begin(), Labellings.end(),
                                      [&](const std::vector<std::string>& Labelling) {
                                        for (std::size_t K = 0; K < Junction.Arms.size(); ++K) {
                                          const int Other = Junction.Arms[K];
                                          const auto Fixed = Contour.find({Junction.Point, Other});
                                          if (Fixed != Contour.end() && Fixed->second != Labelling[K]) return true;
                                          const TDrawingJunction& Far = *ByPoint.at(Other);
                                          const auto Back = std::find(Far.Arms.begin(), Far.Arms.end(), Junction.Point);
                                          const std::size_t KFar = static_cast<std::size_t>(Back - Far.Arms.begin());
                                          bool Matched = false;
                                          for (const auto& FarLabelling : Left[Other])
                                            Matched = Matched || FarLabelling[KFar] == MateLabel(Labelling[K]);
                                          if (!Matched) return true;
                                        }
                                        return false;
                                      }),
                       Labellings.end());
      Changed = Changed || Labellings.size() != Before;
    }
  }
  return Left;
}

// ---------------------------------------------------------------- the engine

inline void AssertLabelling(TInferenceEngine& Engine, const TDrawing& Drawing) {
  for (const TDrawingJunction& Junction : Drawing.Junctions) {
    TFactBuilder(Engine, "junction").Set("at", Junction.Point).Set("type", Junction.Type).Assert();
    for (std::size_t K = 0; K < Junction.Arms.size(); ++K)
      TFactBuilder(Engine, "arm")
          .Set("at", Junction.Point)
          .Set("pos", static_cast<std::int32_t>(K + 1))
          .Set("to", Junction.Arms[K])
          .Assert();
  }
  for (const auto& [From, To] : Drawing.Outline)
    TFactBuilder(Engine, "outline").Set("from", From).Set("to", To).Assert();
}

// Empty when the `line` facts give every line one label, the same at both
// ends, every junction's labels are a corner of the catalog, and the labels
// are those of the geometry; otherwise what is wrong.
inline std::string CheckLabelling(const TInferenceEngine& Engine, const TDrawing& Drawing) {
  std::map<std::pair<int, int>, std::set<std::string>> Labels;  // (at, to)
  for (const IFact& Line : FactsOf(Engine, "line"))
    Labels[{SlotInt(Line, "at"), SlotInt(Line, "to")}].insert(SlotText(Line, "label"));
  auto Where = [](int At, int To) { return "the line from " + std::to_string(At) + " to " + std::to_string(To); };
  std::size_t Ends = 0;
  for (const TDrawingJunction& Junction : Drawing.Junctions) {
    std::vector<std::string> Corner;
    for (const int To : Junction.Arms) {
      const auto Found = Labels.find({Junction.Point, To});
      if (Found == Labels.end()) return Where(Junction.Point, To) + " has no label at " + std::to_string(Junction.Point);
      if (Found->second.size() != 1)
        return Where(Junction.Point, To) + " has " + std::to_string(Found->second.size()) + " labels at " +
               std::to_string(Junction.Point);
      const std::string& Label = *Found->second.begin();
      const auto Other = Labels.find({To, Junction.Point});
      if (Other == Labels.end() || Other->second.size() != 1 || *Other->second.begin() != MateLabel(Label))
        return Where(Junction.Point, To) + " reads " + Label + " at one end and not its mate at the other";
      const TDrawingLine* Line = FindLine(Drawing, Junction.Point, To);
      if (!Line) return Where(Junction.Point, To) + " is not in the drawing";
      if (LabelAt(*Line, Junction.Point) != Label)
        return Where(Junction.Point, To) + " is " + Label + " at " + std::to_string(Junction.Point) + ", not " +
               LabelAt(*Line, Junction.Point);
      Corner.push_back(Label);
      ++Ends;
    }
    if (!CatalogAllows(Junction.Type, Corner))
      return "the " + Junction.Type + " at " + std::to_string(Junction.Point) + " shows no possible corner";
  }
  if (Ends != Labels.size()) return std::to_string(Labels.size() - Ends) + " labels on lines that are not drawn";
  return "";
}

inline void LoadLabelling(TInferenceEngine& Engine, const TDrawing& Drawing) {
  static const std::string Program = ReadProgram("labelling.kb");
  Engine.Parse(Program, false);
  Engine.Reset();
  AssertLabelling(Engine, Drawing);
}

}  // namespace cogent::programs
