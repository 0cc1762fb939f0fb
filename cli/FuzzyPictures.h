#pragma once
// Pictures of the fuzzy variables of a loaded program, for --plot-svg.

#include <string>
#include <vector>

#include "cogent/cogent.h"
#include "cogent/fuzzy/VXFuzzyPlot.h"

namespace cogent {

// The fuzzy variables of the defined types of every module, the modules in
// the engine's order and the types of one module by name; a type that
// modules share counts once, in the first module that holds it.
std::vector<IFuzzyVariable> FuzzyVariablesOf(const TInferenceEngine& Engine);
// One SVG picture per fuzzy variable in Dir, made when missing; gives the
// files written. Raises EInOutError when the system refuses.
std::vector<std::string> SaveFuzzyPictures(const TInferenceEngine& Engine, const std::string& Dir);

}  // namespace cogent
