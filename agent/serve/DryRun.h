#pragma once

#include "agent/Configuration.h"
#include "agent/Reload.h"
#include "agent/Report.h"

#include <cstddef>
#include <ostream>
#include <utility>
#include <vector>

namespace Agent {

class Service;

/// What a configuration would do to hardware.
struct Difference {
   Changes changes;
   std::vector<Fwd::DecapKey> programmed;
   std::vector<Fwd::DecapKey> removed;
   /// A destination whose entry carries something else: before, after.
   std::vector<std::pair<Fwd::DecapKey, Fwd::DecapKey>> rekeyed;
   /// Keys that hardware has before and after, and not all the time in between.
   std::vector<Fwd::DecapKey> interrupted;
   /// Keys that would wait, or never get in, and do not do so now.
   std::vector<KeyRow> left;
   std::size_t sizeBefore = 0;
   std::size_t sizeAfter = 0;
   std::size_t capacity = 0;
   /// Nothing would change any more by itself.
   bool settled = false;

   bool any() const noexcept {
      return changes.any() || !programmed.empty() || !removed.empty() || !rekeyed.empty() ||
             !interrupted.empty() || !left.empty();
   }
};

/// Applies the configuration to the service for good, and says what came of it. For a copy of the
/// process (see `DryRun`): the service is detached first.
Difference applyInCopy(Service& service, Configuration const& configuration);

void printText(std::ostream& out, Difference const& difference, TimeScale const& times,
               std::size_t rows);
void printJson(std::ostream& out, Difference const& difference, TimeScale const& times,
               std::size_t rows);

/// A copy of the process (fork) that applies a configuration and tells what came of it.
///
/// The copy has the machine itself with all it knows, so what it says is what would happen, and
/// the original goes on undisturbed: memory is shared until one of them writes.
///
/// Owner: whoever waits for the answer.
/// I1: the copy ends with this object, whatever it is doing.
class DryRun {
 public:
   /// Greatest time that a copy may take, in seconds of the processor.
   static constexpr unsigned patience = 60;

   /// Throws std::system_error where the system makes no copy.
   DryRun(Service& service, Configuration const& configuration, bool json, std::size_t rows);
   DryRun(DryRun const&) = delete;
   DryRun& operator=(DryRun const&) = delete;
   ~DryRun();

   /// What the copy has to say comes out here, the reply's status in the first byte ('0' to '3'),
   /// and then the end.
   int descriptor() const noexcept { return descriptor_; }

 private:
   int descriptor_ = -1;
   int process_ = -1;
};

}  // namespace Agent
