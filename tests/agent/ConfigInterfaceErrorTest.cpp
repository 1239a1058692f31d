// Every way in which the interfaces of a configuration can be wrong, with the one line that says
// so.

#include "agent/ConfigFile.h"
#include "agent/InputError.h"

#include <gtest/gtest.h>

namespace Agent {
namespace {

std::string errorOf(std::string const& text) {
   try {
      configurationFromText("c.json", text);
   } catch (InputError const& error) {
      return error.what();
   }
   return "no error";
}

/// The error of a document whose only interface has these fields beside its name.
std::string errorOfInterface(std::string const& fields) {
   return errorOf(R"({"groups": [], "interfaces": [{"name": "Ethernet1", )" + fields + "}]}");
}

/// The error of a document whose only group has these entries.
std::string errorOfEntries(std::string const& entries) {
   return errorOf(R"({"groups": [{"name": "a", "decapInterfaces": [)" + entries + "]}]}");
}

TEST(ConfigInterfaceError, NamesTheUnknownField) {
   EXPECT_EQ(errorOfInterface(R"("mtu": 1500)"),
             "c.json:1: interfaces[0].mtu: unknown field; known here: name, vrf, primary, "
             "secondary, virtual, ipv6");
   EXPECT_EQ(errorOfEntries(R"({"intf": "all"})"),
             "c.json:1: groups[0].decapInterfaces[0].intf: unknown field; known here: interface, "
             "family, addressType");
   EXPECT_EQ(errorOf(R"({"groups": [{"name": "a", "excludeInterfaces": {"all": []}}]})"),
             "c.json:1: groups[0].excludeInterfaces.all: unknown field; known here: ipv4, ipv6");
}

TEST(ConfigInterfaceError, RefusesASecondInterfaceOfTheSameName) {
   EXPECT_EQ(errorOf("{\"groups\": [], \"interfaces\": [{\"name\": \"Ethernet1\"},\n"
                     "{\"name\": \"Ethernet1\"}]}"),
             "c.json:2: interfaces[1].name: duplicate interface \"Ethernet1\", which is also "
             "interfaces[0]");
}

TEST(ConfigInterfaceError, RefusesAnInterfaceWithoutAName) {
   EXPECT_EQ(errorOf(R"({"groups": [], "interfaces": [{"primary": "10.0.0.1/24"}]})"),
             "c.json:1: interfaces[0]: the field \"name\" is missing");
}

TEST(ConfigInterfaceError, RefusesAnInterfaceCalledAll) {
   std::string const reason = "\"all\" stands for all interfaces and is no interface's name";
   EXPECT_EQ(errorOf(R"({"groups": [], "interfaces": [{"name": "all"}]})"),
             "c.json:1: interfaces[0].name: " + reason);
   EXPECT_EQ(errorOf(R"({"groups": [{"name": "a", "excludeInterfaces": {"ipv4": ["all"]}}]})"),
             "c.json:1: groups[0].excludeInterfaces.ipv4[0]: " + reason);
}

TEST(ConfigInterfaceError, RefusesWhatIsNoAddressOfTheFamily) {
   EXPECT_EQ(errorOfInterface(R"("primary": "10.0.0.1/33")"),
             "c.json:1: interfaces[0].primary: prefix length greater than 32: \"10.0.0.1/33\"");
   EXPECT_EQ(errorOfInterface(R"("primary": "2001:db8::1/64")"),
             "c.json:1: interfaces[0].primary: not an IPv4 address: \"2001:db8::1\"");
   EXPECT_EQ(errorOfInterface(R"("secondary": ["10.0.0.1/24", "x"])"),
             "c.json:1: interfaces[0].secondary[1]: not an IPv4 address: \"x\"");
   EXPECT_EQ(errorOfInterface(R"("ipv6": ["10.0.0.1/24"])"),
             "c.json:1: interfaces[0].ipv6[0]: not an IPv6 address: \"10.0.0.1\"");
}

TEST(ConfigInterfaceError, RefusesTheZeroAddress) {
   EXPECT_EQ(errorOfInterface(R"("primary": "0.0.0.0/24")"),
             "c.json:1: interfaces[0].primary: \"0.0.0.0\" is no interface's address");
   EXPECT_EQ(errorOfInterface(R"("secondary": ["0.0.0.0"])"),
             "c.json:1: interfaces[0].secondary[0]: \"0.0.0.0\" is no interface's address");
   EXPECT_EQ(errorOfInterface(R"("ipv6": ["::/64"])"),
             "c.json:1: interfaces[0].ipv6[0]: \"::\" is no interface's address");
}

TEST(ConfigInterfaceError, RefusesAVirtualAddressWithoutAPrimaryOne) {
   EXPECT_EQ(errorOfInterface(R"("virtual": true)"),
             "c.json:1: interfaces[0]: a virtual address is the primary one, and there is none");
   EXPECT_EQ(errorOfInterface(R"("virtual": "10.0.0.1")"),
             "c.json:1: interfaces[0].virtual: expected true or false, found the text "
             "\"10.0.0.1\"");
}

TEST(ConfigInterfaceError, RefusesAnEntryThatSaysTooLittle) {
   EXPECT_EQ(errorOfEntries(R"({"family": "ipv4"})"),
             "c.json:1: groups[0].decapInterfaces[0]: the field \"interface\" is missing");
   EXPECT_EQ(errorOfEntries(R"({"interface": "all"})"),
             "c.json:1: groups[0].decapInterfaces[0]: the field \"family\" is missing");
   EXPECT_EQ(errorOfEntries(R"({"interface": "", "family": "ipv4"})"),
             "c.json:1: groups[0].decapInterfaces[0].interface: a name must not be empty");
}

TEST(ConfigInterfaceError, RefusesAnUnknownFamilyOrAddressType) {
   EXPECT_EQ(errorOfEntries(R"({"interface": "all", "family": "ip"})"),
             "c.json:1: groups[0].decapInterfaces[0].family: unknown address family \"ip\"; known "
             "are ipv4, ipv6");
   EXPECT_EQ(errorOfEntries(R"({"interface": "all", "family": "ipv4", "addressType": "some"})"),
             "c.json:1: groups[0].decapInterfaces[0].addressType: unknown address type \"some\"; "
             "known are primary, all");
}

TEST(ConfigInterfaceError, RefusesASecondEntryForAnInterfaceAndFamily) {
   EXPECT_EQ(errorOfEntries("{\"interface\": \"all\", \"family\": \"ipv4\"},\n"
                            "{\"interface\": \"all\", \"family\": \"ipv6\"},\n"
                            "{\"interface\": \"all\", \"family\": \"ipv4\", "
                            "\"addressType\": \"all\"}"),
             "c.json:3: groups[0].decapInterfaces[2]: duplicate entry, which is also "
             "decapInterfaces[0]");
}

}  // namespace
}  // namespace Agent
