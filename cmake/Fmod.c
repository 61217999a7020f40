// SPDX-License-Identifier: Apache-2.0
// The one function that pugixml takes from the mathematics library, for its XPath, which nobody
// here calls. That library shared would be a tenth of a run, and linked in it binds the program to
// private symbols of the C library of the same version.

double fmod(double x, double y);

// Exact: each step takes away the largest power of two times y that fits.
double fmod(double x, double y) {
  const double size = __builtin_fabs(y);
  double rest = __builtin_fabs(x);
  if (!(size > 0) || !__builtin_isfinite(rest)) return __builtin_nan("");
  while (rest >= size) {
    double step = size;
    while (rest - step >= step) step += step;
    rest -= step;
  }
  return __builtin_copysign(rest, x);
}
