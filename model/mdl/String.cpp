#include "mdl/String.h"

#include "mdl/Assert.h"
#include "mdl/Exception.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <ostream>

namespace Mdl {

namespace {

std::string_view untilNul(char const* text) {
   MDL_ASSERT(text != nullptr);
   return {text, std::strlen(text)};
}

}  // namespace

String::String(char const* text) : String(untilNul(text)) {}

String::String(char const* text, std::size_t bytes) {
   if (bytes == 0) return;
   rep_ = newRep(bytes);
   MDL_ASSERT(text != nullptr);
   *std::copy_n(text, bytes, rep_->text()) = '\0';
}

String operator+(String const& a, String const& b) {
   if (a.empty()) return b;
   if (b.empty()) return a;
   String::Rep* const rep = String::newRep(a.bytes() + b.bytes());
   *std::copy_n(b.charPtr(), b.bytes(), std::copy_n(a.charPtr(), a.bytes(), rep->text())) = '\0';
   return String(rep);
}

std::ostream& operator<<(std::ostream& out, String const& string) { return out << string.view(); }

String::Rep* String::newRep(std::size_t bytes) {
   if (bytes > maxLength()) {
      throw RangeException("Mdl::String::bytes > maxLength() not allowed");
   }
   void* const memory = ::operator new(sizeof(Rep) + bytes + 1);
   return new (memory) Rep(bytes);
}

void String::freeRep(Rep* rep) noexcept {
   rep->~Rep();
   ::operator delete(rep);
}

/// Out of line: names that are equal nearly always share their bytes.
bool String::haveEqualBytes(String const& a, String const& b) noexcept {
   return a.view() == b.view();
}

std::uint32_t String::Rep::computeHash() noexcept {
   // A text whose hash is 0 is computed every time, which is rare and harmless.
   std::uint32_t const computed = Hash(0).mix(std::string_view(text(), size)).result();
   hash.store(computed, std::memory_order_relaxed);
   return computed;
}

}  // namespace Mdl
