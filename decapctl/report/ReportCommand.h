#pragma once

#include <CLI/CLI.hpp>

#include <iostream>
#include <string>

namespace Ctl::Report {

/// "report": a page out of a journal, without an agent.
///
/// Owner: the program. Lives as long as the application that it is added to.
class ReportCommand {
 public:
   explicit ReportCommand(CLI::App& app);
   ReportCommand(ReportCommand const&) = delete;
   ReportCommand& operator=(ReportCommand const&) = delete;

   /// Whether it is what the command line asks for.
   bool isAsked() const { return command_->parsed(); }
   /// Does it; returns the exit code. `out` and `in` stand for the files called "-".
   int run(std::istream& in, std::ostream& out, std::ostream& err) const;

 private:
   std::string page(std::istream& in) const;
   void write(std::string const& page, std::ostream& out) const;

   CLI::App* command_;
   std::string journal_;
   std::string output_;
   std::string title_;
};

}  // namespace Ctl::Report
