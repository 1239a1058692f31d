#pragma once

#include "FwdL3Unicast/FwdDecapGroup.h"

#include <cstdint>
#include <map>
#include <unordered_map>
#include <vector>

namespace Agent {

class World;

/// Which groups call for which keys: the question that the state machine's counts cannot answer.
///
/// Say what is of interest (`want`, `wantOwner`), `collect` once, then ask.
/// Cost: one pass over all keys of all groups; memory by what is of interest.
class Ownership {
 public:
   using Names = std::vector<Mdl::String>;
   using Destination = Fwd::TunnelTypeDecapIp;

   void want(Fwd::DecapKey const& key) { ofKey_.try_emplace(key); }
   /// The groups whose keys hold the destination for the VRF.
   void wantOwner(Destination const& destination, L3::VrfName const& vrf) {
      ofDestination_.try_emplace(destination, Owner{vrf, {}});
   }

   void collect(World const& world);

   /// In the order of configuration.
   Names of(Fwd::DecapKey const& key) const;
   Names ownersOf(Destination const& destination) const;

 private:
   struct Owner {
      L3::VrfName vrf;
      std::vector<std::uint32_t> groups;
   };

   Names names(std::vector<std::uint32_t> const& groups) const;

   Names names_;
   std::unordered_map<Fwd::DecapKey, std::vector<std::uint32_t>> ofKey_;
   std::map<Destination, Owner> ofDestination_;
};

}  // namespace Agent
