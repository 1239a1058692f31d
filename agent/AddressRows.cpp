#include "agent/AddressRows.h"

#include "FwdL3Unicast/Admission.h"
#include "agent/MachineView.h"
#include "agent/World.h"

#include <map>
#include <tuple>
#include <utility>

namespace Agent {

namespace {

using Fwd::AddressRole;
using Fwd::Admission;
using Tunnel::Decap::DecapGroup;

/// What stands in the way, none where an address is admitted.
std::optional<AddressState> obstacle(Admission::Verdict verdict) noexcept {
   switch (verdict) {
      case Admission::Verdict::admitted: return std::nullopt;
      case Admission::Verdict::management: return AddressState::management;
      case Admission::Verdict::internal: return AddressState::internal;
      case Admission::Verdict::otherVrf: return AddressState::otherVrf;
      case Admission::Verdict::noEntry: return AddressState::noEntry;
      case Admission::Verdict::excluded: return AddressState::excluded;
      case Admission::Verdict::addressType: return AddressState::addressType;
   }
   return std::nullopt;
}

/// A group, and the addresses that it has.
class GroupAddresses {
 public:
   GroupAddresses(World const& world, Mdl::String const& name, DecapGroup const& group)
       : world_(world), name_(name), group_(group) {
      if (!world.machine()) return;
      forEachOriginOf(
          *world.machine(), name,
          [this](Fwd::AddressOrigin const& origin, Fwd::DecapKey const& key, bool held) {
             addresses_[{origin.intfId, origin.role, origin.address}] = {key, held, false};
          });
   }

   Mdl::String const& name() const noexcept { return name_; }
   DecapGroup const& group() const noexcept { return group_; }

   /// What has become of an address that the group has; none when it has it not. An address that
   /// was asked for is not left over.
   std::optional<AddressState> stateOf(Fwd::AddressOrigin const& origin) {
      auto const found = addresses_.find({origin.intfId, origin.role, origin.address});
      if (found == addresses_.end()) return std::nullopt;
      Taken& taken = found->second;
      taken.askedFor = true;
      if (taken.held && world_.machine()->unprogrammedKeyHas(taken.key)) {
         return AddressState::waiting;
      }
      bool const there = taken.held && world_.hardware().table().contains(taken.key);
      return there ? AddressState::inHardware : AddressState::notProgrammed;
   }

   template <class Visit>
   void forEachNotAskedFor(Visit const& visit) const {
      for (auto const& [origin, taken] : addresses_) {
         if (taken.askedFor) continue;
         visit(Fwd::AddressOrigin{std::get<0>(origin), std::get<1>(origin), std::get<2>(origin)});
      }
   }

 private:
   struct Taken {
      Fwd::DecapKey key;
      bool held = false;
      bool askedFor = false;
   };
   using Origin = std::tuple<Pkt::IntfId, AddressRole, Pkt::IpGenPrefix>;

   World const& world_;
   Mdl::String const name_;
   DecapGroup const& group_;
   std::map<Origin, Taken> addresses_;
};

}  // namespace

/// Fills the rows, interface by interface.
class AddressSurvey {
 public:
   AddressSurvey(World const& world, std::size_t most, AddressRows& result)
       : world_(world), most_(most), result_(result) {
      groups_.reserve(world.groups().size());
      for (auto const& entry : world.groups()) {
         groups_.emplace_back(world, entry.key, *entry.value);
      }
   }

   void run() {
      result_.interfaces = world_.interfaces().size();
      for (auto const& entry : world_.interfaces()) takeInterface(entry.value);
      takeLeftOvers();
      takeEntriesForNobody();
   }

 private:
   void takeInterface(Interface const& interface) {
      std::size_t const before = result_.addresses;
      Ip::IpIntfStatus const& ip = *interface.ip;
      Pkt::IpAddrWithMask const primary = ip.addrWithMask();
      if (!primary.isZero()) takeIp(interface, AddressRole::primary, primary);
      for (auto const& entry : ip.activeSecondaryWithMask().walkSorted()) {
         if (!entry.key.isZero()) takeIp(interface, AddressRole::secondary, entry.key);
      }
      if (!ip.virtualIp().isZero()) takeIp(interface, AddressRole::virtualIp, primary);
      for (auto const& entry : interface.ip6->addr().walk()) takeIp6(interface, entry.key);
      if (result_.addresses != before) return;
      row({interface.name(), interface.vrf(), std::nullopt, {}, AddressState::noAddress, {}});
   }

   void takeIp(Interface const& interface, AddressRole role, Pkt::IpAddrWithMask const& addr) {
      Pkt::IpGenPrefix const shown(addr.addr(), addr.length());
      // Machines tell primary and virtual addresses apart by the address alone.
      bool const byMask = role == AddressRole::secondary;
      takeAddress(interface, shown,
                  {interface.name(), role, byMask ? shown : Pkt::IpGenPrefix(addr.addr())}, false);
   }

   void takeIp6(Interface const& interface, Pkt::Ip6AddrWithMask const& addr) {
      Pkt::IpGenPrefix const shown(addr.addr(), addr.length());
      takeAddress(interface, shown, {interface.name(), AddressRole::ip6, shown},
                  addr.addr().isLinkLocal());
   }

   /// Groups to which an address is the same share a row.
   void takeAddress(Interface const& interface, Pkt::IpGenPrefix const& shown,
                    Fwd::AddressOrigin const& origin, bool linkLocal) {
      ++result_.addresses;
      // What keeps the address from every group.
      auto general = obstacle(Admission::ofInterface(interface.name(), interface.vrf()));
      if (!general && linkLocal) general = AddressState::linkLocal;
      std::vector<AddressRow> rows;
      auto const rowOf = [&](AddressState state) -> AddressRow& {
         for (AddressRow& each : rows) {
            if (each.state == state) return each;
         }
         return rows.emplace_back(
             AddressRow{interface.name(), interface.vrf(), origin.role, shown, state, {}});
      };
      bool contributed = false;
      for (GroupAddresses& each : groups_) {
         auto const taken = each.stateOf(origin);
         auto const against = general ? general : obstacleOf(each.group(), origin);
         contributed = contributed || taken;
         if (!taken && general) continue;
         rowOf(against ? (taken ? AddressState::leftOver : *against)
                       : taken.value_or(AddressState::notTaken))
             .groups.push_back(each.name());
      }
      if (general) rowOf(*general);
      if (rows.empty()) rowOf(AddressState::noEntry);
      if (contributed) ++result_.contributed;
      for (AddressRow& each : rows) row(std::move(each));
   }

   /// What keeps the address of an interface that takes part from one group.
   std::optional<AddressState> obstacleOf(DecapGroup const& group,
                                          Fwd::AddressOrigin const& origin) const {
      if (auto const found = obstacle(Admission(group).ofRole(origin.intfId, origin.role))) {
         return found;
      }
      if (group.tunnelType() == Tunnel::Decap::TunnelType::unknown) {
         return AddressState::noTunnelType;
      }
      auto const& machine = world_.machine();
      if (!machine || !machine->initializedAndReady()) return AddressState::notRunning;
      return std::nullopt;
   }

   void takeLeftOvers() {
      for (GroupAddresses const& each : groups_) {
         each.forEachNotAskedFor([&](Fwd::AddressOrigin const& origin) {
            Interface const* const interface = world_.interfaces().find(origin.intfId);
            ++result_.addresses;
            ++result_.contributed;
            row({origin.intfId,
                 interface == nullptr ? L3::VrfName() : interface->vrf(),
                 origin.role,
                 origin.address,
                 AddressState::leftOver,
                 {each.name()}});
         });
      }
   }

   void takeEntriesForNobody() {
      Mdl::Collection<Pkt::IntfId, std::vector<Mdl::String>> absent;
      for (GroupAddresses const& each : groups_) {
         for (auto const& entry : each.group().decapIntf()) {
            Pkt::IntfId const& intfId = entry.key.intfId();
            if (intfId == Pkt::emptyIntfId || world_.interfaces().contains(intfId)) continue;
            auto& groups = *absent.tryInsert(intfId).value;
            // A group may have an entry for each family.
            if (groups.empty() || groups.back() != each.name()) groups.push_back(each.name());
         }
      }
      for (auto const& entry : absent) {
         row({entry.key, {}, std::nullopt, {}, AddressState::noInterface, entry.value});
      }
   }

   void row(AddressRow&& row) {
      ++result_.total;
      if (result_.rows.size() < most_) result_.rows.push_back(std::move(row));
   }

   World const& world_;
   std::size_t const most_;
   AddressRows& result_;
   std::vector<GroupAddresses> groups_;
};

AddressRows::AddressRows(World const& world, std::size_t most) {
   AddressSurvey(world, most, *this).run();
}

bool isContributed(AddressState state) noexcept { return state <= AddressState::leftOver; }

char const* roleName(AddressRole role) noexcept {
   switch (role) {
      case AddressRole::primary: return "primary";
      case AddressRole::secondary: return "secondary";
      case AddressRole::virtualIp: return "virtual";
      case AddressRole::ip6: return "ipv6";
      case AddressRole::unnamed: return "unnamed";
   }
   return "unnamed";
}

char const* addressStateName(AddressState state) noexcept {
   switch (state) {
      case AddressState::inHardware: return "inHardware";
      case AddressState::waiting: return "waiting";
      case AddressState::notProgrammed: return "notProgrammed";
      case AddressState::leftOver: return "leftOver";
      case AddressState::management: return "management";
      case AddressState::internal: return "internal";
      case AddressState::otherVrf: return "otherVrf";
      case AddressState::linkLocal: return "linkLocal";
      case AddressState::noEntry: return "noEntry";
      case AddressState::excluded: return "excluded";
      case AddressState::addressType: return "addressType";
      case AddressState::noTunnelType: return "noTunnelType";
      case AddressState::notRunning: return "notRunning";
      case AddressState::notTaken: return "notTaken";
      case AddressState::noAddress: return "noAddress";
      case AddressState::noInterface: return "noInterface";
   }
   return "noEntry";
}

}  // namespace Agent
