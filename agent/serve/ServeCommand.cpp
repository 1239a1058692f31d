#include "agent/serve/ServeCommand.h"

#include "agent/InputError.h"
#include "agent/serve/AgentLog.h"
#include "agent/serve/Console.h"
#include "agent/serve/ControlServer.h"
#include "agent/serve/LiveInterfaces.h"
#include "agent/serve/Metrics.h"
#include "agent/serve/MetricsServer.h"
#include "agent/serve/Privileges.h"
#include "agent/serve/Service.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/signal_set.hpp>
#include <systemd/sd-daemon.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <optional>
#include <utility>

namespace Agent {

namespace asio = boost::asio;
using boost::system::error_code;

namespace {

using Clock = std::chrono::steady_clock;

constexpr unsigned error = 3;
constexpr unsigned notice = 5;
/// For the system to list its interfaces, before the machine begins without them.
constexpr std::chrono::seconds patience{5};
/// Longer than this the loop never waits at a time: clocks count no end of seconds.
constexpr Mdl::Seconds longestWait = 3600.0;

/// The event loop and what hangs on it.
///
/// I1: the machine is woken no later than it wants to be, unless a command is under way.
class Daemon {
 public:
   Daemon(ServeOptions const& options, AgentLog& log)
       : options_(options), log_(log), start_(Clock::now()),
         service_(
             {options.configuration, options.stateFolder, options.interfaces},
             [this] { return secondsSince(start_); }, TimeScale(std::chrono::system_clock::now()),
             sink()),
         console_(service_, [this](bool keep) { end(keep); }), signals_(loop_) {
      signals_.add(SIGTERM);
      signals_.add(SIGINT);
      signals_.add(SIGHUP);
      std::signal(SIGPIPE, SIG_IGN);
   }

   ExitCode run(std::ostream& err) {
      // The socket's folder first: where both are new and one is in the other, clients get in.
      makeFolder(std::filesystem::path(options_.socket).parent_path(),
                 ownerFrom(options_.user, options_.socketGroup));
      makeFolder(options_.stateFolder, ownerFrom(options_.user, ""));
      // The socket before the machine: whoever finds it taken must not touch hardware.
      ControlServer const control(loop_, console_,
                                  {options_.socket, options_.socketGroup, options_.user}, sink());
      std::optional<MetricsServer> metrics;
      if (!options_.metrics.empty()) {
         metrics.emplace(
             loop_, metricsAddressFrom(options_.metrics),
             [&] { return metricsText(service_, control.clients()); }, sink());
      }
      std::optional<LiveInterfaces> live;
      if (options_.interfaces != InterfaceMode::file) live.emplace(loop_, service_);
      dropPrivileges(options_.user);
      if (live) live->fetch(patience);
      if (!service_.start(err)) return ExitCode::badInput;
      service_.traceLevelIs(options_.traceLevel);
      if (live) live->follow();
      listenForSignals();
      sd_notify(0, "READY=1");
      log_.write(notice, "ready: commands are taken at " + options_.socket);
      while (!ended_) turn();
      return leave(err);
   }

 private:
   static Mdl::Seconds secondsSince(Clock::time_point start) {
      return std::chrono::duration<double>(Clock::now() - start).count();
   }

   LogSink sink() {
      return [this](unsigned severity, std::string const& text) { log_.write(severity, text); };
   }

   /// One thing that happens, or the machine's wake-up.
   void turn() {
      Mdl::Seconds const next = service_.nextTurn();
      if (next == Mdl::never) {
         loop_.run_one();
      } else if (loop_.run_one_until(momentOf(next)) == 0) {
         // A moment that has passed runs nothing. Where every wake-up is late, commands and signals
         // still have their turn.
         loop_.poll_one();
      }
      if (!ended_) service_.turn();
   }

   Clock::time_point momentOf(Mdl::Seconds next) const {
      Mdl::Seconds const latest = service_.world().now() + longestWait;
      return start_ + std::chrono::duration_cast<Clock::duration>(
                          std::chrono::duration<double>(std::min(next, latest)));
   }

   void listenForSignals() {
      signals_.async_wait([this](error_code stopped, int signal) {
         if (stopped) return;
         if (signal == SIGHUP) {
            readAgain();
         } else {
            end(false);
         }
         listenForSignals();
      });
   }

   void readAgain() {
      sd_notify(0, "RELOADING=1");
      try {
         service_.reload();
      } catch (InputError const& bad) {
         log_.write(error, std::string("nothing has changed: ") + bad.what());
      }
      sd_notify(0, "READY=1");
   }

   void end(bool keepHardware) {
      ended_ = true;
      // Whoever was told that hardware forwards on was told the truth, whatever comes afterwards.
      keepHardware_ = keepHardware_ || keepHardware;
   }

   ExitCode leave(std::ostream& err) {
      sd_notify(0, "STOPPING=1");
      log_.write(notice, keepHardware_ ? "ending, hardware forwards on" : "ending");
      // The reply to the command that ends the agent is still to go out.
      loop_.run_for(std::chrono::milliseconds(100));
      return service_.stop(keepHardware_, err) ? ExitCode::ok : ExitCode::failure;
   }

   ServeOptions const& options_;
   AgentLog& log_;
   Clock::time_point const start_;
   asio::io_context loop_;
   Service service_;
   Console console_;
   asio::signal_set signals_;
   bool ended_ = false;
   bool keepHardware_ = false;
};

}  // namespace

ExitCode serve(ServeOptions const& options, std::ostream& err) {
   AgentLog log(err, AgentLog::formHere(), options.syslog);
   try {
      return Daemon(options, log).run(err);
   } catch (InputError const& bad) {
      err << "decap-agent: " << bad.what() << '\n';
      return ExitCode::badInput;
   } catch (std::exception const& bad) {
      err << "decap-agent: " << printable(bad.what()) << '\n';
      return ExitCode::failure;
   }
}

}  // namespace Agent
