#include "platform/journal/Recorder.h"

#include "mdl/System.h"
#include "platform/journal/RecordingHook.h"
#include "platform/sim/KeyText.h"

#include <exception>
#include <utility>

namespace Journal {

Recorder::Recorder(Sink sink) : sink_(std::move(sink)) { line({"decap-journal", 1}); }

Recorder::~Recorder() { close(); }

Mdl::Ptr<Fwd::FwdDecapGroupSmHelper> Recorder::hook(
    Mdl::Ptr<Fwd::FwdDecapGroupSmHelper> const& platform) {
   return Mdl::allocate<RecordingHook>(*this, platform);
}

void Recorder::noteBuild(Inputs const& inputs) {
   Items const config = configNumber(inputs.config);
   Items const ip = ipNumber(inputs.ip);
   Items const ip6 = ip6Number(inputs.ip6);
   if (!requests_ && inputs.verifyData) {
      requests_ = inputs.verifyData;
      verifyData_ = Mdl::allocate<Watcher>(requests_, [this](Mdl::AttributeId, void const*) {
         requested_ = requests_->requestVerify();
         input({"verify", requested_});
      });
   }
   if (!clock_ && inputs.clock) {
      auto const changed = [this, clock = inputs.clock.get()](Mdl::AttributeId, void const*) {
         input({"clock", secondsJson(clock->time())});
      };
      clock_ = Mdl::allocate<Watcher>(inputs.clock, changed);
      changed(0, nullptr);
   }
   status_ = nullptr;
   if (inputs.status) {
      status_ = Mdl::allocate<Watcher>(
          inputs.status, [this, status = inputs.status.get()](Mdl::AttributeId, void const*) {
             line({"alarm", status->hwResourceFull()});
          });
   }
   input({"machine", "build", config, ip, ip6});
}

void Recorder::noteConfig(Mdl::Ptr<Tunnel::Decap::Config const> const& config) {
   machine("config", configNumber(config));
}
void Recorder::noteIp(Mdl::Ptr<Ip::Status const> const& status) { machine("ip", ipNumber(status)); }
void Recorder::noteIp6(Mdl::Ptr<Ip6::Status const> const& status) {
   machine("ip6", ip6Number(status));
}

void Recorder::noteEntry(Mdl::String const& group, Tunnel::Decap::DecapIntfKey const& key) {
   input({"machine", "entry", nameJson(group.view()), nameJson(key.intfId().name().view()),
          key.family()});
}

void Recorder::noteExcludeSet(Mdl::String const& group, Tunnel::Decap::DecapIntfKey const& key) {
   input({"machine", "excludeSet", nameJson(group.view()), nameJson(key.intfId().name().view()),
          key.family()});
}

void Recorder::noteIntfStatus(Mdl::Ptr<Ip::IpIntfStatus const> const& status) {
   machine("ipIntfStatus", ipIntfNumber(status));
}

void Recorder::noteVrf(Mdl::Ptr<Ip::IpIntfStatus const> const& status, L3::VrfName const& vrf) {
   auto const known = ipIntfs_.find(status.get());
   if (known == ipIntfs_.end()) return;  // it comes with its VRF
   input({"ipIntf", known->second.number, "vrf", nameJson(vrf.name().view())});
}

void Recorder::noteVrf(Mdl::Ptr<Ip6::IntfStatus const> const& status, L3::VrfName const& vrf) {
   auto const known = ip6Intfs_.find(status.get());
   if (known == ip6Intfs_.end()) return;
   input({"ip6Intf", known->second.number, "vrf", nameJson(vrf.name().view())});
}

void Recorder::noteTraceMask(std::uint32_t mask) {
   if (mask == traceMask_) return;
   traceMask_ = mask;
   input({"trace", mask});
}

void Recorder::noteTrace(Mdl::TraceRecord const& record) {
   if (record.level >= 32 || (traceMask_ >> record.level & 1) == 0) return;
   line({"trace", record.level, nameJson(record.text)});
}

void Recorder::noteLog(Mdl::LogHandle const& message) { line({"log", message.name()}); }

void Recorder::close() {
   if (!sink_) return;
   line(Items::array({"end"}));
   sink_ = nullptr;
}

/// Whatever becomes of a line, the machine does not notice.
void Recorder::line(Items const& items) noexcept {
   if (!sink_) return;
   try {
      sink_(items.dump());
   } catch (std::exception const& error) {
      try {
         if (failure_.empty()) failure_ = error.what();
      } catch (...) {
         failure_ = "?";
      }
   } catch (...) {
      failure_ = "?";
   }
}

void Recorder::timed(Items items) noexcept {
   if (!sink_) return;
   items.insert(items.begin(), Mdl::System::currentTime());
   line(items);
}

void Recorder::input(Items items) noexcept {
   catchSilentRequest();
   timed(std::move(items));
}

/// A verify command takes its request back behind everybody's back.
void Recorder::catchSilentRequest() noexcept {
   if (!requests_ || requests_->requestVerify() == requested_) return;
   requested_ = requests_->requestVerify();
   timed({"verify", requested_, "silently"});
}

void Recorder::machine(char const* what, Items const& value) {
   Items items = {"machine", what};
   if (!value.is_null()) items.push_back(value);
   input(std::move(items));
}

void Recorder::noteCall(char const* operation, Fwd::DecapKey const* key) {
   Items items = {"call", operation};
   if (key != nullptr) items.push_back(nameJson(Sim::keyText(*key)));
   timed(std::move(items));
}

void Recorder::noteUdpWait(bool wait) {
   if (udpWait_ == wait) return;
   udpWait_ = wait;
   timed({"udp-wait", wait});
}

}  // namespace Journal
