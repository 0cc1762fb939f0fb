#pragma once
// The benchmark instances as whole programs for the command-line program:
// the program's text, (reset), the instance's facts as assertions and (run).
// The instances are those of the library benchmarks, so that the figures
// measured through `cogent FILE` and through the library agree.

#include <ostream>

#include "Labelling.h"
#include "Seating.h"

namespace cogent::programs {

inline void WriteSeatingProgram(std::ostream& Out, int Guests) {
  Out << ReadProgram("seating.kb") << "\n(reset)\n(assert (table (size " << Guests << ")))\n";
  static const char* const Slots[3] = {"h1", "h2", "h3"};
  for (const TGuest& Guest : GenerateSeating(Guests)) {
    Out << "(assert (guest (name " << Guest.Name << ") (sex " << Guest.Sex << ") (index " << Guest.Index << ")";
    // A guest with fewer hobbies repeats the first, as in the benchmark.
    for (std::size_t H = 0; H < 3; ++H)
      Out << " (" << Slots[H] << " " << Guest.Hobbies[H < Guest.Hobbies.size() ? H : 0] << ")";
    Out << "))\n";
  }
  Out << "(run)\n";
}

inline void WriteLabellingProgram(std::ostream& Out, int Regions) {
  Out << ReadProgram("labelling.kb") << "\n(reset)\n";
  const TDrawing Drawing = GenerateLabelling(Regions);
  for (const TDrawingJunction& Junction : Drawing.Junctions) {
    Out << "(assert (junction (at " << Junction.Point << ") (type " << Junction.Type << ")))\n";
    for (std::size_t K = 0; K < Junction.Arms.size(); ++K)
      Out << "(assert (arm (at " << Junction.Point << ") (pos " << K + 1 << ") (to " << Junction.Arms[K] << ")))\n";
  }
  for (const auto& [From, To] : Drawing.Outline) Out << "(assert (outline (from " << From << ") (to " << To << ")))\n";
  Out << "(run)\n";
}

}  // namespace cogent::programs
