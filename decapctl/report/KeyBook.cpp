#include "decapctl/report/KeyBook.h"

#include <algorithm>
#include <tuple>

namespace Ctl::Report {

namespace {

/// Tunnel types are three; a journal of something else does not make the page longer.
constexpr std::size_t greatestTypes = 16;

auto byWait(Key const& key) { return std::tuple(key.story.longestWait, key.story.refusals()); }
auto byRefusals(Key const& key) { return std::tuple(key.story.refusals(), key.story.longestWait); }
auto bySlowestCall(Key const& key) { return std::tuple(key.story.slowestCall); }

/// Adds the first `count` keys by `rank`, greatest first.
template <class Rank>
void addGreatest(std::vector<Key const*>& chosen, std::vector<Key const*> candidates,
                 std::size_t count, Rank const& rank) {
   auto const end =
       candidates.begin() + static_cast<std::ptrdiff_t>(std::min(count, candidates.size()));
   std::partial_sort(candidates.begin(), end, candidates.end(), [&](Key const* a, Key const* b) {
      return std::tuple(rank(*b), a->text) < std::tuple(rank(*a), b->text);
   });
   chosen.insert(chosen.end(), candidates.begin(), end);
}

}  // namespace

KeyWords::KeyWords(std::string_view text) {
   std::size_t const first = std::min(text.find(' '), text.size());
   std::size_t const second = std::min(text.find(' ', first + 1), text.size());
   type = text.substr(0, first);
   prefix = text.substr(std::min(first + 1, text.size()), second - std::min(first + 1, second));
   destination = text.substr(0, second);
   // A VRF may be called anything: its word is the first of that name behind the destination.
   std::size_t const vrfAt = std::min(text.find(" vrf ", second), text.size());
   between = text.substr(second, vrfAt - second);
   vrf = text.substr(std::min(vrfAt + 5, text.size()));
}

KeyId KeyBook::idOf(std::string const& text) {
   auto const [entry, isNew] = ids_.try_emplace(text, static_cast<KeyId>(keys_.size()));
   if (!isNew) return entry->second;
   KeyWords const words(entry->first);
   Key& key = keys_.emplace_back();
   key.text = entry->first;
   key.destination = &destinations_[std::string(words.destination)];
   std::string const type(words.type);
   bool const fits = types_.size() < greatestTypes || types_.contains(type);
   key.type = &types_[fits ? type : "other"];
   return entry->second;
}

Destination const* KeyBook::destination(std::string const& text) const {
   auto const found = destinations_.find(text);
   return found == destinations_.end() ? nullptr : &found->second;
}

bool KeyBook::isTaken(Key const& key) const {
   return std::any_of(key.destination->present.begin(), key.destination->present.end(),
                      [&](KeyId id) { return &keys_[id] != &key; });
}

std::vector<KeyStory> KeyBook::outstanding(std::size_t ofEach) const {
   std::vector<Key const*> refused;
   std::vector<Key const*> slow;
   for (Key const& key : keys_) {
      if (key.story.refusals() != 0) refused.push_back(&key);
      if (key.story.slowestCall > 0) slow.push_back(&key);
   }
   std::vector<Key const*> chosen;
   addGreatest(chosen, refused, ofEach, byWait);
   addGreatest(chosen, refused, ofEach, byRefusals);
   addGreatest(chosen, slow, ofEach, bySlowestCall);
   std::sort(chosen.begin(), chosen.end(), [](Key const* a, Key const* b) {
      auto const rank = [](Key const& key) {
         return std::tuple_cat(byWait(key), bySlowestCall(key));
      };
      return std::tuple(rank(*b), a->text) < std::tuple(rank(*a), b->text);
   });
   chosen.erase(std::unique(chosen.begin(), chosen.end()), chosen.end());
   std::vector<KeyStory> stories;
   for (Key const* const key : chosen) {
      stories.push_back(key->story);
      stories.back().key = key->text;
   }
   return stories;
}

}  // namespace Ctl::Report
