#include "support/FailingNew.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

thread_local bool limited = false;
thread_local int left = 0;

void* allocate(std::size_t bytes, std::size_t alignment) noexcept {
   if (limited && left-- <= 0) {
      left = 0;
      return nullptr;
   }
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

FailingNew::FailingNew(int successes) noexcept {
   left = successes;
   limited = true;
}

FailingNew::~FailingNew() { limited = false; }

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
