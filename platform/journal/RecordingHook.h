#pragma once

#include "FwdL3Unicast/FwdDecapGroupSmHelper.h"

namespace Journal {

class Recorder;

/// A hook between the machine and the platform that writes down each call and its answer.
///
/// Owner: the machine. The recorder outlives it.
class RecordingHook final : public Fwd::FwdDecapGroupSmHelper {
 public:
   RecordingHook(Recorder& recorder, Mdl::Ptr<FwdDecapGroupSmHelper> platform);

   Mdl::String name() const override { return platform_->name(); }
   Fwd::dgRetCode programDecapKey(Fwd::DecapKey const& key) override;
   void removeDecapKey(Fwd::DecapKey const& key) override;
   void verify() override;
   void decapGroupConfigReady() override;
   bool waitForDstPortPayloadTypeForUdpTunnel() override;

 private:
   ~RecordingHook() override;

   template <class Call>
   void recorded(char const* operation, Fwd::DecapKey const* key, Call const& call);

   Recorder& recorder_;
   Mdl::Ptr<FwdDecapGroupSmHelper> const platform_;
};

}  // namespace Journal
