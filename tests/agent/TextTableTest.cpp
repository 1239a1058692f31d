#include "agent/TextTable.h"

#include <gtest/gtest.h>

#include <sstream>

namespace Agent {
namespace {

std::string printed(TextTable const& table) {
   std::ostringstream out;
   table.print(out);
   return out.str();
}

TEST(TextTable, ColumnsAreAsWideAsTheirContent) {
   TextTable table({{"A"}, {"LONG"}, {"N", TextTable::Align::right}});
   table.row({"wide", "x", "5"});
   table.row({"y", "z", "100"});
   EXPECT_EQ(printed(table),
             "  A     LONG    N\n"
             "  wide  x       5\n"
             "  y     z     100\n");
}

TEST(TextTable, LinesEndWithoutBlanks) {
   TextTable table({{"A"}, {"NOTE"}});
   table.row({"x", ""});
   EXPECT_EQ(printed(table), "  A  NOTE\n  x\n");
}

TEST(TextTable, CountsCharactersAndNotBytes) {
   TextTable table({{"A"}, {"B"}});
   table.row({"Zürich", "1"});
   table.row({"Berlin", "2"});
   EXPECT_EQ(printed(table), "  A       B\n  Zürich  1\n  Berlin  2\n");
}

}  // namespace
}  // namespace Agent
