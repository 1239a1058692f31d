#pragma once

#include <cstddef>
#include <ostream>
#include <string>
#include <vector>

namespace Agent {

/// A table for people: columns as wide as their content, two blanks between them.
///
/// Every line is indented by two blanks and ends without any.
/// I1: a row has no more cells than there are columns.
class TextTable {
 public:
   enum class Align : bool { left, right };
   struct Column {
      std::string title;
      Align align = Align::left;
   };

   explicit TextTable(std::vector<Column> columns) : columns_(std::move(columns)) {}

   void row(std::vector<std::string> cells);
   bool empty() const noexcept { return rows_.empty(); }
   void print(std::ostream& out) const;

 private:
   void printRow(std::ostream& out, std::vector<std::string> const& cells,
                 std::vector<std::size_t> const& widths) const;

   std::vector<Column> const columns_;
   std::vector<std::vector<std::string>> rows_;
};

}  // namespace Agent
