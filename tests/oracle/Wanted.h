#pragma once

#include "oracle/Scene.h"

#include <array>
#include <compare>
#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Oracle {

enum class Role : std::uint8_t { primary, secondary, virtualIp, ip6 };

/// One reason to decapsulate an address: it has a role on an interface.
struct Origin {
   std::uint8_t intf = 0;
   Role role = Role::primary;
   /// With its mask for secondary and IPv6 addresses, bare for the others.
   std::uint8_t addr = 0;

   std::uint8_t family() const { return role == Role::ip6 ? 2 : 1; }
   std::uint8_t destination() const {
      return role == Role::ip6 ? destinationOfIp6(addr) : destinationOfIp(addr);
   }
   friend constexpr auto operator<=>(Origin const&, Origin const&) = default;
};

/// "Ethernet1 secondary 10.0.0.1/24".
std::string text(Origin const& origin);

/// Which references the groups should hold on keys, computed from the scene as it stands.
///
/// It knows nothing of how the machine gets there. What cannot be read off the present is kept
/// here, each with the reason why it lasts:
///  - The port, payload type and VRF that a reference was taken with. Changes of them are not
///    followed while the machine is not active.
///  - Untold addresses. Secondary and IPv6 addresses that come with their status object are
///    nobody's until somebody is told of them one by one, or an entry that covers the interface is
///    applied.
///  - Interfaces adrift. A VRF changes without a notice, and what is held for the interface then
///    depends on who looks at it first, until it leaves or the group is derived anew. A machine
///    that is not active looks away from interfaces. Meanwhile what the machine holds is taken as
///    it is, if only it makes up no address.
/// A machine that becomes active again makes up for all of them.
///
/// Owner: the model of a run. Cost: an event looks at every address of every group.
class Wanted {
 public:
   template <class T>
   using Held = std::vector<std::pair<T, Values>>;
   struct GroupRefs {
      /// The tunnel type of all of them.
      std::uint8_t type = 0;
      // Ascending, each once.
      Held<std::uint8_t> prefixes;
      Held<Origin> origins;
   };
   /// What the machine's group holds from an interface and a family.
   using Ask =
       std::function<Held<Origin>(std::uint8_t group, std::uint8_t intf, std::uint8_t family)>;
   using Keys = std::vector<Key>;
   using Counts = std::vector<std::pair<Key, std::uint32_t>>;

   explicit Wanted(Scene const& scene) : scene_(scene) {}

   /// What happened; the scene has changed already.
   void event(Event const& event);
   /// Computes what should be held now. Not to be missed after an event. Returns what an interface
   /// adrift should not have.
   std::vector<std::string> settle(Ask const& machine);

   /// Whether the one replay has been.
   bool running() const { return running_; }
   /// Whether the replay was at the last event.
   bool started() const { return started_; }

   /// Ascending.
   Counts counts() const { return countsOf(groups_); }
   Counts countsBefore() const { return countsOf(before_); }
   /// Keys with a reference that outlives the event untouched: hardware has nothing to do with
   /// them. Ascending.
   Keys stableKeys() const;
   /// Keys whose only reference the event gives back and takes again, though nothing changes. The
   /// machine does that on purpose, and hardware sees it. Ascending.
   Keys renewedKeys() const;
   /// Whether keys may come and go within the event, as for a group that is derived step by step.
   bool passesThrough() const { return passesThrough_; }
   /// Whether a group's list shows a key that waits for its port.
   bool anyStopped() const;

   /// "g1 Ethernet1 secondary 10.0.0.1/24 (port 6080 payload ip vrf red)", a line each.
   std::string text() const;

 private:
   using Groups = std::array<GroupRefs, groupCount>;
   struct Place {
      std::uint8_t group;
      std::uint8_t intf;
      std::uint8_t family;
      friend constexpr auto operator<=>(Place const&, Place const&) = default;
   };

   void groupEvent(Event const& event);
   void configReplaced(Event const& event);
   void intfEvent(Event const& event);
   void intfReplaced(Event const& event, std::uint8_t family);

   void caughtUp();
   void evaluatedAnew(std::uint8_t intf);
   void forgetMachine();
   void deriveAnew(std::uint8_t group);
   void revalue(std::uint8_t group, std::uint8_t Values::*value);
   void appeared(std::uint8_t intf, std::uint8_t family);
   void untoldOf(std::uint8_t group, std::uint8_t intf, std::uint8_t family);
   void told(Origin const& origin);
   void entryApplied(Event const& event);
   enum class Adrift : std::uint8_t { untilItLeaves, untilDerivedAnew };
   void drift(std::uint8_t intf, std::uint8_t family, Adrift until);
   void driftGroup(std::uint8_t group, std::uint8_t family);
   bool isAdrift(std::uint8_t intf, std::uint8_t family) const;
   void comesAshore(std::uint8_t intf, std::uint8_t family);
   void land();
   bool looksAway() const { return running_ && !scene_.active(); }

   std::int8_t addressType(Group const& group, std::uint8_t intf, std::uint8_t family) const;
   std::vector<Origin> admitted(std::uint8_t group) const;
   void admitIp(Group const& group, std::uint8_t intf, std::vector<Origin>& origins) const;
   void admitIp6(Group const& group, std::uint8_t intf, std::vector<Origin>& origins) const;
   bool holds(std::uint8_t group, Origin const& origin) const;
   void adopt(std::uint8_t group, Ask const& machine, std::vector<std::string>& complaints);
   bool couldBe(std::uint8_t group, Origin const& origin) const;

   static Key keyOf(GroupRefs const& refs, std::uint8_t destination, Values const& values) {
      return {destination, refs.type, values.port, values.payload, values.vrf};
   }
   bool isStopped(Key const& key) const;
   Counts countsOf(Groups const& groups) const;
   Keys keysOf(GroupRefs const& refs) const;
   static Origin const* soleOrigin(GroupRefs const& refs, Key const& key);
   bool isSoleRenewed(std::uint8_t group, Key const& key) const;

   Scene const& scene_;
   bool running_ = false;
   bool wasActive_ = false;
   Groups groups_;
   std::set<std::pair<std::uint8_t, Origin>> untold_;
   std::map<Place, Adrift> adrift_;
   /// Interfaces that were adrift and have a new status since the last event.
   std::vector<std::pair<std::uint8_t, std::uint8_t>> landed_;

   // Of the last event.
   Groups before_;
   bool started_ = false;
   bool passesThrough_ = false;
   // One bit a group, an interface.
   std::uint8_t derivedAnew_ = 0;
   /// Those that became another entity and give back everything first.
   std::uint8_t replaced_ = 0;
   /// Those whose keys go and come again, one after the other, as good as they were.
   std::uint8_t rekeyed_ = 0;
   std::uint8_t renewedIntfs_ = 0;
};

}  // namespace Oracle
