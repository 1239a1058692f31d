#pragma once

#include "oracle/Event.h"
#include "oracle/Run.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>

namespace Oracle {

struct SoakOptions {
   std::uint64_t events = 1'000'000;
   std::uint32_t seed = 1;
   /// Of a sequence; every fortieth is forty times as long.
   std::uint32_t length = 250;
   /// Where the scenario of a failure goes.
   std::string folder = ".";
   /// What plays a sequence: another one only for tests of the soak itself.
   std::function<Outcome(Events const&, std::function<void(std::size_t)> const&)> player = play;
};

/// Plays sequence after sequence until the events are spent or machine and oracle disagree, and
/// writes a verdict.
///
/// The sequences are played in a child process. What stops that process, an assertion or a crash,
/// is a failure like any other: it is reduced, each try in a child of its own, and written down.
/// While the child plays, `terminal` shows how far it is; null where nobody watches.
///
/// `out` is a file or the terminal: the child writes there, too. Returns the exit code: 0 when all
/// is well, 1 for a disagreement or for memory that grows, 2 when the soak itself cannot go on.
int soak(SoakOptions const& options, std::ostream& out, std::ostream* terminal);

}  // namespace Oracle
