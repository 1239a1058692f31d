#include "platform/journal/RecordingHook.h"

#include "platform/journal/Recorder.h"
#include "platform/sim/KeyText.h"

#include <exception>
#include <utility>

namespace Journal {

RecordingHook::RecordingHook(Recorder& recorder, Mdl::Ptr<FwdDecapGroupSmHelper> platform)
    : FwdDecapGroupSmHelper("recorded"), recorder_(recorder), platform_(std::move(platform)) {}
RecordingHook::~RecordingHook() = default;

/// `call` gives the answer.
template <class Call>
void RecordingHook::recorded(char const* operation, Fwd::DecapKey const* key, Call const& call) {
   recorder_.noteCall(operation, key);
   try {
      recorder_.noteAnswer(call());
   } catch (std::exception const& exception) {
      recorder_.timed({"answer", "threw", nameJson(exception.what())});
      throw;
   } catch (...) {
      recorder_.timed({"answer", "threw", ""});
      throw;
   }
}

Fwd::dgRetCode RecordingHook::programDecapKey(Fwd::DecapKey const& key) {
   Mdl::Ptr<RecordingHook> const self(this);
   auto code = Fwd::dgRcSuccess;
   recorded("program", &key, [&] {
      code = platform_->programDecapKey(key);
      return Sim::answerText(code);
   });
   return code;
}

void RecordingHook::removeDecapKey(Fwd::DecapKey const& key) {
   Mdl::Ptr<RecordingHook> const self(this);
   recorded("remove", &key, [&] {
      platform_->removeDecapKey(key);
      return "done";
   });
}

void RecordingHook::verify() {
   Mdl::Ptr<RecordingHook> const self(this);
   recorded("verify", nullptr, [&] {
      platform_->verify();
      return "done";
   });
}

void RecordingHook::decapGroupConfigReady() {
   Mdl::Ptr<RecordingHook> const self(this);
   recorded("config-ready", nullptr, [&] {
      platform_->decapGroupConfigReady();
      return "done";
   });
}

bool RecordingHook::waitForDstPortPayloadTypeForUdpTunnel() {
   bool const wait = platform_->waitForDstPortPayloadTypeForUdpTunnel();
   recorder_.noteUdpWait(wait);
   return wait;
}

}  // namespace Journal
