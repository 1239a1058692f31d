#pragma once

#include "decapctl/report/RunHistory.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Ctl::Report {

/// The words of a key as a journal has it: "udp 10.1.0.0/16 port 6635 payload mpls vrf red".
struct KeyWords {
   explicit KeyWords(std::string_view text);

   std::string_view type;
   std::string_view prefix;
   /// Both of the above: what two keys cannot share in different VRFs.
   std::string_view destination;
   /// From there to the VRF.
   std::string_view between;
   std::string_view vrf;
};

struct Destination {
   /// The keys of it that are in hardware.
   std::vector<std::uint32_t> present;
   /// Those that hardware has refused for now.
   std::vector<std::uint32_t> waiting;
   /// Since when it is without the entry that was removed last.
   std::optional<Place> removed;
   /// By which machine of the journal.
   std::uint64_t removedFrom = 0;
};

/// Number of a key in the book.
using KeyId = std::uint32_t;

struct Key {
   std::string_view text;
   Destination* destination = nullptr;
   Use* type = nullptr;
   KeyStory story;
   double waitsSince = 0;
};

/// All keys that a journal speaks of, each once.
class KeyBook {
 public:
   /// `types` gets a row for each tunnel type.
   explicit KeyBook(std::map<std::string, Use>& types) : types_(types) {}
   KeyBook(KeyBook const&) = delete;
   KeyBook& operator=(KeyBook const&) = delete;

   KeyId idOf(std::string const& text);
   Key& operator[](KeyId id) { return keys_[id]; }
   Key const& operator[](KeyId id) const { return keys_[id]; }
   std::size_t size() const noexcept { return keys_.size(); }
   /// Null for one that no key has.
   Destination const* destination(std::string const& text) const;
   /// Hardware has the destination for another key.
   bool isTaken(Key const& key) const;
   /// Those worth a row of a table, the longest wait first.
   std::vector<KeyStory> outstanding(std::size_t ofEach) const;

 private:
   std::map<std::string, Use>& types_;
   std::unordered_map<std::string, KeyId> ids_;
   std::unordered_map<std::string, Destination> destinations_;
   std::deque<Key> keys_;
};

}  // namespace Ctl::Report
