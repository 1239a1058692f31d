#pragma once

namespace Support {

/// Lets allocations fail: while it lives, the first `successes` allocations of this thread through
/// operator new work, then `failures` of them find no memory, then all work again.
class FailingNew {
 public:
   static constexpr int forGood = 0x7fffffff;

   explicit FailingNew(int successes, int failures = forGood) noexcept;
   FailingNew(FailingNew const&) = delete;
   FailingNew& operator=(FailingNew const&) = delete;
   ~FailingNew();

   /// Whether an allocation has found no memory.
   bool hasFailed() const noexcept;

   /// While one lives, allocations work and are not counted, unless a `Resumption` lives that is
   /// younger.
   class Pause {
    public:
      explicit Pause(bool pause = true) noexcept;
      Pause(Pause const&) = delete;
      Pause& operator=(Pause const&) = delete;
      ~Pause();

    private:
      bool const before_;
   };
   class Resumption : public Pause {
    public:
      Resumption() noexcept : Pause(false) {}
   };
};

}  // namespace Support
