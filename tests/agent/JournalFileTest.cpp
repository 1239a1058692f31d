#include "agent/JournalFile.h"

#include "agent/CommandLine.h"
#include "agent/InputError.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <fcntl.h>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace Agent {
namespace {

class JournalFiles : public testing::Test {
 protected:
   /// What opening it says against it, both by its name and by a descriptor; empty for nothing.
   std::string complaint() const {
      std::string named = complaintOf([this] { JournalFile const journal(file); });
      int const descriptor = ::open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
      std::string const handed = complaintOf([&] { JournalFile const journal(file, descriptor); });
      ::close(descriptor);
      EXPECT_EQ(named, handed);
      return named;
   }
   template <class Work>
   static std::string complaintOf(Work const& work) {
      try {
         work();
      } catch (InputError const& error) {
         return error.what();
      }
      return {};
   }

   Support::TempFolder const folder;
   std::string const file = folder.path("a.journal");
};

TEST_F(JournalFiles, AJournalTakesThePlaceOfAnother) {
   Support::writeFile(file, "[\"decap-journal\",7]\n" + std::string(1000, 'x'));
   EXPECT_EQ(complaint(), "");
   EXPECT_EQ(Support::readFile(file), "[\"decap-journal\",1]\n[\"end\"]\n");
}

TEST_F(JournalFiles, AnEmptyFileIsTaken) {
   Support::writeFile(file, "");
   EXPECT_EQ(complaint(), "");
}

TEST_F(JournalFiles, AnythingElseIsLeftAsItIs) {
   for (std::string const& content :
        {std::string("{\"groups\": []}"), std::string("["), std::string("[\"decap-journal\""),
         std::string(1, '\0'), "x[\"decap-journal\",1]\n" + std::string(1000, 'x')}) {
      Support::writeFile(file, content);
      EXPECT_EQ(complaint(), file + ": is there already, and is no journal");
      EXPECT_EQ(Support::readFile(file), content);
   }
}

TEST_F(JournalFiles, WhatIsRefusedStaysNotOpen) {
   Support::writeFile(file, "precious");
   int const next = ::dup(STDIN_FILENO);
   ::close(next);
   EXPECT_NE(complaint(), "");
   int const same = ::dup(STDIN_FILENO);
   ::close(same);
   EXPECT_EQ(same, next);
}

TEST_F(JournalFiles, APipeIsWrittenToAndNotLookedInto) {
   ASSERT_EQ(::mkfifo(file.c_str(), 0600), 0);
   int const reader = ::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
   { JournalFile const journal(file); }
   std::array<char, 100> bytes{};
   ssize_t const count = ::read(reader, bytes.data(), bytes.size());
   ASSERT_GT(count, 0);
   EXPECT_TRUE(std::string(bytes.data(), static_cast<std::size_t>(count)).starts_with("[\"decap"));
   EXPECT_EQ(::read(reader, bytes.data(), bytes.size()), 0) << "nobody writes any more";
   ::close(reader);
}

TEST_F(JournalFiles, ARunDoesNotOverwriteItsOwnConfiguration) {
   Support::writeFile(file, "{\"groups\": []}");
   std::array const arguments = {"decap-agent", "run", file.c_str(), "--journal", file.c_str()};
   std::ostringstream out;
   std::ostringstream err;
   EXPECT_EQ(commandLine(static_cast<int>(arguments.size()), arguments.data(), out, err), 2);
   EXPECT_EQ(err.str(), "decap-agent: " + file + ": is there already, and is no journal\n");
   EXPECT_EQ(out.str(), "");
   EXPECT_EQ(Support::readFile(file), "{\"groups\": []}");
}

}  // namespace
}  // namespace Agent
