#pragma once

#include "agent/serve/ControlServer.h"
#include "support/ConsoleFixture.h"
#include "support/ControlClient.h"

#include <boost/asio/io_context.hpp>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>

/// A control server and its clients in one thread: the loop runs while somebody waits.
class ServerFixture : public ConsoleFixture {
 protected:
   using Client = Support::ControlClient;
   using Milliseconds = std::chrono::milliseconds;
   static constexpr std::chrono::seconds patience{20};

   void givenServer(std::string const& configuration) {
      ASSERT_NO_FATAL_FAILURE(givenConsole(configuration));
      listen();
   }
   void listen() {
      server = std::make_unique<Agent::ControlServer>(loop, *console, address, sink(), limits);
   }
   Agent::LogSink sink() {
      return [this](unsigned severity, std::string const& text) {
         log.push_back(std::to_string(severity) + ' ' + text);
      };
   }

   /// Runs the loop until something holds; false when it never does.
   template <class Condition>
   bool until(Condition const& condition) {
      auto const end = std::chrono::steady_clock::now() + patience;
      while (!condition()) {
         if (std::chrono::steady_clock::now() > end) return false;
         loop.restart();
         loop.run_one_for(Milliseconds(5));
      }
      return true;
   }

   static std::string lineOf(std::vector<std::string> words, std::string const& file = "") {
      Control::Request request;
      request.words = std::move(words);
      request.file = file;
      return Control::encode(request);
   }
   Control::Reply replyTo(Client& client) {
      std::optional<Control::Reply> reply;
      bool const came = until([&] {
         reply = client.reply();
         return reply.has_value();
      });
      EXPECT_TRUE(came) << "no reply";
      return reply.value_or(Control::Reply{Control::Status::failed, "no reply"});
   }
   Control::Reply ask(Client& client, std::vector<std::string> words) {
      std::string const line = lineOf(std::move(words));
      EXPECT_EQ(client.send(line), line.size());
      return replyTo(client);
   }
   /// Somebody else is served as if nothing were.
   void thenServesOthers() {
      Client other(address.path);
      EXPECT_EQ(ask(other, {"help"}).text, Control::helpText());
   }

   static std::ptrdiff_t openDescriptors() {
      return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
   }

   boost::asio::io_context loop;
   Agent::ControlAddress address{folder.path("control.sock"), "", ""};
   Agent::ControlLimits limits;
   std::unique_ptr<Agent::ControlServer> server;
};
