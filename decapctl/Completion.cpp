#include "decapctl/Completion.h"

#include "control/Commands.h"
#include "control/Protocol.h"

#include <span>
#include <string_view>

namespace Ctl {

namespace {

constexpr char const* bashScript = R"(# decapctl: completion for bash
_decapctl() {
   local IFS=$'\n' words=("${COMP_WORDS[@]:1:COMP_CWORD}")
   if [[ ${words[-1]} == -* ]]; then
      COMPREPLY=($(compgen -W $'--all\n--help\n--journal\n--json\n--keep-hardware\n--output\n--rows\n--socket\n--title\n--watch' -- "${words[-1]}"))
      return
   fi
   COMPREPLY=($(decapctl complete "${words[@]}" 2>/dev/null))
   ((${#COMPREPLY[@]})) || COMPREPLY=($(compgen -f -- "${words[-1]}"))
}
complete -F _decapctl decapctl
)";

}  // namespace

bool isCompletion(std::vector<std::string> const& words) {
   return !words.empty() && (words[0] == "complete" || words[0] == "completion");
}

int completion(std::vector<std::string> const& words, std::ostream& out) {
   if (words[0] == "completion") {
      bool const known = words.size() == 2 && words[1] == "bash";
      out << (known ? bashScript : "usage: completion bash\n");
      return static_cast<int>(known ? Control::Status::ok : Control::Status::refused);
   }
   for (std::string const& word : Control::completions(std::span(words).subspan(1))) {
      out << word << '\n';
   }
   // A command of the client itself.
   bool const isFirst = words.size() == 2 && !words[1].empty();
   if (isFirst && std::string_view("report").starts_with(words[1])) out << "report\n";
   return 0;
}

}  // namespace Ctl
