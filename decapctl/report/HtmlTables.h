#pragma once

#include "decapctl/report/RunHistory.h"

#include <string>

namespace Ctl::Report {

// The parts of the page that are words and numbers, as HTML.

/// What is to be known before anything is read: a journal that was cut off, and the like.
std::string notes(RunHistory const& run);
std::string figures(RunHistory const& run);
std::string callTable(RunHistory const& run);
std::string typeTable(RunHistory const& run);
std::string alarmTable(RunHistory const& run);
std::string burstTable(RunHistory const& run);
std::string keyTable(RunHistory const& run);

}  // namespace Ctl::Report
