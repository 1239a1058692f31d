#include "agent/Report.h"

#include "agent/MachineView.h"
#include "agent/Ownership.h"
#include "agent/World.h"

namespace Agent {

namespace {

using Tunnel::Decap::TunnelType;

Fwd::TunnelTypeDecapIp destinationOf(Fwd::DecapKey const& key) {
   return {key.tunnelType(), key.dstIp()};
}

/// Why the key that hardware refused last with `refusal` is not in hardware.
Reason reasonOf(Refusal const& refusal) noexcept {
   if (refusal.threw) return Reason::fault;
   switch (refusal.answer) {
      case Fwd::dgRcSuccess:
      case Fwd::dgRcAlreadyExists: return Reason::none;
      case Fwd::dgRcNotReady: return Reason::notReady;
      case Fwd::dgRcUnSupported: return Reason::unsupported;
      case Fwd::dgRcHwFull: return Reason::full;
      case Fwd::dgRcMax: return Reason::refused;
      case Fwd::dgRcPending: return Reason::pending;
   }
   return Reason::refused;
}

/// What is to be said of one key.
class KeyJudge {
 public:
   explicit KeyJudge(World const& world) : world_(world) {}

   KeyRow row(Fwd::DecapKey const& key) const {
      KeyRow row;
      row.key = key;
      if (world_.machine()) row.references = world_.machine()->refCount(key);
      row.tries = world_.refusals().timesBefore(key);
      if (Refusal const* const refusal = world_.refusals().find(key)) {
         row.refusals = refusal->times;
         row.lastRefusal = refusal->last;
         row.tries = refusal->times;
      }
      if (TakeOver::Fate const* const fate = world_.takeOver().find(key)) row.fate = *fate;
      return row;
   }

   /// The VRF that keeps a waiting key out, null when none does.
   L3::VrfName const* conflictOf(Fwd::DecapKey const& key) const {
      auto const& owners = world_.machine()->tunnelTypeDecapIpToVrf();
      L3::VrfName const* const owner = owners.find(destinationOf(key));
      return owner != nullptr && *owner != key.forwardingVrf() ? owner : nullptr;
   }

   Reason refusalReason(Fwd::DecapKey const& key, Reason otherwise) const {
      Refusal const* const refusal = world_.refusals().find(key);
      return refusal == nullptr ? otherwise : reasonOf(*refusal);
   }

 private:
   World const& world_;
};

}  // namespace

char const* reasonName(Reason reason) noexcept {
   switch (reason) {
      case Reason::none: return "none";
      case Reason::vrfConflict: return "vrfConflict";
      case Reason::full: return "full";
      case Reason::notReady: return "notReady";
      case Reason::pending: return "pending";
      case Reason::fault: return "fault";
      case Reason::untried: return "untried";
      case Reason::portUnset: return "portUnset";
      case Reason::unsupported: return "unsupported";
      case Reason::refused: return "refused";
   }
   return "none";
}

/// Fills a report, a list at a time, and asks for the groups of all rows at once in the end.
class ReportBuilder {
 public:
   ReportBuilder(World const& world, ReportScope const& scope, Report& report)
       : world_(world), scope_(scope), report_(report), judge_(world) {}

   void run() {
      report_.time = world_.now();
      report_.times = scope_.times;
      report_.log = world_.log().entries();
      report_.resourceFull = world_.status().hwResourceFull();
      takeHardware();
      takeRestart();
      if (world_.machine()) takeBacklog();
      takeGroups();
      if (scope_.interfaces) report_.interfaces = AddressRows(world_, scope_.rows);
      nameGroups();
   }

 private:
   Fwd::DecapKey const* wanted(Rows& list, Fwd::DecapKey const& key, bool inScope) {
      ++list.total;
      if (!inScope || (scope_.keys && !scope_.keys(key))) return nullptr;
      if (++list.matching <= scope_.from) {
         ++list.passed;
         return nullptr;
      }
      if (list.rows.size() >= scope_.rows) return nullptr;
      ownership_.want(key);
      list.rows.push_back(judge_.row(key));
      return &list.rows.back().key;
   }

   void takeHardware() {
      auto const& table = world_.hardware().table();
      report_.capacity = table.capacity();
      report_.highWater = table.highWater();
      for (Mdl::Enumerator const& type : Mdl::EnumTraits<TunnelType>::enumerators) {
         auto const value = static_cast<TunnelType>(type.value);
         if (table.capacity(value) == Sim::HardwareTable::unlimited) continue;
         report_.shares.push_back(
             {value, table.size(value), table.capacity(value), table.highWater(value)});
      }
      for (auto const& entry : table.entries()) {
         auto const references =
             world_.machine() ? world_.machine()->refCount(entry.key) : std::uint32_t{0};
         if (references > 1) ++report_.shared;
         if (references == 0) ++report_.unclaimed;
         if (wanted(report_.hardware, entry.key, scope_.hardware) != nullptr) {
            report_.hardware.rows.back().since = entry.value;
            ++report_.hardware.rows.back().tries;
         }
      }
   }

   void takeRestart() {
      using Fate = TakeOver::Fate;
      TakeOver const& takeOver = world_.takeOver();
      Restart& restart = report_.restart;
      restart.found = takeOver.found().size();
      restart.takenOver = takeOver.count(Fate::takenOver);
      restart.rewritten = takeOver.count(Fate::rewritten);
      restart.unclaimed = takeOver.count(Fate::unclaimed);
      restart.removed = takeOver.count(Fate::removed);
      restart.heldOver = takeOver.count(Fate::heldOver);
      for (auto const& entry : takeOver.found()) {
         if (entry.value != Fate::unclaimed && entry.value != Fate::removed) continue;
         wanted(restart.gone, entry.key, scope_.hardware);
      }
   }

   void takeBacklog() {
      for (auto const& entry : world_.machine()->unprogrammedKey()) {
         L3::VrfName const* const owner = judge_.conflictOf(entry.key);
         if (owner != nullptr) ++report_.waitingForVrf;
         if (owner == nullptr && scope_.onlyConflicts) {
            ++report_.waiting.total;
            continue;
         }
         if (wanted(report_.waiting, entry.key, scope_.backlog) == nullptr) continue;
         KeyRow& row = report_.waiting.rows.back();
         row.since = world_.waitsSince(entry.key);
         if (owner == nullptr) {
            row.reason = judge_.refusalReason(entry.key, Reason::untried);
            continue;
         }
         row.reason = Reason::vrfConflict;
         row.ownerVrf = *owner;
         ownership_.wantOwner(destinationOf(entry.key), *owner);
      }
   }

   void takeGroups() {
      report_.groupsTotal = world_.groups().size();
      for (auto const& entry : world_.groups()) {
         GroupRow row;
         row.group = entry.value;
         report_.prefixes += entry.value->decapIp().size();
         report_.usesInterfaces = report_.usesInterfaces || !entry.value->decapIntf().empty();
         if (world_.machine()) countKeys(entry.key, row);
         report_.addresses += row.addresses;
         bool const inScope =
             scope_.groups && (scope_.onlyGroup.empty() || scope_.onlyGroup == entry.key);
         if (!inScope) continue;
         ++report_.groupsMatching;
         if (report_.groups.size() < scope_.rows) report_.groups.push_back(row);
      }
   }

   void countKeys(Mdl::String const& name, GroupRow& group) {
      auto const& machine = *world_.machine();
      auto const& table = world_.hardware().table();
      group.addresses = addressKeysOf(machine, name);
      forEachKeyOf(machine, name, [&](Fwd::DecapKey const& key, bool held) {
         if (held && machine.unprogrammedKeyHas(key)) {
            ++group.waiting;
         } else if (held && table.contains(key)) {
            ++group.inHardware;
         } else {
            ++group.missing;
            takeMissing(key, held);
         }
      });
   }

   void takeMissing(Fwd::DecapKey const& key, bool held) {
      // A key that several groups miss is one row.
      if (!missing_.tryInsert(key).inserted) return;
      bool const inScope = scope_.backlog && !scope_.onlyConflicts;
      if (wanted(report_.missing, key, inScope) == nullptr) return;
      KeyRow& row = report_.missing.rows.back();
      row.reason = held ? judge_.refusalReason(key, Reason::untried) : Reason::portUnset;
      if (row.refusals != 0) row.since = row.lastRefusal;
   }

   void nameGroups() {
      ownership_.collect(world_);
      for (Rows* const list :
           {&report_.hardware, &report_.restart.gone, &report_.waiting, &report_.missing}) {
         for (KeyRow& row : list->rows) {
            row.groups = ownership_.of(row.key);
            if (row.reason == Reason::vrfConflict) {
               row.ownerGroups = ownership_.ownersOf(destinationOf(row.key));
            }
         }
      }
   }

   World const& world_;
   ReportScope const scope_;
   Report& report_;
   KeyJudge const judge_;
   Ownership ownership_;
   Mdl::Collection<Fwd::DecapKey, bool> missing_;
};

Report::Report(World const& world, ReportScope const& scope) {
   ReportBuilder(world, scope, *this).run();
}

}  // namespace Agent
