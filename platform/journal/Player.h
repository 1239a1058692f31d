#pragma once

#include "FwdL3Unicast/FwdDecapGroup.h"
#include "mdl/Trace.h"
#include "platform/journal/Line.h"
#include "platform/journal/Recorder.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Journal {

/// Where a replay went another way than the journal. An empty text: nothing more.
struct Difference {
   std::size_t line = 0;
   std::string recorded;
   std::string replayed;
};

/// What a replay came to.
struct Outcome {
   std::optional<Difference> difference;
   /// Lines that were the same.
   std::size_t lines = 0;
   std::size_t inputs = 0;
   std::size_t calls = 0;
   std::size_t messages = 0;
   std::size_t traces = 0;
   /// Whether the journal has its end. One without was cut off, as by a process that was killed.
   bool complete = false;
};

/// Has a state machine live through a journal again: gives it the inputs at their times, answers
/// its hook calls as they were answered, and compares what it does, line by line.
///
/// The comparison is a second recording: a `Recorder` on the replayed machine, whose lines have to
/// be those of the journal, byte for byte. What is an input in the journal is done; it comes back
/// through that recorder like everything else.
///
/// Owner: a command; one at a time, as time, log and traces are the process's.
/// I1: `done_` is the first line that has not been acted on, `seen_` the first that the replay has
///   not written; what an entity is made of is acted on before it is seen.
/// I2: after the first difference nothing is compared or acted on any more.
/// Errors: JournalError for a text that is no journal, or speaks of what it has not introduced. A
///   journal of a process that a broken invariant stopped stops this one in the same place.
/// Cost: the machine's work and parsing and composing a line for each event.
class Player {
 public:
   using TraceObserver = std::function<void(Mdl::TraceRecord const&)>;
   using Progress = std::function<void(std::size_t line)>;

   /// `text` outlives the player.
   explicit Player(std::string_view text);
   Player(Player const&) = delete;
   Player& operator=(Player const&) = delete;
   ~Player();

   std::size_t size() const noexcept { return lines_.size(); }
   /// Traces of these levels are shown beside those that the journal has.
   void traceIs(std::uint32_t mask, TraceObserver observer);
   /// Told of every line that is acted on.
   void progressIs(Progress progress) { progress_ = std::move(progress); }

   Outcome play();

 private:
   class Platform;
   template <class E>
   using Made = std::map<std::uint32_t, Mdl::Ptr<E>>;

   void cut(std::string_view text);
   void see(std::string const& line);
   void differs(std::string replayed);
   bool isOver() const noexcept { return outcome_.difference || error_ || next() >= lines_.size(); }
   std::size_t next() const noexcept { return done_ > seen_ ? done_ : seen_; }
   Line nextLine() const { return Line(next() + 1, lines_[next()]); }
   void step();
   void act(Line const& line);
   void count(std::string_view line);

   void actOnMachine(Line const& line);
   void actOnHandler(Line const& line, Fwd::FwdDecapGroupSm& sm);
   void build(Line const& line);
   void actOnConfig(Line const& line);
   void actOnGroup(Line const& line);
   void actOnIp(Line const& line);
   void actOnIpIntf(Line const& line);
   void actOnIp6(Line const& line);
   void actOnIp6Intf(Line const& line);
   void actOnVerify(Line const& line);
   void actOnTrace(Line const& line);
   void moveTo(Mdl::Seconds time) noexcept { now_ = time; }
   Fwd::FwdDecapGroupSm& machine(Line const& line) const;

   // For the platform that answers as recorded.
   Mdl::Ptr<Fwd::FwdDecapGroupSmHelper> platform();
   std::string answer();
   std::string recordedAnswer();
   bool udpWait();

   std::vector<std::string_view> lines_;
   std::size_t done_ = 0;
   std::size_t seen_ = 0;
   /// Whether the journal has its end. What comes behind the last line of one that was cut off is
   /// not known.
   bool hasEnd_ = false;
   Outcome outcome_;
   std::optional<JournalError> error_;
   Progress progress_;
   TraceObserver traceObserver_;
   std::uint32_t extraTraces_ = 0;
   bool udpWait_ = true;
   Mdl::Seconds now_ = 0.0;
   Mdl::Ptr<Mdl::Clock> clock_;
   Mdl::Ptr<Fwd::VerifyData> verifyData_;
   Mdl::Ptr<Fwd::FwdCommonSmData> shared_;
   Made<Tunnel::Decap::Config> configs_;
   Made<Tunnel::Decap::DecapGroup> groups_;
   Made<Ip::Status> ips_;
   Made<Ip::IpIntfStatus> ipIntfs_;
   Made<Ip6::Status> ip6s_;
   Made<Ip6::IntfStatus> ip6Intfs_;
   std::optional<Recorder> recorder_;
   Mdl::Ptr<Fwd::FwdDecapGroupSm> machine_;
};

}  // namespace Journal
