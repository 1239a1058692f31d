#include "agent/serve/HookMeter.h"

#include "platform/sim/KeyText.h"

#include <utility>

namespace Agent {

namespace {

using Clock = std::chrono::steady_clock;

/// Owner: the machine.
class MeteredHook final : public Fwd::FwdDecapGroupSmHelper {
 public:
   MeteredHook(HookMeter& meter, Mdl::Ptr<FwdDecapGroupSmHelper> platform)
       : FwdDecapGroupSmHelper(platform->name()), meter_(meter), platform_(std::move(platform)) {}

   Mdl::String name() const override { return platform_->name(); }
   Fwd::dgRetCode programDecapKey(Fwd::DecapKey const& key) override {
      Fwd::dgRetCode answer = Fwd::dgRcSuccess;
      measured(HookMeter::Operation::program, [&] {
         answer = platform_->programDecapKey(key);
         return Sim::answerText(answer);
      });
      return answer;
   }
   void removeDecapKey(Fwd::DecapKey const& key) override {
      measured(HookMeter::Operation::remove, [&] {
         platform_->removeDecapKey(key);
         return std::string("done");
      });
   }
   void verify() override { platform_->verify(); }
   void decapGroupConfigReady() override { platform_->decapGroupConfigReady(); }
   bool waitForDstPortPayloadTypeForUdpTunnel() override {
      return platform_->waitForDstPortPayloadTypeForUdpTunnel();
   }

 private:
   ~MeteredHook() override = default;

   template <class Call>
   void measured(HookMeter::Operation operation, Call const& call) {
      auto const start = Clock::now();
      std::string result;
      try {
         result = call();
      } catch (...) {
         meter_.note(operation, "exception", since(start));
         throw;
      }
      meter_.note(operation, result, since(start));
   }

   static double since(Clock::time_point start) {
      return std::chrono::duration<double>(Clock::now() - start).count();
   }

   HookMeter& meter_;
   Mdl::Ptr<FwdDecapGroupSmHelper> const platform_;
};

}  // namespace

Mdl::Ptr<Fwd::FwdDecapGroupSmHelper> HookMeter::metered(
    Mdl::Ptr<Fwd::FwdDecapGroupSmHelper> const& platform) {
   if (!platform) return nullptr;
   return Mdl::allocate<MeteredHook>(*this, platform);
}

void HookMeter::note(Operation operation, std::string const& result, double seconds) {
   auto const index = static_cast<std::size_t>(operation);
   ++results_[index][result];
   Durations& durations = durations_[index];
   std::size_t bucket = 0;
   while (bucket < bounds.size() && seconds > bounds[bucket]) ++bucket;
   ++durations.buckets[bucket];
   ++durations.calls;
   durations.sum += seconds;
}

char const* operationName(HookMeter::Operation operation) noexcept {
   return operation == HookMeter::Operation::program ? "program" : "remove";
}

}  // namespace Agent
