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
         throw ValueError("duplicate group " + Mdl::quotedForMessage(text) +
                          ", which is also groups[" + std::to_string(first->second) + "]");
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
   RecordNode group_{{{"name", name_, Presence::required},
                      {"tunnelType", tunnelType_},
                      {"destPort", destPort_},
                      {"payloadType", payloadType_},
                      {"vrf", vrf_},
                      {"decapIps", decapIps_}},
                     [this] { groups_.emplace_back(); }};
   ListNode list_{group_};
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
   HardwareSchema hardware(configuration.hardware);
   ReviewSchema review(configuration.review);
   RecordNode root({{"groups", groups.root(), Presence::required},
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
