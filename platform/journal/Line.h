#pragma once

#include "mdl/Enum.h"
#include "mdl/Seconds.h"
#include "mdl/String.h"
#include "platform/journal/JournalError.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

/// The lines of a journal: JSON arrays (RFC 8259), one a line.
///
///     ["decap-journal",1]
///     [0.0,"group",1,"make","core"]
///     [0.0,"group",1,"tunnelType","gre"]
///     [0.0,"config",1,"decapGroup","core",1]
///     [0.0,"call","program","gre 10.1.0.0/16 vrf default"]
///     [0.002,"answer","success"]
///     ["log","TUNNEL_HW_RESOURCE_FULL"]
///
/// A line that begins with a number begins with the time, in seconds: an input of the machine, or a
/// call of the hook and its answer. What the machine says has none: it takes no time.
namespace Journal {

extern std::string_view const header;

/// How a name stands in a line: as a string, or where its bytes are no UTF-8 (RFC 3629) as the
/// object {"bytes": "..."} with two hexadecimal digits for each.
nlohmann::json nameJson(std::string_view name);

/// A number, or the string "inf" for `Mdl::never`.
nlohmann::json secondsJson(Mdl::Seconds seconds);

/// The name of an enumerator, or the number of one that has none.
template <Mdl::RegisteredEnum E>
nlohmann::json enumJson(E value) {
   char const* const name =
       Mdl::enumeratorName(Mdl::enumDescriptor<E>(), static_cast<std::uint8_t>(value));
   if (name != nullptr) return name;
   return static_cast<unsigned>(value);
}

/// One line that is being read. What is not as asked for is a JournalError.
class Line {
 public:
   /// `number` counts from 1.
   Line(std::size_t number, std::string_view text);

   std::size_t number() const noexcept { return number_; }
   std::size_t size() const noexcept { return items_.size(); }
   /// Whether the line is an input, a call or an answer.
   bool isTimed() const { return size() > 0 && items_[0].is_number(); }
   bool isNull(std::size_t index) const { return index < size() && items_[index].is_null(); }
   /// Whether the item is this word; false when there is no such item.
   bool is(std::size_t index, std::string_view word) const;

   Mdl::Seconds seconds(std::size_t index) const;
   std::uint32_t number(std::size_t index) const {
      return number(index, std::numeric_limits<std::uint32_t>::max());
   }
   std::uint32_t number(std::size_t index, std::uint32_t greatest) const;
   bool flag(std::size_t index) const;
   std::string word(std::size_t index) const;
   Mdl::String name(std::size_t index) const { return nameOf(item(index)); }
   /// The names of a list.
   template <class Take>
   void forEachName(std::size_t index, Take const& take) const {
      if (!item(index).is_array()) fail("item " + std::to_string(index) + " is no list");
      for (auto const& each : item(index)) take(nameOf(each));
   }
   template <Mdl::RegisteredEnum E>
   E enumerator(std::size_t index) const {
      if (item(index).is_number()) return static_cast<E>(number(index, 255));
      auto const value = Mdl::enumFromName<E>(word(index));
      if (!value) fail("no " + std::string(Mdl::enumDescriptor<E>().typeName) + " is so called");
      return *value;
   }
   /// Reads a word with something that throws for what it cannot read.
   template <class Read>
   auto read(std::size_t index, Read const& reader) const {
      try {
         return reader(std::string_view(word(index)));
      } catch (JournalError const&) {
         throw;
      } catch (Mdl::Exception const& error) {
         fail(error.what());
      }
   }

   [[noreturn]] void fail(std::string const& reason) const { throw JournalError(number_, reason); }

 private:
   nlohmann::json const& item(std::size_t index) const;
   Mdl::String nameOf(nlohmann::json const& item) const;

   std::size_t number_;
   nlohmann::json items_;
};

}  // namespace Journal
