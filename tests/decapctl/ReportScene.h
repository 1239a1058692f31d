#pragma once

#include "decapctl/report/Historian.h"

#include <initializer_list>
#include <sstream>
#include <string>

namespace Ctl::Report {

/// A journal that a test writes line by line. The header is there; the end is added by `run()`.
class ReportScene {
 public:
   ReportScene() { text_ = "[\"decap-journal\",1]\n"; }

   ReportScene& line(std::string const& line) {
      text_ += line + '\n';
      return *this;
   }
   /// A machine on an empty configuration, running from the time on.
   ReportScene& machine(std::string const& time = "0.0") {
      line("[" + time + R"(,"machine","build",1,1,1])");
      line("[" + time + R"(,"machine","reviewInterval",0.1])");
      line("[" + time + R"(,"config",1,"ready",true])");
      return line("[" + time + R"(,"machine","initialized",true])");
   }
   ReportScene& clock(std::string const& time) {
      return line("[" + time + ",\"clock\"," + time + "]");
   }
   /// A call to program that is answered after no time, or at another time.
   ReportScene& program(std::string const& time, std::string const& key, std::string const& answer,
                        std::string const& answered = {}) {
      line("[" + time + R"(,"call","program",")" + key + "\"]");
      return line("[" + (answered.empty() ? time : answered) + R"(,"answer",")" + answer + "\"]");
   }
   ReportScene& remove(std::string const& time, std::string const& key) {
      line("[" + time + R"(,"call","remove",")" + key + "\"]");
      return line("[" + time + R"(,"answer","done"])");
   }
   /// A group of the configuration with one prefix.
   ReportScene& group(std::string const& number, std::string const& name,
                      std::string const& prefix) {
      std::string const of = "[0.0,\"group\"," + number + ",";
      line(of + R"("make",")" + name + "\"]");
      line(of + R"("tunnelType","gre"])");
      line(of + R"("destPort",0])");
      line(of + R"("payloadType","unset"])");
      line(of + R"("forwardingVrf","red"])");
      line(of + R"("decapIp",")" + prefix + "\",true]");
      return line(R"([0.0,"config",1,"decapGroup",")" + name + "\"," + number + "]");
   }

   std::string const& text() const noexcept { return text_; }
   RunHistory run() const { return runOf(text_ + "[\"end\"]\n"); }
   static RunHistory runOf(std::string const& text) {
      std::istringstream in(text);
      Historian historian;
      JournalEnd const end =
          readJournal(in, [&](JournalLine const& each) { historian.take(each); });
      return historian.finish(end);
   }

 private:
   std::string text_;
};

}  // namespace Ctl::Report
