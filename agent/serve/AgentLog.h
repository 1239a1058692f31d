#pragma once

#include <cstdint>
#include <ostream>
#include <string>

namespace Agent {

/// Where the agent's own messages and the operator's go: to standard error, and to the system's log
/// where that is wanted.
///
/// Under systemd standard error is the journal's, which reads a line's severity from "<5>" in front
/// of it and knows the time itself. Elsewhere a line begins with time and severity for people.
///
/// Owner: the daemon.
class AgentLog {
 public:
   enum class Form : std::uint8_t { people, journal };

   AgentLog(std::ostream& out, Form form, bool toSyslog);
   AgentLog(AgentLog const&) = delete;
   AgentLog& operator=(AgentLog const&) = delete;
   ~AgentLog();

   /// The form for this process's standard error.
   static Form formHere();

   /// `severity` as of RFC 5424. Line ends in the text are replaced.
   void write(unsigned severity, std::string const& text);

 private:
   std::ostream& out_;
   Form const form_;
   bool const toSyslog_;
};

}  // namespace Agent
