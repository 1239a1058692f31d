#include "platform/sim/StateFile.h"

#include "platform/sim/SimHelper.h"
#include "platform/sim/SimTime.h"
#include "support/SmallDisk.h"
#include "support/StateFiles.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include <unistd.h>

namespace Sim {
namespace {

using Support::fileTexts;
using Support::KeptTable;
using Support::numberedKey;
using Support::SmallDisk;
using Support::udpKey;
using Texts = std::vector<std::string>;

class StateFileFailure : public testing::Test {
 protected:
   Support::TempFolder folder;
   std::string const path = folder.path("hw.state");
};

TEST_F(StateFileFailure, AChangeThatCannotBeRecordedDoesNotTakePlace) {
   KeptTable kept(path);
   kept.table.write(udpKey("10.1.0.0/16"), 0.0);
   std::string const before = Support::readFile(path);
   // Wherever the disk ends inside the next record.
   for (std::uint64_t room = 0; room < 100; ++room) {
      SmallDisk const disk(before.size() + room);
      EXPECT_THROW(kept.table.write(udpKey("10.2.0.0/16"), 0.0), StateFileError);
      EXPECT_THROW(kept.table.erase(udpKey("10.1.0.0/16")), StateFileError);
   }
   EXPECT_EQ(Support::readFile(path), before);
   EXPECT_EQ(kept.texts(), (Texts{"udp 10.1.0.0/16 port 6080 payload ip vrf default"}));
   EXPECT_EQ(kept.table.size(), 1u);
   EXPECT_EQ(kept.table.highWater(), 1u);
}

TEST_F(StateFileFailure, ATableThatCannotBeClearedStaysWhole) {
   KeptTable kept(path);
   kept.table.write(udpKey("10.1.0.0/16"), 0.0);
   {
      SmallDisk const disk(kept.table.file()->bytes());
      EXPECT_THROW(kept.table.clear(), StateFileError);
   }
   EXPECT_EQ(kept.table.size(), 1u);
   EXPECT_EQ(kept.texts().size(), 1u);
}

TEST_F(StateFileFailure, ItGoesOnWhenThereIsRoomAgain) {
   {
      KeptTable kept(path);
      {
         SmallDisk const disk(stateHeader.size() + 10);
         EXPECT_THROW(kept.table.write(udpKey("10.1.0.0/16"), 0.0), StateFileError);
      }
      kept.table.write(udpKey("10.2.0.0/16"), 0.0);
   }
   EXPECT_EQ(fileTexts(path), (Texts{"udp 10.2.0.0/16 port 6080 payload ip vrf default"}));
}

TEST_F(StateFileFailure, TheMessageNamesFileAndReason) {
   KeptTable kept(path);
   SmallDisk const disk(stateHeader.size());
   try {
      kept.table.write(udpKey("10.1.0.0/16"), 0.0);
      ADD_FAILURE() << "written beyond the end of the disk";
   } catch (StateFileError const& error) {
      EXPECT_EQ(error.kind(), StateFileError::Kind::system);
      EXPECT_EQ(error.what(), path + ": cannot write: File too large");
   }
}

TEST_F(StateFileFailure, AHeaderThatCannotBeWrittenIsAnErrorAndNoHalfHeader) {
   {
      SmallDisk const disk(5);
      EXPECT_THROW(StateFile::open(path), StateFileError);
   }
   EXPECT_EQ(std::filesystem::file_size(path), 0u);
   EXPECT_EQ(fileTexts(path), Texts());
}

TEST_F(StateFileFailure, AFileThatMayNotBeWrittenIsNotOpened) {
   Support::writeFile(path, stateHeader);
   std::filesystem::permissions(path, std::filesystem::perms::owner_read);
   std::filesystem::permissions(folder.path(), std::filesystem::perms::all);
   // The superuser may write whatever the rights say.
   bool const superuser = ::geteuid() == 0;
   if (superuser) {
      ASSERT_EQ(::seteuid(65534), 0);
   }
   try {
      StateFile::open(path);
      ADD_FAILURE() << "opened";
   } catch (StateFileError const& error) {
      EXPECT_EQ(error.what(), path + ": cannot open: Permission denied");
   }
   if (superuser) {
      ASSERT_EQ(::seteuid(0), 0);
   }
}

TEST_F(StateFileFailure, WithoutANewFileTheOldOneGrowsUntilItCanBeWrittenAnew) {
   KeptTable kept(path);
   kept.table.write(udpKey("10.1.0.0/16"), 0.0);
   // Somebody else's folder is in the way of the new file.
   std::filesystem::create_directories(path + ".new/occupied");
   auto const changes = [&](std::size_t times) {
      for (std::size_t n = 0; n < times; ++n) {
         kept.table.write(numberedKey(n), 0.0);
         kept.table.erase(numberedKey(n));
      }
   };
   changes(StateFile::slack);
   EXPECT_EQ(kept.table.file()->records(), 2 * StateFile::slack + 1);
   EXPECT_EQ(kept.table.file()->rewriteFailure(), path + ".new: cannot create: File exists");
   EXPECT_EQ(Support::readState(Support::readFile(path)).table,
             (Texts{"udp 10.1.0.0/16 port 6080 payload ip vrf default"}));

   // Not tried again at each change: a failure costs as much as a success.
   std::filesystem::remove_all(path + ".new");
   changes(10);
   EXPECT_EQ(kept.table.file()->records(), 2 * StateFile::slack + 21);
   changes(StateFile::slack);
   EXPECT_LE(kept.table.file()->records(), StateFile::slack + 2);
   EXPECT_EQ(kept.table.file()->rewriteFailure(), "");
   EXPECT_EQ(Support::readState(Support::readFile(path)).table,
             (Texts{"udp 10.1.0.0/16 port 6080 payload ip vrf default"}));
}

TEST_F(StateFileFailure, ThePlatformHookPassesItOnAndJournalsTheFault) {
   SimTime const time;
   auto const hardware = Mdl::allocate<SimHelper>();
   hardware->resume(StateFile::open(path));
   {
      SmallDisk const disk(stateHeader.size());
      EXPECT_THROW(hardware->programDecapKey(udpKey("10.1.0.0/16")), StateFileError);
   }
   EXPECT_EQ(hardware->programDecapKey(udpKey("10.1.0.0/16")), Fwd::dgRcSuccess);
   EXPECT_EQ(hardware->journal().texts(),
             (Texts{"program udp 10.1.0.0/16 port 6080 payload ip vrf default -> exception",
                    "program udp 10.1.0.0/16 port 6080 payload ip vrf default -> success"}));
   EXPECT_EQ(hardware->written(), 1u);
}

}  // namespace
}  // namespace Sim
