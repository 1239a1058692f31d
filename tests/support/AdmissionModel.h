#pragma once

#include "FwdL3Unicast/AddressOrigin.h"
#include "ip/Status.h"
#include "ip6/Status.h"
#include "mdl/Ptr.h"
#include "pkt/IntfId.h"
#include "pkt/IpGenPrefix.h"
#include "tunnel/decap/Config.h"

#include <compare>
#include <cstdint>
#include <map>
#include <set>
#include <utility>
#include <vector>

namespace Support {

/// One reason to decapsulate an address: it has a role on an interface. The address carries the
/// mask that it has there; primary and virtual ones carry the host length.
struct ModelOrigin {
   Pkt::IntfId intfId;
   Fwd::AddressRole role = Fwd::AddressRole::unnamed;
   Pkt::IpGenPrefix address;

   /// 1 for IPv4, 2 for IPv6.
   std::uint32_t family() const noexcept { return address.family(); }
   /// The host prefix that is decapsulated.
   Pkt::IpGenPrefix destination() const;

   friend bool operator==(ModelOrigin const&, ModelOrigin const&) noexcept = default;
   friend std::strong_ordering operator<=>(ModelOrigin const&,
                                           ModelOrigin const&) noexcept = default;
};

/// "Ethernet1 secondary 10.0.0.1/24".
std::string modelOriginText(ModelOrigin const& origin);

/// What each group should take from interfaces, computed from the configuration and the status as
/// they stand. It knows nothing of how the state machine gets there.
///
/// Two things cannot be read off the present, and are told to it:
///  - Secondary and IPv6 addresses that come with their status object are nobody's until somebody
///    is told of them one by one, or an entry that covers the interface is applied. These wait in
///    `untold_`, for each group that admits them all along.
///  - A VRF that changes without a notice leaves open what is held for its interface until that
///    leaves the status. Until then the interface is adrift and its origins are not computed.
///
/// Owner: a test. Cost: a call of `settle` looks at every address of every group.
class AdmissionModel {
 public:
   /// Ascending, each once.
   using Origins = std::vector<ModelOrigin>;
   using Group = Tunnel::Decap::DecapGroup;
   using EntryKey = Tunnel::Decap::DecapIntfKey;

   explicit AdmissionModel(Mdl::Ptr<Tunnel::Decap::Config const> config)
       : config_(std::move(config)) {}

   void ipStatusIs(Mdl::Ptr<Ip::Status const> status) { ip_ = std::move(status); }
   void ip6StatusIs(Mdl::Ptr<Ip6::Status const> status) { ip6_ = std::move(status); }
   /// From now on keys are derived.
   void runningIs() noexcept { running_ = true; }
   bool running() const noexcept { return running_; }

   // What was told. Each call follows the change that it speaks of and precedes `settle`.

   /// A status object came, maybe in the place of another one.
   void appeared(Pkt::IntfId const& intfId, std::uint32_t family);
   /// The interface left the status.
   void removed(Pkt::IntfId const& intfId, std::uint32_t family);
   /// The interface's status told of an address.
   void told(ModelOrigin const& origin);
   /// A group went through the addresses of every interface that the entry decides.
   void applied(Group const& group, EntryKey const& key);
   /// A group went through the addresses of one interface.
   void appliedTo(Group const& group, Pkt::IntfId const& intfId, std::uint32_t family);
   /// A group derived everything anew.
   void rebuilt(Group const& group);
   void vrfChangedSilently(Pkt::IntfId const& intfId, std::uint32_t family);

   /// Computes what should be held after the change.
   void settle();

   /// What the group should hold, without the interfaces that are adrift.
   Origins const& held(Group const& group) const;
   bool isAdrift(Pkt::IntfId const& intfId, std::uint32_t family) const {
      return adrift_.contains({intfId, family});
   }

 private:
   using Interface = std::pair<Pkt::IntfId, std::uint32_t>;
   using Untold = std::pair<Mdl::String, ModelOrigin>;

   Origins admitted(Group const& group) const;
   void admitIp(Group const& group, Ip::IpIntfStatus const& status, Origins& origins) const;
   void admitIp6(Group const& group, Ip6::IntfStatus const& status, Origins& origins) const;

   Mdl::Ptr<Tunnel::Decap::Config const> const config_;
   Mdl::Ptr<Ip::Status const> ip_;
   Mdl::Ptr<Ip6::Status const> ip6_;
   bool running_ = false;
   std::set<Untold> untold_;
   std::set<Interface> adrift_;
   std::map<Mdl::String, Origins> held_;
};

}  // namespace Support
