#include "mdl/Log.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

/// Collects the names of the messages that are logged.
class Log : public testing::Test {
 protected:
   Log() {
      Mdl::Log::sinkIs([this](Mdl::LogHandle const& logged) { names.emplace_back(logged.name()); });
   }
   ~Log() override { Mdl::Log::sinkIs(nullptr); }

   Mdl::LogHandle const handle{
       "LOG_TEST", 4, "something happened", "why it happened", "what to do", 60.5, 2.5, 3, 7};
   std::vector<std::string> names;
   std::uint64_t const lostBefore = Mdl::Log::lost();
};

TEST_F(Log, AHandleKeepsWhatItWasMadeOf) {
   EXPECT_STREQ(handle.name(), "LOG_TEST");
   EXPECT_EQ(handle.severity(), 4u);
   EXPECT_STREQ(handle.format(), "something happened");
   EXPECT_STREQ(handle.explanation(), "why it happened");
   EXPECT_STREQ(handle.recommendedAction(), "what to do");
   EXPECT_EQ(handle.interval(), 60.5);
   EXPECT_EQ(handle.rate(), 2.5);
   EXPECT_EQ(handle.firstCount(), 3u);
   EXPECT_EQ(handle.secondCount(), 7u);
}

TEST_F(Log, AHandleIsFoundByItsNameWhileItExists) {
   EXPECT_EQ(Mdl::LogHandle::find("LOG_TEST"), &handle);
   EXPECT_EQ(Mdl::LogHandle::find("LOG_TES"), nullptr);
   EXPECT_EQ(Mdl::LogHandle::find("LOG_TEST_OTHER"), nullptr);
   std::optional<Mdl::LogHandle> passing;
   passing.emplace("LOG_PASSING", 6, "", "", Mdl::NoActionRequired, 0.0, 0.0, 0, 0);
   Mdl::LogHandle const later("LOG_LATER", 6, "", "", Mdl::NoActionRequired, 0.0, 0.0, 0, 0);
   EXPECT_EQ(Mdl::LogHandle::find("LOG_PASSING"), &*passing);
   passing.reset();
   EXPECT_EQ(Mdl::LogHandle::find("LOG_PASSING"), nullptr);
   EXPECT_EQ(Mdl::LogHandle::find("LOG_LATER"), &later);
   EXPECT_EQ(Mdl::LogHandle::find("LOG_TEST"), &handle);
}

TEST_F(Log, ASinkIsGivenTheHandleEachTime) {
   Mdl::LogHandle const* given = nullptr;
   int times = 0;
   Mdl::Log::sinkIs([&](Mdl::LogHandle const& logged) {
      given = &logged;
      ++times;
   });
   Mdl::log(handle);
   Mdl::log(handle);
   EXPECT_EQ(given, &handle);
   EXPECT_EQ(times, 2);
}

TEST_F(Log, MessagesComeInTheirOrder) {
   Mdl::LogHandle const other("LOG_OTHER", 5, "", "", "", 0.0, 0.0, 0, 0);
   Mdl::log(other);
   Mdl::log(handle);
   EXPECT_EQ(names, (std::vector<std::string>{"LOG_OTHER", "LOG_TEST"}));
}

TEST_F(Log, ASinkThatThrowsLosesTheMessageAndNothingElse) {
   Mdl::Log::sinkIs([](Mdl::LogHandle const&) { throw std::runtime_error("full"); });
   Mdl::log(handle);
   EXPECT_EQ(Mdl::Log::lost(), lostBefore + 1);
}

TEST_F(Log, ASinkMayReplaceItself) {
   std::string const kept(100, 'k');
   Mdl::Log::sinkIs([this, kept](Mdl::LogHandle const&) {
      Mdl::Log::sinkIs([this](Mdl::LogHandle const&) { names.emplace_back("second"); });
      names.push_back(kept);
   });
   Mdl::log(handle);
   Mdl::log(handle);
   EXPECT_EQ(names, (std::vector<std::string>{kept, "second"}));
}

TEST_F(Log, GoesToStandardErrorWithoutASink) {
   Mdl::Log::sinkIs(nullptr);
   testing::internal::CaptureStderr();
   Mdl::log(handle);
   EXPECT_EQ(testing::internal::GetCapturedStderr(), "severity 4 LOG_TEST: something happened\n");
   EXPECT_EQ(Mdl::Log::lost(), lostBefore);
}

TEST_F(Log, TheStandardActionAsksForNone) {
   EXPECT_STREQ(Mdl::NoActionRequired, "No action is required.");
}

}  // namespace
