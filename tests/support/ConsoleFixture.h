#pragma once

#include "agent/serve/Console.h"
#include "support/ServiceFixture.h"

#include <nlohmann/json.hpp>

#include <fcntl.h>
#include <optional>
#include <unistd.h>

/// An operator at a service's console.
class ConsoleFixture : public ServiceFixture {
 protected:
   using Json = nlohmann::json;
   using Status = Control::Status;

   void givenConsole(std::string const& configuration) {
      ASSERT_NO_FATAL_FAILURE(given(configuration));
      console = std::make_unique<Agent::Console>(*service, [this](bool keep) { ended = keep; });
   }

   /// What was typed, split as the client splits it. A reply at once.
   Control::Reply when(std::string const& line) {
      request.words = Control::wordsOf(line);
      int const file = fileFor(request.words);
      auto outcome = console->execute(request, file);
      if (file >= 0) ::close(file);
      auto* const reply = std::get_if<Control::Reply>(&outcome);
      if (reply == nullptr) throw std::runtime_error(line + " has no reply at once");
      return *reply;
   }
   /// The same, with a file that has this content, in single quotes.
   Agent::Console::Outcome whenWith(std::string const& command, std::string const& content) {
      std::string const name = folder.path("given.json");
      Support::writeFile(name, Support::quoted(content));
      request.words = {command, "given.json"};
      request.file = "given.json";
      int const descriptor = ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
      auto outcome = console->execute(request, descriptor);
      ::close(descriptor);
      request.file.clear();
      return outcome;
   }
   Json whenJson(std::string const& line, Status expected = Status::ok) {
      request.json = true;
      auto const reply = when(line);
      request.json = false;
      EXPECT_EQ(reply.status, expected) << line << ": " << reply.text;
      Json document = Json::parse(reply.text, nullptr, false);
      EXPECT_FALSE(document.is_discarded()) << line << ": " << reply.text;
      return document;
   }
   void thenText(std::string const& line, Status status, std::string const& text) {
      auto const reply = when(line);
      EXPECT_EQ(reply.status, status) << line;
      EXPECT_EQ(reply.text, text) << line;
   }
   /// The reply has these parts, in this order.
   void thenShows(std::string const& line, std::vector<std::string> const& parts,
                  Status status = Status::ok) {
      auto const reply = when(line);
      EXPECT_EQ(reply.status, status) << line;
      std::size_t at = 0;
      for (std::string const& part : parts) {
         std::size_t const found = reply.text.find(part, at);
         EXPECT_NE(found, std::string::npos) << line << " lacks \"" << part << "\":\n"
                                             << reply.text;
         if (found != std::string::npos) at = found + part.size();
      }
   }
   void thenRefused(std::string const& line, std::string const& text) {
      thenText(line, Status::refused, text + '\n');
   }

   /// What the client opens for a command that writes a file; -1 for nothing.
   static int fileFor(std::vector<std::string> const& words) {
      try {
         auto const match = Control::match(words);
         if (match.command->file != Control::Command::File::written) return -1;
         return ::open(match.arguments[0].c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
      } catch (Control::CommandError const&) {
         return -1;
      }
   }

   Control::Request request;
   std::optional<bool> ended;
   std::unique_ptr<Agent::Console> console;
};
