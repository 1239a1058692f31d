// Faults that the framework once had: misbehaving sinks, sources, reactors and entries.

#include "mdl/Clock.h"
#include "mdl/Entity.h"
#include "mdl/System.h"
#include "mdl/Trace.h"
#include "support/Actor.h"
#include "support/FailingNew.h"
#include "support/Plant.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <string>

namespace {

using Mdl::Ptr;
using Mdl::String;
using Support::actorOn;
using Support::Journal;
using Support::Leaf;
using Support::Plant;

// Formatted output swallows exceptions unless the stream asks for them.
TEST(FrameworkRobustness, ARecordThatRunsOutOfMemoryIsLostAndCounted) {
   Mdl::TraceHandle handle("TraceDefect", 0);
   handle.maskIs(1u << 2);
   std::size_t emitted = 0;
   Mdl::Trace::sinkIs([&](Mdl::TraceRecord const&) { ++emitted; });
   String const big(std::string(100000, 'x'));
   auto const before = Mdl::Trace::lost();
   {
      Support::FailingNew const noMemory(0);
      MDL_TRACE(handle, 2, "text " << big);
   }
   Mdl::Trace::sinkIs(nullptr);
   EXPECT_EQ(emitted, 0u);
   EXPECT_EQ(Mdl::Trace::lost(), before + 1);
}

// There is no bit for it, and shifting by so much would be undefined.
TEST(FrameworkRobustness, ALevelBeyondTheMaskIsOff) {
   Mdl::TraceHandle handle("TraceDefect", 0);
   handle.maskIs(~0u);
   EXPECT_FALSE(handle.enabled(32));
   EXPECT_FALSE(handle.enabled(40));
}

TEST(FrameworkRobustness, ADyingReplacedEntryMayDropItsEntityAndAllThatWatchIt) {
   Journal journal;
   auto mortal = Mdl::allocate<Plant>();
   auto actor = actorOn(mortal, journal, "actor");
   mortal->leafIs(Mdl::allocate<Leaf>("a", [&] {
      mortal = nullptr;
      actor = nullptr;
   }));
   Plant& changed = *mortal;
   changed.leafIs(Mdl::allocate<Leaf>("a"));
   EXPECT_EQ(mortal, nullptr);
}

// The entries behind the first would stay for good.
TEST(FrameworkRobustness, RemovingAllRemovesAllThoughAReactorThrows) {
   Journal journal;
   auto const plant = Mdl::allocate<Plant>();
   for (char const* const key : {"a", "b", "c"}) plant->markIs(key);
   auto const actor = actorOn(plant, journal, "actor");
   actor->actIs([] { throw std::runtime_error("refused"); });
   EXPECT_THROW(plant->markDelAll(), std::runtime_error);
   EXPECT_TRUE(plant->mark().empty());
   EXPECT_EQ(journal, Journal(3, "actor"));
}

// "Not armed" and "armed for the end of time" are the same value.
class Sleeper final : public Mdl::Clock::NotifieeConst {
 public:
   explicit Sleeper(Ptr<Mdl::Clock const> const& clock) : NotifieeConst(clock) {
      isRegisteredNotifieeIs(true);
      hasNotificationActiveIs(true);
   }
   int woken = 0;

 protected:
   void onTimeMin() override { ++woken; }
};

TEST(FrameworkRobustness, OneThatIsNotArmedSleepsOnAtTheEndOfTime) {
   auto const clock = Mdl::allocate<Mdl::Clock>();
   auto const sleeper = Mdl::allocate<Sleeper>(clock);
   clock->timeIs(Mdl::never);
   EXPECT_EQ(sleeper->woken, 0);
}

// A source runs from a copy that outlives the call.
TEST(FrameworkRobustness, ASourceMayReplaceItself) {
   std::string const kept(100, 'k');
   Mdl::System::timeSourceIs([kept] {
      Mdl::System::timeSourceIs(nullptr);
      return static_cast<Mdl::Seconds>(kept.size());
   });
   EXPECT_EQ(Mdl::System::currentTime(), 100.0);
}

// It would dangle, unnoticed until it is used.
class Leaking final : public Mdl::PtrInterface {
 public:
   explicit Leaking(Ptr<Leaking>& out) {
      out = Ptr<Leaking>(this);
      throw std::runtime_error("refused");
   }
};

TEST(FrameworkRobustnessDeathTest, AReferenceThatOutlivesAConstructorThatThrewStopsTheProcess) {
   EXPECT_DEATH(
       {
          Ptr<Leaking> out;
          try {
             Mdl::allocate<Leaking>(out);
          } catch (std::runtime_error const&) {
             static_cast<void>(out.detach());
          }
          std::_Exit(0);
       },
       "Assertion failed");
}

// The flag is set when the clean-up has returned.
class Dropping final : public Mdl::PtrInterface::NotifieeConst {
 public:
   Dropping(Ptr<Mdl::Entity const> notifier, Ptr<Dropping>& self)
       : NotifieeConst(std::move(notifier)), self_(self) {}
   void mdlDoZombieReactors(bool zombie) override {
      zombieTransition(zombie, [this] { self_ = nullptr; });
   }

 private:
   Ptr<Dropping>& self_;
};

TEST(FrameworkRobustness, ACleanUpMayDropTheLastPointerToItsReactor) {
   auto const plant = Mdl::allocate<Plant>();
   Ptr<Dropping> self;
   self = Mdl::allocate<Dropping>(plant, self);
   Dropping& reactor = *self;
   reactor.mdlDoZombieReactors(true);
   EXPECT_EQ(self, nullptr);
}

// Their destructors run after those of the library's own statics.
[[noreturn]] void traceFromAStaticsDestructor() {
   struct AtExit {
      Mdl::TraceHandle handle{"AtExit", 0};
      ~AtExit() {
         handle.maskIs(~0u);
         MDL_TRACE(handle, 2, "bye");
         std::_Exit(7);
      }
   };
   static AtExit atExit;
   std::string const kept(100, 'k');
   Mdl::Trace::sinkIs([kept](Mdl::TraceRecord const& record) {
      std::fprintf(stderr, "%s %s", std::string(record.text).c_str(), kept.c_str());
   });
   std::exit(0);
}

TEST(FrameworkRobustnessDeathTest, StaticsMayTraceInTheirDestructors) {
   EXPECT_EXIT(traceFromAStaticsDestructor(), testing::ExitedWithCode(7), "bye");
}

}  // namespace
