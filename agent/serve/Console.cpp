#include "agent/serve/Console.h"

#include "agent/InputError.h"

#include <nlohmann/json.hpp>

#include <array>
#include <sstream>
#include <system_error>

namespace Agent {

using Control::Reply;
using Control::Status;

namespace {

Reply refusal(std::string const& text) { return {Status::refused, text + '\n'}; }

/// Programs that ask for a document get one, also from commands that only have something to say.
void putInDocument(Reply& reply) {
   if (reply.text.starts_with('{')) return;
   if (reply.text.ends_with('\n')) reply.text.pop_back();
   nlohmann::ordered_json const document = {{"text", reply.text}};
   reply.text =
       document.dump(1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + '\n';
}

}  // namespace

Console::Handler Console::handlerOf(std::string_view command) {
   struct Entry {
      std::string_view command;
      Handler handler;
   };
   static constexpr std::array table = {
       Entry{"show summary", &Console::showSummary},
       Entry{"show groups", &Console::showGroups},
       Entry{"show entries", &Console::showEntries},
       Entry{"show interfaces", &Console::showInterfaces},
       Entry{"show backlog", &Console::showBacklog},
       Entry{"show conflicts", &Console::showConflicts},
       Entry{"show resources", &Console::showResources},
       Entry{"show log", &Console::showLog},
       Entry{"show restart", &Console::showRestart},
       Entry{"explain", &Console::explain},
       Entry{"verify", &Console::verify},
       Entry{"audit", &Console::audit},
       Entry{"diff", &Console::diff},
       Entry{"load", &Console::load},
       Entry{"reload", &Console::reload},
       Entry{"restart", &Console::restart},
       Entry{"shutdown", &Console::shutdown},
       Entry{"set review-interval", &Console::setReviewInterval},
       Entry{"set review-budget", &Console::setReviewBudget},
       Entry{"set hardware-capacity", &Console::setHardwareCapacity},
       Entry{"set hardware-latency", &Console::setHardwareLatency},
       Entry{"trace", &Console::trace},
       Entry{"journal start", &Console::journalStart},
       Entry{"journal stop", &Console::journalStop},
       Entry{"help", &Console::help},
       Entry{"help log", &Console::helpLog},
   };
   for (Entry const& entry : table) {
      if (entry.command == command) return entry.handler;
   }
   return nullptr;
}

Console::Outcome Console::execute(Control::Request const& request, int file) {
   try {
      // What is told is told of now, and not of when something last happened.
      service_.turn();
      Control::Match const match = Control::match(request.words);
      Handler const handler = handlerOf(match.command->words);
      if (handler == nullptr) return refusal("this agent does not know the command");
      Outcome outcome = (this->*handler)(Call{request, match.arguments, file});
      if (auto* const reply = std::get_if<Reply>(&outcome); reply != nullptr && request.json) {
         putInDocument(*reply);
      }
      return outcome;
   } catch (Control::CommandError const& error) {
      return refusal(error.what());
   } catch (InputError const& error) {
      return refusal(error.what());
   } catch (ValueError const& error) {
      return refusal(error.what());
   } catch (Mdl::Exception const& error) {
      return Reply{Status::failed, printable(error.what()) + '\n'};
   } catch (std::system_error const& error) {
      return Reply{Status::failed, std::string(error.what()) + '\n'};
   }
}

ReportScope Console::scopeOf(Call const& call) const {
   ReportScope scope;
   scope.rows = call.request.rows;
   scope.from = call.request.from;
   scope.times = service_.times();
   scope.groups = false;
   scope.interfaces = false;
   scope.hardware = false;
   scope.backlog = false;
   return scope;
}

}  // namespace Agent
