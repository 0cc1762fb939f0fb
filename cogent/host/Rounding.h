#pragma once
// The host's Round: to the nearest whole number, a half to the even
// neighbour, whatever rounding mode the floating-point unit is in.

#include <cmath>

namespace cogent {

// NaN and infinities come back as they are; the caller bounds the result
// before it converts it to an integer.
inline double RoundHalfToEven(double Value) noexcept {
  if (!std::isfinite(Value)) return Value;
  const double Floor = std::floor(Value);
  const double Fraction = Value - Floor;
  if (Fraction < 0.5) return Floor;
  if (Fraction > 0.5) return Floor + 1.0;
  return std::fmod(Floor, 2.0) == 0.0 ? Floor : Floor + 1.0;
}

}  // namespace cogent
