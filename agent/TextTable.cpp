#include "agent/TextTable.h"

#include "mdl/Assert.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace Agent {

namespace {

/// Characters of a UTF-8 text (RFC 3629): bytes that do not continue one.
std::size_t widthOf(std::string_view text) {
   return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
      return (static_cast<unsigned char>(c) & 0xc0) != 0x80;
   }));
}

}  // namespace

void TextTable::row(std::vector<std::string> cells) {
   MDL_ASSERT(cells.size() <= columns_.size());
   rows_.push_back(std::move(cells));
}

void TextTable::print(std::ostream& out) const {
   std::vector<std::string> titles;
   std::vector<std::size_t> widths;
   for (Column const& column : columns_) {
      titles.push_back(column.title);
      widths.push_back(widthOf(column.title));
   }
   for (auto const& cells : rows_) {
      for (std::size_t i = 0; i < cells.size(); ++i) {
         widths[i] = std::max(widths[i], widthOf(cells[i]));
      }
   }
   printRow(out, titles, widths);
   for (auto const& cells : rows_) printRow(out, cells, widths);
}

void TextTable::printRow(std::ostream& out, std::vector<std::string> const& cells,
                         std::vector<std::size_t> const& widths) const {
   std::string line;
   for (std::size_t i = 0; i < cells.size(); ++i) {
      std::string const filler(widths[i] - widthOf(cells[i]), ' ');
      line += "  ";
      line += columns_[i].align == Align::left ? cells[i] + filler : filler + cells[i];
   }
   line.erase(line.find_last_not_of(' ') + 1);
   out << line << '\n';
}

}  // namespace Agent
