#include "agent/JournalFile.h"

#include "agent/InputError.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Agent {

namespace {

constexpr mode_t everybody = 0666;  // less what the process's mask takes away

[[noreturn]] void refuse(std::string const& file) {
   throw InputError(file, std::string("cannot be written: ") + std::strerror(errno));
}

}  // namespace

JournalFile::JournalFile(std::string file) : file_(std::move(file)) {
   if (file_.empty()) return;
   descriptor_ = ::open(file_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, everybody);
   if (descriptor_ < 0) refuse(file_);
   begin();
}

JournalFile::JournalFile(std::string file, int descriptor) : file_(std::move(file)) {
   struct stat facts {};
   if (fstat(descriptor, &facts) != 0) refuse(file_);
   if (!S_ISREG(facts.st_mode)) throw InputError(file_, "is not a regular file");
   if (ftruncate(descriptor, 0) != 0) refuse(file_);
   descriptor_ = fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
   if (descriptor_ < 0) refuse(file_);
   begin();
}

JournalFile::~JournalFile() {
   recorder_.reset();
   if (descriptor_ >= 0) ::close(descriptor_);
}

void JournalFile::begin() {
   recorder_.emplace([this](std::string const& line) { write(line + '\n'); });
}

void JournalFile::write(std::string const& line) {
   for (std::size_t done = 0; done < line.size();) {
      ssize_t const count = ::write(descriptor_, line.data() + done, line.size() - done);
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) throw std::system_error(errno, std::generic_category());
      done += static_cast<std::size_t>(count);
   }
}

bool JournalFile::isWrittenTo(int descriptor) const noexcept {
   struct stat ours {};
   struct stat theirs {};
   return fstat(descriptor_, &ours) == 0 && fstat(descriptor, &theirs) == 0 &&
          ours.st_dev == theirs.st_dev && ours.st_ino == theirs.st_ino;
}

bool JournalFile::close(std::ostream& err) {
   if (!recorder_) return true;
   recorder_->close();
   if (recorder_->failure().empty()) return true;
   err << "decap-agent: " << printable(file_)
       << ": the journal is not whole: " << recorder_->failure() << '\n';
   return false;
}

}  // namespace Agent
