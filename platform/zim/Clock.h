#pragma once
// Wall-clock seconds as a double. Tests set the clock instead of sleeping.
#include <optional>

namespace Zim {

double now();

// A fixed time for now() (tests); nullopt returns to the real clock.
void nowIs(std::optional<double> fixed);

} // namespace Zim
