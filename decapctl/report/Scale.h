#pragma once

#include <vector>

namespace Ctl::Report {

/// Round numbers from 0 to `greatest`, about `wanted` of them beside 0.
std::vector<double> ticks(double greatest, int wanted);

/// How far a scale of counts goes that has to show this one.
double roomFor(double greatest);

}  // namespace Ctl::Report
