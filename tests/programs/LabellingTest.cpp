// The line labelling program: its drawings, its checks, and runs of the
// rules.

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "../../bench/programs/Labelling.h"

namespace cogent::programs {
namespace {

std::map<std::string, int> TypeCounts(const TDrawing& Drawing) {
  std::map<std::string, int> Counts;
  for (const TDrawingJunction& Junction : Drawing.Junctions) ++Counts[Junction.Type];
  return Counts;
}

std::vector<std::string> TrueCorner(const TDrawing& Drawing, const TDrawingJunction& Junction) {
  std::vector<std::string> Corner;
  for (const int To : Junction.Arms) Corner.push_back(LabelAt(*FindLine(Drawing, Junction.Point, To), Junction.Point));
  return Corner;
}

TEST(LabellingProgramTest, OneCubeIsSevenCornersOnNineLines) {
  const TDrawing Drawing = GenerateLabelling(1);
  EXPECT_EQ(Drawing.Lines.size(), 9u);
  EXPECT_EQ(Drawing.Outline.size(), 6u);
  EXPECT_EQ(TypeCounts(Drawing), (std::map<std::string, int>{{"L", 3}, {"arrow", 3}, {"fork", 1}}));
  for (const TDrawingJunction& Junction : Drawing.Junctions) {
    const std::vector<std::string> Corner = TrueCorner(Drawing, Junction);
    const std::map<std::string, std::vector<std::string>> Expected{
        {"L", {"in", "out"}}, {"arrow", {"in", "plus", "out"}}, {"fork", {"plus", "plus", "plus"}}};
    EXPECT_EQ(Corner, Expected.at(Junction.Type)) << Junction.Type << " at " << Junction.Point;
  }
}

// The second cube loses its lower left corner behind the first: its two
// lines from there end in T junctions on the first cube's outline.
TEST(LabellingProgramTest, ACubeBehindAnotherMeetsItInTJunctions) {
  const TDrawing Drawing = GenerateLabelling(2);
  EXPECT_EQ(TypeCounts(Drawing), (std::map<std::string, int>{{"L", 5}, {"T", 2}, {"arrow", 6}, {"fork", 2}}));
  EXPECT_EQ(Drawing.Lines.size(), 20u);
  // The first cube's two outline lines that the T junctions split lie partly
  // against the second cube: those parts are no contour.
  EXPECT_EQ(Drawing.Outline.size(), 12u);
  // The third cube sits lower: a convex line of it goes behind the second.
  bool PlusStem = false;
  const TDrawing Three = GenerateLabelling(3);
  for (const TDrawingJunction& Junction : Three.Junctions)
    if (Junction.Type == "T") PlusStem = PlusStem || TrueCorner(Three, Junction)[1] == "plus";
  EXPECT_TRUE(PlusStem);
}

TEST(LabellingProgramTest, PropagationLeavesExactlyTheTrueCorners) {
  for (const int Blocks : {1, 2, 3, 4, 16}) {
    SCOPED_TRACE(Blocks);
    const TDrawing Drawing = GenerateLabelling(Blocks);
    const auto Left = PropagateLabels(Drawing);
    for (const TDrawingJunction& Junction : Drawing.Junctions) {
      const std::vector<std::string> Corner = TrueCorner(Drawing, Junction);
      EXPECT_TRUE(CatalogAllows(Junction.Type, Corner)) << Junction.Type << " at " << Junction.Point;
      EXPECT_EQ(Left.at(Junction.Point), std::vector<std::vector<std::string>>{Corner})
          << Junction.Type << " at " << Junction.Point;
    }
  }
  EXPECT_EQ(GenerateLabelling(16).Junctions.size(), 134u);
}

// Asserts `line` facts for every end of every line as the drawing labels
// them, with Wrong (if set) at the first end of the first line instead.
void AssertTrueLines(TInferenceEngine& Engine, const TDrawing& Drawing, const std::string& Wrong = "") {
  Engine.Parse(ReadProgram("labelling.kb"), false);
  Engine.Reset();
  bool First = true;
  for (const TDrawingLine& Line : Drawing.Lines) {
    TFactBuilder(Engine, "line")
        .Set("at", Line.A)
        .Set("to", Line.B)
        .Set("label", First && !Wrong.empty() ? Wrong : LabelAt(Line, Line.A))
        .Assert();
    TFactBuilder(Engine, "line").Set("at", Line.B).Set("to", Line.A).Set("label", LabelAt(Line, Line.B)).Assert();
    First = false;
  }
}

TEST(LabellingProgramTest, CheckFindsWrongAndMissingLabels) {
  const TDrawing Drawing = GenerateLabelling(1);
  {
    TInferenceEngine Engine;
    AssertTrueLines(Engine, Drawing);
    EXPECT_EQ(CheckLabelling(Engine, Drawing), "");
  }
  {
    // The first line is the cube's bottom, an arrow out of its first point.
    TInferenceEngine Engine;
    AssertTrueLines(Engine, Drawing, "in");
    const TDrawingLine& Line = Drawing.Lines[0];
    ASSERT_EQ(Line.Kind, '>');
    ASSERT_LT(Line.A, Line.B);
    EXPECT_EQ(CheckLabelling(Engine, Drawing), "the line from " + std::to_string(Line.A) + " to " +
                                                   std::to_string(Line.B) +
                                                   " reads in at one end and not its mate at the other");
  }
  {
    TInferenceEngine Engine;
    AssertTrueLines(Engine, Drawing);
    TFactBuilder(Engine, "line").Set("at", Drawing.Lines[0].A).Set("to", Drawing.Lines[0].B).Set("label", "plus").Assert();
    EXPECT_EQ(CheckLabelling(Engine, Drawing), "the line from " + std::to_string(Drawing.Lines[0].A) + " to " +
                                                   std::to_string(Drawing.Lines[0].B) + " has 2 labels at " +
                                                   std::to_string(Drawing.Lines[0].A));
  }
}

TEST(LabellingProgramTest, RulesLabelTheDrawings) {
  for (const int Blocks : {1, 2, 4, 16}) {
    SCOPED_TRACE(Blocks);
    const TDrawing Drawing = GenerateLabelling(Blocks);
    TInferenceEngine Engine;
    LoadLabelling(Engine, Drawing);
    Engine.Run();
    EXPECT_EQ(CheckLabelling(Engine, Drawing), "");
    // Every labelling but the one left has gone with its choices.
    EXPECT_EQ(FactsOf(Engine, "labelling").size(), Drawing.Junctions.size());
  }
}

}  // namespace
}  // namespace cogent::programs
