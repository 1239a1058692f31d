#pragma once

namespace Support {

/// Lets allocations fail: while it lives, the first `successes` allocations of this thread through
/// operator new work and all later ones find no memory.
class FailingNew {
 public:
   explicit FailingNew(int successes) noexcept;
   FailingNew(FailingNew const&) = delete;
   FailingNew& operator=(FailingNew const&) = delete;
   ~FailingNew();
};

}  // namespace Support
