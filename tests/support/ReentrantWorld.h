#pragma once

#include "support/Actor.h"
#include "support/AdmissionModel.h"
#include "support/Generate.h"
#include "support/InterfaceFixture.h"
#include "support/ReentrantHook.h"
#include "support/ReentrantLog.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace Support {

/// Who makes changes in the middle of others. Each comes on top of those before it.
enum class Meddling : std::uint8_t {
   watchers,   ///< whoever watches what the machine watches, and hears of it first
   hook,       ///< the platform hook, in each of its calls
   faults,     ///< the hook does, and throws in some calls
   readiness,  ///< the machine's `initializedIs` is taken back and given again, too
};

/// A running machine in a small world that changes at random, also in the middle of changes.
///
/// A step is one change. Watchers of configuration, groups and interfaces hear of it before the
/// machine does and, like the hook, answer some of what they hear with changes of their own, which
/// others hear of in turn; a budget ends that. Then all is at rest, and what the groups hold, the
/// counts and hardware must be what configuration and status call for, whatever the order was in
/// which the machine came to hear of it.
///
/// Two groups and two interfaces with few addresses: enough for entries, exclude sets and
/// addresses to be in each other's way most of the time.
///
/// Owner: a test, one at a time, as the process has one clock.
/// I1: the same seed makes the same changes, with a log and without.
class ReentrantWorld final : public InterfaceFixture {
 public:
   /// What is done goes to `log`, which outlives the world; null for nowhere.
   ReentrantWorld(std::uint32_t seed, Meddling meddling, std::string* log);
   ~ReentrantWorld() override;

   /// A change without and, when `meddled`, with others in its middle; then rest.
   void step(bool meddled);
   /// All interfaces leave the status; then rest.
   void interfacesGo();
   /// What the groups, the counts or hardware have that is not called for, or lack. Empty when all
   /// agree, and while the machine is not initialized.
   std::string difference();
   /// What hardware still has after the machine has gone, which should be nothing.
   std::string leftByMachine();

 private:
   static constexpr std::size_t each = 2;
   template <class T>
   using Each = std::array<T, each>;
   using Origins = AdmissionModel::Origins;

   void TestBody() override {}

   // Who acts, and when.

   void watch(Mdl::Ptr<Mdl::Entity const> const& entity);
   /// Maybe makes changes in the middle of the call under way.
   void meddle(char const* where);
   bool hookFails();
   /// One change of any kind. Hardware faults that leave it end here.
   void change();
   void rest();
   template <class... Part>
   void say(Part const&... parts) {
      log_.say(depth_, parts...);
   }

   // The changes, each with particulars of its own choice.

   struct Kind {
      std::uint32_t weight;
      void (ReentrantWorld::*make)();
   };
   static constexpr std::size_t kindCount = 23;
   static Kind const kinds[kindCount];

   void entryIsSet();
   void entryGoes();
   void isExcluded();
   void excludeSetGoes();
   void typeChanges();
   void portChanges();
   void prefixComesOrGoes();
   void groupGoes();
   void groupComes();
   void groupIsAnother();
   void interfaceGoes();
   void interfaceIsAnother();
   void interfaceIsPutBack();
   void primaryChanges();
   void virtualChanges();
   void secondaryComes();
   void secondaryGoes();
   void interface6Goes();
   void interface6IsAnother();
   void interface6IsPutBack();
   void address6Comes();
   void address6Goes();
   void readinessChanges();

   // Random particulars.

   Mdl::Ptr<DecapGroup>& anyGroup() { return groups[mostly(group_)]; }
   std::size_t anyIntf() { return mostly(at_); }
   std::uint32_t anyFamily() { return generate_.oneIn(4) ? ipv6 : ipv4; }
   /// Mostly the one that the step is about.
   std::size_t mostly(std::size_t one) { return generate_.oneIn(5) ? generate_.below(each) : one; }
   DecapIntfKey anyEntryKey();
   std::uint16_t anyPort();
   Pkt::IpAddrWithMask anyAddr();
   Pkt::Ip6AddrWithMask anyAddr6();

   // Which addresses come untold.

   bool isFollowed(std::size_t at) const { return sm && sm->ipIntfStatus(ids_[at]) == intf_[at]; }
   bool isFollowed6(std::size_t at) const {
      return sm && sm->ip6IntfStatus(ids_[at]) == intf6_[at];
   }
   void noteAddress(ModelOrigin const& origin, bool isFollowed);
   void noteNewStatus(Pkt::IntfId const& intfId, std::uint32_t family);

   // The comparison.

   using References = std::map<Fwd::DecapKey, std::uint32_t>;

   std::string differenceOf(DecapGroup const& group, Origins const& calledFor,
                            References& references) const;
   std::string differenceOfCounts(References const& references) const;
   std::string differenceOfHardware(References const& references) const;
   std::string findingsOfAudit() const;

   Generate generate_;
   Meddling const meddling_;
   ReentrantLog log_;
   Journal told_;
   std::vector<Mdl::Ptr<Actor>> watchers_;
   Mdl::Ptr<ReentrantHook> hook_;
   Each<Pkt::IntfId> const ids_{intf("Ethernet1"), intf("Ethernet2")};
   // The newest status of each interface; it may have left.
   Each<IntfStatus> intf_;
   Each<Intf6Status> intf6_;

   /// The group and the interface that the step is about, so that its changes meet.
   std::size_t group_ = 0;
   std::size_t at_ = 0;
   /// Changes that may still be made in the middle of others, in this step.
   std::uint32_t budget_ = 0;
   /// Of a hundred chances to make one, how many are taken.
   std::uint32_t eagerness_ = 0;
   unsigned depth_ = 0;
   bool faultsAllowed_ = false;

   /// Addresses of the newest status objects that were there before the machine followed the
   /// object, so that nobody was told of them one by one.
   std::set<ModelOrigin> untold_;
};

}  // namespace Support
