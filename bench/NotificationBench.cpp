// One change of an entity and the reactors that hear of it. Times are those of one change.

#include "bench/Contest.h"
#include "mdl/Attribute.h"
#include "mdl/Reflection.h"

#include <boost/signals2.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace Bench {

namespace {

class Thing final : public Mdl::Entity {
 public:
   static constexpr char typeName[] = "Bench::Thing";
   static Mdl::Type const& type() noexcept {
      static Mdl::Type const made(typeName);
      return made;
   }
   Mdl::Type const& fwkType() const noexcept override { return type(); }

   MDL_SCALAR(std::uint64_t, height, 1);

 private:
   ~Thing() override = default;
};

class Reactor final : public Mdl::PtrInterface::NotifieeConst {
 public:
   explicit Reactor(Mdl::Ptr<Thing> const& thing) : NotifieeConst(thing) {
      isRegisteredNotifieeIs(true);
      hasNotificationActiveIs(true);
   }
   void onAttribute(Mdl::AttributeId attribute, void const*) override { heard += attribute; }
   std::uint64_t heard = 0;

 private:
   ~Reactor() override = default;
};

/// Changes that nobody may merge, each told to all; `heard(i)` is how many the i-th has heard of.
template <class Change, class Heard>
double changes(std::size_t reactors, Change const& change, Heard const& heard) {
   std::uint64_t height = 0;
   double const seconds = timed(
       1, [&] { change(++height); }, 2'000'000 / (reactors + 4));
   for (std::size_t i = 0; i < reactors; ++i) {
      if (heard(i) != height) return -1;
   }
   return seconds;
}

double ours(std::size_t reactors) {
   auto const thing = Mdl::allocate<Thing>();
   std::vector<Mdl::Ptr<Reactor>> all;
   for (std::size_t i = 0; i < reactors; ++i) all.push_back(Mdl::allocate<Reactor>(thing));
   return changes(
       reactors, [&](std::uint64_t height) { thing->heightIs(height); },
       [&](std::size_t i) { return all[i]->heard; });
}

double signals2(std::size_t reactors) {
   std::vector<std::uint64_t> heard(reactors);
   std::uint64_t stored = 0;
   boost::signals2::signal<void(std::uint32_t, void const*)> signal;
   for (std::size_t i = 0; i < reactors; ++i) {
      signal.connect([&one = heard[i]](std::uint32_t attribute, void const*) { one += attribute; });
   }
   return changes(
       reactors,
       [&](std::uint64_t height) {
          if (stored == height) return;
          stored = height;
          signal(1, nullptr);
       },
       [&](std::size_t i) { return heard[i]; });
}

double functions(std::size_t reactors) {
   std::vector<std::uint64_t> heard(reactors);
   std::uint64_t stored = 0;
   std::vector<std::function<void(std::uint32_t, void const*)>> all;
   for (std::size_t i = 0; i < reactors; ++i) {
      all.emplace_back(
          [&one = heard[i]](std::uint32_t attribute, void const*) { one += attribute; });
   }
   return changes(
       reactors,
       [&](std::uint64_t height) {
          if (stored == height) return;
          stored = height;
          for (auto const& one : all) one(1, nullptr);
       },
       [&](std::size_t i) { return heard[i]; });
}

/// Whatever comes or goes inside a call breaks this one.
struct Raw {
   virtual ~Raw() = default;
   virtual void onAttribute(std::uint32_t attribute, void const*) = 0;
   std::uint64_t heard = 0;
};
/// Two of them, so that the compiler does not guess which one is called.
struct RawOne final : Raw {
   void onAttribute(std::uint32_t attribute, void const*) override { heard += attribute; }
};
struct RawOther final : Raw {
   void onAttribute(std::uint32_t attribute, void const*) override { heard -= attribute; }
};

double raw(std::size_t reactors) {
   std::uint64_t stored = 0;
   std::vector<std::unique_ptr<Raw>> owned;
   owned.push_back(std::make_unique<RawOther>());
   std::vector<Raw*> all;
   for (std::size_t i = 0; i < reactors; ++i) {
      owned.push_back(std::make_unique<RawOne>());
      all.push_back(owned.back().get());
   }
   benchmark::DoNotOptimize(all);
   return changes(
       reactors,
       [&](std::uint64_t height) {
          if (stored == height) return;
          stored = height;
          for (Raw* const one : all) one->onAttribute(1, nullptr);
       },
       [&](std::size_t i) { return all[i]->heard; });
}

bool const registered = [] {
   for (std::size_t const reactors : {1UL, 4UL, 64UL}) {
      contestant("notification", reactors, "ours", [=] { return ours(reactors); });
      contestant("notification", reactors, "signals2", [=] { return signals2(reactors); });
      contestant("notification", reactors, "functions", [=] { return functions(reactors); });
      contestant("notification", reactors, "raw", [=] { return raw(reactors); });
   }
   return true;
}();

}  // namespace

}  // namespace Bench
