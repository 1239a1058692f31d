#include "agent/BookCheck.h"

#include "agent/Wording.h"
#include "agent/World.h"

namespace Agent {

std::vector<std::string> verifyBooks(World& world) {
   Fwd::VerifyData& requests = world.verifyData();
   requests.outputDelAll();
   requests.doRequestVerify();
   // A request that stands is verified after every change, and one that is taken back once more;
   // this one was for now.
   requests.hasNotificationActiveIs(false);
   requests.requestVerifyIs(false);
   requests.hasNotificationActiveIs(true);
   std::vector<std::string> lines;
   for (auto const& line : requests.cliVerifyOutput()) lines.push_back(line.text.stdString());
   return lines;
}

std::vector<std::string> auditBooks(World const& world) {
   std::vector<std::string> lines;
   if (!world.machine()) return lines;
   std::vector<Fwd::DecapKey> readback;
   for (auto const& entry : world.hardware().table().entries()) readback.push_back(entry.key);
   for (auto const& finding : Fwd::audit(*world.machine(), &readback)) {
      lines.push_back(findingText(finding));
   }
   return lines;
}

}  // namespace Agent
