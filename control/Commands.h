#pragma once

#include <cstddef>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Control {

/// What an operator can ask of a running agent. One table for the agent, which obeys, and for the
/// client, which helps and completes.
struct Command {
   std::string_view words;      ///< "show groups"
   std::string_view arguments;  ///< "[NAME]", for people; empty for none
   std::string_view help;       ///< one line, without a full stop
   std::size_t least = 0;       ///< arguments that it needs
   std::size_t most = 0;        ///< and takes
   /// Its first argument names a file of the caller's, to be read or to be written: the client
   /// opens it, with the caller's rights, and hands it over.
   enum class File { none, read, written };
   File file = File::none;
   /// The words that its first argument may be, separated by blanks; empty for free text.
   std::string_view choices = {};
};

/// In the order in which help lists them.
std::span<Command const> commands() noexcept;

/// A line that is no command. `what()` is for the person who typed it.
class CommandError : public std::runtime_error {
 public:
   using std::runtime_error::runtime_error;
};

/// The command that the words spell, with nothing behind it. Throws CommandError.
Command const& commandOf(std::span<std::string const> words);
/// "show groups [NAME]".
std::string usageOf(Command const& command);

/// A command and what it was given.
struct Match {
   Command const* command = nullptr;
   std::vector<std::string> arguments;
};

/// The command that the words spell; each word may be shortened as long as it fits one only.
/// Throws CommandError.
Match match(std::span<std::string const> words);

/// What the last of the words, which may be empty, can be continued to, in order.
std::vector<std::string> completions(std::span<std::string const> words);

/// Splits a line at blanks; quotes keep blanks, a backslash keeps the next character. Throws
/// CommandError where a quote is open at the end.
std::vector<std::string> wordsOf(std::string_view line);

/// All commands with their help, a line each.
std::string helpText();

}  // namespace Control
