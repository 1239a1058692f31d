#pragma once

#include <exception>
#include <utility>

namespace Fwd {

/// Carries several steps through although one of them throws: all are tried, and the first
/// exception reaches the caller at the end. For work that must not stop half way, such as giving
/// back every reference of a group whose hook throws at the first.
class FirstException {
 public:
   template <class Step>
   void attempt(Step&& step) noexcept {
      try {
         std::forward<Step>(step)();
      } catch (...) {
         if (!first_) first_ = std::current_exception();
      }
   }

   void rethrow() {
      if (first_) std::rethrow_exception(std::exchange(first_, nullptr));
   }

 private:
   std::exception_ptr first_;
};

}  // namespace Fwd
