// The page in a browser.

#include "ReportScene.h"
#include "decapctl/report/HtmlPage.h"
#include "support/Program.h"
#include "support/TempFolder.h"

#include <gtest/gtest.h>

namespace Ctl::Report {
namespace {

constexpr char const* browser = "/usr/bin/chromium";

class InBrowser : public testing::Test {
 protected:
   void SetUp() override {
      ASSERT_TRUE(std::filesystem::exists(browser)) << "Debian's package chromium has " << browser;
   }
   /// What has become of the page once its script has run, and another behind it.
   std::string domOf(std::string page, std::string const& script = {}) {
      std::string const end = "</body>";
      page.insert(page.rfind(end), "<script>" + script + "</script>\n");
      Support::writeFile(folder.path("page.html"), page);
      auto const result = Support::runProgram(
          {browser, "--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
           "--user-data-dir=" + folder.path("profile"), "--window-size=1400,1000",
           "--virtual-time-budget=2000", "--dump-dom", "file://" + folder.path("page.html")});
      EXPECT_EQ(result.code, 0) << result.err;
      return result.out;
   }
   static std::string page() {
      ReportScene scene;
      scene.machine().group("1", "core <&> \\\"west\\\"", "10.1.0.0/16");
      for (int i = 0; i < 40; ++i) {
         std::string const time = std::to_string(i) + ".5";
         std::string const key = "gre 10." + std::to_string(i) + ".0.0/16 vrf red";
         scene.program(time, key, i < 30 ? "success" : "full");
         if (i == 30) scene.line(R"(["alarm",true])").line("[\"log\",\"TUNNEL_HW_RESOURCE_FULL\"]");
      }
      return htmlPage(scene.run(), "Browsed");
   }
   static bool has(std::string const& dom, std::string const& what) {
      return dom.find(what) != std::string::npos;
   }

   Support::TempFolder const folder;
};

/// Keeps what the page shows where the test finds it.
constexpr char const* keep =
    "function keep(name, what) {"
    "document.documentElement.setAttribute('data-' + name, what); }\n";

TEST_F(InBrowser, TheScriptRunsWithoutErrors) {
   std::string const dom = domOf(page());
   EXPECT_TRUE(has(dom, "data-script=\"ready\""));
   EXPECT_FALSE(has(dom, "data-error"));
}

TEST_F(InBrowser, AnErrorOfAScriptWouldBeSeen) {
   EXPECT_TRUE(has(domOf(page(), "nonsense();"), "data-error=\"Uncaught ReferenceError"));
}

TEST_F(InBrowser, PointingAtAnEventShowsItsDetails) {
   std::string const dom = domOf(page(), std::string(keep) + R"js(
const mark = document.querySelector('.by-time .mark.messages');
const box = mark.getBoundingClientRect();
mark.dispatchEvent(new PointerEvent('pointermove',
   { bubbles: true, clientX: box.left + 3, clientY: box.top + 3 }));
const tip = document.getElementById('tip');
keep('shown', getComputedStyle(tip).display);
keep('text', tip.textContent.replaceAll('\n', '; '));
)js");
   EXPECT_FALSE(has(dom, "data-error"));
   EXPECT_TRUE(has(dom, "data-shown=\"block\""));
   EXPECT_TRUE(has(dom, "data-text=\"30.5 s, line 76; TUNNEL_HW_RESOURCE_FULL\""))
       << dom.substr(0, 400);
}

TEST_F(InBrowser, PointingAtAPlaceShowsTheLevelsThere) {
   std::string const dom = domOf(page(), std::string(keep) + R"js(
const chart = document.querySelector('.by-time');
const box = chart.getBoundingClientRect();
chart.dispatchEvent(new PointerEvent('pointermove',
   { bubbles: true, clientX: box.left + box.width * .985, clientY: box.top + 60 }));
keep('text', document.getElementById('tip').textContent.replaceAll('\n', '; '));
keep('pointer', getComputedStyle(chart.querySelector('.pointer')).visibility);
chart.dispatchEvent(new PointerEvent('pointerleave'));
keep('after', getComputedStyle(document.getElementById('tip')).display);
)js");
   EXPECT_FALSE(has(dom, "data-error"));
   EXPECT_TRUE(has(dom, "in hardware: 30; waiting:")) << dom.substr(0, 400);
   EXPECT_TRUE(has(dom, "data-pointer=\"visible\""));
   EXPECT_TRUE(has(dom, "data-after=\"none\""));
}

TEST_F(InBrowser, KeysMoveThePointer) {
   std::string const dom = domOf(page(), std::string(keep) + R"js(
const chart = document.querySelector('.by-time');
chart.dispatchEvent(new KeyboardEvent('keydown', { key: 'End' }));
keep('text', document.getElementById('spoken').textContent.replaceAll('\n', '; '));
)js");
   EXPECT_FALSE(has(dom, "data-error"));
   EXPECT_TRUE(has(dom, "data-text=\"39.5 s")) << dom.substr(0, 400);
   EXPECT_TRUE(has(dom, "waiting: 9 to 10, then 10")) << dom.substr(0, 400);
}

TEST_F(InBrowser, OneAxisIsShownAtATime) {
   std::string const dom = domOf(page(), std::string(keep) + R"js(
const shown = kind => getComputedStyle(document.querySelector('.by-' + kind)).display;
keep('before', shown('time') + ' ' + shown('line'));
document.getElementById('axis-line').click();
keep('after', shown('time') + ' ' + shown('line'));
)js");
   EXPECT_TRUE(has(dom, "data-before=\"block none\""));
   EXPECT_TRUE(has(dom, "data-after=\"none block\""));
}

TEST_F(InBrowser, TheTableOfKeysIsSorted) {
   std::string const dom = domOf(page(), std::string(keep) + R"js(
const table = document.querySelector('table.sortable');
const first = () => table.tBodies[0].rows[0].cells[0].textContent;
const waits = table.tHead.rows[0].cells[1];
waits.firstChild.click();
keep('down', first());
waits.firstChild.click();
keep('up', first() + ' ' + waits.getAttribute('aria-sort'));
)js");
   EXPECT_FALSE(has(dom, "data-error"));
   EXPECT_TRUE(has(dom, "data-down=\"gre 10.30.0.0/16 vrf red\""));
   EXPECT_TRUE(has(dom, "data-up=\"gre 10.39.0.0/16 vrf red ascending\""));
}

TEST_F(InBrowser, HostileNamesRunNothing) {
   std::string const evil = R"(</script><script>document.documentElement.dataset.evil=1</script>)"
                            R"(<img src=x onerror='document.documentElement.dataset.evil=2'>)";
   ReportScene scene;
   scene.machine().group("1", evil, "10.1.0.0/16");
   scene.program("1.0", "gre 10.1.0.0/16 vrf " + evil, "full");
   scene.line("[\"log\",\"" + evil + "\"]");
   std::string const dom = domOf(htmlPage(scene.run(), evil), std::string(keep) + R"js(
keep('images', document.images.length);
keep('scripts', document.scripts.length);
const mark = document.querySelector('.by-time .mark.messages');
mark.dispatchEvent(new PointerEvent('pointermove', { bubbles: true }));
keep('inside', document.getElementById('tip').childElementCount);
)js");
   EXPECT_TRUE(has(dom, "data-script=\"ready\""));
   EXPECT_FALSE(has(dom, "data-error"));
   EXPECT_FALSE(has(dom, "data-evil"));
   EXPECT_TRUE(has(dom, "data-images=\"0\""));
   EXPECT_TRUE(has(dom, "data-scripts=\"5\""));
   EXPECT_TRUE(has(dom, "data-inside=\"0\""));
}

}  // namespace
}  // namespace Ctl::Report
