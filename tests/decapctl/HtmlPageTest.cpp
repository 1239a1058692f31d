#include "ReportScene.h"
#include "decapctl/report/HtmlPage.h"

#include <gtest/gtest.h>

#include <chrono>

namespace Ctl::Report {
namespace {

constexpr std::size_t greatestPage = 2'000'000;

std::size_t countOf(std::string const& text, std::string const& what) {
   std::size_t count = 0;
   for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) {
      ++count;
   }
   return count;
}

bool has(std::string const& text, std::string const& what) {
   return text.find(what) != std::string::npos;
}

/// A run with something of everything.
ReportScene tour() {
   ReportScene scene;
   scene.machine().group("1", "core", "10.1.0.0/16");
   scene.program("1.0", "gre 10.1.0.0/16 vrf red", "success", "1.002");
   scene.program("1.1", "gre 10.2.0.0/16 vrf red", "full", "1.2").line(R"(["alarm",true])");
   scene.line(R"(["log","TUNNEL_HW_RESOURCE_FULL"])");
   scene.line(R"([2.0,"ipIntf",1,"virtualAddr",true])");
   scene.remove("3.0", "gre 10.1.0.0/16 vrf red");
   scene.program("3.0", "gre 10.1.0.0/16 vrf blue", "success", "3.1");
   scene.program("4.0", "udp 10.2.0.0/16 port 1 payload ip vrf red", "threw");
   scene.line(R"(["alarm",false])");
   return scene;
}

/// Journals of many lines: time passes or does not, and every key is refused, or written and
/// removed.
std::string bigJournal(std::size_t lines, bool timed) {
   std::string text = ReportScene().machine().text();
   for (std::size_t i = 0; i < lines / 8; ++i) {
      std::string const time = timed ? std::to_string(1000 + static_cast<double>(i) / 50) : "0.0";
      std::string const prefix =
          "10." + std::to_string(i / 250 % 250) + '.' + std::to_string(i % 250) + ".0/24";
      std::string const key = "gre " + prefix + " vrf red";
      text += "[" + time + R"(,"group",)" + std::to_string(i % 7) + R"(,"decapIp",")" + prefix +
              "\",true]\n[" + time + R"(,"call","program",")" + key + "\"]\n[" + time +
              R"(,"answer",")" + (i % 5 == 0 ? "full" : "success") + "\"]\n[\"alarm\"," +
              (i % 2 == 0 ? "true" : "false") + "]\n[\"log\",\"M" + std::to_string(i) + "\"]\n[" +
              time + R"(,"call","remove",")" + key + "\"]\n[" + time + ",\"answer\",\"done\"]\n[" +
              time + R"(,"ipIntf",1,"virtualAddr",true])" + '\n';
   }
   return text + "[\"end\"]\n";
}

TEST(HtmlPage, HasAllPartsOfTheRun) {
   std::string const page = htmlPage(tour().run(), "A tour");
   for (char const* const part : {"<title>A tour</title>",
                                  "Greatest occupancy",
                                  "Longest alarm",
                                  "Longest wait",
                                  "Entries in hardware",
                                  "Keys that wait",
                                  "class=\"alarm\"",
                                  "class=\"burst\"",
                                  "class=\"call once\"",
                                  "mark machine",
                                  "mark configuration",
                                  "mark interfaces",
                                  "mark messages",
                                  "mark faults",
                                  "“full” answered at 1",
                                  "Tunnel types",
                                  "Calls by result",
                                  "TUNNEL_HW_RESOURCE_FULL",
                                  "group core: prefix added 10.1.0.0/16",
                                  "Legend",
                                  "program: full",
                                  "role=\"img\"",
                                  "prefers-color-scheme: dark",
                                  "@media print"}) {
      EXPECT_TRUE(has(page, part)) << part;
   }
   EXPECT_FALSE(has(page, "cut off"));
   EXPECT_EQ(countOf(page, "<svg class=\"chart"), 2u);
   EXPECT_EQ(countOf(page, "<svg"), countOf(page, "</svg>"));
   EXPECT_EQ(countOf(page, "<section"), countOf(page, "</section>"));
}

TEST(HtmlPage, NeedsNothingFromOutside) {
   std::string page = htmlPage(tour().run(), "A tour");
   EXPECT_TRUE(has(page, "Content-Security-Policy\" content=\"default-src 'none';"));
   for (char const* const outside :
        {" src=", "href=", "//", "@import", "fetch(", "<link", "<img"}) {
      // A comment of the script is none.
      std::size_t const comments = std::string(outside) == "//" ? countOf(page, "\n// ") : 0;
      EXPECT_EQ(countOf(page, outside), comments) << outside;
   }
   EXPECT_EQ(countOf(page, "url("), countOf(page, "url(#"));
}

TEST(HtmlPage, HostileNamesAreOnlyText) {
   std::string const evil = R"(</script><script>x()</script><img src=x onerror='x()' a=\"]]>&)";
   ReportScene scene;
   scene.machine().group("1", evil, "10.1.0.0/16");
   scene.program("0.0", "gre 10.1.0.0/16 vrf " + evil, "full");
   scene.program("0.0", evil + " 10.1.0.0/16 vrf red", evil);
   scene.line("[\"log\",\"" + evil + "\"]");
   scene.line("[1.0,\"call\",\"" + evil + "\"]");
   scene.line("[1.0,\"answer\",\"threw\",\"" + evil + "\"]");
   scene.line(R"([1.0,"machine",{"bytes":"3c623eff"},"<i>"])");
   scene.line("[1.0,\"ipIntf\",1,\"make\",\"" + evil + "\",[\"<i>\",{\"<u>\":\"<s>\"}]]");
   std::string const page = htmlPage(scene.run(), "</title>" + evil);
   EXPECT_EQ(countOf(page, "<script"), 4u);
   EXPECT_EQ(countOf(page, "</script"), 4u);
   EXPECT_EQ(countOf(page, "</title></title>"), 0u);
   for (char const* const tag : {"<img", "<i>", "<u>", "<s>", "<b>", "onerror='"}) {
      EXPECT_FALSE(has(page, tag)) << tag;
   }
   EXPECT_TRUE(has(page, "&lt;b&gt;\\xff"));
}

TEST(HtmlPage, SaysThatAJournalWasCutOff) {
   std::string const lines = tour().text();
   std::string const page = htmlPage(ReportScene::runOf(lines + "[5.0,\"cal"), "A tour");
   EXPECT_TRUE(has(page, "cut off in the middle of a line behind line " +
                             std::to_string(countOf(lines, "\n"))));
   EXPECT_TRUE(has(page, "was killed"));
}

TEST(HtmlPage, SaysWhatTheJournalCannotTell) {
   std::string const page = htmlPage(
       ReportScene::runOf(ReportScene().program("0.0", "gre 1.0.0.0/8 vrf red", "exists").text() +
                          "[0.0,\"call\",\"verify\"]\n"),
       "");
   EXPECT_TRUE(has(page, "1 hook call has no answer"));
   EXPECT_TRUE(has(page, "does not say how 1 entry came"));
   EXPECT_TRUE(has(page, "the capacity is not known"));
   EXPECT_TRUE(has(page, "all were answered at the moment they were made"));
   EXPECT_TRUE(has(page, "No time passes in this journal"));
   EXPECT_EQ(countOf(page, "<svg class=\"chart"), 1u);
}

TEST(HtmlPage, OfAnEmptyJournalIsAPage) {
   std::string const page = htmlPage(ReportScene().run(), "Nothing");
   EXPECT_TRUE(has(page, "no key was refused"));
   EXPECT_TRUE(has(page, "there were none"));
   EXPECT_TRUE(has(htmlPage(ReportScene::runOf(ReportScene().text()), ""), "cut off"));
}

TEST(HtmlPage, StaysSmallWhateverTheJournal) {
   for (bool const timed : {true, false}) {
      auto const start = std::chrono::steady_clock::now();
      RunHistory const run = ReportScene::runOf(bigJournal(200'000, timed));
      std::string const page = htmlPage(run, "Big");
      std::chrono::duration<double> const took = std::chrono::steady_clock::now() - start;
      EXPECT_GE(run.end.lines, 200'000u);
      EXPECT_LT(page.size(), greatestPage);
      EXPECT_LE(run.byTime.levels.size(), 1000u);
      EXPECT_LE(run.byLine.levels.size(), 1000u);
      // Some seconds with sanitizers and without optimisation; hours if anything were quadratic.
      EXPECT_LT(took.count(), 60.0);
   }
}

TEST(HtmlPage, StaysSmallWithLongNames) {
   std::string const name(250, '"');
   std::string escapedName;
   for (std::size_t i = 0; i < name.size(); ++i) escapedName += "\\\"";
   ReportScene scene;
   for (int i = 0; i < 3000; ++i) {
      std::string const time = "[" + std::to_string(i) + ".0,";
      scene.line(time + "\"group\",1,\"x" + escapedName + "\"]");
      scene.line("[\"log\",\"" + escapedName + "\"]");
      scene.line(time + "\"ipIntf\",1,\"" + escapedName + "\"]");
      scene.line(time + "\"machine\",\"" + escapedName + "\"]");
   }
   EXPECT_LT(htmlPage(scene.run(), "Long").size(), greatestPage);
}

TEST(HtmlPage, TimesOfAnySizeAreDrawn) {
   for (char const* const time : {"1e-300", "1e-9", "1e9", "1e300"}) {
      ReportScene scene;
      scene.machine().program(time, "gre 1.0.0.0/8 vrf red", "success");
      std::string const page = htmlPage(scene.run(), "Times");
      EXPECT_FALSE(has(page, "nan")) << time;
      EXPECT_FALSE(has(page, "inf\"")) << time;
      EXPECT_LT(page.size(), greatestPage);
   }
}

}  // namespace
}  // namespace Ctl::Report
