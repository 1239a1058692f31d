#include "decapctl/report/ReportCommand.h"

#include "control/Protocol.h"
#include "decapctl/report/Historian.h"
#include "decapctl/report/HtmlPage.h"
#include "decapctl/report/JournalReader.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace Ctl::Report {

namespace {

/// Something that the command was given cannot be used.
class Refused : public std::runtime_error {
 public:
   using std::runtime_error::runtime_error;
};

int codeOf(Control::Status status) { return static_cast<int>(status); }

RunHistory historyOf(std::istream& in) {
   Historian historian;
   JournalEnd const end = readJournal(in, [&](JournalLine const& line) { historian.take(line); });
   if (in.bad()) throw std::runtime_error("cannot be read");
   return historian.finish(end);
}

bool isSameFile(std::string const& a, std::string const& b) {
   std::error_code ignored;
   return std::filesystem::equivalent(a, b, ignored);
}

}  // namespace

ReportCommand::ReportCommand(CLI::App& app)
    : command_(app.add_subcommand("report", "Make a page out of a journal; needs no agent")) {
   command_->footer(
       "The page is a single file that shows the run over time: how full hardware was, what\n"
       "waited, alarms, how long hook calls took, and what happened. It needs no network.\n\n"
       "Exit code: 0 done; 2 the journal or the command line cannot be used; 3 failed.");
   command_->add_option("--journal", journal_, "The journal; - for standard input")
       ->type_name("FILE")
       ->required();
   command_->add_option("-o,--output", output_, "The page; - for standard output")
       ->type_name("FILE")
       ->required();
   command_->add_option("--title", title_, "What the page is called")->type_name("TEXT");
}

int ReportCommand::run(std::istream& in, std::ostream& out, std::ostream& err) const {
   try {
      write(page(in), out);
      return codeOf(Control::Status::ok);
   } catch (Refused const& error) {
      err << "decapctl: " << error.what() << '\n';
      return codeOf(Control::Status::refused);
   }
}

std::string ReportCommand::page(std::istream& in) const {
   bool const isStandard = journal_ == "-";
   std::string const name =
       isStandard ? "standard input" : std::filesystem::path(journal_).filename().string();
   try {
      std::ifstream file;
      if (!isStandard) {
         // A folder can be opened like a file, and gives no lines.
         if (std::filesystem::is_directory(journal_)) throw Refused(journal_ + ": is a directory");
         file.open(journal_, std::ios::binary);
         if (!file) throw Refused(journal_ + ": " + std::strerror(errno));
      }
      if (!isStandard && isSameFile(journal_, output_)) {
         throw Refused(journal_ + ": the page would overwrite the journal");
      }
      RunHistory const run = historyOf(isStandard ? in : file);
      return htmlPage(run, title_.empty() ? "Run of " + name : title_);
   } catch (JournalError const& error) {
      throw Refused((isStandard ? name : journal_) + ": " + error.what());
   }
}

void ReportCommand::write(std::string const& page, std::ostream& out) const {
   if (output_ == "-") {
      out << page << std::flush;
      if (!out) throw std::runtime_error("standard output: cannot be written");
      return;
   }
   std::ofstream file(output_, std::ios::binary | std::ios::trunc);
   file << page;
   file.close();
   if (!file) throw std::runtime_error(output_ + ": " + std::strerror(errno));
}

}  // namespace Ctl::Report
