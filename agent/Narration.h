#pragma once

#include "mdl/Log.h"
#include "mdl/Trace.h"
#include "platform/sim/Call.h"

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace Agent {

class World;

/// The bits of the trace levels 0 to `level`; none for no level.
constexpr std::uint32_t traceMask(std::optional<unsigned> level) noexcept {
   if (!level) return 0;
   return *level >= 31 ? ~std::uint32_t{0} : (std::uint32_t{2} << *level) - 1;
}

/// Tells what happens in a world while it happens: hook calls, operator messages, traces and
/// exceptions, a line each, with its time.
///
/// Owner: a command that runs a world; one at a time, as traces are the process's.
/// I1: while it lives it is the one that listens to the world; afterwards nobody does.
class Narration {
 public:
   /// `out` is null for a silent one, which only remembers.
   Narration(World& world, std::ostream* out, std::string indent);
   Narration(Narration const&) = delete;
   Narration& operator=(Narration const&) = delete;
   ~Narration();

   /// Shows traces up to this level, or none.
   void traceLevelIs(std::optional<unsigned> level);

   /// Forgets the calls and messages remembered so far.
   void startOver();
   /// Since `startOver`, in their order.
   std::vector<Sim::Call> const& calls() const noexcept { return calls_; }
   std::vector<Mdl::LogHandle const*> const& messages() const noexcept { return messages_; }

   /// An exception has come back out of the machine.
   void fault(std::exception const& exception);

 private:
   void line(Mdl::Seconds time, std::string const& text);

   World& world_;
   std::ostream* const out_;
   std::string const indent_;
   Mdl::TraceHandle* const trace_;
   std::vector<Sim::Call> calls_;
   std::vector<Mdl::LogHandle const*> messages_;
};

}  // namespace Agent
