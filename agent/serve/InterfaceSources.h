#pragma once

#include "agent/Configuration.h"
#include "agent/Reload.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

namespace Agent {

/// Whose interfaces the machine is shown.
enum class InterfaceMode : std::uint8_t { live, file, both };

/// "live", "file" or "both".
char const* modeText(InterfaceMode mode) noexcept;

/// Puts together the interfaces of the configuration file and those of the system.
///
/// Owner: the service.
/// I1: for each name the world has what the file says, where it says anything; else what the
///   system says. What the mode leaves out is never looked at.
/// Cost: O(log interfaces) a change, and what the change of the world costs.
class InterfaceSources {
 public:
   explicit InterfaceSources(InterfaceMode mode) noexcept : mode_(mode) {}

   InterfaceMode mode() const noexcept { return mode_; }
   std::size_t fromFile() const noexcept { return file_.size(); }
   std::size_t fromSystem() const noexcept { return live_.size(); }

   /// The file names these and no others.
   void fileIs(std::vector<InterfaceConfiguration> const& interfaces, Reload& reload);
   void liveIs(InterfaceConfiguration const& interface, Reload& reload);
   void liveDel(Pkt::IntfId const& name, Reload& reload);

 private:
   using ByName = std::map<Pkt::IntfId, InterfaceConfiguration>;

   InterfaceMode const mode_;
   ByName file_;
   ByName live_;
};

}  // namespace Agent
