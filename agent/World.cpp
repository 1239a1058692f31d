#include "agent/World.h"

#include "agent/MachineView.h"
#include "platform/sim/StateFile.h"

#include <csignal>
#include <cstdint>
#include <utility>

namespace Agent {

namespace {

/// One turn of an event loop that is due at once. Simulated time must move for a wake-up to run.
constexpr Mdl::Seconds shortestTurn = 0.001;

/// Calls kept for the person at the terminal; a million prefixes must not be kept twice.
constexpr std::size_t journalLimit = 1000;

/// So many refusals are not worth looking through.
constexpr std::size_t fewRefusals = 1000;

/// Does the second thing although the first may throw.
template <class First, class Second>
void both(First const& first, Second const& second) {
   try {
      first();
   } catch (...) {
      second();
      throw;
   }
   second();
}

/// What a wake-up can change that matters to an onlooker.
struct Mark {
   std::size_t entries;
   std::size_t waiting;
   std::uint64_t programmed;
   bool full;

   friend bool operator==(Mark const&, Mark const&) = default;
};

}  // namespace

World::World()
    : config_(Mdl::allocate<Tunnel::Decap::Config>()),
      status_(Mdl::allocate<Tunnel::Decap::Hardware::Status>()),
      ipStatus_(Mdl::allocate<Ip::Status>()), ip6Status_(Mdl::allocate<Ip6::Status>()),
      shared_(Mdl::allocate<Fwd::FwdCommonSmData>(Mdl::allocate<Fwd::VerifyData>())),
      hardware_(Mdl::allocate<Sim::SimHelper>()) {
   hardware_->journal().limitIs(journalLimit);
   hardware_->observerIs([this](Sim::Call const& call) { noteCall(call); });
   log_.observerIs([this](Mdl::LogHandle const& message) {
      if (recorder_ != nullptr) recorder_->noteLog(message);
      if (logObserver_) logObserver_(message);
   });
}

void World::noteCall(Sim::Call const& call) {
   takeOver_.note(call);
   refusals_.note(call, machine_ && machine_->unprogrammedKeyHas(call.key));
   if (refusals_.size() > refusalsWorthPruning_) {
      refusals_.prune(
          [this](Fwd::DecapKey const& key) { return machine_ && machine_->refCountHas(key); });
      refusalsWorthPruning_ = fewRefusals + 2 * refusals_.size();
   }
   if (callObserver_) callObserver_(call);
   if (callsToLive_ == 0 || --callsToLive_ != 0) return;
   beforeDeath_();
   std::raise(SIGKILL);
}

void World::noteBacklog(Fwd::DecapKey const& key) {
   if (machine_ && machine_->unprogrammedKeyHas(key)) {
      waitsSince_.tryInsert(key, now());
   } else {
      waitsSince_.erase(key);
   }
}

std::optional<Mdl::Seconds> World::waitsSince(Fwd::DecapKey const& key) const {
   Mdl::Seconds const* const since = waitsSince_.find(key);
   return since == nullptr ? std::nullopt : std::optional(*since);
}

std::optional<Mdl::Seconds> World::waitingLongest() const {
   for (auto const& entry : waitsSince_) return entry.value;
   return std::nullopt;
}

void World::killIn(std::uint64_t calls, std::function<void()> before) {
   callsToLive_ = calls;
   beforeDeath_ = std::move(before);
}

World::~World() {
   // Nobody listens any more to what the tear-down does.
   hardware_->observerIs({});
   stop(keepHardware_);
}

void World::resume(std::unique_ptr<Sim::StateFile> file) { hardware_->resume(std::move(file)); }

void World::configure(Configuration const& configuration) {
   configure(configuration.hardware);
   review_ = configuration.review;
   reviewChanged();
   for (auto const& interface : configuration.interfaces) configure(interface);
   for (auto const& group : configuration.groups) configure(group);
}

void World::configure(HardwareConfiguration const& hardware) {
   hardware_->table().capacityIs(hardware.capacity);
   // Whatever limit a type had goes, unless it is given one.
   for (Mdl::Enumerator const& type : Mdl::EnumTraits<Tunnel::Decap::TunnelType>::enumerators) {
      hardware_->table().capacityIs(static_cast<Tunnel::Decap::TunnelType>(type.value),
                                    Sim::HardwareTable::unlimited);
   }
   for (auto const& [type, entries] : hardware.capacityByType) {
      hardware_->table().capacityIs(type, entries);
   }
   hardware_->latencyIs(hardware.latency);
   hardware_->notReadyUntilIs(hardware.notReadyUntil);
   callCostIs(hardware.callCost);
   hardware_->script().forPrefixDelAll();
   for (auto const& rule : hardware.answers) {
      hardware_->script().forPrefix(rule.destination, rule.answer, rule.times);
   }
}

void World::configure(GroupConfiguration const& configuration) {
   auto const group = groupFor(configuration.name);
   group->tunnelTypeIs(configuration.tunnelType);
   group->destPortIs(configuration.destPort);
   group->payloadTypeIs(configuration.payloadType);
   group->forwardingVrfIs(configuration.vrf);
   for (auto const& prefix : configuration.decapIps) group->decapIpIs(prefix);
   // Before the entries, so that these never admit an interface that is left out.
   for (auto const& set : configuration.excludeInterfaces) group->decapExcludeIntfSetIs(set);
   for (auto const& entry : configuration.decapInterfaces) group->decapIntfIs(entry);
   groupIs(group);
}

void World::configure(InterfaceConfiguration const& configuration) {
   auto const interface = interfaceFor(configuration.name);
   vrfIs(interface, configuration.vrf);
   interface.ip->addrWithMaskIs(configuration.primary);
   for (auto const& addr : configuration.secondary) interface.ip->activeSecondaryWithMaskIs(addr);
   interface.ip->virtualAddrIs(configuration.isVirtual);
   for (auto const& addr : configuration.ipv6) interface.ip6->addrIs(addr, {});
   interfaceIs(interface);
}

void World::build() {
   if (machine_) return;
   hardware_->holdOver();
   takeOver_.begin(hardware_->table());
   // An agent's status begins with the agent: an alarm that its predecessor left standing is not
   // its own, and nobody would end it.
   status_ = Mdl::allocate<Tunnel::Decap::Hardware::Status>();
   Mdl::Ptr<Fwd::FwdDecapGroupSmHelper> hook = hardware_;
   if (hookLayer_) hook = hookLayer_(hook);
   if (recorder_ != nullptr) {
      recorder_->noteBuild(
          {config_, status_, ipStatus_, ip6Status_, shared_->verifyData(), time_.clock()});
      hook = recorder_->hook(hook);
   }
   machine_ = Fwd::fwdDecapGroupSmFactory(shared_, config_, status_, ipStatus_, ip6Status_,
                                          time_.clock(), hook);
   backlogWatcher_ = Mdl::allocate<Journal::Watcher>(
       machine_, [this](Mdl::AttributeId attribute, void const* key) {
          ++notifications_;
          if (attribute != Fwd::FwdDecapGroupSm::unprogrammedKeyAttributeId) return;
          noteBacklog(*static_cast<Fwd::DecapKey const*>(key));
       });
   reviewChanged();
}

void World::start() {
   build();
   configReady();
   initialized();
}

void World::initializedIs(bool initialized) {
   if (!machine_) return;
   if (recorder_ != nullptr) recorder_->noteInitialized(initialized);
   machine_->initializedIs(initialized);
}

void World::stop(bool keepHardware) {
   if (!machine_) return;
   if (recorder_ != nullptr) {
      recorder_->noteCleanupDisabled(keepHardware);
      recorder_->noteDrop();
   }
   // It holds what it watches.
   backlogWatcher_ = nullptr;
   waitsSince_.clear();
   machine_->disableCleanupOnRestartIs(keepHardware);
   machine_ = nullptr;
   // Whoever comes next is to be told again.
   config_->readyIs(false);
}

Mdl::Ptr<World::DecapGroup> World::groupFor(Mdl::String const& name) {
   auto const known = group(name);
   return known ? known : newGroup(name);
}

Mdl::Ptr<World::DecapGroup> World::newGroup(Mdl::String const& name) {
   auto made = Mdl::allocate<DecapGroup>(name);
   made->forwardingVrfIs(L3::VrfName::defaultVrf());
   return made;
}

Mdl::Ptr<World::DecapGroup> World::group(Mdl::String const& name) const {
   Mdl::Ptr<DecapGroup> const* const known = groups_.find(name);
   return known == nullptr ? nullptr : *known;
}

void World::groupIs(Mdl::Ptr<DecapGroup> const& group) {
   groups_.insertOrAssign(group->name(), group);
   config_->decapGroupIs(group);
}

void World::groupDel(Mdl::String const& name) {
   groups_.erase(name);
   config_->decapGroupDel(name);
}

Interface World::interfaceFor(Pkt::IntfId const& name) {
   if (Interface const* const known = interfaces_.find(name)) return *known;
   L3::VrfName const& vrf = L3::VrfName::defaultVrf();
   return {Mdl::allocate<Ip::IpIntfStatus>(name, vrf), Mdl::allocate<Ip6::IntfStatus>(name, vrf)};
}

void World::interfaceIs(Interface const& interface) {
   interfaces_.insertOrAssign(interface.name(), interface);
   both([&] { ipStatus_->ipIntfStatusIs(interface.ip); },
        [&] { ip6Status_->intfIs(interface.ip6); });
}

void World::interfaceDel(Pkt::IntfId const& name) {
   interfaces_.erase(name);
   both([&] { ipStatus_->ipIntfStatusDel(name); }, [&] { ip6Status_->intfDel(name); });
}

void World::vrfIs(Interface const& interface, L3::VrfName const& vrf) const {
   if (recorder_ != nullptr) {
      recorder_->noteVrf(interface.ip, vrf);
      recorder_->noteVrf(interface.ip6, vrf);
   }
   interface.ip->vrfIs(vrf);
   interface.ip6->vrfIs(vrf);
}

void World::applyEntry(Mdl::String const& group, Tunnel::Decap::DecapIntfKey const& entry) {
   if (!machine_ || !machine_->mdlDecapGroup().contains(group)) return;
   if (recorder_ != nullptr) recorder_->noteEntry(group, entry);
   Agent::applyEntry(*machine_, group, entry);
}

void World::followIs(std::function<Mdl::Seconds()> source) {
   time_.followIs(std::move(source));
   callCostIs(0.0);
}

void World::turn() {
   time_.catchUp();
   if (time_.now() > time_.clock()->time()) moveClock(time_.now());
}

void World::advanceTo(Mdl::Seconds time) {
   for (Mdl::Seconds next = nextTurn(); next <= time; next = nextTurn()) moveClock(next);
   moveClock(time);
}

Settled World::settle(Mdl::Seconds limit) {
   auto const mark = [this] {
      return Mark{hardware_->table().size(), machine_ ? machine_->unprogrammedKey().size() : 0,
                  hardware_->written(), status_->hwResourceFull()};
   };
   turn();
   Mdl::Seconds const latest = now() + limit;
   for (;;) {
      Mdl::Seconds const next = nextTurn();
      if (next == Mdl::never) return {true, now()};
      if (next > latest) return {false, now()};
      Mark const before = mark();
      moveClock(next);
      if (mark() == before && !hardware_->script().changesByCalls() &&
          hardware_->nextChange() == Mdl::never) {
         return {true, now()};
      }
   }
}

void World::reviewChanged() {
   if (!machine_) return;
   if (recorder_ != nullptr) {
      recorder_->noteReviewInterval(review_.interval);
      recorder_->noteReviewQuanta(review_.budget);
   }
   machine_->reviewIntervalIs(review_.interval);
   machine_->reviewQuantaIs(review_.budget);
}

void World::moveClock(Mdl::Seconds time) {
   if (machine_ && nextWakeUp(*machine_) <= time) ++reviews_;
   try {
      time_.advanceTo(time);
   } catch (Mdl::Exception const& fault) {
      if (!faultHandler_) throw;
      faultHandler_(fault);
   }
}

Mdl::Seconds World::nextTurn() const {
   Mdl::Seconds const wakeUp = machine_ ? nextWakeUp(*machine_) : Mdl::never;
   Mdl::Seconds const clock = time_.clock()->time();
   return wakeUp > clock ? wakeUp : clock + shortestTurn;
}

}  // namespace Agent
