#include "agent/serve/Metrics.h"

#include "agent/Version.h"
#include "agent/serve/HookMeter.h"
#include "agent/serve/Service.h"

#include <prometheus/metric_family.h>
#include <prometheus/text_serializer.h>

#include <array>
#include <limits>
#include <utility>
#include <vector>

namespace Agent {

namespace {

using prometheus::ClientMetric;
using prometheus::MetricFamily;
using prometheus::MetricType;
using Tunnel::Decap::TunnelType;
using Labels = std::vector<ClientMetric::Label>;

/// The families of one answer, in their order.
class Families {
 public:
   Families& gauge(std::string name, std::string help) {
      return begin(std::move(name), std::move(help), MetricType::Gauge);
   }
   Families& counter(std::string name, std::string help) {
      return begin(std::move(name), std::move(help), MetricType::Counter);
   }
   Families& histogram(std::string name, std::string help) {
      return begin(std::move(name), std::move(help), MetricType::Histogram);
   }

   Families& value(double value, Labels labels = {}) {
      ClientMetric metric;
      metric.label = std::move(labels);
      MetricFamily& family = families_.back();
      (family.type == MetricType::Gauge ? metric.gauge.value : metric.counter.value) = value;
      family.metric.push_back(std::move(metric));
      return *this;
   }
   template <class Count>
   Families& count(Count count, Labels labels = {}) {
      return value(static_cast<double>(count), std::move(labels));
   }
   void durations(HookMeter::Durations const& durations, Labels labels) {
      ClientMetric metric;
      metric.label = std::move(labels);
      metric.histogram.sample_count = durations.calls;
      metric.histogram.sample_sum = durations.sum;
      std::uint64_t cumulative = 0;
      for (std::size_t i = 0; i < durations.buckets.size(); ++i) {
         cumulative += durations.buckets[i];
         double const bound = i < HookMeter::bounds.size()
                                  ? HookMeter::bounds[i]
                                  : std::numeric_limits<double>::infinity();
         metric.histogram.bucket.push_back({cumulative, bound});
      }
      families_.back().metric.push_back(std::move(metric));
   }

   std::string text() const { return prometheus::TextSerializer().Serialize(families_); }

 private:
   Families& begin(std::string name, std::string help, MetricType type) {
      families_.push_back({std::move(name), std::move(help), type, {}});
      return *this;
   }

   std::vector<MetricFamily> families_;
};

constexpr std::array tunnelTypes = {TunnelType::gre, TunnelType::ipip, TunnelType::udp};

/// Entries of one tunnel type that are called for, by how they stand.
struct Standing {
   std::size_t waiting = 0;
   std::size_t conflict = 0;
   std::size_t refused = 0;
};

using Standings = std::array<Standing, 256>;

Standing& of(Standings& standings, Fwd::DecapKey const& key) {
   return standings[static_cast<std::uint8_t>(key.tunnelType())];
}

Standings standingsOf(World const& world) {
   Standings standings;
   auto const& machine = world.machine();
   if (!machine) return standings;
   auto const& owners = machine->tunnelTypeDecapIpToVrf();
   for (auto const& entry : machine->unprogrammedKey()) {
      auto const* const owner = owners.find({entry.key.tunnelType(), entry.key.dstIp()});
      bool const conflict = owner != nullptr && *owner != entry.key.forwardingVrf();
      Standing& standing = of(standings, entry.key);
      ++(conflict ? standing.conflict : standing.waiting);
   }
   for (auto const& entry : machine->refusedKey()) ++of(standings, entry.key).refused;
   return standings;
}

void addEntries(Families& families, World const& world) {
   auto const& table = world.hardware().table();
   Standings const standings = standingsOf(world);
   families.gauge("decap_entries", "Decapsulation entries by tunnel type and status");
   std::size_t waiting = 0;
   std::size_t conflicts = 0;
   for (TunnelType const type : tunnelTypes) {
      std::string const name = stringValue(type).stdString();
      Standing const& standing = standings[static_cast<std::uint8_t>(type)];
      families.count(table.size(type), {{"tunnel_type", name}, {"status", "in_hardware"}});
      families.count(standing.waiting, {{"tunnel_type", name}, {"status", "waiting"}});
      families.count(standing.conflict, {{"tunnel_type", name}, {"status", "conflict"}});
      families.count(standing.refused, {{"tunnel_type", name}, {"status", "refused"}});
      waiting += standing.waiting + standing.conflict;
      conflicts += standing.conflict;
   }
   families.gauge("decap_backlog_entries", "Entries that wait to be programmed").count(waiting);
   auto const oldest = world.waitingLongest();
   families
       .gauge("decap_backlog_oldest_age_seconds",
              "How long the entry has waited that waits longest; 0 when none does")
       .value(oldest ? world.now() - *oldest : 0.0);
   families.gauge("decap_vrf_conflicts", "Entries that wait for another VRF to leave")
       .count(conflicts);
}

void addHardware(Families& families, World const& world) {
   auto const& table = world.hardware().table();
   double const infinity = std::numeric_limits<double>::infinity();
   families.gauge("decap_hardware_capacity_entries", "Entries that hardware has room for in all")
       .value(table.capacity() == Sim::HardwareTable::unlimited
                  ? infinity
                  : static_cast<double>(table.capacity()));
   families.gauge("decap_hardware_used_entries", "Entries in hardware, called for or not")
       .count(table.size());
   families
       .gauge("decap_hardware_high_water_entries",
              "The most entries that hardware ever had at once")
       .count(table.highWater());
   families.gauge("decap_hardware_resource_full", "1 while the alarm stands that hardware is full")
       .value(world.status().hwResourceFull() ? 1.0 : 0.0);
}

void addHook(Families& families, HookMeter const& meter) {
   std::array const operations = {HookMeter::Operation::program, HookMeter::Operation::remove};
   families.counter("decap_hook_calls_total", "Calls of the platform, by operation and result");
   for (auto const operation : operations) {
      for (auto const& [result, calls] : meter.results(operation)) {
         families.count(calls, {{"operation", operationName(operation)}, {"result", result}});
      }
   }
   families.histogram("decap_hook_call_duration_seconds", "How long calls of the platform took");
   for (auto const operation : operations) {
      families.durations(meter.durations(operation), {{"operation", operationName(operation)}});
   }
}

void addService(Families& families, Service const& service, std::size_t clients) {
   World const& world = service.world();
   families.gauge("decap_groups", "Configured decap groups").count(world.groups().size());
   families.gauge("decap_interfaces", "Interfaces that the machine is shown")
       .count(world.interfaces().size());
   families
       .counter("decap_notifications_total", "Changes of its books that the machine has told of")
       .count(world.notifications());
   families.counter("decap_input_changes_total", "Changes of configuration and interfaces")
       .count(service.inputChanges());
   families.counter("decap_review_passes_total", "Passes over the entries that wait")
       .count(world.reviews());
   families.counter("decap_verifications_total", "Verifications and audits that were asked for")
       .count(service.checks().asked);
   families
       .counter("decap_verification_failures_total",
                "Verifications and audits that found a difference")
       .count(service.checks().failed);
   families.counter("decap_config_reloads_total", "Configurations applied, by result")
       .count(service.reloads().applied, {{"result", "applied"}})
       .count(service.reloads().refused, {{"result", "refused"}});
   families
       .gauge("decap_config_last_applied_timestamp_seconds", "When the configuration was applied")
       .value(service.times().unixSeconds(service.configuredAt()));
   families.gauge("decap_control_clients", "Clients at the control socket").count(clients);
   families.gauge("decap_start_timestamp_seconds", "When the agent began")
       .value(service.times().unixSeconds(0.0));
   families.gauge("decap_build_info", "1, labelled with the version of the agent")
       .value(1.0, {{"version", version()}});
}

}  // namespace

std::string metricsText(Service const& service, std::size_t clients) {
   Families families;
   addEntries(families, service.world());
   addHardware(families, service.world());
   addHook(families, service.meter());
   addService(families, service, clients);
   return families.text();
}

}  // namespace Agent
