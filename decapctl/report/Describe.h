#pragma once

#include "decapctl/report/JournalReader.h"
#include "decapctl/report/Wanted.h"

#include <string>

namespace Ctl::Report {

/// What a line of a journal says, in a few words for people. Not escaped.
std::string described(JournalLine const& line, Wanted const& wanted);

}  // namespace Ctl::Report
