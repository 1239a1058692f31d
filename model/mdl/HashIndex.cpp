#include "mdl/HashIndex.h"

#include "mdl/Assert.h"

#include <algorithm>
#include <array>
#include <new>
#include <utility>

namespace Mdl {

HashIndex::HashIndex(HashIndex&& other) noexcept
    : directory_(std::exchange(other.directory_, {})), tables_(std::exchange(other.tables_, 0)),
      mask_(std::exchange(other.mask_, 0)) {}

HashIndex& HashIndex::operator=(HashIndex&& other) noexcept {
   HashIndex old(std::move(other));
   std::swap(directory_, old.directory_);
   std::swap(tables_, old.tables_);
   std::swap(mask_, old.mask_);
   return *this;
}

HashIndex::~HashIndex() { clear(); }

// ---- Groups and tables --------------------------------------------------------------------------

/// How many groups hold `count` positions and a third as many again before they are full.
std::uint32_t HashIndex::groupsFor(std::uint32_t count) noexcept {
   return std::bit_ceil((count + count / 3) / fillPerGroup + 1);
}

/// Growth asks for the bits of the group first, from the lowest on, and then for those of the
/// directory. A table whose groups and depth do not fit into that order asks for either.
unsigned HashIndex::levelOf(std::uint32_t groupCount, unsigned depth) noexcept {
   bool const inOrder = groupCount == maxGroups || (depth == 0 && groupCount < maxGroups);
   return inOrder ? static_cast<unsigned>(std::countr_zero(groupCount)) + depth : outOfOrder;
}

std::size_t HashIndex::bytesOf(std::uint32_t groupCount) noexcept {
   std::size_t constexpr groupBytes = sizeof(TagGroup) + positionsPerGroup * sizeof(std::uint32_t);
   return groupCount * groupBytes + sizeof(Table);
}

HashIndex::Table* HashIndex::allocate(std::uint32_t groupCount, unsigned depth) noexcept {
   std::size_t const bytes = bytesOf(groupCount);
   void* const memory = ::operator new(bytes, alignment, std::nothrow);
   if (memory == nullptr) return nullptr;
   std::byte* const head = static_cast<std::byte*>(memory) + bytes - sizeof(Table);
   Table* const table = ::new (head) Table(groupCount, depth);
   for (std::uint32_t i = 0; i < groupCount; ++i) ::new (table->tags() + i) TagGroup;
   return table;
}

HashIndex::Table* HashIndex::allocateOrThrow(std::uint32_t groupCount, unsigned depth) {
   if (Table* const table = allocate(groupCount, depth)) return table;
   throw std::bad_alloc();
}

void HashIndex::release(Table* table) noexcept {
   ::operator delete(static_cast<void*>(table->positions()), alignment);
}

/// The counts of a group stand behind its positions, four bits for each class.
void HashIndex::Table::pass(std::uint32_t group, std::uint32_t passClass) noexcept {
   std::uint32_t& counts = positions()[group * positionsPerGroup + TagGroup::slots];
   unsigned const shift = 4 * passClass;
   TagGroup& tagGroup = tags()[group];
   if (tagGroup.passed == 0) counts = 0;
   if ((counts >> shift & 15U) != stuck) counts += 1U << shift;
   tagGroup.passed = static_cast<std::uint8_t>(tagGroup.passed | 1U << passClass);
}

void HashIndex::Table::unpass(std::uint32_t group, std::uint32_t passClass) noexcept {
   std::uint32_t& counts = positions()[group * positionsPerGroup + TagGroup::slots];
   unsigned const shift = 4 * passClass;
   if ((counts >> shift & 15U) == stuck) return;
   counts -= 1U << shift;
   if ((counts >> shift & 15U) != 0) return;
   TagGroup& tagGroup = tags()[group];
   tagGroup.passed = static_cast<std::uint8_t>(tagGroup.passed & ~(1U << passClass));
}

/// Visits what stands in the slots of the first `groups` groups.
template <class Visit>
void HashIndex::forEachSlot(Table& table, std::uint32_t groups, Visit const& visit) {
   for (std::uint32_t i = 0; i < groups; ++i) {
      for (Chosen some = table.tags()[i].taken(); some.any(); some.dropFirst()) {
         visit(table.positions()[i * positionsPerGroup + some.first()]);
      }
   }
}

/// Visits positions with their hashes. These lie all over the array of entries; where there are
/// many they are loaded many at once, because one after the other each would be waited for.
template <class Visit>
void HashIndex::forEachHashed(Table& table, Which which, Hashes const& hashes, Visit const& visit) {
   // From sixteen tables on, some 100,000 positions, the hashes are more than a cache holds near.
   std::size_t const atOnce = table.depth < 4 ? 1 : 128;
   std::array<std::uint32_t, 128> positions;
   std::array<std::uint32_t, 128> loaded;
   std::size_t count = 0;
   auto const visitThem = [&] {
      for (std::size_t i = 0; i < count; ++i) {
         loaded[i] = hashes.at(hashes.entries, positions[i]);
      }
      for (std::size_t i = 0; i < count; ++i) visit(loaded[i], positions[i]);
      count = 0;
   };
   forEachSlot(table, table.groupCount, [&](std::uint32_t slot) {
      if (slot >> positionBits >= static_cast<std::uint32_t>(which)) return;
      positions[count++] = positionIn(slot);
      if (count == atOnce) visitThem();
   });
   visitThem();
}

// ---- Insertion and growth -----------------------------------------------------------------------

void HashIndex::grow(std::uint32_t hash, Hashes const& hashes) {
   if (!active()) {
      directory_.reserve(1);
      directory_.emplace_back(*allocateOrThrow(1, 0));
      tables_ = 1;
   }
   while (tableOf(hash).full()) {
      std::size_t const number = placeNumber(hash);
      Table const& table = directory_[number].table();
      if (table.groupCount >= maxGroups && split(number, hashes)) continue;
      resize(number, allocateOrThrow(table.groupCount * 2, table.depth), hashes);
   }
}

/// Lets `table` answer for the hashes of its depth around the place `number` (I1).
void HashIndex::publish(std::size_t number, Table* table) noexcept {
   std::size_t const step = std::size_t{1} << table->depth;
   for (std::size_t at = number & (step - 1); at < directory_.size(); at += step) {
      directory_[at] = Place(*table);
   }
}

/// A half of what a table becomes or comes from: a table, or the groups of one from `firstGroup`
/// on.
struct HashIndex::Half {
   Table& table;
   std::uint32_t firstGroup;
};

/// Moves the positions of `old`, which is in the order of growth, by the next bit of their hashes;
/// each half has as many groups as `old`. Of a group foretold positions alone come into the same
/// group of either half, and find room there; the others are added behind them, as usual.
void HashIndex::divide(Table& old, Half low, Half high, Hashes const& hashes) noexcept {
   std::uint32_t others = 0;
   for (std::uint32_t group = 0; group < old.groupCount; ++group) {
      TagGroup const& tags = old.tags()[group];
      std::uint32_t const* const slots = old.positions() + std::size_t{group} * positionsPerGroup;
      std::array const groups = {low.firstGroup + group, high.firstGroup + group};
      std::array const tagsInto = {low.table.tags() + groups[0], high.table.tags() + groups[1]};
      std::array const slotsInto = {
          low.table.positions() + std::size_t{groups[0]} * positionsPerGroup,
          high.table.positions() + std::size_t{groups[1]} * positionsPerGroup};
      std::array<std::uint32_t, 2> moved = {0, 0};
      for (Chosen some = tags.taken(); some.any(); some.dropFirst()) {
         std::uint32_t const slot = slots[some.first()];
         if (!isForetold(slot)) {
            ++others;
            continue;
         }
         std::uint32_t const bit = slot >> positionBits & 1U;
         std::uint32_t const left = slot >> (positionBits + 1);
         std::uint32_t const to = moved[bit]++;
         tagsInto[bit]->tags[to] = tags.tags[some.first()];
         slotsInto[bit][to] = left << positionBits | positionIn(slot);
      }
      low.table.count += moved[0];
      high.table.count += moved[1];
   }
   if (others == 0) return;
   unsigned const level = old.level;
   forEachHashed(old, Which::notForetold, hashes, [&](std::uint32_t hash, std::uint32_t at) {
      put((hash >> level & 1U) != 0 ? high.table : low.table, hash, at);
   });
}

/// The opposite of `divide`: each half has as many groups as `into`.
void HashIndex::join(Half low, Half high, Table& into, Hashes const& hashes) noexcept {
   joinHalf(low, 0, into, hashes);
   joinHalf(high, 1, into, hashes);
   auto const add = [&](std::uint32_t hash, std::uint32_t at) { put(into, hash, at); };
   forEachHashed(low.table, Which::notInFirstGroup, hashes, add);
   if (&high.table != &low.table) {
      forEachHashed(high.table, Which::notInFirstGroup, hashes, add);
   }
}

/// Adds those to `into` that are in the first group of their path, into the same group as long as
/// there is room. `bit` is what their hashes have where growth would divide them again.
void HashIndex::joinHalf(Half half, std::uint32_t bit, Table& into, Hashes const& hashes) noexcept {
   for (std::uint32_t group = 0; group < into.groupCount; ++group) {
      std::uint32_t const from = half.firstGroup + group;
      TagGroup const& tags = half.table.tags()[from];
      std::uint32_t const* const slots =
          half.table.positions() + std::size_t{from} * positionsPerGroup;
      TagGroup& tagsInto = into.tags()[group];
      std::uint32_t* const slotsInto = into.positions() + std::size_t{group} * positionsPerGroup;
      Chosen empty = tagsInto.matching(0);
      for (Chosen some = tags.taken(); some.any(); some.dropFirst()) {
         std::uint32_t const slot = slots[some.first()];
         if (!isInFirstGroup(slot)) continue;
         if (!empty.any()) {
            put(into, hashes.at(hashes.entries, positionIn(slot)), positionIn(slot));
            continue;
         }
         std::uint32_t const ahead = slot >> positionBits;
         std::uint32_t const wider = ahead << 1 | bit;
         std::uint32_t const kept = ahead < 8 ? wider : 8U | (wider & 7U);
         tagsInto.tags[empty.first()] = tags.tags[some.first()];
         slotsInto[empty.first()] = kept << positionBits | positionIn(slot);
         empty.dropFirst();
         ++into.count;
      }
   }
}

/// Moves the positions of the table at `number` into `into`, which replaces it.
void HashIndex::resize(std::size_t number, Table* into, Hashes const& hashes) noexcept {
   Table& old = directory_[number].table();
   bool const sameDepth = into->depth == old.depth;
   if (sameDepth && into->level == old.level + 1) {
      divide(old, {*into, 0}, {*into, old.groupCount}, hashes);
   } else if (sameDepth && into->level + 1 == old.level) {
      join({old, 0}, {old, into->groupCount}, *into, hashes);
   } else {
      forEachHashed(old, Which::all, hashes,
                    [&](std::uint32_t hash, std::uint32_t at) { put(*into, hash, at); });
   }
   publish(number, into);
   release(&old);
}

/// Whether the first groups of a table of `maxGroups` or more show that it divides evenly by the
/// next bit, as nearly every table does. One of more groups has hashes that do not divide, and
/// foretells nothing.
bool HashIndex::looksEven(Table& table) {
   std::array<std::uint32_t, 2> counts = {0, 0};
   constexpr std::uint32_t few = 32;
   forEachSlot(table, few, [&](std::uint32_t slot) {
      if (isForetold(slot)) ++counts[slot >> positionBits & 1U];
   });
   return counts[0] < 2 * counts[1] && counts[1] < 2 * counts[0];
}

/// How many positions of a table of `maxGroups` or more have the bit by which it would be split.
std::uint32_t HashIndex::countUpper(Table& table, Hashes const& hashes) {
   unsigned const level = groupBits + table.depth;
   std::uint32_t upper = 0;
   forEachSlot(table, table.groupCount, [&](std::uint32_t slot) {
      upper += isForetold(slot) ? slot >> positionBits & 1U : 0U;
   });
   forEachHashed(table, Which::notForetold, hashes,
                 [&](std::uint32_t hash, std::uint32_t) { upper += hash >> level & 1U; });
   return upper;
}

/// Two tables of the next depth with the positions of `old`, about `upper` of them in the second.
std::array<HashIndex::Table*, 2> HashIndex::halvesOf(Table& old, std::uint32_t upper,
                                                     Hashes const& hashes) {
   Table* const low = allocateOrThrow(groupsFor(old.count - upper), old.depth + 1);
   Table* const high = allocate(groupsFor(upper), old.depth + 1);
   if (high == nullptr) {
      release(low);
      throw std::bad_alloc();
   }
   if (low->level == old.level + 1 && high->level == old.level + 1) {
      divide(old, {*low, 0}, {*high, 0}, hashes);
   } else {
      unsigned const level = groupBits + old.depth;
      forEachHashed(old, Which::all, hashes, [&](std::uint32_t hash, std::uint32_t at) {
         put((hash >> level & 1U) != 0 ? *high : *low, hash, at);
      });
   }
   return {low, high};
}

/// Replaces the table at `number` by two of the next depth. False, and nothing changed, where that
/// would not divide its positions.
bool HashIndex::split(std::size_t number, Hashes const& hashes) {
   Table& old = directory_[number].table();
   if (old.depth >= maxDepth) return false;

   // 1. How the positions divide.
   bool const even = looksEven(old);
   std::uint32_t const upper = even ? old.count / 2 : countUpper(old, hashes);
   if (upper == 0 || upper == old.count) return false;

   // 2. All that can fail, before anything changes that a reader could see.
   if (old.depth == depth()) doubleDirectory();
   auto halves = halvesOf(old, upper, hashes);
   if (even && groupsFor(std::max(halves[0]->count, halves[1]->count)) > maxGroups) {
      // The first groups were not like the others, which only crafted hashes bring about.
      for (Table* const half : halves) release(half);
      halves = halvesOf(old, countUpper(old, hashes), hashes);
   }

   // 3. Who answers for the positions.
   std::size_t const half = std::size_t{1} << old.depth;
   publish(number & ~half, halves[0]);
   publish(number | half, halves[1]);
   ++tables_;
   release(&old);
   return true;
}

void HashIndex::doubleDirectory() {
   std::size_t const places = directory_.size();
   directory_.reserve(places * 2);
   for (std::size_t i = 0; i < places; ++i) directory_.push_back(directory_[i]);
   mask_ = mask_ << 1 | 1U;
}

// ---- Removal and giving back --------------------------------------------------------------------

/// Which slot of its group has `position`, which must be there; `probe` then stands on the group.
std::uint32_t HashIndex::locate(Table& table, Probe& probe, std::uint32_t position) noexcept {
   for (std::uint32_t left = table.groupCount; left != 0; --left, probe.next()) {
      for (Chosen some = table.tags()[probe.group].matching(probe.tag); some.any();
           some.dropFirst()) {
         std::uint32_t const slot = probe.group * positionsPerGroup + some.first();
         if (positionIn(table.positions()[slot]) == position) return some.first();
      }
   }
   bool const positionIsIndexed = false;
   MDL_ASSERT(positionIsIndexed);
   return 0;
}

void HashIndex::eraseFurther(std::uint32_t hash, std::uint32_t position) noexcept {
   Table& table = tableOf(hash);
   Probe probe(hash, table.groupCount - 1);
   std::uint32_t const slot = locate(table, probe, position);
   removeSlot(table, hash, probe, slot);
}

/// The table for `hash` is sparse: unites it with its buddies as long as that leaves room, and then
/// shrinks it. One that has a buddy waits for that one to become sparse as well, and shrinks alone
/// only when it is half as full as that: what is smaller than `maxGroups` and not alone has no
/// order of growth.
void HashIndex::giveBack(std::uint32_t hash, Hashes const& hashes) noexcept {
   while (unite(placeNumber(hash), hashes)) maybeHalveDirectory();
   Table const& table = tableOf(hash);
   std::uint32_t const groups = groupsFor(table.count);
   bool const worthIt = table.depth == 0 ? table.sparse() : table.verySparse();
   if (groups >= table.groupCount || !worthIt) return;
   if (Table* const into = allocate(groups, table.depth)) resize(placeNumber(hash), into, hashes);
}

/// Unites the table at `number` with its buddy, the table that differs from it in the last bit.
/// False, and nothing changed, where there is none or both together would be more than half full.
bool HashIndex::unite(std::size_t number, Hashes const& hashes) noexcept {
   Table& table = directory_[number].table();
   if (table.depth == 0 || !table.sparse()) return false;
   std::size_t const bit = std::size_t{1} << (table.depth - 1);
   Table& buddy = directory_[number ^ bit].table();
   std::uint32_t const count = table.count + buddy.count;
   if (buddy.depth != table.depth || count > maxGroups * fillPerGroup / 2) return false;
   Table* const into = allocate(std::max(groupsFor(count), maxGroups), table.depth - 1);
   if (into == nullptr) return false;
   if (table.level == buddy.level && into->level + 1 == table.level) {
      bool const isUpper = (number & bit) != 0;
      join({isUpper ? buddy : table, 0}, {isUpper ? table : buddy, 0}, *into, hashes);
   } else {
      auto const add = [&](std::uint32_t hash, std::uint32_t at) { put(*into, hash, at); };
      forEachHashed(table, Which::all, hashes, add);
      forEachHashed(buddy, Which::all, hashes, add);
   }
   release(&buddy);
   release(&table);
   publish(number, into);
   --tables_;
   return true;
}

/// Halves the directory while no table needs its last bit. The test is a scan, but of a size that
/// as many unions of tables came before.
void HashIndex::maybeHalveDirectory() noexcept {
   while (depth() != 0 && std::size_t{tables_} * 2 <= directory_.size()) {
      for (Place const& place : directory_) {
         if (place.table().depth == depth()) return;
      }
      directory_.erase(directory_.begin() + static_cast<std::ptrdiff_t>(directory_.size() / 2),
                       directory_.end());
      directory_.shrink_to_fit();
      mask_ >>= 1;
   }
}

void HashIndex::moveFurther(std::uint32_t hash, std::uint32_t from, std::uint32_t to) noexcept {
   Table& table = tableOf(hash);
   Probe probe(hash, table.groupCount - 1);
   std::uint32_t const slot = locate(table, probe, from);
   table.positions()[probe.group * positionsPerGroup + slot] ^= from ^ to;
}

void HashIndex::clear() noexcept {
   forEachTable([](std::size_t, Table& table) { release(&table); });
   std::vector<Place>().swap(directory_);
   tables_ = 0;
   mask_ = 0;
}

// ---- Looking at the whole -----------------------------------------------------------------------

/// Visits each table once, with the first of its places; a table may go in its visit.
template <class Visit>
void HashIndex::forEachTable(Visit const& visit) const {
   // From the end, so that the first of its places is the last one that is looked at.
   for (std::size_t number = directory_.size(); number-- != 0;) {
      Table& table = directory_[number].table();
      if (number >> table.depth == 0) visit(number, table);
   }
}

std::size_t HashIndex::bytes() const noexcept {
   std::size_t result = directory_.capacity() * sizeof(Place);
   forEachTable([&](std::size_t, Table const& table) { result += bytesOf(table.groupCount); });
   return result;
}

void HashIndex::checkInvariants(std::size_t count, Hashes const& hashes) const {
   if (!active()) {
      MDL_ASSERT(directory_.empty() && depth() == 0);
      return;
   }
   MDL_ASSERT(directory_.size() == std::size_t{1} << depth());
   MDL_ASSERT(directory_.size() == std::size_t{mask_} + 1);
   std::size_t tables = 0;
   std::size_t positions = 0;
   forEachTable([&](std::size_t number, Table& table) {
      MDL_ASSERT(table.depth <= depth());
      for (std::size_t at = number; at < directory_.size(); at += std::size_t{1} << table.depth) {
         MDL_ASSERT(&directory_[at].table() == &table);
         MDL_ASSERT(directory_[at].groupMask == table.groupCount - 1);
      }
      checkTable(table, number, hashes);
      ++tables;
      positions += table.count;
   });
   MDL_ASSERT(tables == tables_);
   MDL_ASSERT(positions == count);
}

/// I4.
void HashIndex::checkForetold(Table const& table, std::uint32_t hash, std::uint32_t slot,
                              std::uint32_t group) {
   if (!isForetold(slot)) return;
   MDL_ASSERT(group == (hash & (table.groupCount - 1)) && table.level < 32);
   std::uint32_t const ahead = slot >> positionBits;
   std::uint32_t const bits = std::bit_floor(ahead) - 1;
   MDL_ASSERT((ahead & bits) == (hash >> table.level & bits));
}

void HashIndex::checkTable(Table& table, std::size_t number, Hashes const& hashes) const {
   MDL_ASSERT(std::has_single_bit(table.groupCount));
   MDL_ASSERT(table.count <= table.groupCount * fillPerGroup);
   std::vector<std::array<std::uint32_t, 8>> passed(table.groupCount);
   std::uint32_t count = 0;
   MDL_ASSERT(table.level == levelOf(table.groupCount, table.depth));
   forEachSlot(table, table.groupCount, [&](std::uint32_t slot) {
      ++count;
      std::uint32_t const position = positionIn(slot);
      std::uint32_t const hash = hashes.at(hashes.entries, position);
      MDL_ASSERT(&tableOf(hash) == &directory_[number].table());
      MDL_ASSERT(find(hash, [&](std::uint32_t at) { return at == position; }) == position);
      for (Probe probe(hash, table.groupCount - 1);; probe.next()) {
         bool here = false;
         for (Chosen some = table.tags()[probe.group].matching(probe.tag); some.any();
              some.dropFirst()) {
            here =
                here || table.positions()[probe.group * positionsPerGroup + some.first()] == slot;
         }
         if (here) {
            checkForetold(table, hash, slot, probe.group);
            break;
         }
         ++passed[probe.group][passClassOf(hash)];
      }
   });
   MDL_ASSERT(count == table.count);
   for (std::uint32_t i = 0; i < table.groupCount; ++i) {
      std::uint32_t const counts = table.positions()[i * positionsPerGroup + TagGroup::slots];
      for (unsigned passClass = 0; passClass < 8; ++passClass) {
         bool const wasPassed = (table.tags()[i].passed >> passClass & 1U) != 0;
         std::uint32_t const counted = wasPassed ? counts >> (4 * passClass) & 15U : 0;
         MDL_ASSERT(counted == std::min(passed[i][passClass], stuck) || counted == stuck);
         MDL_ASSERT(wasPassed == (counted != 0));
      }
   }
}

}  // namespace Mdl
