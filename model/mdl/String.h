#pragma once

#include "mdl/Export.h"
#include "mdl/Hash.h"
#include "mdl/ThreadSafety.h"

#include <atomic>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>

namespace Mdl {

/// Immutable string of any bytes. A copy shares the bytes and raises their count, which makes it
/// the cheap key of collections and the name inside value types.
///
/// Owner: nobody in particular; the last string that shares the bytes frees them.
/// I1: the bytes never change once the string is made, and a NUL follows them.
/// I2: the empty string has no bytes of its own: it allocates nothing, and is the default. It can
///   be a constant that the compiler builds, there before and after everything else.
/// Re-entrancy: no call runs foreign code. Counting is plain or atomic by the process-wide switch
///   (mdl/ThreadSafety.h).
/// Cost: one pointer; 24 bytes and the text in one allocation for each distinct construction.
class MDL_EXPORT String {
 public:
   constexpr String() noexcept = default;

   /// Copies `bytes` bytes, NULs among them included. Throws RangeException, before it reads any,
   /// when they are more than `maxLength()`. Null is a programming error unless `bytes` is 0.
   String(char const* text, std::size_t bytes);
   String(std::string_view text) : String(text.data(), text.size()) {}
   String(std::string const& text) : String(text.data(), text.size()) {}
   /// Copies up to the first NUL. Null is a programming error.
   String(char const* text);
   String(std::nullptr_t) = delete;

   String(String const& other) noexcept : rep_(other.rep_) {
      if (rep_ != nullptr) rep_->count.add();
   }
   constexpr String(String&& other) noexcept : rep_(std::exchange(other.rep_, nullptr)) {}
   constexpr ~String() { release(); }

   String& operator=(String const& other) noexcept {
      String(other).swap(*this);
      return *this;
   }
   String& operator=(String&& other) noexcept {
      String(std::move(other)).swap(*this);
      return *this;
   }
   void swap(String& other) noexcept { std::swap(rep_, other.rep_); }

   /// The greatest number of bytes that a string can have.
   static constexpr std::size_t maxLength() noexcept { return 0x7fffffff; }

   /// The bytes, with a NUL behind them; valid as long as a string shares them.
   char const* charPtr() const noexcept { return rep_ != nullptr ? rep_->text() : noText; }
   /// How many bytes there are, the closing NUL not among them.
   std::size_t bytes() const noexcept { return rep_ != nullptr ? rep_->size : 0; }
   constexpr bool empty() const noexcept { return rep_ == nullptr; }

   char const* begin() const noexcept { return charPtr(); }
   char const* end() const noexcept { return charPtr() + bytes(); }

   std::string_view view() const noexcept { return {charPtr(), bytes()}; }
   std::string stdString() const { return std::string(view()); }

   /// The string's hash with an argument of the caller's. The hash with argument 0 is kept with
   /// the bytes, as every copy of a name asks for it again.
   std::uint32_t hash(std::uint32_t argument) const noexcept {
      if (argument != 0 || rep_ == nullptr) return Hash(argument).mix(view()).result();
      return rep_->hashOfZero();
   }

   friend bool operator==(String const& a, String const& b) noexcept {
      return a.rep_ == b.rep_ || haveEqualBytes(a, b);
   }
   /// By the bytes as unsigned numbers; a prefix stands before what it begins.
   friend std::strong_ordering operator<=>(String const& a, String const& b) noexcept {
      if (a.rep_ == b.rep_) return std::strong_ordering::equal;
      return a.view() <=> b.view();
   }

   /// Throws RangeException when the two together are too long.
   friend MDL_EXPORT String operator+(String const& a, String const& b);
   friend MDL_EXPORT std::ostream& operator<<(std::ostream& out, String const& string);

 private:
   /// What the copies of a string share; the text follows it in the same allocation.
   struct Rep {
      explicit Rep(std::size_t bytes) noexcept
          : count(1), size(static_cast<std::uint32_t>(bytes)) {}

      char* text() noexcept { return reinterpret_cast<char*>(this + 1); }
      std::uint32_t hashOfZero() noexcept {
         std::uint32_t const kept = hash.load(std::memory_order_relaxed);
         return kept != 0 ? kept : computeHash();
      }
      MDL_EXPORT std::uint32_t computeHash() noexcept;

      CountWord count;
      std::uint32_t size;
      std::atomic<std::uint32_t> hash{0};  ///< with argument 0; 0 while it is not known
   };

   /// What every empty string points at: one object, as begin and end of a range have to lie in the
   /// same one, and two equal literals need not.
   static constexpr char noText[1] = {'\0'};

   static bool haveEqualBytes(String const& a, String const& b) noexcept;
   static Rep* newRep(std::size_t bytes);
   static void freeRep(Rep* rep) noexcept;

   explicit String(Rep* rep) noexcept : rep_(rep) {}

   constexpr void release() noexcept {
      if (rep_ != nullptr && rep_->count.sub() == 0) freeRep(rep_);
   }

   Rep* rep_ = nullptr;
};

/// The single-attribute string hash: what a value type mixes for a string that it holds.
inline std::uint32_t hashString(String const& string, std::uint32_t argument) noexcept {
   return string.hash(argument);
}

}  // namespace Mdl

template <>
struct std::hash<Mdl::String> {
   std::size_t operator()(Mdl::String const& string) const noexcept { return string.hash(0); }
};
