#pragma once

#include "support/InterfaceFixture.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

namespace Support {

/// Two groups that decapsulate what Ethernet1 has, and a prefix. They differ in their tunnel types,
/// so that none waits for the other's destinations.
struct AddressWorld {
   Mdl::Ptr<Tunnel::Decap::Config> config;
   Mdl::Ptr<Tunnel::Decap::DecapGroup> group;
   Mdl::Ptr<Tunnel::Decap::DecapGroup> other;
   Mdl::Ptr<Ip::Status> ip;
   Mdl::Ptr<Ip6::Status> ip6;
   Mdl::Ptr<Ip::IpIntfStatus> intf;
   Mdl::Ptr<Ip6::IntfStatus> intf6;
};

/// One change of the world; none where it is not possible.
struct Change {
   std::string name;
   std::function<void(AddressWorld const&)> make;

   friend std::ostream& operator<<(std::ostream& out, Change const& change) {
      return out << change.name;
   }
};

std::vector<Change> const& allChanges();

/// A change of a new world, and how it is again what it was.
struct Passing {
   Change change;
   std::function<void(AddressWorld const&)> takeBack;
};

std::vector<Passing> const& passingChanges();

/// Whether the groups have an entry for the interface, for all, or both.
enum class Entries : std::uint8_t { named, all, both };

/// A machine in such a world, for each first change and each kind of entries.
class AddressWorldFixture : public InterfaceFixture,
                            public testing::WithParamInterface<std::tuple<Entries, Change>> {
 protected:
   static Entries entries() { return std::get<0>(GetParam()); }
   static Change const& first() { return std::get<1>(GetParam()); }

   /// A new world, in which no machine runs yet.
   AddressWorld givenWorld();
   /// Whatever waits is tried again.
   void whenAllIsReviewed();

   /// Whatever the groups hold for the interface is found when it goes.
   void thenAllGoesWithTheInterface();

   /// Keys in hardware, in order.
   Texts held() const;
   /// What a machine programs that is new to all this, in order.
   Texts calledFor() const;
};

inline std::string nameOfChange(testing::TestParamInfo<std::tuple<Entries, Change>> const& test) {
   std::array<char const*, 3> const names{"Named", "All", "Both"};
   return names[static_cast<std::size_t>(std::get<0>(test.param))] + std::get<1>(test.param).name;
}

inline auto eachFirstChange() {
   return testing::Combine(testing::Values(Entries::named, Entries::all, Entries::both),
                           testing::ValuesIn(allChanges()));
}

}  // namespace Support
