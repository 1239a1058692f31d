#include "support/FailingNew.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

thread_local bool limited = false;
thread_local bool paused = false;
thread_local bool failed = false;
thread_local int successesLeft = 0;
thread_local int failuresLeft = 0;

bool mayAllocate() noexcept {
   if (!limited || paused) return true;
   if (successesLeft > 0) {
      --successesLeft;
      return true;
   }
   if (failuresLeft == 0) return true;
   if (failuresLeft != Support::FailingNew::forGood) --failuresLeft;
   failed = true;
   return false;
}

void* allocate(std::size_t bytes, std::size_t alignment) noexcept {
   if (!mayAllocate()) return nullptr;
   std::size_t const rounded = (bytes / alignment + 1) * alignment;
   return std::aligned_alloc(alignment, rounded);
}

void* allocateOrThrow(std::size_t bytes, std::size_t alignment) {
   void* const memory = allocate(bytes, alignment);
   if (memory == nullptr) throw std::bad_alloc();
   return memory;
}

constexpr std::size_t plain = __STDCPP_DEFAULT_NEW_ALIGNMENT__;

}  // namespace

namespace Support {

FailingNew::FailingNew(int successes, int failures) noexcept {
   successesLeft = successes;
   failuresLeft = failures;
   failed = false;
   limited = true;
}

FailingNew::~FailingNew() { limited = false; }

bool FailingNew::hasFailed() const noexcept { return failed; }

FailingNew::Pause::Pause(bool pause) noexcept : before_(paused) { paused = pause; }

FailingNew::Pause::~Pause() { paused = before_; }

}  // namespace Support

// The program's allocation functions. The array forms end in these.

void* operator new(std::size_t n) { return allocateOrThrow(n, plain); }
void* operator new(std::size_t n, std::align_val_t a) {
   return allocateOrThrow(n, static_cast<std::size_t>(a));
}
void* operator new(std::size_t n, std::nothrow_t const&) noexcept { return allocate(n, plain); }
void* operator new(std::size_t n, std::align_val_t a, std::nothrow_t const&) noexcept {
   return allocate(n, static_cast<std::size_t>(a));
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete(void* p, std::align_val_t) noexcept { std::free(p); }
void operator delete(void* p, std::size_t, std::align_val_t) noexcept { std::free(p); }
void operator delete(void* p, std::nothrow_t const&) noexcept { std::free(p); }
void operator delete(void* p, std::align_val_t, std::nothrow_t const&) noexcept { std::free(p); }
