// Writes a whole rule program with one of its instances, ready for
// `cogent FILE`: the program's text, (reset), the instance's facts as
// assertions, (run) and a line that tells the outcome.
//
//     cogent_instance seating GUESTS      (an even number, at least 4)
//     cogent_instance labelling REGIONS
//
// The instances are those of the benchmarks, so that the figures measured
// through the command-line program and through the library agree.

#include <cstdlib>
#include <iostream>
#include <string>

#include "Labelling.h"
#include "Seating.h"

namespace {

using namespace cogent::programs;

void WriteSeating(int Guests) {
  std::cout << ReadProgram("seating.kb") << "\n(reset)\n(assert (table (size " << Guests << ")))\n";
  static const char* const Slots[3] = {"h1", "h2", "h3"};
  for (const TGuest& Guest : GenerateSeating(Guests)) {
    std::cout << "(assert (guest (name " << Guest.Name << ") (sex " << Guest.Sex << ") (index " << Guest.Index << ")";
    // A guest with fewer hobbies repeats the first, as in the benchmark.
    for (std::size_t H = 0; H < 3; ++H)
      std::cout << " (" << Slots[H] << " " << Guest.Hobbies[H < Guest.Hobbies.size() ? H : 0] << ")";
    std::cout << "))\n";
  }
  std::cout << "(run)\n";
}

void WriteLabelling(int Regions) {
  std::cout << ReadProgram("labelling.kb") << "\n(reset)\n";
  const TDrawing Drawing = GenerateLabelling(Regions);
  for (const TDrawingJunction& Junction : Drawing.Junctions) {
    std::cout << "(assert (junction (at " << Junction.Point << ") (type " << Junction.Type << ")))\n";
    for (std::size_t K = 0; K < Junction.Arms.size(); ++K)
      std::cout << "(assert (arm (at " << Junction.Point << ") (pos " << K + 1 << ") (to " << Junction.Arms[K]
                << ")))\n";
  }
  for (const auto& [From, To] : Drawing.Outline) std::cout << "(assert (outline (from " << From << ") (to " << To << ")))\n";
  std::cout << "(run)\n";
}

}  // namespace

int main(int argc, char** argv) {
  const std::string Program = argc == 3 ? argv[1] : "";
  const int Size = argc == 3 ? std::atoi(argv[2]) : 0;
  try {
    if (Program == "seating" && Size > 0) {
      WriteSeating(Size);
      return 0;
    }
    if (Program == "labelling" && Size > 0) {
      WriteLabelling(Size);
      return 0;
    }
  } catch (const std::exception& E) {
    std::cerr << "cogent_instance: " << E.what() << "\n";
    return 1;
  }
  std::cerr << "usage: cogent_instance seating GUESTS | labelling REGIONS\n";
  return 2;
}
