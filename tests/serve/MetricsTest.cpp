#include "agent/serve/Metrics.h"
#include "agent/serve/MetricsServer.h"
#include "agent/serve/Service.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/write.hpp>
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <thread>

namespace Agent {
namespace {

namespace asio = boost::asio;
using Tcp = asio::ip::tcp;

/// A service of a few groups, whose time is set by hand.
class Metrics : public testing::Test {
 protected:
   Configuration const& given() const { return configuration_; }

   GroupConfiguration& group(char const* name, Tunnel::Decap::TunnelType type, char const* vrf,
                             std::initializer_list<char const*> prefixes) {
      GroupConfiguration& group = configuration_.groups.emplace_back();
      group.name = Mdl::String(name);
      group.tunnelType = type;
      group.vrf = L3::VrfName(Mdl::String(vrf));
      for (char const* prefix : prefixes) {
         group.decapIps.push_back(Pkt::IpGenPrefix::fromText(prefix));
      }
      return group;
   }

   void whenStarted() {
      service.apply(configuration_);
      service.restart(false);
   }
   void whenTimePasses(double seconds) {
      now_ += seconds;
      service.turn();
   }

   std::string text() const { return metricsText(service, 3); }
   /// The value of a series, as it is written.
   std::string value(std::string const& series) const {
      std::istringstream lines(text());
      for (std::string line; std::getline(lines, line);) {
         if (line.starts_with(series + " ")) return line.substr(series.size() + 1);
      }
      return "none";
   }

 private:
   double now_ = 0.0;
   Configuration configuration_;

 protected:
   Service service{{}, [this] { return now_; }, TimeScale(), [](unsigned, std::string const&) {}};
};

using Tunnel::Decap::TunnelType;

TEST_F(Metrics, CountEntriesByTypeAndStatus) {
   group("red", TunnelType::gre, "red", {"10.1.0.0/16", "10.2.0.0/16"});
   group("blue", TunnelType::gre, "blue", {"10.1.0.0/16"});
   group("ipip", TunnelType::ipip, "red", {"10.3.0.0/16"});
   service.world().hardware().script().forPrefix(Pkt::IpGenPrefix::fromText("10.3.0.0/16"),
                                                 Sim::Answer::of(Fwd::dgRcUnSupported));
   service.world().hardware().script().forPrefix(Pkt::IpGenPrefix::fromText("10.2.0.0/16"),
                                                 Sim::Answer::of(Fwd::dgRcNotReady));
   for (auto const& each : given().groups) service.world().configure(each);
   service.restart(false);
   EXPECT_EQ(value(R"(decap_entries{tunnel_type="gre",status="in_hardware"})"), "1");
   EXPECT_EQ(value(R"(decap_entries{tunnel_type="gre",status="waiting"})"), "1");
   EXPECT_EQ(value(R"(decap_entries{tunnel_type="gre",status="conflict"})"), "1");
   EXPECT_EQ(value(R"(decap_entries{tunnel_type="ipip",status="refused"})"), "1");
   EXPECT_EQ(value(R"(decap_entries{tunnel_type="udp",status="in_hardware"})"), "0");
   EXPECT_EQ(value("decap_vrf_conflicts"), "1");
   EXPECT_EQ(value("decap_backlog_entries"), "2");
}

TEST_F(Metrics, TellOfAFullTable) {
   group("red", TunnelType::gre, "red", {"10.1.0.0/16", "10.2.0.0/16"});
   EXPECT_EQ(value("decap_hardware_capacity_entries"), "+Inf");
   whenStarted();
   EXPECT_EQ(value("decap_hardware_used_entries"), "2");
   EXPECT_EQ(value("decap_hardware_resource_full"), "0");
   service.world().hardware().table().capacityIs(1);
   EXPECT_EQ(value("decap_hardware_capacity_entries"), "1");
   service.restart(false);
   EXPECT_EQ(value("decap_hardware_used_entries"), "1");
   EXPECT_EQ(value("decap_hardware_high_water_entries"), "2");
   EXPECT_EQ(value("decap_hardware_resource_full"), "1");
   whenTimePasses(5.0);
   EXPECT_EQ(value("decap_backlog_oldest_age_seconds"), "5");
}

TEST_F(Metrics, CountCallsByResultAndSortTheirDurations) {
   group("red", TunnelType::gre, "red", {"10.1.0.0/16", "10.2.0.0/16"});
   service.world().hardware().script().next(Sim::Answer::of(Fwd::dgRcNotReady), 2);
   whenStarted();
   whenTimePasses(1.0);
   EXPECT_EQ(value(R"(decap_hook_calls_total{operation="program",result="not-ready"})"), "2");
   EXPECT_EQ(value(R"(decap_hook_calls_total{operation="program",result="success"})"), "2");
   EXPECT_EQ(value(R"(decap_hook_call_duration_seconds_count{operation="program"})"), "4");
   EXPECT_EQ(value(R"(decap_hook_call_duration_seconds_bucket{operation="program",le="+Inf"})"),
             "4");
   EXPECT_EQ(value("decap_review_passes_total"), "1");
   service.world().hardware().script().next(Sim::Answer::fault());
   service.restart(false);
   EXPECT_EQ(value(R"(decap_hook_calls_total{operation="program",result="exception"})"), "1");
   EXPECT_EQ(value(R"(decap_hook_calls_total{operation="remove",result="done"})"), "2");
}

TEST(HookMeter, SortsADurationIntoTheFirstBucketThatHoldsIt) {
   HookMeter meter;
   meter.note(HookMeter::Operation::program, "success", 1e-6);
   meter.note(HookMeter::Operation::program, "success", 0.004);
   meter.note(HookMeter::Operation::program, "success", 11.0);
   auto const& durations = meter.durations(HookMeter::Operation::program);
   EXPECT_EQ(durations.buckets[0], 1u);
   EXPECT_EQ(durations.buckets[5], 1u);
   EXPECT_EQ(durations.buckets[HookMeter::bounds.size()], 1u);
   EXPECT_EQ(durations.calls, 3u);
   EXPECT_DOUBLE_EQ(durations.sum, 11.004001);
}

TEST_F(Metrics, HaveNamesOfTheConventionAndNoLabelOutOfConfiguration) {
   group("nobody's", TunnelType::gre, "elsewhere", {"10.1.0.0/16"});
   whenStarted();
   std::string const all = text();
   std::istringstream lines(all);
   std::regex const series(
       R"re(decap_[a-z_]+(\{((tunnel_type|status|operation|result|le|version)="[^"]*",?)+\})? \S+)re");
   for (std::string line; std::getline(lines, line);) {
      if (line.starts_with("#")) continue;
      EXPECT_TRUE(std::regex_match(line, series)) << line;
   }
   EXPECT_EQ(all.find("10.1"), std::string::npos);
   EXPECT_EQ(all.find("nobody"), std::string::npos);
   EXPECT_EQ(all.find("elsewhere"), std::string::npos);
   // Each family has its help and its type.
   std::size_t helps = 0;
   for (std::size_t at = 0; (at = all.find("# HELP ", at)) != std::string::npos; ++at) ++helps;
   std::size_t types = 0;
   for (std::size_t at = 0; (at = all.find("# TYPE ", at)) != std::string::npos; ++at) ++types;
   EXPECT_EQ(helps, types);
   EXPECT_GT(helps, 15u);
}

TEST_F(Metrics, DashboardAsksForWhatThereIs) {
   group("red", TunnelType::gre, "red", {"10.1.0.0/16"});
   whenStarted();
   std::ifstream file("examples/grafana/dashboard.json");
   std::stringstream content;
   content << file.rdbuf();
   std::string const dashboard = content.str();
   std::string const all = text();
   std::set<std::string> asked;
   std::regex const name("decap_[a-z_]+");
   for (std::sregex_iterator at(dashboard.begin(), dashboard.end(), name), end; at != end; ++at) {
      asked.insert(at->str());
   }
   EXPECT_GT(asked.size(), 10u);
   for (auto const& each : asked) {
      EXPECT_NE(all.find(each), std::string::npos) << each;
   }
}

TEST(MetricsAddress, IsAPortOrAnAddressWithAPort) {
   EXPECT_EQ(metricsAddressFrom("9090").host, "127.0.0.1");
   EXPECT_EQ(metricsAddressFrom("9090").port, 9090);
   EXPECT_EQ(metricsAddressFrom("0.0.0.0:1").host, "0.0.0.0");
   EXPECT_EQ(metricsAddressFrom("[::1]:80").host, "::1");
   for (char const* bad : {"", "x", "70000", "localhost:1", "127.0.0.1:", "1.2.3.4:x", "::1"}) {
      EXPECT_THROW(metricsAddressFrom(bad), std::invalid_argument) << bad;
   }
}

/// The server on a port of its own, and a client that blocks.
class MetricsHttp : public testing::Test {
 protected:
   ~MetricsHttp() override {
      loop_.stop();
      thread_.join();
   }

   std::uint16_t port() const { return server_.port(); }
   std::string ask(std::string const& request) const {
      asio::io_context loop;
      Tcp::socket socket(loop);
      socket.connect({asio::ip::make_address("127.0.0.1"), server_.port()});
      boost::system::error_code ignored;
      asio::write(socket, asio::buffer(request), ignored);
      std::string answer;
      asio::read(socket, asio::dynamic_buffer(answer), ignored);
      return answer;
   }

 private:
   asio::io_context loop_;
   MetricsServer server_{loop_,
                         {},
                         [] { return std::string("decap_test 1\n"); },
                         [](unsigned, std::string const&) {}};
   std::thread thread_{[this] { loop_.run(); }};
};

TEST_F(MetricsHttp, GivesOutTheText) {
   std::string const answer = ask("GET /metrics HTTP/1.1\r\nHost: x\r\n\r\n");
   EXPECT_TRUE(answer.starts_with("HTTP/1.1 200 OK\r\n")) << answer;
   EXPECT_NE(answer.find("Content-Type: text/plain; version=0.0.4"), std::string::npos);
   EXPECT_TRUE(answer.ends_with("\r\n\r\ndecap_test 1\n")) << answer;
}

TEST_F(MetricsHttp, GivesNothingElse) {
   EXPECT_TRUE(ask("GET / HTTP/1.1\r\nHost: x\r\n\r\n").starts_with("HTTP/1.1 404 "));
   EXPECT_TRUE(ask("DELETE /metrics HTTP/1.1\r\nHost: x\r\n\r\n").starts_with("HTTP/1.1 405 "));
   std::string const head = ask("HEAD /metrics HTTP/1.1\r\nHost: x\r\n\r\n");
   EXPECT_TRUE(head.starts_with("HTTP/1.1 200 OK\r\n"));
   EXPECT_TRUE(head.ends_with("\r\n\r\n")) << head;
}

TEST_F(MetricsHttp, DropsWhoSendsRubbishOrTooMuch) {
   EXPECT_EQ(ask("\x16\x03\x01 rubbish\r\n\r\n"), "");
   EXPECT_EQ(ask("GET /metrics HTTP/1.1\r\nX: " + std::string(100'000, 'x') + "\r\n\r\n"), "");
   EXPECT_EQ(ask("POST /metrics HTTP/1.1\r\nContent-Length: 1000000\r\n\r\n"), "");
   EXPECT_TRUE(ask("GET /metrics HTTP/1.1\r\nHost: x\r\n\r\n").starts_with("HTTP/1.1 200 "));
}

// The second client is taken while the first one is welcomed, and then the server goes.
TEST(MetricsServer, AClientThatComesAtItsEndFindsItGone) {
   asio::io_context loop;
   int told = 0;
   int made = 0;
   auto server = std::make_unique<MetricsServer>(
       loop, MetricsAddress{},
       [&made] {
          ++made;
          return std::string();
       },
       [&told](unsigned, std::string const&) { ++told; });
   Tcp::endpoint const place(asio::ip::make_address("127.0.0.1"), server->port());
   asio::io_context elsewhere;
   Tcp::socket first(elsewhere);
   first.connect(place);
   first.close();
   Tcp::socket second(elsewhere);
   second.connect(place);
   asio::write(second, asio::buffer(std::string("GET /metrics HTTP/1.1\r\nHost: x\r\n\r\n")));
   loop.run_one();
   server = nullptr;
   loop.run();
   std::string answer;
   boost::system::error_code ignored;
   asio::read(second, asio::dynamic_buffer(answer), ignored);
   EXPECT_EQ(answer, "");
   EXPECT_EQ(made, 0);
   EXPECT_EQ(told, 0);
}

TEST_F(MetricsHttp, SilentClientsDoNotKeepOthersOut) {
   asio::io_context loop;
   std::vector<Tcp::socket> silent;
   for (int i = 0; i < 10; ++i) {
      silent.emplace_back(loop).connect({asio::ip::make_address("127.0.0.1"), port()});
   }
   EXPECT_TRUE(ask("GET /metrics HTTP/1.1\r\nHost: x\r\n\r\n").starts_with("HTTP/1.1 200 "));
}

}  // namespace
}  // namespace Agent
