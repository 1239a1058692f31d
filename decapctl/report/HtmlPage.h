#pragma once

#include "decapctl/report/RunHistory.h"

#include <string>

namespace Ctl::Report {

/// A page that shows a run: one document that needs nothing besides itself, also without script.
/// Its size does not grow with the journal's.
std::string htmlPage(RunHistory const& run, std::string const& title);

}  // namespace Ctl::Report
