// A journal, replayed. One that the machine lives through without a difference is written again,
// byte for byte.

#include "fuzz/Fuzz.h"
#include "platform/journal/Player.h"

#include <string_view>

namespace {

bool has(std::string_view text, char const* words) {
   return text.find(words) != std::string_view::npos;
}

/// Whether it may come to what stops a process by design: a configuration that is not ready any
/// more, or none, when the machine is initialized; an exclude set of no family.
bool stopsTheProcess(std::string_view journal) {
   return has(journal, "\"ready\",false") || has(journal, "\"config\",0") ||
          has(journal, "\"build\",0") || has(journal, "excludeSet") ||
          has(journal, "ExcludeIntfSet");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
   std::string_view const text = Fuzz::textOf(data, size);
   if (stopsTheProcess(text)) return 0;
   try {
      Journal::Player player(text);
      Journal::Outcome const outcome = player.play();
      Fuzz::require(outcome.lines <= player.size(), "no line is the same twice");
      if (outcome.difference) {
         Fuzz::require(outcome.difference->line == outcome.lines + 1,
                       "the difference comes right behind what was the same");
      }
   } catch (Journal::JournalError const& error) {
      Fuzz::require(error.line() > 0, "an error says where");
   }
   return 0;
}
