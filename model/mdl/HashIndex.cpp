#include "mdl/HashIndex.h"

#include "mdl/Assert.h"

#include <algorithm>
#include <new>
#include <utility>

namespace Mdl {

HashIndex::HashIndex(HashIndex&& other) noexcept
    : directory_(std::exchange(other.directory_, {})), tables_(std::exchange(other.tables_, 0)),
      depth_(std::exchange(other.depth_, 0)) {}

HashIndex& HashIndex::operator=(HashIndex&& other) noexcept {
   HashIndex old(std::move(other));
   std::swap(directory_, old.directory_);
   std::swap(tables_, old.tables_);
   std::swap(depth_, old.depth_);
   return *this;
}

HashIndex::~HashIndex() { clear(); }

// ---- Groups and tables --------------------------------------------------------------------------

void HashIndex::Group::tagIs(unsigned slot, std::uint32_t tag) noexcept {
   if (slot < 8) {
      unsigned const shift = 8 * slot;
      tags = (tags & ~(std::uint64_t{0xff} << shift)) | (std::uint64_t{tag} << shift);
   } else {
      unsigned const shift = 8 * (slot - 8);
      moreTags = (moreTags & ~(0xffU << shift)) | (tag << shift);
   }
}

/// How many groups hold `count` positions and a third as many again before they are full.
std::uint32_t HashIndex::groupsFor(std::uint32_t count) noexcept {
   return std::bit_ceil((count + count / 3) / fillPerGroup + 1);
}

HashIndex::Table* HashIndex::allocate(std::uint32_t groupCount, unsigned depth) noexcept {
   std::size_t const bytes = sizeof(Table) + groupCount * sizeof(Group);
   void* const memory = ::operator new (bytes, std::align_val_t{alignof(Table)}, std::nothrow);
   if (memory == nullptr) return nullptr;
   Table* const table = ::new (memory) Table{.groupCount = groupCount, .depth = depth};
   for (std::uint32_t i = 0; i < groupCount; ++i) ::new (table->groups() + i) Group;
   return table;
}

HashIndex::Table* HashIndex::allocateOrThrow(std::uint32_t groupCount, unsigned depth) {
   Table* const table = allocate(groupCount, depth);
   if (table == nullptr) throw std::bad_alloc();
   return table;
}

void HashIndex::release(Table* table) noexcept {
   ::operator delete (static_cast<void*>(table), std::align_val_t{alignof(Table)});
}

/// Keeps I2. The table is not full (I3).
void HashIndex::put(Table& table, std::uint32_t hash, std::uint32_t position) noexcept {
   Probe probe(hash, table.groupCount - 1);
   for (;; probe.next()) {
      Group& group = table.groups()[probe.group];
      Chosen const empty = group.matching(0);
      if (empty.any()) {
         group.tagIs(empty.first(), probe.tag);
         group.positions[empty.first()] = position;
         ++table.count;
         return;
      }
      ++group.passed;
   }
}

template <class Visit>
void HashIndex::forEach(Table& table, Visit const& visit) {
   for (std::uint32_t i = 0; i < table.groupCount; ++i) {
      Group const& group = table.groups()[i];
      for (unsigned slot = 0; slot < slotsPerGroup; ++slot) {
         std::uint64_t const tags =
             slot < 8 ? group.tags >> (8 * slot) : group.moreTags >> (8 * (slot - 8));
         if ((tags & 0xffU) != 0) visit(group.positions[slot]);
      }
   }
}

// ---- Insertion and growth -----------------------------------------------------------------------

void HashIndex::makeRoom(std::uint32_t hash, Hashes const& hashes) {
   if (!active()) {
      directory_.reserve(1);
      directory_.push_back({allocateOrThrow(1, 0), 0});
      tables_ = 1;
   }
   while (directory_[placeOf(hash)].table->full()) {
      std::size_t const place = placeOf(hash);
      Table const& table = *directory_[place].table;
      if (table.groupCount >= maxGroups && split(place, hashes)) continue;
      resize(place, allocateOrThrow(table.groupCount * 2, table.depth), hashes);
   }
}

void HashIndex::insert(std::uint32_t hash, std::uint32_t position) noexcept {
   put(*directory_[placeOf(hash)].table, hash, position);
}

/// Lets `table` answer for the hashes of its depth around `place` (I1).
void HashIndex::publish(std::size_t place, Table* table) noexcept {
   std::size_t const width = std::size_t{1} << (depth_ - table->depth);
   std::size_t const start = place & ~(width - 1);
   std::fill_n(directory_.begin() + static_cast<std::ptrdiff_t>(start), width,
               Place{table, table->groupCount - 1});
}

/// Moves the positions of the table at `place` into `into`, which replaces it.
void HashIndex::resize(std::size_t place, Table* into, Hashes const& hashes) noexcept {
   Table* const old = directory_[place].table;
   forEach(*old, [&](std::uint32_t at) { hashes.prefetch(hashes.entries, at); });
   forEach(*old, [&](std::uint32_t at) { put(*into, hashes.at(hashes.entries, at), at); });
   publish(place, into);
   release(old);
}

/// Replaces the table at `place` by two of the next depth. False, and nothing changed, where that
/// would not divide its positions or would let the directory get out of proportion (I4).
bool HashIndex::split(std::size_t place, Hashes const& hashes) {
   Table& old = *directory_[place].table;
   if (old.depth >= maxDepth) return false;
   bool const needsDepth = old.depth == depth_;
   if (needsDepth && directory_.size() * 2 > tables_ * directoryPerTable) return false;

   // 1. How the positions divide.
   std::uint32_t const bit = 0x80000000U >> old.depth;
   std::uint32_t upper = 0;
   forEach(old, [&](std::uint32_t at) { hashes.prefetch(hashes.entries, at); });
   forEach(old, [&](std::uint32_t at) {
      upper += (hashes.at(hashes.entries, at) & bit) != 0 ? 1U : 0U;
   });
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
   forEach(old, [&](std::uint32_t at) {
      std::uint32_t const hash = hashes.at(hashes.entries, at);
      put((hash & bit) != 0 ? *high : *low, hash, at);
   });
   std::size_t const half = std::size_t{1} << (depth_ - depth);
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
   ++depth_;
}

// ---- Removal and giving back --------------------------------------------------------------------

/// The slot of `position`, which must be there; `probe` then stands on its group.
unsigned HashIndex::locate(Table& table, Probe& probe, std::uint32_t position) noexcept {
   for (std::uint32_t left = table.groupCount; left != 0; --left, probe.next()) {
      Group const& group = table.groups()[probe.group];
      for (Chosen some = group.matching(probe.tag); some.any(); some.dropFirst()) {
         if (group.positions[some.first()] == position) return some.first();
      }
   }
   bool const positionIsIndexed = false;
   MDL_ASSERT(positionIsIndexed);
   return 0;
}

void HashIndex::erase(std::uint32_t hash, std::uint32_t position, Hashes const& hashes) noexcept {
   Table& table = *directory_[placeOf(hash)].table;
   Probe probe(hash, table.groupCount - 1);
   unsigned const slot = locate(table, probe, position);
   table.groups()[probe.group].tagIs(slot, 0);
   --table.count;
   // I2: the path no longer leads over the groups before this one.
   for (Probe back(hash, probe.mask); back.group != probe.group; back.next()) {
      --table.groups()[back.group].passed;
   }
   if (table.sparse()) giveBack(hash, hashes);
}

/// The table for `hash` is sparse: unites it with its buddies as long as that leaves room, and then
/// shrinks it.
void HashIndex::giveBack(std::uint32_t hash, Hashes const& hashes) noexcept {
   while (unite(placeOf(hash), hashes)) maybeHalveDirectory();
   Table const& table = *directory_[placeOf(hash)].table;
   std::uint32_t const groups = groupsFor(table.count);
   if (groups >= table.groupCount || !table.sparse()) return;
   if (Table* const into = allocate(groups, table.depth)) resize(placeOf(hash), into, hashes);
}

/// Unites the table at `place` with its buddy, the table that differs from it in the last bit.
/// False, and nothing changed, where there is none or both together would be more than half full.
bool HashIndex::unite(std::size_t place, Hashes const& hashes) noexcept {
   Table const& table = *directory_[place].table;
   if (table.depth == 0 || !table.sparse()) return false;
   Table& buddy = *directory_[place ^ (std::size_t{1} << (depth_ - table.depth))].table;
   std::uint32_t const count = table.count + buddy.count;
   if (buddy.depth != table.depth || count > maxGroups * fillPerGroup / 2) return false;
   Table* const into = allocate(groupsFor(count), table.depth - 1);
   if (into == nullptr) return false;
   forEach(buddy, [&](std::uint32_t at) { put(*into, hashes.at(hashes.entries, at), at); });
   release(&buddy);
   resize(place, into, hashes);
   --tables_;
   return true;
}

/// Halves the directory while no table needs its last bit. The test is a scan, but of a size that
/// as many unions of tables came before.
void HashIndex::maybeHalveDirectory() noexcept {
   while (depth_ != 0 && tables_ * 2 <= directory_.size()) {
      for (Place const& place : directory_) {
         if (place.table->depth == depth_) return;
      }
      for (std::size_t i = 0; i < directory_.size() / 2; ++i) directory_[i] = directory_[2 * i];
      directory_.resize(directory_.size() / 2);
      directory_.shrink_to_fit();
      --depth_;
   }
}

void HashIndex::move(std::uint32_t hash, std::uint32_t from, std::uint32_t to) noexcept {
   Table& table = *directory_[placeOf(hash)].table;
   Probe probe(hash, table.groupCount - 1);
   unsigned const slot = locate(table, probe, from);
   table.groups()[probe.group].positions[slot] = to;
}

void HashIndex::clear() noexcept {
   std::vector<Place> const old = std::exchange(directory_, {});
   unsigned const depth = std::exchange(depth_, 0);
   tables_ = 0;
   for (std::size_t i = 0; i < old.size();) {
      std::size_t const width = std::size_t{1} << (depth - old[i].table->depth);
      release(old[i].table);
      i += width;
   }
}

// ---- Looking at the whole -----------------------------------------------------------------------

std::size_t HashIndex::bytes() const noexcept {
   std::size_t result = directory_.capacity() * sizeof(Place);
   for (std::size_t i = 0; i < directory_.size();) {
      Table const& table = *directory_[i].table;
      result += sizeof(Table) + table.groupCount * sizeof(Group);
      i += std::size_t{1} << (depth_ - table.depth);
   }
   return result;
}

void HashIndex::checkInvariants(std::size_t count, Hashes const& hashes) const {
   if (!active()) {
      MDL_ASSERT(tables_ == 0 && depth_ == 0);
      return;
   }
   MDL_ASSERT(directory_.size() == std::size_t{1} << depth_);
   std::size_t tables = 0;
   std::size_t positions = 0;
   for (std::size_t i = 0; i < directory_.size();) {
      Table& table = *directory_[i].table;
      MDL_ASSERT(table.depth <= depth_);
      std::size_t const width = std::size_t{1} << (depth_ - table.depth);
      MDL_ASSERT(i % width == 0);
      for (std::size_t j = i; j < i + width; ++j) {
         MDL_ASSERT(directory_[j].table == &table);
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
   std::vector<std::uint32_t> passed(table.groupCount, 0);
   std::uint32_t count = 0;
   forEach(table, [&](std::uint32_t position) {
      ++count;
      std::uint32_t const hash = hashes.at(hashes.entries, position);
      MDL_ASSERT(directory_[placeOf(hash)].table == directory_[place].table);
      MDL_ASSERT(find(hash, [&](std::uint32_t at) { return at == position; }) == position);
      for (Probe probe(hash, table.groupCount - 1);; probe.next()) {
         Group const& group = table.groups()[probe.group];
         bool here = false;
         for (Chosen some = group.matching(probe.tag); some.any(); some.dropFirst()) {
            here = here || group.positions[some.first()] == position;
         }
         if (here) break;
         ++passed[probe.group];
      }
   });
   MDL_ASSERT(count == table.count);
   for (std::uint32_t i = 0; i < table.groupCount; ++i) {
      MDL_ASSERT(table.groups()[i].passed == passed[i]);
   }
}

}  // namespace Mdl
