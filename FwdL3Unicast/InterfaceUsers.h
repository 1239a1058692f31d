#pragma once

#include "FwdL3Unicast/Export.h"
#include "mdl/Collection.h"
#include "mdl/String.h"
#include "pkt/IntfId.h"
#include "tunnel/decap/Config.h"
#include "tunnel/decap/DecapIntfKey.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace Fwd {

/// Which groups say something of an interface or hold something of it, so that a change of its
/// addresses, and its end, look at those groups and not at every one that is configured.
///
/// It only narrows the search: whoever visits a group asks its configuration and what it holds. So
/// a group too many costs time and nothing else; one too few must not be.
///
/// Owner: the reactor on the configuration. Written by the groups' reactors.
/// I1: a group is under each interface and family for which its reactor has seen an entry, the
///   empty interface for all of a family, and under each for whose addresses it holds a key.
/// Exceptions: none. Once `add` has lacked memory nothing is narrowed any more; when `of` lacks it,
///   this one search is not.
class FWD_EXPORT InterfaceUsers {
 public:
   using DecapIntfKey = Tunnel::Decap::DecapIntfKey;

   void add(DecapIntfKey const& key, Mdl::String const& group) noexcept;
   void remove(DecapIntfKey const& key, Mdl::String const& group);

   /// The groups that may use the interface for a family, those of the configuration in its order;
   /// nothing when all have to be looked at.
   std::optional<std::vector<Mdl::String>> of(DecapIntfKey const& key,
                                              Tunnel::Decap::Config const& config) const;

 private:
   std::vector<Mdl::String> inOrder(DecapIntfKey const& key,
                                    Tunnel::Decap::Config const& config) const;

   using Names = Mdl::Collection<Mdl::String, bool>;

   Mdl::Collection<DecapIntfKey, Names> users_;
   bool complete_ = true;
};

}  // namespace Fwd
