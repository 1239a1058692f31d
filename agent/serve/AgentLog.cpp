#include "agent/serve/AgentLog.h"

#include "agent/InputError.h"
#include "agent/TimeScale.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

namespace Agent {

namespace {

constexpr std::array severities = {"emergency", "alert",  "critical", "error",
                                   "warning",   "notice", "info",     "debug"};

}  // namespace

AgentLog::AgentLog(std::ostream& out, Form form, bool toSyslog)
    : out_(out), form_(form), toSyslog_(toSyslog) {
   if (toSyslog_) openlog("decap-agent", LOG_PID | LOG_NDELAY, LOG_DAEMON);
}

AgentLog::~AgentLog() {
   if (toSyslog_) closelog();
}

AgentLog::Form AgentLog::formHere() {
   // The variable names the journal's end of the stream that the process was started with; standard
   // error may have been sent elsewhere since.
   char const* const stream = std::getenv("JOURNAL_STREAM");
   struct stat facts {};
   if (stream == nullptr || fstat(STDERR_FILENO, &facts) != 0) return Form::people;
   std::string const here = std::to_string(facts.st_dev) + ':' + std::to_string(facts.st_ino);
   return here == stream ? Form::journal : Form::people;
}

void AgentLog::write(unsigned severity, std::string const& text) {
   unsigned const known = std::min<unsigned>(severity, severities.size() - 1);
   std::string const line = printable(text);
   if (form_ == Form::journal) {
      out_ << '<' << known << '>' << line << '\n';
   } else {
      TimeScale const now{std::chrono::system_clock::now()};
      out_ << now.text(0.0) << ' ' << severities[known] << ": " << line << '\n';
   }
   out_.flush();
   if (toSyslog_) syslog(static_cast<int>(known), "%s", line.c_str());
}

}  // namespace Agent
