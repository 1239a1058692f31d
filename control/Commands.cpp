#include "control/Commands.h"

#include <algorithm>
#include <array>

namespace Control {

namespace {

constexpr std::array table = {
    Command{"show summary", "", "What runs: totals, alarm, sources of configuration"},
    Command{"show groups", "[NAME]", "The decap groups, or one of them with its keys", 0, 1},
    Command{"show entries", "[PREFIX]",
            "Every key with its status, since when and how often tried; those inside PREFIX", 0, 1},
    Command{"show interfaces", "[NAME]", "The addresses of interfaces and what they give to groups",
            0, 1},
    Command{"show backlog", "", "What waits to be programmed, and why"},
    Command{"show conflicts", "", "Destinations that several VRFs call for"},
    Command{"show resources", "", "How full the hardware table is, and was"},
    Command{"show log", "", "The operator messages so far"},
    Command{"show restart", "", "What was found in hardware, and what became of it"},
    Command{"explain", "ADDRESS|PREFIX",
            "Which groups want a destination and why, or why it is not decapsulated", 1, 1},
    Command{"verify", "", "Have the machine verify its books"},
    Command{"audit", "", "Compare groups, counts, owners and hardware"},
    Command{"diff", "FILE", "What a configuration would change, without changing anything", 1, 1,
            Command::File::read},
    Command{"load", "FILE", "Apply a configuration as the difference to what runs", 1, 1,
            Command::File::read},
    Command{"reload", "", "Read the configuration file again"},
    Command{"restart", "[--keep-hardware]",
            "Start the machine anew; with --keep-hardware nothing is withdrawn meanwhile", 0, 1,
            Command::File::none, "--keep-hardware"},
    Command{"shutdown", "[--keep-hardware]",
            "End the agent; with --keep-hardware hardware goes on forwarding", 0, 1,
            Command::File::none, "--keep-hardware"},
    Command{"set review-interval", "SECONDS", "The delay before keys that wait are tried again", 1,
            1},
    Command{"set review-budget", "SECONDS", "The time that one pass over them may take", 1, 1},
    Command{"set hardware-capacity", "ENTRIES|none [TYPE]",
            "How many entries fit into the simulated table, of one tunnel type or in all", 1, 2},
    Command{"set hardware-latency", "SECONDS", "How long simulated hardware prepares an entry", 1,
            1},
    Command{"trace", "LEVEL|off", "Write the machine's traces up to a level to the agent's log", 1,
            1, Command::File::none, "off 0 2 5 7"},
    Command{"journal start", "FILE",
            "Write down what the machine is told and does, beginning with a new machine on the "
            "hardware as it is",
            1, 1, Command::File::written},
    Command{"journal stop", "", "End the journal"},
    Command{"help", "[COMMAND]", "These commands, or one of them", 0, 8},
    Command{"help log", "[ID]", "What an operator message means and what to do", 0, 1},
};

std::vector<std::string_view> split(std::string_view words) {
   std::vector<std::string_view> parts;
   while (!words.empty()) {
      std::size_t const end = std::min(words.find(' '), words.size());
      parts.push_back(words.substr(0, end));
      words.remove_prefix(std::min(end + 1, words.size()));
   }
   return parts;
}

/// How the words typed stand to a command's own words.
enum class Fit { none, shortened, exact };

Fit fitOf(Command const& command, std::span<std::string const> words) {
   auto const own = split(command.words);
   if (words.size() < own.size()) return Fit::none;
   Fit fit = Fit::exact;
   for (std::size_t i = 0; i < own.size(); ++i) {
      if (words[i].empty() || !own[i].starts_with(words[i])) return Fit::none;
      if (own[i] != words[i]) fit = Fit::shortened;
   }
   return fit;
}

std::string joined(std::span<std::string const> words) {
   std::string text;
   for (auto const& word : words) text += (text.empty() ? "" : " ") + word;
   return text;
}

/// The commands of which the words are a beginning, for an error message.
std::string continuations(std::span<std::string const> words) {
   std::string names;
   for (Command const& command : table) {
      auto const own = split(command.words);
      if (words.size() >= own.size()) continue;
      bool begins = true;
      for (std::size_t i = 0; i < words.size(); ++i) {
         begins = begins && own[i].starts_with(words[i]);
      }
      if (begins) names += (names.empty() ? "" : ", ") + std::string(command.words);
   }
   return names;
}

[[noreturn]] void refuse(std::span<std::string const> words, std::string const& candidates) {
   if (words.empty()) throw CommandError("no command; 'help' lists them");
   if (!candidates.empty()) {
      throw CommandError("'" + joined(words) + "' may be: " + candidates);
   }
   if (std::string const longer = continuations(words); !longer.empty()) {
      throw CommandError("'" + joined(words) + "' may go on to: " + longer);
   }
   throw CommandError("'" + joined(words) + "' is no command; 'help' lists them");
}

/// Among several that fit, longer ones win ("help log" before "help"), then exact ones.
Command const& chosen(std::span<std::string const> words) {
   Command const* best = nullptr;
   std::size_t bestLength = 0;
   Fit bestFit = Fit::none;
   std::string candidates;
   for (Command const& command : table) {
      Fit const fit = fitOf(command, words);
      std::size_t const length = split(command.words).size();
      if (fit == Fit::none || length < bestLength) continue;
      if (length == bestLength && fit < bestFit) continue;
      bool const tie = length == bestLength && fit == bestFit;
      if (tie) {
         candidates.append(", ").append(command.words);
         best = nullptr;
      } else {
         candidates = command.words;
         best = &command;
      }
      bestLength = length;
      bestFit = fit;
   }
   if (best == nullptr) refuse(words, candidates);
   return *best;
}

}  // namespace

std::span<Command const> commands() noexcept { return table; }

Command const& commandOf(std::span<std::string const> words) { return chosen(words); }

std::string usageOf(Command const& command) {
   return std::string(command.words) + (command.arguments.empty() ? "" : " ") +
          std::string(command.arguments);
}

Match match(std::span<std::string const> words) {
   Command const& command = chosen(words);
   auto const rest = words.subspan(split(command.words).size());
   if (rest.size() < command.least || rest.size() > command.most) {
      throw CommandError("usage: " + usageOf(command));
   }
   return {&command, {rest.begin(), rest.end()}};
}

std::vector<std::string> completions(std::span<std::string const> words) {
   std::vector<std::string> found;
   if (words.empty()) return found;
   std::size_t const last = words.size() - 1;
   auto const add = [&](std::string_view word) {
      if (!word.starts_with(words[last])) return;
      if (std::ranges::find(found, word) == found.end()) found.emplace_back(word);
   };
   for (Command const& command : table) {
      auto const own = split(command.words);
      bool fits = true;
      for (std::size_t i = 0; i < std::min(last, own.size()); ++i) {
         fits = fits && !words[i].empty() && own[i].starts_with(words[i]);
      }
      if (!fits) continue;
      if (last < own.size()) {
         add(own[last]);
      } else if (last == own.size()) {
         for (auto const choice : split(command.choices)) add(choice);
      }
   }
   std::ranges::sort(found);
   return found;
}

std::vector<std::string> wordsOf(std::string_view line) {
   std::vector<std::string> words;
   bool inWord = false;
   char quote = '\0';
   for (std::size_t i = 0; i < line.size(); ++i) {
      char const c = line[i];
      bool const blank = c == ' ' || c == '\t' || c == '\r' || c == '\n';
      if (quote == '\0' && blank) {
         inWord = false;
         continue;
      }
      if (!inWord) words.emplace_back();
      inWord = true;
      if (c == '\\' && i + 1 < line.size()) {
         words.back() += line[++i];
      } else if (quote != '\0' ? c == quote : c == '"' || c == '\'') {
         quote = quote == '\0' ? c : '\0';
      } else {
         words.back() += c;
      }
   }
   if (quote != '\0') throw CommandError("a quote is not closed");
   return words;
}

std::string helpText() {
   std::size_t width = 0;
   for (Command const& command : table) width = std::max(width, usageOf(command).size());
   std::string text;
   for (Command const& command : table) {
      std::string usage = usageOf(command);
      usage.resize(width + 2, ' ');
      text += "  " + usage + std::string(command.help) + '\n';
   }
   return text;
}

}  // namespace Control
