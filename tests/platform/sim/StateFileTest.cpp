#include "platform/sim/StateFile.h"

#include "support/StateFiles.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace Sim {
namespace {

using Support::fileTexts;
using Support::KeptTable;
using Support::numberedKey;
using Support::udpKey;
using Texts = std::vector<std::string>;

class StateFileTest : public testing::Test {
 protected:
   std::string content() const { return Support::readFile(path); }
   std::uintmax_t lines() const {
      std::string const text = content();
      return static_cast<std::uintmax_t>(std::count(text.begin(), text.end(), '\n'));
   }

   Support::TempFolder folder;
   std::string const path = folder.path("hw.state");
};

TEST_F(StateFileTest, ATableOutlivesItsObject) {
   {
      KeptTable kept(path);
      kept.table.write(udpKey("10.1.0.0/16"), 0.0);
      kept.table.write(udpKey("10.2.0.0/16", "red"), 0.0);
      kept.table.writeUnchecked(udpKey("2001:db8::/32"), 0.0);
      kept.table.erase(udpKey("10.1.0.0/16"));
   }
   KeptTable const kept(path);
   EXPECT_EQ(kept.texts(), (Texts{"udp 10.2.0.0/16 port 6080 payload ip vrf red",
                                  "udp 2001:db8::/32 port 6080 payload ip vrf default"}));
   EXPECT_EQ(kept.table.size(), 2u);
   EXPECT_EQ(kept.table.size(Tunnel::Decap::TunnelType::udp), 2u);
   EXPECT_EQ(kept.table.highWater(), 2u);
}

TEST_F(StateFileTest, ChangesAreInTheFileWhenTheCallReturns) {
   KeptTable kept(path);
   std::string const empty = content();
   kept.table.write(udpKey("10.1.0.0/16"), 0.0);
   std::string const one = content();
   EXPECT_EQ(Support::readState(one).table,
             (Texts{"udp 10.1.0.0/16 port 6080 payload ip vrf default"}));
   kept.table.erase(udpKey("10.1.0.0/16"));
   EXPECT_EQ(Support::readState(content()).table, Texts());
   EXPECT_EQ(empty, stateHeader);
}

TEST_F(StateFileTest, WhatChangesNothingIsNotRecorded) {
   KeptTable kept(path);
   kept.table.capacityIs(1);
   kept.table.write(udpKey("10.1.0.0/16"), 0.0);
   std::string const before = content();
   kept.table.write(udpKey("10.1.0.0/16"), 1.0);
   kept.table.writeUnchecked(udpKey("10.1.0.0/16"), 1.0);
   kept.table.write(udpKey("10.2.0.0/16"), 1.0);
   kept.table.erase(udpKey("10.3.0.0/16"));
   EXPECT_EQ(content(), before);
}

TEST_F(StateFileTest, AResetEmptiesTheFileToo) {
   {
      KeptTable kept(path);
      kept.table.write(udpKey("10.1.0.0/16"), 0.0);
      kept.table.clear();
      kept.table.write(udpKey("10.2.0.0/16"), 0.0);
   }
   EXPECT_EQ(fileTexts(path), (Texts{"udp 10.2.0.0/16 port 6080 payload ip vrf default"}));
}

TEST_F(StateFileTest, MoreThanTheCapacityComesBack) {
   {
      KeptTable kept(path);
      for (std::size_t n = 0; n < 3; ++n) kept.table.write(numberedKey(n), 0.0);
   }
   HardwareTable table;
   table.capacityIs(1);
   table.fileIs(StateFile::open(path), 7.0);
   EXPECT_EQ(table.size(), 3u);
   EXPECT_EQ(*table.entries().find(numberedKey(0)), 7.0);
}

TEST_F(StateFileTest, ALineCutByAKillGoesAndTheTableGoesOn) {
   {
      KeptTable kept(path);
      kept.table.write(udpKey("10.1.0.0/16"), 0.0);
   }
   std::string const sound = content();
   std::string const torn = sound + "0123abcd + Value('Fwd::Decap";
   for (std::size_t bytes = sound.size(); bytes <= torn.size(); ++bytes) {
      Support::writeFile(path, torn.substr(0, bytes));
      {
         KeptTable kept(path);
         EXPECT_EQ(content(), sound);
         kept.table.write(udpKey("10.2.0.0/16"), 0.0);
      }
      EXPECT_EQ(fileTexts(path).size(), 2u) << bytes;
   }
}

TEST_F(StateFileTest, ALongHistoryOfASmallTableStaysASmallFile) {
   KeptTable kept(path);
   kept.table.write(udpKey("10.1.0.0/16"), 0.0);
   std::uint64_t longest = 0;
   for (std::size_t n = 0; n < 2000; ++n) {
      kept.table.write(numberedKey(n), 0.0);
      longest = std::max(longest, kept.table.file()->records());
      kept.table.erase(numberedKey(n));
      longest = std::max(longest, kept.table.file()->records());
   }
   EXPECT_EQ(longest, StateFile::slack + 2);
   EXPECT_EQ(lines(), kept.table.file()->records() + 1);
   EXPECT_EQ(Support::readState(content()).table,
             (Texts{"udp 10.1.0.0/16 port 6080 payload ip vrf default"}));
   EXPECT_EQ(kept.table.file()->bytes(), std::filesystem::file_size(path));
   EXPECT_FALSE(std::filesystem::exists(path + ".new"));
}

TEST_F(StateFileTest, AFileWrittenAnewIsStillOneTablesAlone) {
   KeptTable kept(path);
   kept.table.clear();
   while (kept.table.file()->records() != 0) kept.table.clear();
   EXPECT_EQ(content(), stateHeader);
   EXPECT_THROW(StateFile::open(path), StateFileError);
}

TEST_F(StateFileTest, AFileWrittenAnewKeepsItsRightsAndTheLinkToIt) {
   std::string const link = folder.path("link");
   std::filesystem::create_symlink("hw.state", link);
   Support::writeFile(path, "");
   auto const rights = std::filesystem::perms::owner_read | std::filesystem::perms::owner_write |
                       std::filesystem::perms::others_write;
   std::filesystem::permissions(path, rights);
   KeptTable kept(link);
   kept.table.clear();
   while (kept.table.file()->records() != 0) kept.table.clear();
   EXPECT_TRUE(std::filesystem::is_symlink(link));
   EXPECT_EQ(content(), stateHeader);
   EXPECT_EQ(std::filesystem::status(path).permissions(), rights);
}

TEST_F(StateFileTest, ALongFileIsWrittenAnewWhenItIsOpened) {
   {
      Support::StateFileText text;
      for (std::size_t n = 0; n <= StateFile::slack; ++n) text.cleared();
      Support::writeFile(path, text.text());
   }
   KeptTable const kept(path);
   EXPECT_EQ(content(), stateHeader);
}

TEST_F(StateFileTest, AHalfWrittenNewFileOfAKilledProcessGoes) {
   { KeptTable(path).table.write(udpKey("10.1.0.0/16"), 0.0); }
   Support::writeFile(path + ".new", "decap hardware ta");
   EXPECT_EQ(fileTexts(path).size(), 1u);
   EXPECT_FALSE(std::filesystem::exists(path + ".new"));
}

TEST_F(StateFileTest, RecordsCanBeFlushedOneByOne) {
   {
      KeptTable kept(path);
      kept.table.file()->syncIs(true);
      kept.table.write(udpKey("10.1.0.0/16"), 0.0);
   }
   EXPECT_EQ(fileTexts(path).size(), 1u);
}

}  // namespace
}  // namespace Sim
