#include "mdl/System.h"
#include "platform/journal/JournalFixture.h"

namespace {

using Journal::JournalError;
using Journal::Outcome;
using Journal::Player;

class Replay : public JournalFixture {
 protected:
   /// A life with a key that is refused, retried and taken.
   static std::string given() {
      return journalOf([](Life& life) {
         life.hardware->table().capacityIs(1);
         life.start();
         auto const core = group("core");
         life.config->decapGroupIs(core);
         core->decapIpIs(prefix("10.1.0.0/16"));
         core->decapIpIs(prefix("10.2.0.0/16"));
         life.time.advanceTo(0.1);
         core->decapIpDel(prefix("10.1.0.0/16"));
         life.time.advanceTo(0.3);
      });
   }
   static std::string replaced(std::string text, std::string_view from, std::string_view to) {
      auto const at = text.find(from);
      EXPECT_NE(at, std::string::npos) << from << " in\n" << text;
      return text.replace(at, from.size(), to);
   }
   static std::string without(std::string const& text, std::string_view part) {
      auto const at = text.find(part);
      EXPECT_NE(at, std::string::npos) << part << " in\n" << text;
      auto const begin = text.rfind('\n', at) + 1;
      return text.substr(0, begin) + text.substr(text.find('\n', at) + 1);
   }
   static std::size_t lineOf(std::string const& text, std::string_view part) {
      auto const before = std::string_view(text).substr(0, text.find(part));
      return static_cast<std::size_t>(std::ranges::count(before, '\n')) + 1;
   }
   static std::string errorOf(std::string const& journal) {
      try {
         replay(journal);
      } catch (JournalError const& error) {
         return error.what();
      }
      return "none";
   }
   static std::string withHeader(std::string const& lines) {
      return std::string(Journal::header) + '\n' + lines;
   }
};

TEST_F(Replay, OfTheSameMachineIsTheSame) {
   std::string const journal = given();
   thenTheSame(journal);
   Outcome const outcome = replay(journal);
   EXPECT_EQ(outcome.calls, 7U) << "one says that the configuration is ready";
   EXPECT_EQ(outcome.messages, 2U);
   EXPECT_EQ(outcome.traces, 0U);
   EXPECT_GT(outcome.inputs, 10U);
}

TEST_F(Replay, HasTracesToo) {
   std::string const journal = journalOf([](Life& life) {
      life.traceLevelsAre(~0u);
      life.start();
      life.config->decapGroupIs(group("core", {"10.1.0.0/16"}));
   });
   thenTheSame(journal);
   EXPECT_GT(replay(journal).traces, 5U);
}

TEST_F(Replay, AnswersAsThePlatformDid) {
   thenTheSame(journalOf([](Life& life) {
      life.start();
      auto const core = group("core");
      life.config->decapGroupIs(core);
      for (auto const code : {Fwd::dgRcNotReady, Fwd::dgRcAlreadyExists, Fwd::dgRcPending,
                              static_cast<Fwd::dgRetCode>(77)}) {
         life.hardware->script().next(Sim::Answer::of(code));
         core->decapIpIs(prefix("10.1.0.0/16"));
         core->decapIpDel(prefix("10.1.0.0/16"));
      }
      life.hardware->script().next(Sim::Answer::fault());
      EXPECT_THROW(core->decapIpIs(prefix("10.1.0.0/16")), Sim::HardwareFault);
      life.hardware->faultInRemoval(life.hardware->removeCalls() + 1);
      life.hardware->waitForUdpIs(false);
      core->tunnelTypeIs(Tunnel::Decap::TunnelType::udp);
      life.time.advanceTo(0.2);
   }));
}

// What a platform does inside a call happens inside that call again.
TEST_F(Replay, DoesInsideACallWhatThePlatformDid) {
   std::string const journal = journalOf([](Life& life) {
      life.start();
      auto const core = group("core");
      life.config->decapGroupIs(core);
      life.hardware->duringProgram(1, [&] {
         core->decapIpIs(prefix("10.2.0.0/16"));
         core->decapIpDel(prefix("10.1.0.0/16"));
      });
      life.hardware->duringRemoval(1, [&] { life.config->decapGroupDel(Mdl::String("core")); });
      core->decapIpIs(prefix("10.1.0.0/16"));
   });
   thenTheSame(journal);
}

TEST_F(Replay, SurvivesAPlatformThatDroppedTheMachine) {
   thenTheSame(journalOf([](Life& life) {
      life.start();
      life.hardware->duringProgram(1, [&] { life.drop(); });
      life.config->decapGroupIs(group("core", {"10.1.0.0/16", "10.2.0.0/16"}));
   }));
}

TEST_F(Replay, FollowsRestartsAndExchanges) {
   thenTheSame(journalOf([](Life& life) {
      auto const ethernet1 =
          Mdl::allocate<Ip::IpIntfStatus>(intf("Ethernet1"), L3::VrfName::defaultVrf());
      ethernet1->addrWithMaskIs(Pkt::IpAddrWithMask::fromText("10.0.0.1/24"));
      life.ip->ipIntfStatusIs(ethernet1);
      auto const core = group("core", {"10.1.0.0/16"});
      core->decapIntfIs(Tunnel::Decap::DecapIntf({Pkt::emptyIntfId, 1}));
      life.config->decapGroupIs(core);
      life.start();
      life.recorder.noteInitialized(false);
      life.machine->initializedIs(false);
      core->destPortIs(5);
      life.initialize();
      life.recorder.noteCleanupDisabled(true);
      life.machine->disableCleanupOnRestartIs(true);
      life.drop();
      life.build();
      life.recorder.noteReviewInterval(0.5);
      life.machine->reviewIntervalIs(0.5);
      life.recorder.noteReviewQuanta(Mdl::never);
      life.machine->reviewQuantaIs(Mdl::never);
      life.initialize();
      life.recorder.noteVrf(ethernet1, L3::VrfName(Mdl::String("red")));
      ethernet1->vrfIs(L3::VrfName(Mdl::String("red")));
      life.verifyData->doRequestVerify();
      life.recorder.noteEntry(Mdl::String("core"), {Pkt::emptyIntfId, 1});
   }));
}

TEST_F(Replay, NamesTheFirstAnswerThatIsNotTheRecordedOne) {
   std::string const journal = given();
   Outcome const outcome =
       replay(replaced(journal, "\"answer\",\"full\"", "\"answer\",\"pending\""));
   ASSERT_TRUE(outcome.difference);
   // The alarm is what the machine did not raise.
   EXPECT_EQ(outcome.difference->line, lineOf(journal, "[\"alarm\",true]"));
   EXPECT_EQ(outcome.difference->recorded, "[\"alarm\",true]");
   EXPECT_EQ(outcome.lines, outcome.difference->line - 1);
}

TEST_F(Replay, NamesACallThatIsNotMadeAgain) {
   std::string const journal = given();
   Outcome const outcome = replay(replaced(journal, "remove\",\"gre 10.1", "remove\",\"gre 10.9"));
   ASSERT_TRUE(outcome.difference);
   EXPECT_EQ(outcome.difference->recorded,
             R"([0.1,"call","remove","gre 10.9.0.0/16 vrf default"])");
   EXPECT_EQ(outcome.difference->replayed,
             R"([0.1,"call","remove","gre 10.1.0.0/16 vrf default"])");
}

TEST_F(Replay, NamesACallThatTheJournalDoesNotHave) {
   std::string const journal = given();
   Outcome const outcome = replay(without(journal, R"("call","remove","gre 10.1)"));
   ASSERT_TRUE(outcome.difference);
   EXPECT_EQ(outcome.difference->recorded, R"([0.1,"answer","done"])");
}

TEST_F(Replay, NamesWhatTheMachineDoesNotSayAgain) {
   std::string const journal =
       replaced(given(), "[0.1,\"clock\",0.1]", "[\"log\",\"X\"]\n[0.1,\"clock\",0.1]");
   Outcome const outcome = replay(journal);
   ASSERT_TRUE(outcome.difference);
   EXPECT_EQ(outcome.difference->line, lineOf(journal, "[\"log\",\"X\"]"));
   EXPECT_EQ(outcome.difference->replayed, "") << "it waits for its next input";
}

TEST_F(Replay, NamesAnInputThatChangesNothing) {
   std::string const journal =
       replaced(given(), "[0.1,\"clock\",0.1]", "[0.1,\"clock\",0.0]\n[0.1,\"clock\",0.1]");
   Outcome const outcome = replay(journal);
   ASSERT_TRUE(outcome.difference);
   EXPECT_EQ(outcome.difference->recorded, "[0.1,\"clock\",0.0]");
}

TEST_F(Replay, NamesWhatComesBehindTheEnd) {
   std::string const journal = given() + "[0.3,\"clock\",0.4]\n[\"end\"]\n";
   Outcome const outcome = replay(journal);
   ASSERT_TRUE(outcome.difference);
   EXPECT_EQ(outcome.difference->recorded, "[0.3,\"clock\",0.4]");
}

// A process that was killed leaves a journal without an end, at any place.
TEST_F(Replay, OfAJournalThatWasCutOffIsTheSameUpToThere) {
   std::string const journal = given();
   for (std::size_t size = Journal::header.size() + 1; size < journal.size() - 1; ++size) {
      Outcome const outcome = replay(journal.substr(0, size));
      ASSERT_FALSE(outcome.difference)
          << "at byte " << size << ", line " << outcome.difference->line;
      ASSERT_FALSE(outcome.complete) << "at byte " << size;
   }
}

TEST_F(Replay, ShowsTracesBesideTheRecordedOnes) {
   std::string const journal = given();
   Player player(journal);
   std::vector<std::string> shown;
   player.traceIs(1u << 2,
                  [&](Mdl::TraceRecord const& record) { shown.emplace_back(record.text); });
   Outcome const outcome = player.play();
   EXPECT_FALSE(outcome.difference);
   EXPECT_EQ(outcome.traces, 0U);
   EXPECT_GT(std::ranges::count(shown, "handleInitialized"), 0);
}

TEST_F(Replay, TellsHowFarItIs) {
   std::string const journal = given();
   Player player(journal);
   std::vector<std::size_t> lines;
   player.progressIs([&](std::size_t line) { lines.push_back(line); });
   player.play();
   ASSERT_GT(lines.size(), 10U);
   EXPECT_TRUE(std::ranges::is_sorted(lines));
   EXPECT_LE(lines.back(), player.size());
}

TEST_F(Replay, GivesTheProcessItsTimeBack) {
   std::string const journal = given();
   replay(journal);
   EXPECT_GT(Mdl::System::currentTime(), 1.0) << "seconds since this machine was switched on";
}

TEST_F(Replay, RefusesWhatIsNoJournal) {
   EXPECT_THROW(replay(""), JournalError);
   EXPECT_THROW(replay("[\"decap-journal\",1]"), JournalError) << "not even one line";
   EXPECT_THROW(replay("[\"decap-journal\",2]\n"), JournalError);
   EXPECT_THROW(replay("{}\n"), JournalError);
}

TEST_F(Replay, SaysWhereAJournalIsWrong) {
   EXPECT_EQ(errorOf(withHeader("nonsense\n")), "line 2: this is no line of a journal");
   EXPECT_EQ(errorOf(withHeader("[0.0,\"frob\"]\n")), "line 2: no input is so called");
   EXPECT_EQ(errorOf(withHeader("[0.0,\"machine\",\"initialized\",true]\n")),
             "line 2: there is no machine");
   EXPECT_EQ(errorOf(withHeader("[0.0,\"group\",1,\"destPort\",7]\n")),
             "line 2: there is no number 1");
   EXPECT_EQ(errorOf(withHeader("[0.0,\"config\",1,\"make\"]\n[0.0,\"config\",1,\"make\"]\n")),
             "line 3: the number 1 is taken");
   std::string const group = "[0.0,\"group\",1,\"make\",\"core\"]\n";
   EXPECT_EQ(errorOf(withHeader(group + "[0.0,\"group\",1,\"frob\"]\n")),
             "line 3: a group has no such attribute");
   EXPECT_EQ(errorOf(withHeader(group + "[0.0,\"group\",1,\"destPort\"]\n")),
             "line 3: something is missing at its end");
   EXPECT_EQ(errorOf(withHeader(group + "[0.0,\"group\",1,\"destPort\",-7]\n")),
             "line 3: item 4 is no number");
   EXPECT_EQ(errorOf(withHeader(group + "[0.0,\"group\",1,\"destPort\",65536]\n")),
             "line 3: item 4 is greater than 65535");
   EXPECT_EQ(errorOf(withHeader(group + "[0.0,\"group\",1,\"tunnelType\",\"frob\"]\n")),
             "line 3: no Tunnel::Decap::TunnelType is so called");
   EXPECT_EQ(errorOf(withHeader(group + "[0.0,\"group\",1,\"tunnelType\",300]\n")),
             "line 3: item 4 is greater than 255");
   EXPECT_NE(errorOf(withHeader(group + "[0.0,\"group\",1,\"decapIp\",\"10.1\",true]\n"))
                 .find("line 3: "),
             std::string::npos);
   EXPECT_EQ(errorOf(withHeader("[0.0,\"group\",1,\"make\",{\"bytes\":\"6g\"}]\n")),
             "line 2: a name's bytes are expected");
   EXPECT_EQ(errorOf(withHeader("[0.0,\"group\",1,\"make\",7]\n")), "line 2: a name is expected");
   EXPECT_EQ(errorOf(withHeader("[0.0,\"verify\",7]\n")),
             "line 2: item 2 is neither true nor false");
   EXPECT_EQ(errorOf(withHeader("[0.0,\"clock\",\"late\"]\n")), "line 2: item 2 is no time");
}

// Inside a call it is the hook that reads on.
TEST_F(Replay, SaysWhereAJournalIsWrongInsideACall) {
   std::string const journal = given();
   std::string const answer = "[0.0,\"answer\",\"success\"]";
   std::string const wrong =
       replaced(journal, answer, "[0.0,\"group\",9,\"destPort\",1]\n" + answer);
   EXPECT_EQ(errorOf(wrong),
             "line " + std::to_string(lineOf(journal, answer)) + ": there is no number 9");
}

}  // namespace
