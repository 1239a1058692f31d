#pragma once

#include "decapctl/report/JournalReader.h"
#include "decapctl/report/KeyBook.h"

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <unordered_set>

namespace Ctl::Report {

/// Which keys the groups of the configuration call for by their prefixes. A journal has no call
/// for a key that waits and is not called for any more; this is how that is known.
///
/// What groups have from interfaces is not followed.
class Wanted {
 public:
   struct Hash {
      using is_transparent = void;
      std::size_t operator()(std::string_view text) const noexcept {
         return std::hash<std::string_view>()(text);
      }
   };
   using Prefixes = std::unordered_set<std::string, Hash, std::equal_to<>>;
   /// What a change may have taken the last call from: keys of this tunnel type, to one prefix or,
   /// where that is empty, to all of the group's.
   struct Loss {
      std::size_t group = 0;
      std::string type;
      std::string prefix;
   };

   /// Takes a line of a group or a configuration. Nothing was lost when `group` is 0.
   Loss take(JournalLine const& line);
   Prefixes const& prefixesOf(std::size_t group) const { return groups_.at(group).prefixes; }
   /// Whether a group of the configuration calls for the key.
   bool isCalledFor(KeyWords const& key) const;
   /// How a group is called; its number when the journal has not said.
   std::string nameOf(std::size_t group) const;

 private:
   struct Group {
      std::string name;
      std::string type;
      std::string port;
      std::string payload;
      std::string vrf;
      bool configured = false;
      Prefixes prefixes;
   };

   Loss takeConfig(JournalLine const& line);

   std::map<std::size_t, Group> groups_;
   std::map<std::string, std::size_t> configured_;
};

}  // namespace Ctl::Report
