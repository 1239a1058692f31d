#include "agent/JournalFile.h"

#include "agent/InputError.h"

#include <cerrno>
#include <cstring>
#include <utility>

namespace Agent {

JournalFile::JournalFile(std::string file) : file_(std::move(file)) {
   if (file_.empty()) return;
   stream_.open(file_, std::ios::binary | std::ios::trunc);
   if (!stream_) throw InputError(file_, std::string("cannot be written: ") + std::strerror(errno));
   recorder_.emplace([this](std::string const& line) { stream_ << line << '\n' << std::flush; });
}

bool JournalFile::close(std::ostream& err) {
   if (!recorder_) return true;
   recorder_->close();
   stream_.close();
   if (stream_ && recorder_->failure().empty()) return true;
   err << "decap-agent: " << printable(file_) << ": the journal is not whole: "
       << (recorder_->failure().empty() ? "it could not be written" : recorder_->failure()) << '\n';
   return false;
}

}  // namespace Agent
