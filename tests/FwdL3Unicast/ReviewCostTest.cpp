#include "mdl/System.h"
#include "support/BacklogFixture.h"
#include "support/Share.h"

#include <algorithm>
#include <ctime>
#include <ostream>

namespace {

/// Hardware that takes its time, has room for everything and never looks at a clock.
class SlowHook final : public Fwd::FwdDecapGroupSmHelper {
 public:
   explicit SlowHook(Sim::SimTime& time)
       : FwdDecapGroupSmHelper(Mdl::String("slow")), time_(time) {}

   Fwd::dgRetCode programDecapKey(Fwd::DecapKey const&) override {
      ++calls;
      time_.pass(callCost);
      return answer;
   }
   void removeDecapKey(Fwd::DecapKey const&) override {}

   Fwd::dgRetCode answer = Fwd::dgRcSuccess;
   Mdl::Seconds callCost = 0.0;
   std::uint64_t calls = 0;

 private:
   ~SlowHook() override = default;
   Sim::SimTime& time_;
};

/// What a pass costs, and that it does not depend on how many keys wait behind its stopping point.
class ReviewCost : public BacklogFixture {
 protected:
   // More than ten passes get through.
   std::uint32_t const many = std::max(Support::shareOf(1'000'000), 250'000U);

   ReviewCost() {
      sm = Fwd::fwdDecapGroupSmFactory(acsd, config, status, ip, ip6, time.clock(), hook);
      sm->reviewQuantaIs(quanta);
   }
   ~ReviewCost() override { Mdl::System::timeSourceIs({}); }

   static Fwd::DecapKey numbered(std::uint32_t number) {
      return Fwd::DecapKey(Pkt::IpGenPrefix(Pkt::IpAddr()),
                           Pkt::IpGenPrefix(Pkt::IpAddr(0x0A000000 + number), 32), TunnelType::udp,
                           6080, PayloadType::ip, vrf("default"));
   }
   /// Keys that are counted and wait, with no group behind them.
   void givenKeysThatWait(std::uint32_t keys) {
      for (std::uint32_t i = 0; i < keys; ++i) {
         sm->refCountIs(numbered(i), 1);
         sm->unprogrammedKeyIs(numbered(i), true);
      }
   }
   /// Each of their destinations belongs to another VRF.
   void givenOtherOwners() {
      for (auto const& entry : sm->unprogrammedKey()) {
         sm->tunnelTypeDecapIpToVrfIs(pairOf(entry.key), vrf("other"));
      }
   }
   /// Counts how often the time is asked for; each time takes `each`.
   void givenCountedTime(Mdl::Seconds each = 0.0) {
      Mdl::System::timeSourceIs([this, each] {
         ++timesAsked;
         time.pass(each);
         return time.now();
      });
   }

   struct Pass {
      std::uint64_t calls;
      std::uint64_t timesAsked;
      Mdl::Seconds took;
      friend bool operator==(Pass const&, Pass const&) = default;
      friend void PrintTo(Pass const& pass, std::ostream* out) {
         *out << pass.calls << " calls, " << pass.timesAsked << " times asked, " << pass.took
              << " s";
      }
   };
   Pass review() {
      std::uint64_t const calls = hook->calls;
      std::uint64_t const asked = timesAsked;
      Mdl::Seconds const start = time.now();
      sm->doReview();
      return {hook->calls - calls, timesAsked - asked, time.now() - start};
   }

   /// The shortest of several passes against the real clock, in seconds of this thread's own
   /// processor time: what else the computer does meanwhile takes nothing of that, and ends a pass
   /// earlier rather than later.
   double shortestRealPass(int passes) {
      Mdl::System::timeSourceIs({});
      double shortest = 1e9;
      for (int i = 0; i < passes; ++i) {
         double const start = processorTime();
         sm->doReview();
         shortest = std::min(shortest, processorTime() - start);
      }
      return shortest;
   }
   static double processorTime() {
      timespec now{};
      ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
      return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
   }

   // An eighth of the budget for each call, in powers of two.
   static constexpr Mdl::Seconds quanta = 0.0078125;
   static constexpr Mdl::Seconds callCost = quanta / 8;
   Mdl::Ptr<SlowHook> const hook = Mdl::allocate<SlowHook>(time);
   std::uint64_t timesAsked = 0;
};

TEST_F(ReviewCost, AMillionKeysKeepAPassWithinItsBudgetAndOneCall) {
   givenKeysThatWait(many);
   hook->callCost = callCost;
   for (int i = 0; i < 20; ++i) {
      Pass const pass = review();
      EXPECT_LE(pass.took, quanta + callCost);
      EXPECT_EQ(pass.calls, 9U);
      time.advanceTo(time.now());
   }
   EXPECT_EQ(sm->unprogrammedKey().size(), many - 20 * 9);
}

// The time is asked for at the start, before each key, at the end, and for the next wake-up.
TEST_F(ReviewCost, TheTimeIsAskedForOnceAKeyWhateverWaitsBehind) {
   hook->callCost = callCost;
   givenCountedTime();
   Pass const expected = {9, 1 + 10 + 2, 9 * callCost};
   for (std::uint32_t const keys : {100U, 10'000U}) {
      givenKeysThatWait(keys);
      EXPECT_EQ(review(), expected) << keys << " keys";
   }
}

TEST_F(ReviewCost, ARefusalEndsAPassAfterOneCallWhateverWaitsBehind) {
   hook->answer = Fwd::dgRcNotReady;
   givenCountedTime();
   Pass const expected = {1, 1 + 1 + 2, 0.0};
   for (std::uint32_t const keys : {2U, 10'000U}) {
      givenKeysThatWait(keys);
      EXPECT_EQ(review(), expected) << keys << " keys";
   }
}

TEST_F(ReviewCost, KeysForAnotherVrfSpendTheBudgetToo) {
   givenKeysThatWait(10'000);
   givenOtherOwners();
   Mdl::Seconds const each = quanta / 256;
   givenCountedTime(each);
   Pass const pass = review();
   EXPECT_EQ(pass.calls, 0U);
   EXPECT_LE(pass.took, quanta + 4 * each);
   EXPECT_NE(wakeUp(), Mdl::never);
}

// On the real clock. The bounds leave room for a busy computer and for sanitizers, and are far
// below what it takes to touch a million keys once.

TEST_F(ReviewCost, AMillionKeysKeepARealPassWithinItsBudget) {
   givenKeysThatWait(many);
   EXPECT_LT(shortestRealPass(10), quanta + 0.005);
   EXPECT_FALSE(sm->unprogrammedKey().empty());
}

TEST_F(ReviewCost, ARefusalEndsARealPassAtOnceThoughAMillionKeysWaitBehind) {
   givenKeysThatWait(many);
   hook->answer = Fwd::dgRcNotReady;
   EXPECT_LT(shortestRealPass(10), 0.001);
}

TEST_F(ReviewCost, AMillionKeysForAnotherVrfKeepARealPassWithinItsBudget) {
   givenKeysThatWait(many);
   givenOtherOwners();
   EXPECT_LT(shortestRealPass(10), quanta + 0.005);
   EXPECT_EQ(hook->calls, 0U);
}

}  // namespace
