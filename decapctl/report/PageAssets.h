#pragma once

namespace Ctl::Report {

// What every page has, whatever the journal.

extern char const* const pageStyle;
extern char const* const pageLegend;
/// Runs before anything else: notes errors of the page's own script on the root element.
extern char const* const pageGuard;
extern char const* const pageScript;

}  // namespace Ctl::Report
