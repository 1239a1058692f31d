// What it costs to hold an object for the length of a call: one copy of a pointer and its end.

#include "bench/Contest.h"
#include "mdl/Ptr.h"
#include "mdl/PtrInterface.h"

#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#include <cstdint>
#include <memory>
#include <vector>

namespace Bench {

namespace {

std::size_t constexpr objects = 1000;

class Counted final : public Mdl::PtrInterface {
 public:
   std::uint64_t value = 1;

 private:
   ~Counted() override = default;
};

struct Plain {
   std::uint64_t value = 1;
};

struct Intrusive : boost::intrusive_ref_counter<Intrusive, boost::thread_unsafe_counter> {
   std::uint64_t value = 1;
};

template <class Pointer, class Make>
double copies(Make const& make) {
   std::vector<Pointer> pointers;
   for (std::size_t i = 0; i < objects; ++i) pointers.push_back(make());
   std::uint64_t sum = 0;
   std::size_t rounds = 0;
   double const seconds = timed(
       objects,
       [&] {
          for (Pointer const& pointer : pointers) {
             Pointer const held(pointer);
             benchmark::DoNotOptimize(held);
             sum += held->value;
          }
          ++rounds;
       },
       2'000'000);
   return sum == rounds * objects ? seconds : -1;
}

bool const registered = [] {
   contestant("pointer-copy", objects, "ours",
              [] { return copies<Mdl::Ptr<Counted>>([] { return Mdl::allocate<Counted>(); }); });
   contestant("pointer-copy", objects, "std", [] {
      return copies<std::shared_ptr<Plain>>([] { return std::make_shared<Plain>(); });
   });
   contestant("pointer-copy", objects, "boost-intrusive", [] {
      return copies<boost::intrusive_ptr<Intrusive>>(
          [] { return boost::intrusive_ptr<Intrusive>(new Intrusive); });
   });
   return true;
}();

}  // namespace

}  // namespace Bench
