// Pointers that threads share, with thread-safe counting on. Run these under a thread sanitizer
// as well: it sees the missing order that a test on one machine may never meet.

#include "mdl/Ptr.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <latch>
#include <thread>
#include <vector>

namespace {

using Mdl::Ptr;

constexpr int threads = 4;
/// More than a thread gets done before a busy machine gives another one its turn.
constexpr int rounds = 200'000;

/// Holds plain data, a place for each user to write, which its destructor adds up.
class Shared final : public Mdl::PtrInterface {
 public:
   Shared(std::atomic<int>& destroyed, int& sum) : destroyed_(destroyed), sum_(sum) {}

   int written[threads] = {};

 private:
   ~Shared() override {
      for (int const value : written) sum_ += value;
      ++destroyed_;
   }

   std::atomic<int>& destroyed_;
   int& sum_;
};

class PtrThreads : public testing::Test {
 protected:
   void SetUp() override { Mdl::threadSafePtrsIs(true); }
   void TearDown() override { Mdl::threadSafePtrsIs(false); }

   template <class Work>
   void whenThreadsRun(Work const& work) {
      std::vector<std::thread> running;
      std::latch together(threads);
      for (int i = 0; i < threads; ++i) {
         running.emplace_back([&work, &together, i] {
            together.arrive_and_wait();
            work(i);
         });
      }
      for (std::thread& thread : running) thread.join();
   }

   std::atomic<int> destroyed{0};
   int sum = 0;  ///< of one object
};

TEST_F(PtrThreads, CopiesThatComeAndGoKeepTheCount) {
   auto const shared = Mdl::allocate<Shared>(destroyed, sum);
   whenThreadsRun([&](int) {
      for (int round = 0; round < rounds; ++round) {
         Ptr<Shared> const copy = shared;
         Ptr<Shared> const another = copy;
      }
   });
   EXPECT_EQ(shared->references(), 1u);
   EXPECT_EQ(destroyed, 0);
}

TEST_F(PtrThreads, FlagsThatChangeMeanwhileKeepTheCount) {
   auto const shared = Mdl::allocate<Shared>(destroyed, sum);
   whenThreadsRun([&](int thread) {
      for (int round = 0; round < rounds; ++round) {
         if (thread == 0) {
            shared->isMarkedForDeletionIs(round % 2 == 0);
         } else {
            Ptr<Shared> const copy = shared;
         }
      }
   });
   EXPECT_EQ(shared->references(), 1u);
   EXPECT_FALSE(shared->isMarkedForDeletion());
}

TEST_F(PtrThreads, WhoeverIsLastDestroysOnceAndSeesWhatTheOthersWrote) {
   constexpr std::size_t objects = 2000;
   std::vector<int> sums(objects, 0);
   std::vector<std::vector<Ptr<Shared>>> held(threads);
   for (int& ofObject : sums) {
      auto const shared = Mdl::allocate<Shared>(destroyed, ofObject);
      for (auto& ofThread : held) ofThread.push_back(shared);
   }
   whenThreadsRun([&](int thread) {
      for (Ptr<Shared>& shared : held[static_cast<std::size_t>(thread)]) {
         shared->written[thread] = 1;
         shared = nullptr;
      }
   });
   EXPECT_EQ(destroyed, static_cast<int>(objects));
   EXPECT_EQ(sums, std::vector<int>(objects, threads));
}

}  // namespace
