#include "mdl/HashIndex.h"

#include "mdl/Assert.h"

#include <algorithm>
#include <array>
#include <new>
#include <utility>

namespace Mdl {

namespace {

/// From sixteen tables on, some 100,000 positions, the hashes are more than a cache holds near.
constexpr unsigned leastDepthOfMany = 4;

}  // namespace

HashIndex::HashIndex(HashIndex&& other) noexcept
    : directory_(std::exchange(other.directory_, {})), tables_(std::exchange(other.tables_, 0)),
      shift_(std::exchange(other.shift_, 0)) {}

HashIndex& HashIndex::operator=(HashIndex&& other) noexcept {
   HashIndex old(std::move(other));
   std::swap(directory_, old.directory_);
   std::swap(tables_, old.tables_);
   std::swap(shift_, old.shift_);
   return *this;
}

HashIndex::~HashIndex() { clear(); }

// ---- Groups and tables --------------------------------------------------------------------------

/// How many groups hold `count` positions and a third as many again before they are full.
std::uint32_t HashIndex::groupsFor(std::uint32_t count) noexcept {
   return std::bit_ceil((count + count / 3) / fillPerGroup + 1);
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
   Table* const table = ::new (head) Table{.groupCount = groupCount, .depth = depth};
   for (std::uint32_t i = 0; i < groupCount; ++i) ::new (table->tags() + i) TagGroup;
   return table;
}

HashIndex::Table* HashIndex::allocateOrThrow(std::uint32_t groupCount, unsigned depth) {
   Table* const table = allocate(groupCount, depth);
   if (table == nullptr) throw std::bad_alloc();
   return table;
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

template <class Visit>
void HashIndex::forEach(Table& table, Visit const& visit) {
   for (std::uint32_t i = 0; i < table.groupCount; ++i) {
      for (Chosen some = table.tags()[i].taken(); some.any(); some.dropFirst()) {
         visit(table.positions()[i * positionsPerGroup + some.first()]);
      }
   }
}

/// The same with each position's hash. Hashes lie all over the array of entries; where there are
/// many they are loaded many at once, because one after the other each would be waited for.
template <class Visit>
void HashIndex::forEachHashed(Table& table, Hashes const& hashes, Visit const& visit) {
   if (table.depth < leastDepthOfMany) {
      forEach(table, [&](std::uint32_t position) {
         visit(hashes.at(hashes.entries, position), position);
      });
      return;
   }
   constexpr std::size_t atOnce = 128;
   std::array<std::uint32_t, atOnce> positions;
   std::array<std::uint32_t, atOnce> loaded;
   std::size_t count = 0;
   auto const visitThem = [&] {
      for (std::size_t i = 0; i < count; ++i) {
         loaded[i] = hashes.at(hashes.entries, positions[i]);
      }
      for (std::size_t i = 0; i < count; ++i) visit(loaded[i], positions[i]);
      count = 0;
   };
   forEach(table, [&](std::uint32_t position) {
      positions[count++] = position;
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
      shift_ = 32;
   }
   while (tableOf(hash).full()) {
      std::size_t const place = placeOf(hash);
      Table const& table = directory_[place].table();
      if (table.groupCount >= maxGroups && split(place, hashes)) continue;
      resize(place, allocateOrThrow(table.groupCount * 2, table.depth), hashes);
   }
}

/// Lets `table` answer for the hashes of its depth around `place` (I1).
void HashIndex::publish(std::size_t place, Table* table) noexcept {
   std::size_t const width = std::size_t{1} << (depth() - table->depth);
   std::size_t const start = place & ~(width - 1);
   std::fill_n(directory_.begin() + static_cast<std::ptrdiff_t>(start), width, Place(*table));
}

/// Moves the positions of the table at `place` into `into`, which replaces it.
void HashIndex::resize(std::size_t place, Table* into, Hashes const& hashes) noexcept {
   Table& old = directory_[place].table();
   forEachHashed(old, hashes, [&](std::uint32_t hash, std::uint32_t at) { put(*into, hash, at); });
   publish(place, into);
   release(&old);
}

/// Replaces the table at `place` by two of the next depth. False, and nothing changed, where that
/// would not divide its positions.
bool HashIndex::split(std::size_t place, Hashes const& hashes) {
   Table& old = directory_[place].table();
   if (old.depth >= maxDepth) return false;
   bool const needsDepth = old.depth == depth();

   // 1. How the positions divide.
   std::uint32_t const bit = 0x80000000U >> old.depth;
   std::uint32_t upper = 0;
   forEachHashed(old, hashes,
                 [&](std::uint32_t hash, std::uint32_t) { upper += (hash & bit) != 0 ? 1U : 0U; });
   if (upper == 0 || upper == old.count) return false;

   // 2. All memory, before anything changes that a reader could see.
   unsigned const depth = old.depth + 1;
   if (needsDepth) {
      doubleDirectory();
      place *= 2;
   }
   Table* const low = allocateOrThrow(groupsFor(old.count - upper), depth);
   Table* const high = allocate(groupsFor(upper), depth);
   if (high == nullptr) {
      release(low);
      throw std::bad_alloc();
   }

   // 3. The positions, and who answers for them.
   forEachHashed(old, hashes, [&](std::uint32_t hash, std::uint32_t at) {
      put((hash & bit) != 0 ? *high : *low, hash, at);
   });
   std::size_t const half = std::size_t{1} << (32 - shift_ - depth);
   publish(place & ~half, low);
   publish(place | half, high);
   ++tables_;
   release(&old);
   return true;
}

void HashIndex::doubleDirectory() {
   std::vector<Place> wider;
   wider.reserve(directory_.size() * 2);
   for (Place const& place : directory_) wider.insert(wider.end(), 2, place);
   directory_ = std::move(wider);
   --shift_;
}

// ---- Removal and giving back --------------------------------------------------------------------

/// Which slot has `position`, which must be there; `probe` then stands on its group.
std::uint32_t HashIndex::locate(Table& table, Probe& probe, std::uint32_t position) noexcept {
   for (std::uint32_t left = table.groupCount; left != 0; --left, probe.next()) {
      for (Chosen some = table.tags()[probe.group].matching(probe.tag); some.any();
           some.dropFirst()) {
         std::uint32_t const slot = probe.group * positionsPerGroup + some.first();
         if (table.positions()[slot] == position) return slot;
      }
   }
   bool const positionIsIndexed = false;
   MDL_ASSERT(positionIsIndexed);
   return 0;
}

void HashIndex::erase(std::uint32_t hash, std::uint32_t position, Hashes const& hashes) noexcept {
   Table& table = tableOf(hash);
   Probe probe(hash, table.groupCount - 1);
   std::uint32_t const slot = locate(table, probe, position);
   table.tags()[probe.group].tags[slot - probe.group * positionsPerGroup] = 0;
   --table.count;
   // I2: the path no longer leads over the groups before this one.
   for (Probe back(hash, probe.mask); back.group != probe.group; back.next()) {
      table.unpass(back.group, passClassOf(hash));
   }
   if (table.sparse()) giveBack(hash, hashes);
}

/// The table for `hash` is sparse: unites it with its buddies as long as that leaves room, and then
/// shrinks it.
void HashIndex::giveBack(std::uint32_t hash, Hashes const& hashes) noexcept {
   while (unite(placeOf(hash), hashes)) maybeHalveDirectory();
   Table const& table = tableOf(hash);
   std::uint32_t const groups = groupsFor(table.count);
   if (groups >= table.groupCount || !table.sparse()) return;
   if (Table* const into = allocate(groups, table.depth)) resize(placeOf(hash), into, hashes);
}

/// Unites the table at `place` with its buddy, the table that differs from it in the last bit.
/// False, and nothing changed, where there is none or both together would be more than half full.
bool HashIndex::unite(std::size_t place, Hashes const& hashes) noexcept {
   Table const& table = directory_[place].table();
   if (table.depth == 0 || !table.sparse()) return false;
   Table& buddy = directory_[place ^ (std::size_t{1} << (depth() - table.depth))].table();
   std::uint32_t const count = table.count + buddy.count;
   if (buddy.depth != table.depth || count > maxGroups * fillPerGroup / 2) return false;
   Table* const into = allocate(groupsFor(count), table.depth - 1);
   if (into == nullptr) return false;
   forEachHashed(buddy, hashes,
                 [&](std::uint32_t hash, std::uint32_t at) { put(*into, hash, at); });
   release(&buddy);
   resize(place, into, hashes);
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
      for (std::size_t i = 0; i < directory_.size() / 2; ++i) directory_[i] = directory_[2 * i];
      directory_.erase(directory_.begin() + static_cast<std::ptrdiff_t>(directory_.size() / 2),
                       directory_.end());
      directory_.shrink_to_fit();
      ++shift_;
   }
}

void HashIndex::move(std::uint32_t hash, std::uint32_t from, std::uint32_t to) noexcept {
   Table& table = tableOf(hash);
   Probe probe(hash, table.groupCount - 1);
   table.positions()[locate(table, probe, from)] = to;
}

void HashIndex::clear() noexcept {
   std::vector<Place> const old = std::exchange(directory_, {});
   unsigned const depth = this->depth();
   shift_ = 0;
   tables_ = 0;
   for (std::size_t i = 0; i < old.size();) {
      Table& table = old[i].table();
      std::size_t const width = std::size_t{1} << (depth - table.depth);
      release(&table);
      i += width;
   }
}

// ---- Looking at the whole -----------------------------------------------------------------------

std::size_t HashIndex::bytes() const noexcept {
   std::size_t result = directory_.capacity() * sizeof(Place);
   for (std::size_t i = 0; i < directory_.size();) {
      Table const& table = directory_[i].table();
      result += bytesOf(table.groupCount);
      i += std::size_t{1} << (depth() - table.depth);
   }
   return result;
}

void HashIndex::checkInvariants(std::size_t count, Hashes const& hashes) const {
   if (!active()) {
      MDL_ASSERT(tables_ == 0 && depth() == 0);
      return;
   }
   MDL_ASSERT(directory_.size() == std::size_t{1} << depth());
   std::size_t tables = 0;
   std::size_t positions = 0;
   for (std::size_t i = 0; i < directory_.size();) {
      Table& table = directory_[i].table();
      MDL_ASSERT(table.depth <= depth());
      std::size_t const width = std::size_t{1} << (depth() - table.depth);
      MDL_ASSERT(i % width == 0);
      for (std::size_t j = i; j < i + width; ++j) {
         MDL_ASSERT(&directory_[j].table() == &table);
         MDL_ASSERT(directory_[j].groupMask == table.groupCount - 1);
      }
      checkTable(table, i, hashes);
      ++tables;
      positions += table.count;
      i += width;
   }
   MDL_ASSERT(tables == tables_);
   MDL_ASSERT(positions == count);
}

void HashIndex::checkTable(Table& table, std::size_t place, Hashes const& hashes) const {
   MDL_ASSERT(std::has_single_bit(table.groupCount));
   MDL_ASSERT(table.count <= table.groupCount * fillPerGroup);
   std::vector<std::array<std::uint32_t, 8>> passed(table.groupCount);
   std::uint32_t count = 0;
   forEach(table, [&](std::uint32_t position) {
      ++count;
      std::uint32_t const hash = hashes.at(hashes.entries, position);
      MDL_ASSERT(&tableOf(hash) == &directory_[place].table());
      MDL_ASSERT(find(hash, [&](std::uint32_t at) { return at == position; }) == position);
      for (Probe probe(hash, table.groupCount - 1);; probe.next()) {
         bool here = false;
         for (Chosen some = table.tags()[probe.group].matching(probe.tag); some.any();
              some.dropFirst()) {
            here = here ||
                   table.positions()[probe.group * positionsPerGroup + some.first()] == position;
         }
         if (here) break;
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
