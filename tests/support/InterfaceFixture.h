#pragma once

#include "support/AdmissionModel.h"
#include "support/DecapFixture.h"

#include <algorithm>
#include <initializer_list>
#include <string>
#include <string_view>

/// A state machine whose groups take their destinations from interfaces.
///
/// Groups are of the same type, port, payload type and VRF unless a test says otherwise, so that a
/// key is named by its destination: "10.0.0.1/32".
class InterfaceFixture : public DecapFixture {
 protected:
   using IntfStatus = Mdl::Ptr<Ip::IpIntfStatus>;
   using Intf6Status = Mdl::Ptr<Ip6::IntfStatus>;
   static constexpr AddressType primaryOnly = AddressType::primary;
   static constexpr AddressType all = AddressType::all;

   // Texts of keys and calls.

   static std::string udp(std::string_view destination) {
      return "udp " + std::string(destination) + " port 6080 payload ip vrf default";
   }
   static std::string counted(std::string_view destination, unsigned references) {
      return udp(destination) + " x" + std::to_string(references);
   }
   static std::string programs(std::string_view destination) {
      return "program " + udp(destination) + " -> success";
   }
   static std::string removes(std::string_view destination) {
      return "remove " + udp(destination) + " -> removed";
   }

   // The scene.

   /// An interface with secondary addresses and maybe the virtual flag, put into the status whole.
   IntfStatus givenInterfaceWith(std::string_view name, std::string_view primary,
                                 std::initializer_list<std::string_view> secondaries,
                                 bool isVirtual = false, std::string_view vrfName = "default") {
      auto made = makeInterface(name, primary, secondaries, isVirtual, vrfName);
      ip->ipIntfStatusIs(made);
      return made;
   }
   /// The same, not in the status yet.
   static IntfStatus makeInterface(std::string_view name, std::string_view primary,
                                   std::initializer_list<std::string_view> secondaries = {},
                                   bool isVirtual = false, std::string_view vrfName = "default") {
      auto made = Mdl::allocate<Ip::IpIntfStatus>(intf(name), vrf(vrfName));
      if (!primary.empty()) made->addrWithMaskIs(addr(primary));
      for (auto const secondary : secondaries) made->activeSecondaryWithMaskIs(addr(secondary));
      made->virtualAddrIs(isVirtual);
      return made;
   }
   static Intf6Status makeInterface6(std::string_view name,
                                     std::initializer_list<std::string_view> addresses,
                                     std::string_view vrfName = "default") {
      auto made = Mdl::allocate<Ip6::IntfStatus>(intf(name), vrf(vrfName));
      for (auto const address : addresses) made->addrIs(addr6(address), {});
      return made;
   }

   static Pkt::IpAddrWithMask addr(std::string_view text) {
      return text.empty() ? Pkt::IpAddrWithMask() : Pkt::IpAddrWithMask::fromText(text);
   }
   static Pkt::Ip6AddrWithMask addr6(std::string_view text) {
      return Pkt::Ip6AddrWithMask::fromText(text);
   }

   // Events.

   static void whenPrimaryIs(IntfStatus const& of, std::string_view text) {
      of->addrWithMaskIs(addr(text));
   }
   static void whenSecondaryAdded(IntfStatus const& of, std::string_view text) {
      of->activeSecondaryWithMaskIs(addr(text));
   }
   static void whenSecondaryRemoved(IntfStatus const& of, std::string_view text) {
      of->activeSecondaryWithMaskDel(addr(text));
   }
   static void whenVirtualIs(IntfStatus const& of, bool isVirtual) { of->virtualAddrIs(isVirtual); }
   static void whenAddress6Added(Intf6Status const& of, std::string_view text) {
      of->addrIs(addr6(text), {});
   }
   static void whenAddress6Removed(Intf6Status const& of, std::string_view text) {
      of->addrDel(addr6(text));
   }
   void whenInterfaceRemoved(std::string_view name) { ip->ipIntfStatusDel(intf(name)); }
   void whenInterface6Removed(std::string_view name) { ip6->intfDel(intf(name)); }
   void whenEntryApplied(std::string_view group, std::string_view name,
                         std::uint32_t family = ipv4) {
      reactor(group)->handleUpdateIntf({intf(name), family});
   }

   // State.

   /// Hardware holds the keys of these destinations and no others.
   void thenDestinations(std::initializer_list<std::string_view> destinations) const {
      Texts expected;
      for (auto const destination : destinations) expected.push_back(udp(destination));
      thenHardware(std::move(expected));
   }
   /// Why the group holds what it holds: "Ethernet1 secondary 10.0.0.2/24".
   void thenOrigins(std::string_view group, Texts expected) const {
      Texts found;
      for (auto const& entry : reactor(group)->decapKeyFromIntf().walk()) {
         for (auto const& origin : entry.value.origins) {
            found.push_back(Support::modelOriginText({origin.intfId, origin.role, origin.address}));
         }
      }
      std::ranges::sort(found);
      std::ranges::sort(expected);
      EXPECT_EQ(found, expected) << "group " << group;
   }
   /// The addresses last seen of an interface, as "primary virtual"; empty for none recorded.
   void thenRecord(std::string_view name, std::string const& expected) const {
      auto const record = sm->decapIntfIp(intf(name));
      EXPECT_EQ(record ? record->primaryIp().stringValue().stdString() + " " +
                             record->virtualIp().stringValue().stdString()
                       : std::string(),
                expected)
          << "record of " << name;
   }
   /// Traces of one function, in their order.
   Texts tracesOf(std::string_view function) const {
      Texts found;
      for (auto const& record : traces) {
         if (record.function == function) found.push_back(record.text);
      }
      return found;
   }
};
