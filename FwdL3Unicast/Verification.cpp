// The machine's check of its own books, on request.

#include "FwdL3Unicast/FwdDecapGroupSm.h"
#include "FwdL3Unicast/MdlDecapGroup.h"
#include "FwdL3Unicast/MdlVerifyData.h"
#include "FwdL3Unicast/Messages.h"
#include "mdl/Assert.h"

#include <cstdlib>
#include <sstream>

namespace Fwd {

namespace {

constexpr char handleVerifyFunction[] = "void Fwd::FwdDecapGroupSm::handleVerify()";
constexpr std::uint8_t unknownKeyCode = 3;

Mdl::String unknownKeyText(DecapKey const& key, char const* collections) {
   std::ostringstream text;
   text << "key " << key << " isn't member of " << collections;
   return Mdl::String(text.str());
}

}  // namespace

bool FwdDecapGroupSm::keyIsKnown(DecapKey const& key) const {
   if (key == invalidDecapKey || key == emptyDecapKey) return true;
   FWD_TRACE_AS("handleVerify", 2, " key is " << key << " refCount " << refCount(key));
   return refCountHas(key) || unprogrammedKeyHas(key);
}

void FwdDecapGroupSm::handleVerify() {
   Mdl::Ptr<FwdDecapGroupSm> const self(this);
   // 1.
   FWD_TRACE(2, "handleVerify");
   // 2.
   if (!initializedAndReady()) return;
   if (decapHelper_) decapHelper_->verify();
   // 3. A group that is leaving has given its keys back while its sets still list them.
   auto const config = dgConfig();
   if (!config) return;
   for (auto const& group : config->decapGroup().walk()) {
      auto const reactor = mdlDecapGroup(group.key);
      if (!reactor || reactor->isMarkedForDeletion() || reactor->isLeaving()) continue;
      for (auto const& entry : reactor->decapKeyFromIntf().walk()) {
         if (!entry.value.listed || keyIsKnown(entry.key)) continue;
         reportUnknownKey(unknownKeyText(entry.key, "refCount or unprogrammedKey collections"),
                          __LINE__);
         return;
      }
      for (auto const& entry : reactor->decapKeyFromIp().walk()) {
         if (!entry.value.listed || keyIsKnown(entry.key)) continue;
         // The leading blank, which makes two of them, tells the two reports apart on purpose.
         reportUnknownKey(unknownKeyText(entry.key, " refCount or unprogrammedKey collections"),
                          __LINE__);
         return;
      }
   }
}

void FwdDecapGroupSm::reportUnknownKey(Mdl::String const& text, std::uint32_t line) {
   // 4.
   auto const reports = verifyData();
   if (std::getenv("SIMULATION_VMID") == nullptr) {
      if (reports) reports->updateCliVerifyOutput(handleVerifyFunction, text);
      return;
   }
   // In a simulation an inconsistency is fatal, once it has been recorded.
   if (reports) {
      reports->verifyOutputIs({text, sourceFile, line, "handleVerify", unknownKeyCode});
   }
   Mdl::assertionFailed("0", sourceFile, handleVerifyFunction);
}

void FwdDecapGroupSm::requestVerifyIfAsked() {
   auto const requests = acsd_ ? acsd_->verifyData() : nullptr;
   if (requests && requests->requestVerify()) requests->doRequestVerify();
}

}  // namespace Fwd
