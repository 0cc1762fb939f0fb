// Writes a whole rule program with one of its instances, ready for
// `cogent FILE`:
//
//     cogent_instance seating GUESTS      (an even number, at least 4)
//     cogent_instance labelling REGIONS

#include <cstdlib>
#include <iostream>
#include <string>

#include "Instances.h"

int main(int argc, char** argv) {
  using namespace cogent::programs;
  const std::string Program = argc == 3 ? argv[1] : "";
  const int Size = argc == 3 ? std::atoi(argv[2]) : 0;
  try {
    if (Program == "seating" && Size > 0) {
      WriteSeatingProgram(std::cout, Size);
      return 0;
    }
    if (Program == "labelling" && Size > 0) {
      WriteLabellingProgram(std::cout, Size);
      return 0;
    }
  } catch (const std::exception& E) {
    std::cerr << "cogent_instance: " << E.what() << "\n";
    return 1;
  }
  std::cerr << "usage: cogent_instance seating GUESTS | labelling REGIONS\n";
  return 2;
}
