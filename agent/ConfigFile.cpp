#include "agent/ConfigFile.h"

#include "agent/InputError.h"
#include "agent/InputFile.h"
#include "agent/JsonDocument.h"
#include "agent/Progress.h"
#include "agent/Schema.h"
#include "agent/Words.h"
#include "mdl/Value.h"

#include <limits>
#include <unordered_map>
#include <utility>

namespace Agent {

namespace {

using Presence = RecordNode::Presence;
using Tunnel::Decap::TunnelType;

constexpr std::uint64_t greatestCapacity = std::numeric_limits<std::uint32_t>::max();

/// "duplicate WHAT, which is also PLACE[INDEX]".
[[noreturn]] void refuseDuplicate(std::string const& what, char const* list, std::size_t first) {
   throw ValueError("duplicate " + what + ", which is also " + list + "[" + std::to_string(first) +
                    "]");
}

/// The interfaces of a group: the "decapInterfaces" list and the "excludeInterfaces" object.
class GroupInterfacesSchema {
 public:
   /// `group` says which group is being read.
   explicit GroupInterfacesSchema(std::function<GroupConfiguration&()> group)
       : group_(std::move(group)) {}

   SchemaNode& decapInterfaces() noexcept { return entries_; }
   SchemaNode& excludeInterfaces() noexcept { return excludes_; }

 private:
   void beginEntry() {
      intfId_ = Pkt::IntfId();
      family_ = Pkt::familyNone;
      addressType_ = Tunnel::Decap::AddressType::primary;
   }
   void endEntry() {
      auto& entries = group_().decapInterfaces;
      Tunnel::Decap::DecapIntfKey const key(intfId_, family_);
      for (std::size_t i = 0; i < entries.size(); ++i) {
         if (entries[i].key() == key) refuseDuplicate("entry", "decapInterfaces", i);
      }
      entries.emplace_back(key, addressType_);
   }
   TextNode::Take exclude(std::uint32_t family) {
      return [this, family](std::string_view text) {
         Pkt::IntfId const intfId = intfIdFromText(text);
         auto& sets = group_().excludeInterfaces;
         if (sets.empty() || sets.back().key().family() != family) {
            sets.emplace_back(Tunnel::Decap::DecapIntfKey(Pkt::emptyIntfId, family));
         }
         sets.back().excludeIntfIs(intfId);
      };
   }

   std::function<GroupConfiguration&()> const group_;
   Pkt::IntfId intfId_;
   std::uint32_t family_ = Pkt::familyNone;
   Tunnel::Decap::AddressType addressType_ = Tunnel::Decap::AddressType::primary;

   TextNode interface_{"the name of an interface or \"all\"", [this](std::string_view text) {
                          if (text != allInterfacesWord) intfId_ = intfIdFromText(text);
                       }};
   TextNode familyNode_{"an address family",
                        [this](std::string_view text) { family_ = familyFromText(text); }};
   TextNode addressTypeNode_{"an address type", [this](std::string_view text) {
                                addressType_ = addressTypeFromText(text);
                             }};
   RecordNode entry_{{{"interface", interface_, Presence::required},
                      {"family", familyNode_, Presence::required},
                      {"addressType", addressTypeNode_}},
                     [this] { beginEntry(); },
                     [this] { endEntry(); }};
   ListNode entries_{entry_};
   TextNode excluded4_{"the name of an interface", exclude(Pkt::familyIpv4)};
   TextNode excluded6_{"the name of an interface", exclude(Pkt::familyIpv6)};
   ListNode excludes4_{excluded4_};
   ListNode excludes6_{excluded6_};
   RecordNode excludes_{{{"ipv4", excludes4_}, {"ipv6", excludes6_}}};
};

/// The "groups" list.
class GroupsSchema {
 public:
   explicit GroupsSchema(std::vector<GroupConfiguration>& groups) : groups_(groups) {}

   SchemaNode& root() noexcept { return list_; }

 private:
   GroupConfiguration& group() { return groups_.back(); }

   void takeName(std::string_view text) {
      Mdl::String const name = nameFromText(text);
      auto const [first, isNew] = names_.try_emplace(name, groups_.size() - 1);
      if (!isNew) {
         refuseDuplicate("group " + Mdl::quotedForMessage(text), "groups", first->second);
      }
      group().name = name;
   }

   std::vector<GroupConfiguration>& groups_;
   std::unordered_map<Mdl::String, std::size_t> names_;

   TextNode name_{"a name", [this](std::string_view text) { takeName(text); }};
   TextNode tunnelType_{"a tunnel type", [this](std::string_view text) {
                           group().tunnelType = tunnelTypeFromText(text);
                        }};
   NumberNode destPort_{
       65535, [this](std::uint64_t port) { group().destPort = static_cast<std::uint16_t>(port); }};
   TextNode payloadType_{"a payload type", [this](std::string_view text) {
                            group().payloadType = payloadTypeFromText(text);
                         }};
   TextNode vrf_{"the name of a VRF",
                 [this](std::string_view text) { group().vrf = L3::VrfName(nameFromText(text)); }};
   TextNode decapIp_{"a prefix as text", [this](std::string_view text) {
                        group().decapIps.push_back(destinationFromText(text));
                     }};
   ListNode decapIps_{decapIp_};
   GroupInterfacesSchema interfaces_{[this]() -> GroupConfiguration& { return group(); }};
   RecordNode group_{{{"name", name_, Presence::required},
                      {"tunnelType", tunnelType_},
                      {"destPort", destPort_},
                      {"payloadType", payloadType_},
                      {"vrf", vrf_},
                      {"decapIps", decapIps_},
                      {"decapInterfaces", interfaces_.decapInterfaces()},
                      {"excludeInterfaces", interfaces_.excludeInterfaces()}},
                     [this] { groups_.emplace_back(); }};
   ListNode list_{group_};
};

/// The "interfaces" list.
class InterfacesSchema {
 public:
   explicit InterfacesSchema(std::vector<InterfaceConfiguration>& interfaces)
       : interfaces_(interfaces) {}

   SchemaNode& root() noexcept { return list_; }

 private:
   InterfaceConfiguration& interface() { return interfaces_.back(); }

   void takeName(std::string_view text) {
      Pkt::IntfId const name = intfIdFromText(text);
      auto const [first, isNew] = names_.try_emplace(name, interfaces_.size() - 1);
      if (!isNew) {
         refuseDuplicate("interface " + Mdl::quotedForMessage(text), "interfaces", first->second);
      }
      interface().name = name;
   }
   void endInterface() {
      if (interface().isVirtual && interface().primary.isZero()) {
         throw ValueError("a virtual address is the primary one, and there is none");
      }
   }
   /// The zero address stands for none, and is nothing to be listed.
   template <class Addr>
   static Addr some(Addr const& addr) {
      if (addr.addr().isZero()) {
         throw ValueError(Mdl::quotedForMessage(addr.addr().stringValue().view()) +
                          " is no interface's address");
      }
      return addr;
   }

   std::vector<InterfaceConfiguration>& interfaces_;
   std::unordered_map<Pkt::IntfId, std::size_t> names_;

   TextNode name_{"a name", [this](std::string_view text) { takeName(text); }};
   TextNode vrf_{"the name of a VRF", [this](std::string_view text) {
                    interface().vrf = L3::VrfName(nameFromText(text));
                 }};
   TextNode primary_{"an address as text", [this](std::string_view text) {
                        interface().primary = some(ipAddrFromText(text));
                     }};
   TextNode secondaryAddr_{"an address as text", [this](std::string_view text) {
                              interface().secondary.push_back(some(ipAddrFromText(text)));
                           }};
   ListNode secondary_{secondaryAddr_};
   FlagNode virtual_{[this](bool isVirtual) { interface().isVirtual = isVirtual; }};
   TextNode ipv6Addr_{"an address as text", [this](std::string_view text) {
                         interface().ipv6.push_back(some(ip6AddrFromText(text)));
                      }};
   ListNode ipv6_{ipv6Addr_};
   RecordNode interface_{{{"name", name_, Presence::required},
                          {"vrf", vrf_},
                          {"primary", primary_},
                          {"secondary", secondary_},
                          {"virtual", virtual_},
                          {"ipv6", ipv6_}},
                         [this] { interfaces_.emplace_back(); },
                         [this] { endInterface(); }};
   ListNode list_{interface_};
};

/// The "hardware" object.
class HardwareSchema {
 public:
   explicit HardwareSchema(HardwareConfiguration& hardware) : hardware_(hardware) {}

   SchemaNode& root() noexcept { return record_; }

 private:
   NumberNode::Take capacityOf(TunnelType type) {
      return [this, type](std::uint64_t entries) {
         hardware_.capacityByType.emplace_back(type, static_cast<std::size_t>(entries));
      };
   }

   HardwareConfiguration& hardware_;

   NumberNode capacity_{greatestCapacity, [this](std::uint64_t entries) {
                           hardware_.capacity = static_cast<std::size_t>(entries);
                        }};
   NumberNode gre_{greatestCapacity, capacityOf(TunnelType::gre)};
   NumberNode ipip_{greatestCapacity, capacityOf(TunnelType::ipip)};
   NumberNode udp_{greatestCapacity, capacityOf(TunnelType::udp)};
   RecordNode capacityByType_{{{"gre", gre_}, {"ipip", ipip_}, {"udp", udp_}}};
   SecondsNode latency_{[this](double seconds) { hardware_.latency = seconds; }};
   SecondsNode notReadyUntil_{[this](double seconds) { hardware_.notReadyUntil = seconds; }};
   SecondsNode callCost_{[this](double seconds) { hardware_.callCost = seconds; }};
   TextNode prefix_{"a prefix as text", [this](std::string_view text) {
                       hardware_.answers.back().destination = destinationFromText(text);
                    }};
   TextNode answer_{"an answer", [this](std::string_view text) {
                       hardware_.answers.back().answer = Sim::Answer::of(answerFromWord(text));
                    }};
   NumberNode times_{greatestCapacity,
                     [this](std::uint64_t times) { hardware_.answers.back().times = times; }};
   RecordNode scripted_{{{"prefix", prefix_, Presence::required},
                         {"answer", answer_, Presence::required},
                         {"times", times_}},
                        [this] { hardware_.answers.emplace_back(); }};
   ListNode answers_{scripted_};
   RecordNode record_{{{"capacity", capacity_},
                       {"capacityByType", capacityByType_},
                       {"latency", latency_},
                       {"notReadyUntil", notReadyUntil_},
                       {"callCost", callCost_},
                       {"answers", answers_}}};
};

/// The "review" object.
class ReviewSchema {
 public:
   explicit ReviewSchema(ReviewConfiguration& review) : review_(review) {}

   SchemaNode& root() noexcept { return record_; }

 private:
   ReviewConfiguration& review_;

   SecondsNode interval_{[this](double seconds) { review_.interval = seconds; }};
   SecondsNode budget_{[this](double seconds) { review_.budget = seconds; }};
   RecordNode record_{{{"interval", interval_}, {"budget", budget_}}};
};

}  // namespace

Configuration configurationFromText(std::string const& file, std::string_view text,
                                    std::function<void(std::size_t)> progress) {
   Configuration configuration;
   GroupsSchema groups(configuration.groups);
   InterfacesSchema interfaces(configuration.interfaces);
   HardwareSchema hardware(configuration.hardware);
   ReviewSchema review(configuration.review);
   RecordNode root({{"groups", groups.root(), Presence::required},
                    {"interfaces", interfaces.root()},
                    {"hardware", hardware.root()},
                    {"review", review.root()}});
   readJson(file, text, root, std::move(progress));
   return configuration;
}

Configuration configurationFromFile(std::string const& file) {
   std::string const text = readInputFile(file);
   Progress progress(terminal(), "reading " + printable(file), text.size());
   return configurationFromText(file, text, [&progress](std::size_t read) { progress.at(read); });
}

}  // namespace Agent
