#include "decapctl/Session.h"

#include "control/Commands.h"
#include "decapctl/Client.h"
#include "decapctl/HandedFile.h"

#include <nlohmann/json.hpp>

#include <sstream>
#include <thread>
#include <unistd.h>

namespace Ctl {

using Control::Request;
using Control::Status;

namespace {

using Json = nlohmann::ordered_json;

/// Appends the lists of one page of a document to those of the pages before it.
void appendPage(Json& document, Json const& page) {
   for (auto const& [name, value] : page.items()) {
      auto const known = document.find(name);
      if (known == document.end()) {
         document[name] = value;
      } else if (value.is_array() && known->is_array()) {
         known->insert(known->end(), value.begin(), value.end());
      }
   }
}

/// The file that goes along with a command, if one does.
HandedFile handed(Control::Match const& match) {
   switch (match.command->file) {
      case Control::Command::File::none: break;
      case Control::Command::File::read: return HandedFile(match.arguments[0]);
      case Control::Command::File::written: return HandedFile::written(match.arguments[0]);
   }
   return {};
}

}  // namespace

Status Session::run(std::vector<std::string> const& words) {
   if (wishes_.watch) return watch(words);
   return once(words, out_);
}

Status Session::once(std::vector<std::string> const& words, std::ostream& out) {
   Control::Match const match = Control::match(words);
   Request request;
   request.words = words;
   request.json = wishes_.json;
   request.rows = wishes_.rows;
   HandedFile const file = handed(match);
   if (file.descriptor() >= 0) request.file = match.arguments[0];
   if (wishes_.all) return allRows(request, file.descriptor(), out);
   Client client(wishes_.socket);
   // What is wrong goes where a script looks for it.
   std::ostringstream text;
   Control::ReplyHeader const header =
       client.ask(request, file.descriptor(), [&](std::string_view piece) { text << piece; });
   bool const good = header.status == Status::ok || header.status == Status::found;
   (good ? out : err_) << text.str() << std::flush;
   return header.status;
}

/// Page after page, as an agent gives no more than so many rows at a time.
Status Session::allRows(Request request, int file, std::ostream& out) {
   Client client(wishes_.socket);
   Json document = Json::object();
   request.rows = Control::greatestRows;
   for (;;) {
      std::string text;
      Control::ReplyHeader const header =
          client.ask(request, file, [&](std::string_view piece) { text += piece; });
      bool const good = header.status == Status::ok || header.status == Status::found;
      if (!good) {
         err_ << text << std::flush;
         return header.status;
      }
      Json const page = wishes_.json ? Json::parse(text, nullptr, false) : Json();
      // Some commands have nothing to say to programs.
      if (!page.is_object()) {
         out << text << std::flush;
      } else {
         appendPage(document, page);
      }
      if (header.next == 0) {
         if (!document.empty()) out << document.dump(1) << '\n' << std::flush;
         return header.status;
      }
      request.from = header.next;
   }
}

Status Session::watch(std::vector<std::string> const& words) {
   bool const terminal = isatty(STDOUT_FILENO) == 1;
   for (;;) {
      std::ostringstream text;
      Status const status = once(words, text);
      // Home, and each line clears what stood there before: a screen that is wiped flickers.
      if (terminal) out_ << "\033[H\033[J";
      out_ << text.str() << std::flush;
      if (status == Status::refused || status == Status::failed || !out_) return status;
      std::this_thread::sleep_for(*wishes_.watch);
   }
}

}  // namespace Ctl
