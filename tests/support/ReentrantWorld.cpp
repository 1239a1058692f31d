#include "support/ReentrantWorld.h"

#include "platform/sim/Script.h"

namespace Support {

namespace {

constexpr unsigned greatestDepth = 4;
constexpr std::uint32_t greatestBudget = 8;
/// Reviews after which no key waits any more that hardware has room for.
constexpr int reviews = 30;

}  // namespace

ReentrantWorld::ReentrantWorld(std::uint32_t seed, Meddling meddling, std::string* log)
    : generate_(seed), meddling_(meddling), log_(log), hook_(Mdl::allocate<ReentrantHook>()) {
   // The watchers first: who registers before the machine hears before it.
   for (Mdl::Ptr<Mdl::Entity const> const& entity :
        std::initializer_list<Mdl::Ptr<Mdl::Entity const>>{config, ip, ip6}) {
      watch(entity);
   }
   for (auto const* const name : {"g0", "g1"}) watch(givenGroup(name));
   for (std::size_t at = 0; at < each; ++at) {
      intf_[at] = givenInterface(ids_[at].name().view(), "10.0.0.1/24");
      watch(intf_[at]);
      intf6_[at] = givenInterface6(ids_[at].name().view(), {});
      watch(intf6_[at]);
   }
   hook_->actIs([this](char const* call, Fwd::DecapKey const& key) {
      say(call, " ", key);
      if (meddling_ >= Meddling::hook) meddle("the hook");
   });
   hook_->failsIs([this] { return hookFails(); });
   sm = Fwd::fwdDecapGroupSmFactory(acsd, config, status, ip, ip6, time.clock(), hook_);
   givenRunning();
}

ReentrantWorld::~ReentrantWorld() {
   for (auto const& watcher : watchers_) watcher->actDel();
   hook_->actIs(nullptr);
   hook_->failsIs(nullptr);
   sm = nullptr;
}

void ReentrantWorld::watch(Mdl::Ptr<Mdl::Entity const> const& entity) {
   watchers_.push_back(actorOn(entity, told_, "watcher"));
   watchers_.back()->actIs([this] { meddle("a watcher"); });
}

void ReentrantWorld::meddle(char const* where) {
   if (budget_ == 0 || depth_ > greatestDepth || generate_.below(100) >= eagerness_) return;
   say(where, " answers:");
   for (std::uint32_t left = 1 + generate_.below(3); left > 0 && budget_ > 0; --left) {
      --budget_;
      change();
   }
}

bool ReentrantWorld::hookFails() {
   if (!faultsAllowed_ || !generate_.oneIn(12)) return false;
   say("the hook throws");
   return true;
}

void ReentrantWorld::change() {
   std::uint32_t total = 0;
   // Readiness is the last kind.
   std::size_t const count = kindCount - (meddling_ >= Meddling::readiness ? 0 : 1);
   for (std::size_t at = 0; at < count; ++at) total += kinds[at].weight;
   std::uint32_t left = generate_.below(total);
   std::size_t at = 0;
   for (; left >= kinds[at].weight; ++at) left -= kinds[at].weight;
   ++depth_;
   try {
      (this->*kinds[at].make)();
   } catch (Sim::HardwareFault const&) {
      // As promised, it reaches whoever made the change, who can do nothing about it. Anything else
      // that is thrown fails the test.
      say("a fault of the hook came back");
   }
   --depth_;
}

void ReentrantWorld::step(bool meddled) {
   told_.clear();
   group_ = generate_.below(each);
   at_ = generate_.below(each);
   budget_ = meddled ? generate_.below(greatestBudget + 1) : 0;
   eagerness_ = 20 + generate_.below(60);
   faultsAllowed_ = meddled && meddling_ >= Meddling::faults;
   change();
   rest();
}

void ReentrantWorld::rest() {
   budget_ = 0;
   faultsAllowed_ = false;
   // A machine that is not initialized often stays so for some steps, so that it misses several
   // changes.
   if (!sm->initialized()) {
      if (!generate_.oneIn(3)) return;
      say("initialized at rest");
      sm->initializedIs(true);
   }
   for (int pass = 0; pass < reviews && !sm->unprogrammedKey().empty(); ++pass) {
      whenTimePasses(1.0);
   }
}

void ReentrantWorld::interfacesGo() {
   say("all interfaces go");
   for (auto const& id : ids_) {
      ip->ipIntfStatusDel(id);
      ip6->intfDel(id);
   }
   if (!sm->initialized()) sm->initializedIs(true);
   rest();
}

std::string ReentrantWorld::leftByMachine() {
   sm = nullptr;
   std::string text;
   for (auto const& key : hook_->table()) {
      text += "hardware keeps " + Sim::keyText(key) + " without a machine\n";
   }
   return text;
}

}  // namespace Support
