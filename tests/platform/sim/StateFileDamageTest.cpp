#include "platform/sim/StateFile.h"

#include "support/StateFiles.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace Sim {
namespace {

using Support::readState;
using Support::StateFileText;
using Support::udpKey;
using Kind = StateFileError::Kind;
using Texts = std::vector<std::string>;

StateFileText smallFile() {
   StateFileText file;
   file.written(udpKey("10.1.0.0/16", "red")).written(udpKey("2001:db8::/32"));
   file.erased(udpKey("10.1.0.0/16", "red")).cleared().written(udpKey("10.2.0.0/16"));
   return file;
}

/// The table after each complete line of `text`, by where the line ends.
Texts tableOfLines(std::string const& text, std::size_t bytes) {
   auto const end = text.rfind('\n', bytes - 1);
   return *readState(text.substr(0, end + 1)).table;
}

TEST(StateFileDamage, NoChangedByteIsOverlooked) {
   std::string const text = smallFile().text();
   for (std::size_t at = 0; at < text.size(); ++at) {
      for (int const change : {1, 2, 4, 8, 16, 32, 64, 128, 255}) {
         std::string damaged = text;
         damaged[at] = static_cast<char>(damaged[at] ^ change);
         auto const read = readState(damaged);
         EXPECT_TRUE(read.error) << "byte " << at << " changed by " << change;
      }
   }
}

TEST(StateFileDamage, EachByteReplacedByAnyOther) {
   StateFileText file;
   file.written(udpKey("10.1.0.0/16"));
   for (std::size_t at = 0; at < file.text().size(); ++at) {
      for (int byte = 0; byte < 256; ++byte) {
         std::string damaged = file.text();
         if (damaged[at] == static_cast<char>(byte)) continue;
         damaged[at] = static_cast<char>(byte);
         EXPECT_TRUE(readState(damaged).error) << "byte " << at << " replaced by " << byte;
      }
   }
}

TEST(StateFileDamage, AFileCutAnywhereIsATableOfThePastOrAnError) {
   std::string const text = smallFile().text();
   for (std::size_t bytes = 0; bytes < text.size(); ++bytes) {
      auto const read = readState(text.substr(0, bytes));
      if (bytes == 0) {
         EXPECT_EQ(read.table, Texts());
      } else if (bytes < stateHeader.size()) {
         ASSERT_TRUE(read.error) << bytes;
         EXPECT_STREQ(read.error->what(), "hw.state:1: byte 0: the file ends inside its header");
      } else {
         ASSERT_TRUE(read.table) << bytes;
         EXPECT_EQ(*read.table, tableOfLines(text, bytes)) << bytes;
         EXPECT_EQ(read.soundBytes, text.rfind('\n', bytes - 1) + 1) << bytes;
      }
   }
}

TEST(StateFileDamage, ALineCutInTheMiddleOfTheFileIsAnError) {
   std::string const text = smallFile().text();
   auto const second = text.find('\n', stateHeader.size()) + 1;
   for (std::size_t bytes = 1; stateHeader.size() + bytes <= second; ++bytes) {
      std::string damaged = text;
      damaged.erase(second - bytes, bytes);
      EXPECT_TRUE(readState(damaged).error) << bytes;
   }
}

TEST(StateFileDamage, BlocksThatWereNeverWrittenAreAnError) {
   auto const read = readState(smallFile().text() + std::string(512, '\0'));
   ASSERT_TRUE(read.error);
   EXPECT_EQ(read.error->kind(), Kind::damaged);
   EXPECT_EQ(read.error->line(), 7u);
   EXPECT_EQ(read.error->offset(), smallFile().text().size());
}

class StateFileOpening : public testing::Test {
 protected:
   /// Opens a file of this content and returns the error's text without the folder. The file stays.
   std::string refusal(std::string const& content, Kind kind) {
      Support::writeFile(path, content);
      try {
         StateFile::open(path);
      } catch (StateFileError const& error) {
         EXPECT_EQ(error.kind(), kind);
         EXPECT_EQ(Support::readFile(path), content);
         std::string const text = error.what();
         EXPECT_TRUE(text.starts_with(path)) << text;
         return text.substr(std::min(text.size(), folder.path("").size()));
      }
      return "none";
   }

   Support::TempFolder folder;
   std::string const path = folder.path("hw.state");
};

TEST_F(StateFileOpening, NamesFileLineAndByteOfTheDamage) {
   std::string text = smallFile().text();
   auto const third = text.find('\n', text.find('\n') + 1) + 1;
   text[third + 60] = '#';
   EXPECT_EQ(refusal(text, Kind::damaged),
             "hw.state:3: byte " + std::to_string(third) +
                 ": the checksum does not fit the line and those before it");
}

TEST_F(StateFileOpening, RefusesAFileOfAnotherVersion) {
   EXPECT_EQ(
       refusal("decap hardware table, version 2\nanything\n", Kind::stale),
       "hw.state:1: byte 0: a hardware table of version \"2\"; only version \"1\" can be read");
   EXPECT_EQ(
       refusal("decap hardware table, version 12\n", Kind::stale),
       "hw.state:1: byte 0: a hardware table of version \"12\"; only version \"1\" can be read");
}

TEST_F(StateFileOpening, RefusesSomebodyElsesFile) {
   EXPECT_EQ(refusal("{ \"groups\": [] }\n", Kind::foreign),
             "hw.state:1: byte 0: not a hardware table: the first line is \"{ \"groups\": [] }\" "
             "and not \"decap hardware table, version 1\"");
   EXPECT_NE(refusal(std::string(1000000, 'x'), Kind::foreign), "none");
   EXPECT_NE(refusal(std::string(3, '\0'), Kind::foreign), "none");
   EXPECT_NE(refusal("\n", Kind::foreign), "none");
}

TEST_F(StateFileOpening, RefusesAFileThatEndsInItsHeader) {
   EXPECT_EQ(refusal("decap hardware ta", Kind::damaged),
             "hw.state:1: byte 0: the file ends inside its header");
}

TEST_F(StateFileOpening, RefusesWhatIsNoFile) {
   try {
      StateFile::open(folder.path());
      ADD_FAILURE() << "a folder was opened";
   } catch (StateFileError const& error) {
      EXPECT_EQ(error.kind(), Kind::system);
      EXPECT_EQ(error.what(), folder.path() + ": cannot open: Is a directory");
   }
   EXPECT_THROW(StateFile::open("/dev/null"), StateFileError);
   EXPECT_THROW(StateFile::open(folder.path("nowhere/hw.state")), StateFileError);
}

TEST_F(StateFileOpening, KeepsARejectedFileAsideAndBeginsAnEmptyTable) {
   ASSERT_NE(refusal("decap hardware table, version 2\nanything\n", Kind::stale), "none");
   EXPECT_EQ(StateFile::setAside(path), path + ".rejected");
   EXPECT_EQ(Support::readFile(path + ".rejected"), "decap hardware table, version 2\nanything\n");
   EXPECT_EQ(Support::fileTexts(path), Texts());
   EXPECT_EQ(Support::readFile(path), stateHeader);
}

TEST_F(StateFileOpening, SetsNothingAsideWhereThereIsNothing) {
   Support::writeFile(path + ".rejected", "kept");
   EXPECT_THROW(StateFile::setAside(path), StateFileError);
   EXPECT_EQ(Support::readFile(path + ".rejected"), "kept");
}

TEST_F(StateFileOpening, AFileWithoutAByteIsTheBeginningOfATable) {
   Support::writeFile(path, "");
   EXPECT_EQ(Support::fileTexts(path), Texts());
   EXPECT_EQ(Support::readFile(path), stateHeader);
}

TEST_F(StateFileOpening, GivesAFileToOneTableAtATime) {
   auto const first = StateFile::open(path);
   try {
      StateFile::open(path);
      ADD_FAILURE() << "opened twice";
   } catch (StateFileError const& error) {
      EXPECT_EQ(error.kind(), Kind::inUse);
      EXPECT_EQ(error.what(), path + ": in use by another table");
   }
   EXPECT_THROW(StateFile::setAside(path), StateFileError);
}

}  // namespace
}  // namespace Sim
