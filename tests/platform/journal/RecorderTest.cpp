#include "platform/journal/JournalFixture.h"

#include <stdexcept>

namespace {

using Lines = std::vector<std::string>;

class Recording : public JournalFixture {
 protected:
   /// The lines since the last call.
   Lines fresh() {
      Lines lines(life.lines.begin() + static_cast<std::ptrdiff_t>(seen), life.lines.end());
      seen = life.lines.size();
      return lines;
   }

   Life life;
   std::size_t seen = 0;
};

TEST_F(Recording, BeginsWithItsHeaderAndEndsWithItsEnd) {
   EXPECT_EQ(fresh(), Lines{R"(["decap-journal",1])"});
   life.recorder.close();
   EXPECT_EQ(fresh(), Lines{R"(["end"])"});
   life.start();
   life.recorder.close();
   EXPECT_EQ(fresh(), Lines{});
}

TEST_F(Recording, WritesDownWhatIsThereWhenAMachineIsBuilt) {
   auto const core = group("core", {"10.1.0.0/16"});
   core->destPortIs(6635);
   core->payloadTypeIs(Tunnel::Decap::PayloadType::mpls);
   core->decapIntfIs(Tunnel::Decap::DecapIntf({intf("Ethernet1"), 1}));
   Tunnel::Decap::DecapExcludeIntfSet excluded({Pkt::emptyIntfId, 1});
   excluded.excludeIntfIs(intf("Ethernet2"));
   core->decapExcludeIntfSetIs(excluded);
   life.config->decapGroupIs(core);
   auto const ip = Mdl::allocate<Ip::IpIntfStatus>(intf("Ethernet1"), L3::VrfName::defaultVrf());
   ip->addrWithMaskIs(Pkt::IpAddrWithMask::fromText("10.0.0.1/24"));
   ip->activeSecondaryWithMaskIs(Pkt::IpAddrWithMask::fromText("10.0.0.2/24"));
   life.ip->ipIntfStatusIs(ip);
   auto const ip6 = Mdl::allocate<Ip6::IntfStatus>(intf("Ethernet1"), L3::VrfName::defaultVrf());
   ip6->addrIs(Pkt::Ip6AddrWithMask::fromText("2001:db8::1/64"), {});
   life.ip6->intfIs(ip6);
   fresh();
   life.build();
   EXPECT_EQ(fresh(), (Lines{
                          R"([0.0,"config",1,"make"])",
                          R"([0.0,"group",1,"make","core"])",
                          R"([0.0,"group",1,"tunnelType","gre"])",
                          R"([0.0,"group",1,"destPort",6635])",
                          R"([0.0,"group",1,"payloadType","mpls"])",
                          R"([0.0,"group",1,"forwardingVrf","default"])",
                          R"([0.0,"group",1,"decapIntf","Ethernet1",1,"primary"])",
                          R"([0.0,"group",1,"decapExcludeIntfSet","",1,["Ethernet2"]])",
                          R"([0.0,"group",1,"decapIp","10.1.0.0/16",true])",
                          R"([0.0,"config",1,"decapGroup","core",1])",
                          R"([0.0,"ip",1,"make"])",
                          R"([0.0,"ipIntf",1,"make","Ethernet1","default"])",
                          R"([0.0,"ipIntf",1,"addrWithMask","10.0.0.1/24"])",
                          R"([0.0,"ipIntf",1,"virtualAddr",false])",
                          R"([0.0,"ipIntf",1,"activeSecondaryWithMask","10.0.0.2/24",true])",
                          R"([0.0,"ip",1,"ipIntfStatus","Ethernet1",1])",
                          R"([0.0,"ip6",1,"make"])",
                          R"([0.0,"ip6Intf",1,"make","Ethernet1","default"])",
                          R"([0.0,"ip6Intf",1,"addr","2001:db8::1/64",true])",
                          R"([0.0,"ip6",1,"intf","Ethernet1",1])",
                          R"([0.0,"clock",0.0])",
                          R"([0.0,"machine","build",1,1,1])",
                      }));
}

TEST_F(Recording, PutsWhatTheMachineDoesBehindWhatMadeItDoSo) {
   life.start();
   life.config->decapGroupIs(group("core"));
   auto const core = group("edge");
   life.config->decapGroupIs(core);
   fresh();
   life.hardware->callCostIs(0.25, &life.time);
   core->decapIpIs(prefix("10.1.0.0/16"));
   core->decapIpDel(prefix("10.1.0.0/16"));
   EXPECT_EQ(fresh(), (Lines{
                          R"([0.0,"group",2,"decapIp","10.1.0.0/16",true])",
                          R"([0.0,"udp-wait",true])",
                          R"([0.0,"call","program","gre 10.1.0.0/16 vrf default"])",
                          R"([0.25,"answer","success"])",
                          R"([0.25,"group",2,"decapIp","10.1.0.0/16",false])",
                          R"([0.25,"call","remove","gre 10.1.0.0/16 vrf default"])",
                          R"([0.5,"answer","done"])",
                      }));
}

TEST_F(Recording, FollowsEveryAttribute) {
   life.start();
   auto const core = group("core");
   life.config->decapGroupIs(core);
   auto const ip = Mdl::allocate<Ip::IpIntfStatus>(intf("Ethernet1"), L3::VrfName::defaultVrf());
   auto const ip6 = Mdl::allocate<Ip6::IntfStatus>(intf("Ethernet1"), L3::VrfName::defaultVrf());
   life.ip->ipIntfStatusIs(ip);
   life.ip6->intfIs(ip6);
   fresh();
   core->tunnelTypeIs(Tunnel::Decap::TunnelType::udp);
   core->destPortIs(1);
   core->payloadTypeIs(Tunnel::Decap::PayloadType::ip);
   core->forwardingVrfIs(L3::VrfName(Mdl::String("red")));
   Tunnel::Decap::DecapIntfKey const all(Pkt::emptyIntfId, 1);
   core->decapExcludeIntfSetIs(Tunnel::Decap::DecapExcludeIntfSet(all));
   core->decapIntfIs(Tunnel::Decap::DecapIntf(all, Tunnel::Decap::AddressType::all));
   core->decapIntfDel(all);
   core->decapExcludeIntfSetDel(all);
   ip->virtualAddrIs(true);
   ip->activeSecondaryWithMaskIs(Pkt::IpAddrWithMask::fromText("10.0.0.2/24"));
   ip->activeSecondaryWithMaskDel(Pkt::IpAddrWithMask::fromText("10.0.0.2/24"));
   ip6->addrIs(Pkt::Ip6AddrWithMask::fromText("fe80::1/64"), {});
   ip6->addrDel(Pkt::Ip6AddrWithMask::fromText("fe80::1/64"));
   life.ip->ipIntfStatusDel(intf("Ethernet1"));
   life.ip6->intfDel(intf("Ethernet1"));
   life.config->decapGroupDel(Mdl::String("core"));
   life.time.advanceTo(0.5);
   EXPECT_EQ(fresh(), (Lines{
                          R"([0.0,"group",1,"tunnelType","udp"])",
                          R"([0.0,"group",1,"destPort",1])",
                          R"([0.0,"group",1,"payloadType","ip"])",
                          R"([0.0,"group",1,"forwardingVrf","red"])",
                          R"([0.0,"group",1,"decapExcludeIntfSet","",1,[]])",
                          R"([0.0,"group",1,"decapIntf","",1,"all"])",
                          R"([0.0,"group",1,"decapIntf","",1,null])",
                          R"([0.0,"group",1,"decapExcludeIntfSet","",1,null])",
                          R"([0.0,"ipIntf",1,"virtualAddr",true])",
                          R"([0.0,"ipIntf",1,"activeSecondaryWithMask","10.0.0.2/24",true])",
                          R"([0.0,"ipIntf",1,"activeSecondaryWithMask","10.0.0.2/24",false])",
                          R"([0.0,"ip6Intf",1,"addr","fe80::1/64",true])",
                          R"([0.0,"ip6Intf",1,"addr","fe80::1/64",false])",
                          R"([0.0,"ip",1,"ipIntfStatus","Ethernet1",null])",
                          R"([0.0,"ip6",1,"intf","Ethernet1",null])",
                          R"([0.0,"config",1,"decapGroup","core",null])",
                          R"([0.5,"clock",0.5])",
                      }));
}

TEST_F(Recording, KnowsAnEntityThatComesBack) {
   life.start();
   auto const core = group("core");
   life.config->decapGroupIs(core);
   life.config->decapGroupDel(Mdl::String("core"));
   fresh();
   core->destPortIs(7);
   life.config->decapGroupIs(core);
   EXPECT_EQ(fresh(), (Lines{R"([0.0,"group",1,"destPort",7])",
                             R"([0.0,"config",1,"decapGroup","core",1])"}));
}

TEST_F(Recording, TellsOfAnswersTracesMessagesAndTheAlarm) {
   life.hardware->table().capacityIs(0);
   life.start();
   life.traceLevelsAre(1u << 2);
   fresh();
   life.config->decapGroupIs(group("core", {"10.1.0.0/16"}));
   Lines const lines = fresh();
   auto const has = [&](char const* line) { return std::ranges::count(lines, line) > 0; };
   EXPECT_TRUE(has(R"([0.0,"answer","full"])"));
   EXPECT_TRUE(has(R"(["alarm",true])"));
   EXPECT_TRUE(has(R"(["log","TUNNEL_HW_RESOURCE_FULL"])"));
   EXPECT_TRUE(has(R"(["trace",2,"handleUpdateIp decapIp 10.1.0.0/16"])"));
}

TEST_F(Recording, TellsOfAHookThatThrows) {
   life.hardware->script().next(Sim::Answer::fault());
   life.start();
   auto const core = group("core");
   life.config->decapGroupIs(core);
   EXPECT_THROW(core->decapIpIs(prefix("10.1.0.0/16")), Sim::HardwareFault);
   EXPECT_EQ(life.lines.back(), R"([0.0,"answer","threw","simulated fault in programming"])");
}

TEST_F(Recording, SeesThatARequestIsTakenBackSilently) {
   life.start();
   fresh();
   life.verifyData->doRequestVerify();
   life.verifyData->hasNotificationActiveIs(false);
   life.verifyData->requestVerifyIs(false);
   life.verifyData->hasNotificationActiveIs(true);
   life.time.advanceTo(1.0);
   Lines const lines = fresh();
   EXPECT_EQ(lines.front(), R"([0.0,"verify",true])");
   EXPECT_EQ(Lines(lines.end() - 2, lines.end()),
             (Lines{R"([1.0,"verify",false,"silently"])", R"([1.0,"clock",1.0])"}));
}

TEST_F(Recording, KeepsNamesOfAnyBytes) {
   life.start();
   fresh();
   life.config->decapGroupIs(group("a\xff\n\"b"));
   EXPECT_EQ(fresh().front(), R"([0.0,"group",1,"make",{"bytes":"61ff0a2262"}])");
}

TEST_F(Recording, MovesOfAnInterfaceAreNotedOnceItIsKnown) {
   auto const ip = Mdl::allocate<Ip::IpIntfStatus>(intf("Ethernet1"), L3::VrfName::defaultVrf());
   auto const ip6 = Mdl::allocate<Ip6::IntfStatus>(intf("Ethernet1"), L3::VrfName::defaultVrf());
   fresh();
   life.recorder.noteVrf(ip, L3::VrfName(Mdl::String("red")));
   life.recorder.noteVrf(ip6, L3::VrfName(Mdl::String("red")));
   EXPECT_EQ(fresh(), Lines{});
   life.ip->ipIntfStatusIs(ip);
   life.ip6->intfIs(ip6);
   life.start();
   fresh();
   life.recorder.noteVrf(ip, L3::VrfName(Mdl::String("red")));
   life.recorder.noteVrf(ip6, L3::VrfName(Mdl::String("red")));
   EXPECT_EQ(fresh(),
             (Lines{R"([0.0,"ipIntf",1,"vrf","red"])", R"([0.0,"ip6Intf",1,"vrf","red"])"}));
}

// The machine must not notice whether it is recorded.
TEST(RecordingThatFails, IsNoneOfTheMachinesBusiness) {
   Journal::Recorder recorder([](std::string const&) { throw std::runtime_error("disk full"); });
   EXPECT_EQ(recorder.failure(), "disk full");
   recorder.noteInitialized(true);
   EXPECT_EQ(recorder.failure(), "disk full");
}

}  // namespace
