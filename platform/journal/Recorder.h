#pragma once

#include "FwdL3Unicast/FwdDecapGroup.h"
#include "mdl/Log.h"
#include "mdl/Trace.h"
#include "platform/journal/Line.h"
#include "platform/journal/Watcher.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Journal {

/// What a state machine is built on.
struct Inputs {
   Mdl::Ptr<Tunnel::Decap::Config const> config;
   /// What the machine reports to: its own, from its beginning.
   Mdl::Ptr<Tunnel::Decap::Hardware::Status const> status;
   Mdl::Ptr<Ip::Status const> ip;
   Mdl::Ptr<Ip6::Status const> ip6;
   Mdl::Ptr<Fwd::VerifyData const> verifyData;
   Mdl::Ptr<Mdl::Clock const> clock;
};

/// Writes down everything that a state machine is told and all that it does: each change of its
/// configuration and of the interfaces' status, each answer of hardware, the time; each hook call,
/// log message and trace. `Player` has another machine do the same again.
///
///     Journal::Recorder recorder([&](std::string const& line) { file << line << '\n'; });
///     recorder.noteBuild({config, status, ip, ip6, verifyData, clock});
///     machine = Fwd::fwdDecapGroupSmFactory(shared, config, status, ip, ip6, clock,
///                                           recorder.hook(platform));
///     recorder.noteInitialized(true);
///     machine->initializedIs(true);
///
/// Entities tell of their changes themselves. What nobody tells of, the owner notes, before it does
/// it: `note...`. An entity is written down with its whole content when it first becomes part of
/// what the machine watches, and by its number from then on.
///
/// Owner: who owns the machine; outlives the machine and the hook. One at a time on a machine.
/// I1: the recorder hears of a change before the machine does, so that in the journal what the
///   machine does follows what made it do so.
/// I2: recording changes nothing: a line that the sink cannot take is left out, and `failure()`
///   says so.
/// Not recorded: changes that another reactor makes inside a notification are written down, but
///   played again after what the machine made of that notification.
/// Cost: a line of text for each event. Entities that were once followed are kept until the end.
class Recorder {
 public:
   using Sink = std::function<void(std::string const& line)>;

   /// Each line comes without a line end; the first is the header.
   explicit Recorder(Sink sink);
   Recorder(Recorder const&) = delete;
   Recorder& operator=(Recorder const&) = delete;
   ~Recorder();

   /// What the machine gets for a hook: passes every call on to the platform.
   Mdl::Ptr<Fwd::FwdDecapGroupSmHelper> hook(Mdl::Ptr<Fwd::FwdDecapGroupSmHelper> const& platform);

   // The machine's life.

   void noteBuild(Inputs const& inputs);
   void noteDrop() { machine("drop"); }
   void noteInitialized(bool initialized) { machine("initialized", initialized); }
   void noteReviewInterval(Mdl::Seconds time) { machine("reviewInterval", secondsJson(time)); }
   void noteReviewQuanta(Mdl::Seconds time) { machine("reviewQuanta", secondsJson(time)); }
   void noteCleanupDisabled(bool disabled) { machine("disableCleanupOnRestart", disabled); }
   /// Its reactor is pointed at another one; null for none.
   void noteConfig(Mdl::Ptr<Tunnel::Decap::Config const> const& config);
   void noteIp(Mdl::Ptr<Ip::Status const> const& status);
   void noteIp6(Mdl::Ptr<Ip6::Status const> const& status);
   /// A handler of a group is called from outside, for an entry or an exclude set.
   void noteEntry(Mdl::String const& group, Tunnel::Decap::DecapIntfKey const& key);
   void noteExcludeSet(Mdl::String const& group, Tunnel::Decap::DecapIntfKey const& key);
   /// The machine is told of an interface's status outside of the status that lists it.
   void noteIntfStatus(Mdl::Ptr<Ip::IpIntfStatus const> const& status);

   /// An interface that the machine knows of moves; nobody is told.
   void noteVrf(Mdl::Ptr<Ip::IpIntfStatus const> const& status, L3::VrfName const& vrf);
   void noteVrf(Mdl::Ptr<Ip6::IntfStatus const> const& status, L3::VrfName const& vrf);

   // What the machine says. From whoever has the sinks of the process.

   /// The trace levels from now on; none at first. Others are not recorded.
   void noteTraceMask(std::uint32_t mask);
   void noteTrace(Mdl::TraceRecord const& record);
   void noteLog(Mdl::LogHandle const& message);

   /// Ends the journal: nothing is recorded any more.
   void close();
   /// The same without writing the end: what there is of the journal is another process's.
   void abandon() noexcept { sink_ = nullptr; }
   /// Why lines are missing; empty while none is.
   std::string const& failure() const noexcept { return failure_; }

 private:
   friend class RecordingHook;
   using Items = nlohmann::json;

   /// The entities of one kind, numbered from 1 as they appear.
   struct Followed {
      std::uint32_t number;
      Mdl::Ptr<Watcher> watcher;
   };
   using Kind = std::map<Mdl::Entity const*, Followed>;

   void line(Items const& items) noexcept;
   /// The time comes first.
   void timed(Items items) noexcept;
   void input(Items items) noexcept;
   void machine(char const* what, Items const& value = nullptr);
   void catchSilentRequest() noexcept;

   template <class E, class Written>
   std::uint32_t numberOf(Kind& kind, Mdl::Ptr<E const> const& entity, Written const& written);
   Items configNumber(Mdl::Ptr<Tunnel::Decap::Config const> const& config);
   Items groupNumber(Mdl::Ptr<Tunnel::Decap::DecapGroup const> const& group);
   Items ipNumber(Mdl::Ptr<Ip::Status const> const& status);
   Items ipIntfNumber(Mdl::Ptr<Ip::IpIntfStatus const> const& status);
   Items ip6Number(Mdl::Ptr<Ip6::Status const> const& status);
   Items ip6IntfNumber(Mdl::Ptr<Ip6::IntfStatus const> const& status);

   void write(Tunnel::Decap::Config const& config, std::uint32_t number, Mdl::AttributeId attribute,
              void const* key);
   void write(Tunnel::Decap::DecapGroup const& group, std::uint32_t number,
              Mdl::AttributeId attribute, void const* key);
   void write(Ip::Status const& status, std::uint32_t number, void const* key);
   void write(Ip::IpIntfStatus const& status, std::uint32_t number, Mdl::AttributeId attribute,
              void const* key);
   void write(Ip6::Status const& status, std::uint32_t number, void const* key);
   void write(Ip6::IntfStatus const& status, std::uint32_t number, void const* key);

   void noteCall(char const* operation, Fwd::DecapKey const* key);
   void noteAnswer(Items answer) { timed({"answer", std::move(answer)}); }
   void noteUdpWait(bool wait);

   Sink sink_;
   std::string failure_;
   Kind configs_;
   Kind groups_;
   Kind ips_;
   Kind ipIntfs_;
   Kind ip6s_;
   Kind ip6Intfs_;
   Mdl::Ptr<Watcher> status_;
   Mdl::Ptr<Watcher> clock_;
   Mdl::Ptr<Watcher> verifyData_;
   Mdl::Ptr<Fwd::VerifyData const> requests_;
   bool requested_ = false;
   std::uint32_t traceMask_ = 0;
   std::optional<bool> udpWait_;
};

}  // namespace Journal
