#include "control/Commands.h"
#include "decapctl/Completion.h"
#include "decapctl/Session.h"
#include "decapctl/report/ReportCommand.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <string>
#include <vector>

namespace {

int run(int argc, char** argv) {
   CLI::App app("Asks a running decap-agent, and tells it what to do.", "decapctl");
   app.allow_extras();
   app.footer(
       "Commands (words may be shortened):\n" + Control::helpText() +
       "\nWithout a command, commands are read line by line. 'completion bash' prints what "
       "a shell needs\nto complete them. 'report' makes a page out of a journal.\n\n"
       "Exit code: 0 done; 1 done, and there is something to see (a difference, a finding);\n"
       "2 refused, nothing has changed; 3 failed.");
   Ctl::Wishes wishes;
   double watch = 0.0;
   app.add_option("--socket", wishes.socket,
                  std::string("Where the agent takes commands (") + Control::defaultSocket + ")")
       ->type_name("PATH");
   app.add_flag("--json", wishes.json, "JSON instead of tables");
   app.add_option("--rows", wishes.rows, "Show at most so many rows of a table (40)")
       ->type_name("N")
       ->check(CLI::NonNegativeNumber);
   app.add_flag("--all", wishes.all, "Show all rows");
   CLI::Option const* const watched =
       app.add_option("--watch", watch, "Again and again, every so many seconds")
           ->type_name("SECONDS")
           ->check(CLI::Range(0.1, 86400.0));
   Ctl::Report::ReportCommand const report(app);
   try {
      app.parse(argc, argv);
   } catch (CLI::ParseError const& error) {
      bool const asked = error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success);
      if (asked) return app.exit(error);
      std::cerr << "decapctl: " << error.what() << "; see --help\n";
      return static_cast<int>(Control::Status::refused);
   }
   if (report.isAsked()) return report.run(std::cin, std::cout, std::cerr);
   if (watched->count() != 0) wishes.watch.emplace(watch);
   std::vector<std::string> words = app.remaining();
   if (Ctl::isCompletion(words)) return Ctl::completion(words, std::cout);
   Ctl::Session session(wishes, std::cout, std::cerr);
   return static_cast<int>(words.empty() ? session.converse() : session.run(words));
}

int exitCodeOf(int argc, char** argv) {
   try {
      return run(argc, argv);
   } catch (Control::CommandError const& error) {
      std::cerr << "decapctl: " << error.what() << '\n';
      return static_cast<int>(Control::Status::refused);
   } catch (std::exception const& error) {
      std::cerr << "decapctl: " << error.what() << '\n';
      return static_cast<int>(Control::Status::failed);
   }
}

}  // namespace

int main(int argc, char** argv) {
   constexpr int failed = static_cast<int>(Control::Status::failed);
   int const code = exitCodeOf(argc, argv);
   // A failure has said what it is.
   if (std::cout.flush() || code == failed) return code;
   std::cerr << "decapctl: cannot write the output\n";
   return failed;
}
