#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

namespace Ctl::Report {

/// What happens along an axis, in cells of equal width. The width doubles, and cells are put
/// together in pairs, whenever the axis grows beyond the last cell: the end need not be known
/// before, and the number of cells is bounded.
///
/// `Cell` has `add(Cell const& later)`.
template <class Cell>
class Buckets {
 public:
   /// An even number of cells at the most. `width` is the smallest they can have.
   Buckets(std::size_t greatest, double width) : greatest_(greatest), width_(width) {}

   /// The cell of a place, which is at least 0.
   Cell& at(double place) {
      while (place >= width_ * static_cast<double>(greatest_)) halve();
      auto const index = std::min(static_cast<std::size_t>(place / width_), greatest_ - 1);
      if (index >= cells_.size()) cells_.resize(index + 1);
      return cells_[index];
   }

   double width() const noexcept { return width_; }
   std::size_t size() const noexcept { return cells_.size(); }
   Cell const& operator[](std::size_t index) const { return cells_[index]; }
   auto begin() const { return cells_.begin(); }
   auto end() const { return cells_.end(); }

 private:
   void halve() {
      width_ *= 2;
      for (std::size_t from = 0; from < cells_.size(); from += 2) {
         if (from != 0) cells_[from / 2] = std::move(cells_[from]);
         if (from + 1 < cells_.size()) cells_[from / 2].add(cells_[from + 1]);
      }
      cells_.resize((cells_.size() + 1) / 2);
   }

   std::size_t const greatest_;
   double width_;
   std::vector<Cell> cells_;
};

}  // namespace Ctl::Report
