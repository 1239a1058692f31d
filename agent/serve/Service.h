#pragma once

#include "agent/Configuration.h"
#include "agent/HardwareState.h"
#include "agent/JournalFile.h"
#include "agent/Reload.h"
#include "agent/TimeScale.h"
#include "agent/World.h"
#include "agent/serve/HookMeter.h"
#include "agent/serve/InterfaceSources.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>

namespace Agent {

/// What a running agent was started with.
struct ServiceOptions {
   std::string configuration;  ///< the file
   std::string stateFolder;    ///< where the hardware table is kept between runs; empty for nowhere
   InterfaceMode interfaces = InterfaceMode::file;
};

/// A line of the agent's own log, with the severity of the syslog protocol (RFC 5424).
using LogSink = std::function<void(unsigned severity, std::string const& text)>;

/// A machine that runs, in real time, and what its operator may do to it. Knows nothing of
/// sockets, signals and loops: those call in here.
///
/// Owner: the daemon, or a test.
/// I1: between calls the world stands at rest, and nothing here waits for anything.
/// Exceptions: what a hook throws ends in the log. InputError leaves the calls that read files,
///   and then nothing has changed.
class Service {
 public:
   /// `clock` reads the seconds since the service began; `zero` is the wall's time then.
   Service(ServiceOptions options, std::function<Mdl::Seconds()> clock, TimeScale times,
           LogSink log);
   Service(Service const&) = delete;
   Service& operator=(Service const&) = delete;
   ~Service();

   /// Reads the configuration and starts the machine on it. Throws InputError; false, with a line
   /// to `err`, where the kept hardware table cannot be had.
   bool start(std::ostream& err);
   /// Interfaces of the system are shown to the machine from now on: before `start`, which would
   /// otherwise replay groups on none.
   void liveIs(InterfaceConfiguration const& interface);
   void liveDel(Pkt::IntfId const& name);

   /// Lets time catch up and wakes the machine if that is due.
   void turn() { world_.turn(); }
   /// When `turn` is to be called at the latest, in seconds of the service.
   Mdl::Seconds nextTurn() const { return world_.nextTurn(); }

   /// Applies a configuration as the difference to what runs.
   Changes apply(Configuration const& configuration);
   /// Reads the configuration file again and applies it.
   Changes reload();

   /// The machine starts anew. With `keepHardware` nothing is withdrawn, and what is there is taken
   /// over.
   void restart(bool keepHardware);
   /// The end of the machine. False when hardware could not be left as wanted.
   bool stop(bool keepHardware, std::ostream& err);

   /// Begins a journal with a new machine on the hardware as it is. The file is open for writing,
   /// and stays the caller's. Throws InputError.
   void journalStart(std::string const& name, int file);
   /// Ends it, if there is one. False, with one line to `err`, when it does not have everything.
   bool journalStop(std::ostream& err);
   /// Empty when none is written.
   std::string const& journal() const noexcept { return journalName_; }

   /// Traces up to the level go to the log; none for no level.
   void traceLevelIs(std::optional<unsigned> level);

   World& world() noexcept { return world_; }
   World const& world() const noexcept { return world_; }
   TimeScale const& times() const noexcept { return times_; }
   ServiceOptions const& options() const noexcept { return options_; }
   InterfaceSources const& interfaces() const noexcept { return interfaces_; }
   Mdl::Seconds configuredAt() const noexcept { return configuredAt_; }
   std::uint64_t faults() const noexcept { return faults_; }
   HookMeter const& meter() const noexcept { return meter_; }

   /// What was asked of the books, and how often they were wrong.
   struct Checks {
      std::uint64_t asked = 0;
      std::uint64_t failed = 0;
   };
   Checks const& checks() const noexcept { return checks_; }
   void noteCheck(bool good) noexcept {
      ++checks_.asked;
      if (!good) ++checks_.failed;
   }
   /// Configurations that came while the agent ran.
   struct Reloads {
      std::uint64_t applied = 0;
      std::uint64_t refused = 0;
   };
   Reloads const& reloads() const noexcept { return reloads_; }
   void noteRefusedConfiguration() noexcept { ++reloads_.refused; }
   /// Single changes of configuration and interfaces that the machine was shown.
   std::uint64_t inputChanges() const noexcept { return inputChanges_; }

   void log(unsigned severity, std::string const& text) const { log_(severity, text); }

   /// In a copy of the process: goes on with what is in memory, touches no file any more
   /// and says nothing in the log.
   void detach();

 private:
   Reload reloading();
   void take(Configuration const& configuration, Reload& reload);
   void noteFault(std::exception const& fault);
   void rebuild(bool keepHardware);

   ServiceOptions const options_;
   TimeScale const times_;
   LogSink log_;
   Mdl::TraceHandle* const trace_;
   HookMeter meter_;
   // Before the world, which writes to it until its end.
   std::unique_ptr<JournalFile> journal_;
   std::string journalName_;
   World world_;
   HardwareState state_;
   InterfaceSources interfaces_;
   HardwareConfiguration hardware_;
   Mdl::Seconds configuredAt_ = 0.0;
   std::uint64_t faults_ = 0;
   std::uint64_t inputChanges_ = 0;
   Checks checks_;
   Reloads reloads_;
};

/// "2 groups added, 1 changed, 3 prefixes added", or "nothing".
std::string changesText(Changes const& changes);

}  // namespace Agent
