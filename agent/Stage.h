#pragma once

#include "agent/JsonReport.h"
#include "agent/KeyPattern.h"
#include "agent/Narration.h"
#include "agent/World.h"

#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace Agent {

/// What the machine remembers of an interface's addresses. Zero for none.
struct RecordedAddresses {
   Pkt::IpAddr primary;
   Pkt::IpAddr virtualIp;

   std::string text() const;
};

/// Where a scenario plays: the world that its events change, and the person who watches.
///
/// Owner: the command that runs a scenario.
class Stage {
 public:
   /// `out` is null for a silent run.
   Stage(World& world, std::ostream* out, std::size_t rows);

   World& world() noexcept { return world_; }

   /// Runs a change; an exception that it lets out is told, and ends there.
   template <class Change>
   void attempt(Change const& change) {
      try {
         change();
      } catch (Mdl::Exception const& exception) {
         narration_.fault(exception);
      }
   }
   Narration& narration() noexcept { return narration_; }

   /// The sections of a report: groups, interfaces, hardware, restart, backlog, log, summary; for
   /// "all" all of them, interfaces and restart where there is something to say.
   void show(std::string const& section);
   void say(std::string const& text);
   /// The process dies in the n-th hook call from now on; what has been told so far is told.
   void killIn(std::uint64_t calls);
   /// Has the machine verify its books, or audits them, and says what is wrong or that nothing is.
   void verify();
   void audit();

   // Expectations. Each notes whether it was met, and says so.

   void expectHardware(std::vector<KeyPattern> const& wanted);
   void expectBacklog(std::vector<KeyPattern> const& wanted);
   void expectMissing(std::vector<KeyPattern> const& wanted);
   /// Of the last event that was no expectation.
   void expectCalls(std::vector<CallPattern> const& wanted);
   void expectLog(std::vector<std::string> const& wanted);
   /// How many differences an audit finds.
   void expectDifferences(std::uint64_t wanted);
   /// The addresses that the group has from interfaces, as `show interfaces` lists them.
   void expectAddresses(Mdl::String const& group, std::vector<std::string> const& wanted);
   /// The addresses that the machine has recorded of an interface; none for no record.
   void expectRecord(Pkt::IntfId const& intfId, std::optional<RecordedAddresses> const& wanted);
   void expectReferences(KeyPattern const& key, std::uint64_t wanted);
   /// Anything that compares as text.
   void expectText(std::string const& subject, std::string const& wanted, std::string const& found);

   /// Where the expectation stands that runs now.
   void expectationIs(std::size_t line, std::size_t column) noexcept;
   std::size_t expectations() const noexcept { return expectations_; }
   std::vector<Unmet> const& unmet() const noexcept { return unmet_; }

 private:
   void sayFindings(char const* what, std::vector<std::string> const& findings);
   void judge(bool met, std::string const& wanted, std::string const& found);
   Report everything() const;

   World& world_;
   std::ostream* const out_;
   std::size_t const rows_;
   Narration narration_;
   std::size_t expectations_ = 0;
   std::size_t line_ = 0;
   std::size_t column_ = 0;
   std::vector<Unmet> unmet_;
};

}  // namespace Agent
