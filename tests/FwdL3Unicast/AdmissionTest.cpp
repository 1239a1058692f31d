#include "FwdL3Unicast/Admission.h"

#include "support/InterfaceFixture.h"

#include <gtest/gtest.h>

namespace {

using Fwd::AddressRole;
using Fwd::Admission;

/// Asks about a group that no state machine watches.
class AdmissionOfAddresses : public InterfaceFixture {
 protected:
   void givenEntry(std::string_view name, AddressType type = primaryOnly,
                   std::uint32_t family = ipv4) {
      group->decapIntfIs(DecapIntf({intf(name), family}, type));
   }
   void givenExcluded(std::initializer_list<std::string_view> names, std::uint32_t family = ipv4) {
      DecapExcludeIntfSet set({Pkt::emptyIntfId, family});
      for (auto const name : names) set.excludeIntfIs(intf(name));
      group->decapExcludeIntfSetIs(set);
   }
   /// The roles that are admitted: "primary secondary virtual ip6".
   std::string admitted(std::string_view name) const {
      Admission const admission(*group);
      std::string text;
      auto const ask = [&](AddressRole role, char const* roleName) {
         if (admission.admits(intf(name), role))
            text += (text.empty() ? "" : " ") + std::string(roleName);
      };
      ask(AddressRole::primary, "primary");
      ask(AddressRole::secondary, "secondary");
      ask(AddressRole::virtualIp, "virtual");
      ask(AddressRole::ip6, "ip6");
      return text;
   }

   Mdl::Ptr<DecapGroup> group = makeGroup("g", Group());
};

TEST_F(AdmissionOfAddresses, NothingWithoutAnEntry) { EXPECT_EQ(admitted("Ethernet1"), ""); }

TEST_F(AdmissionOfAddresses, OwnEntryForPrimaryAddressesAdmitsThePrimary) {
   givenEntry("Ethernet1");
   EXPECT_EQ(admitted("Ethernet1"), "primary");
   EXPECT_EQ(admitted("Ethernet2"), "");
}

TEST_F(AdmissionOfAddresses, OwnEntryForAllAddressesAdmitsEveryIpv4Role) {
   givenEntry("Ethernet1", all);
   EXPECT_EQ(admitted("Ethernet1"), "primary secondary virtual");
}

TEST_F(AdmissionOfAddresses, AnAddressTypeWithoutANameCountsAsAllAddresses) {
   givenEntry("Ethernet1", static_cast<AddressType>(2));
   EXPECT_EQ(admitted("Ethernet1"), "primary secondary virtual");
}

TEST_F(AdmissionOfAddresses, EntryForAllInterfacesAdmitsAnyInterface) {
   givenEntry("", all);
   EXPECT_EQ(admitted("Ethernet1"), "primary secondary virtual");
}

TEST_F(AdmissionOfAddresses, OwnEntryDecidesAlone) {
   givenEntry("", all);
   givenEntry("Ethernet1", primaryOnly);
   EXPECT_EQ(admitted("Ethernet1"), "primary");
   EXPECT_EQ(admitted("Ethernet2"), "primary secondary virtual");
}

TEST_F(AdmissionOfAddresses, OwnEntryAdmitsMoreThanTheOneForAllInterfaces) {
   givenEntry("", primaryOnly);
   givenEntry("Ethernet1", all);
   EXPECT_EQ(admitted("Ethernet1"), "primary secondary virtual");
}

TEST_F(AdmissionOfAddresses, ExcludedInterfaceIsNotAdmitted) {
   givenEntry("", all);
   givenExcluded({"Ethernet1"});
   EXPECT_EQ(admitted("Ethernet1"), "");
   EXPECT_EQ(admitted("Ethernet2"), "primary secondary virtual");
}

TEST_F(AdmissionOfAddresses, ExclusionDoesNotTouchAnInterfaceWithAnOwnEntry) {
   givenEntry("", primaryOnly);
   givenEntry("Ethernet1", all);
   givenExcluded({"Ethernet1"});
   EXPECT_EQ(admitted("Ethernet1"), "primary secondary virtual");
}

TEST_F(AdmissionOfAddresses, FamiliesAreDecidedEachByItself) {
   givenEntry("", all, ipv6);
   givenEntry("Ethernet1", primaryOnly, ipv4);
   givenExcluded({"Ethernet2"}, ipv6);
   EXPECT_EQ(admitted("Ethernet1"), "primary ip6");
   EXPECT_EQ(admitted("Ethernet2"), "");
   EXPECT_EQ(admitted("Ethernet3"), "ip6");
}

TEST_F(AdmissionOfAddresses, ExclusionForOneFamilyLeavesTheOther) {
   givenEntry("", primaryOnly, ipv4);
   givenEntry("", primaryOnly, ipv6);
   givenExcluded({"Ethernet1"}, ipv4);
   EXPECT_EQ(admitted("Ethernet1"), "ip6");
}

TEST_F(AdmissionOfAddresses, Ipv6HasOneRoleWhateverTheAddressType) {
   givenEntry("Ethernet1", primaryOnly, ipv6);
   givenEntry("Ethernet2", all, ipv6);
   EXPECT_EQ(admitted("Ethernet1"), "ip6");
   EXPECT_EQ(admitted("Ethernet2"), "ip6");
}

TEST_F(AdmissionOfAddresses, AnotherFamilyAdmitsNothing) {
   givenEntry("Ethernet1", all, 3);
   givenEntry("", all, 0);
   EXPECT_EQ(admitted("Ethernet1"), "");
   EXPECT_EQ(admitted("Ethernet2"), "");
}

TEST_F(AdmissionOfAddresses, InterfacesThatTakePartAreFrontPanelOnesOfTheDefaultVrf) {
   EXPECT_TRUE(Admission::takesPart(intf("Ethernet1"), vrf("default")));
   EXPECT_FALSE(Admission::takesPart(intf("Ethernet1"), vrf("red")));
   EXPECT_FALSE(Admission::takesPart(intf("Ethernet1"), L3::VrfName()));
   EXPECT_FALSE(Admission::takesPart(intf("Management1"), vrf("default")));
   EXPECT_FALSE(Admission::takesPart(intf("Internal7"), vrf("default")));
}

using Verdict = Admission::Verdict;

TEST_F(AdmissionOfAddresses, SaysWhatKeepsAnInterfaceOut) {
   EXPECT_EQ(Admission::ofInterface(intf("Ethernet1"), vrf("default")), Verdict::admitted);
   EXPECT_EQ(Admission::ofInterface(intf("Ethernet1"), vrf("red")), Verdict::otherVrf);
   EXPECT_EQ(Admission::ofInterface(intf("Management1"), vrf("red")), Verdict::management);
   EXPECT_EQ(Admission::ofInterface(intf("Internal7"), vrf("red")), Verdict::internal);
}

TEST_F(AdmissionOfAddresses, SaysThatNoEntryNamesTheInterface) {
   givenEntry("Ethernet1");
   givenEntry("", all, ipv6);
   EXPECT_EQ(Admission(*group).ofRole(intf("Ethernet2"), AddressRole::primary), Verdict::noEntry);
}

TEST_F(AdmissionOfAddresses, SaysThatTheInterfaceIsExcluded) {
   givenEntry("", all);
   givenExcluded({"Ethernet1"});
   EXPECT_EQ(Admission(*group).ofRole(intf("Ethernet1"), AddressRole::primary), Verdict::excluded);
}

TEST_F(AdmissionOfAddresses, AnExcludeSetWithoutItsEntryKeepsNothingOut) {
   givenExcluded({"Ethernet1"});
   EXPECT_EQ(Admission(*group).ofRole(intf("Ethernet1"), AddressRole::primary), Verdict::noEntry);
}

TEST_F(AdmissionOfAddresses, SaysThatTheEntryIsForPrimaryAddresses) {
   givenEntry("", all);
   givenEntry("Ethernet1");
   Admission const admission(*group);
   EXPECT_EQ(admission.ofRole(intf("Ethernet1"), AddressRole::primary), Verdict::admitted);
   EXPECT_EQ(admission.ofRole(intf("Ethernet1"), AddressRole::secondary), Verdict::addressType);
   EXPECT_EQ(admission.ofRole(intf("Ethernet1"), AddressRole::virtualIp), Verdict::addressType);
   EXPECT_EQ(admission.ofRole(intf("Ethernet2"), AddressRole::virtualIp), Verdict::admitted);
}

}  // namespace
