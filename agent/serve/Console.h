#pragma once

#include "agent/JsonReport.h"
#include "agent/serve/DryRun.h"
#include "agent/serve/Service.h"
#include "control/Commands.h"
#include "control/Protocol.h"

#include <functional>
#include <memory>
#include <string>
#include <variant>

namespace Agent {

/// Obeys the commands of operators.
///
/// Owner: the daemon, or a test. The service outlives it.
/// Exceptions: none leaves `execute` but for lack of memory; what is wrong with a command or a file
///   is in the reply.
/// Cost: what `show` gives takes one pass over all keys, and memory by the rows that are asked for.
class Console {
 public:
   /// The agent is to end; with true hardware forwards on.
   using Shutdown = std::function<void(bool keepHardware)>;
   /// A reply, or the copy of the process that has it.
   using Outcome = std::variant<Control::Reply, std::unique_ptr<DryRun>>;

   /// Longer configurations are refused.
   static constexpr std::size_t greatestFile = std::size_t{256} << 20;

   Console(Service& service, Shutdown shutdown)
       : service_(service), shutdown_(std::move(shutdown)) {}

   /// `file` is the descriptor that came along, -1 for none; it stays the caller's.
   Outcome execute(Control::Request const& request, int file);

 private:
   struct Call {
      Control::Request const& request;
      std::vector<std::string> const& arguments;
      int file;
   };
   using Handler = Outcome (Console::*)(Call const&);

   static Handler handlerOf(std::string_view command);

   Outcome showSummary(Call const& call);
   Outcome showGroups(Call const& call);
   Outcome showEntries(Call const& call);
   Outcome showInterfaces(Call const& call);
   Outcome showBacklog(Call const& call);
   Outcome showConflicts(Call const& call);
   Outcome showResources(Call const& call);
   Outcome showLog(Call const& call);
   Outcome showRestart(Call const& call);
   Outcome explain(Call const& call);
   Outcome verify(Call const& call);
   Outcome audit(Call const& call);
   Outcome diff(Call const& call);
   Outcome load(Call const& call);
   Outcome reload(Call const& call);
   Outcome restart(Call const& call);
   Outcome shutdown(Call const& call);
   Outcome setReviewInterval(Call const& call);
   Outcome setReviewBudget(Call const& call);
   Outcome setHardwareCapacity(Call const& call);
   Outcome setHardwareLatency(Call const& call);
   Outcome trace(Call const& call);
   Outcome journalStart(Call const& call);
   Outcome journalStop(Call const& call);
   Outcome help(Call const& call);
   Outcome helpLog(Call const& call);

   ReportScope scopeOf(Call const& call) const;
   Configuration configurationOf(Call const& call) const;
   Outcome applied(Call const& call, Changes const& changes) const;

   Service& service_;
   Shutdown const shutdown_;
};

}  // namespace Agent
