#include "agent/JournalFile.h"

#include "agent/InputError.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Agent {

namespace {

constexpr mode_t everybody = 0666;  // less what the process's mask takes away

/// What a journal of any version begins with.
constexpr std::string_view beginning = R"(["decap-journal",)";

[[noreturn]] void refuse(std::string const& file) {
   throw InputError(file, std::string("cannot be written: ") + std::strerror(errno));
}

/// Something that is no regular file is not opened for reading: a pipe whose writer could read it
/// would never lose its reader.
int opened(std::string const& file) {
   struct stat facts {};
   bool const isOther = stat(file.c_str(), &facts) == 0 && !S_ISREG(facts.st_mode);
   int const access = isOther ? O_WRONLY : O_RDWR;
   return ::open(file.c_str(), access | O_CREAT | O_CLOEXEC, everybody);
}

/// Empties a file that is a journal. Whatever else has something in it is worth keeping.
void clear(int descriptor, std::string const& file) {
   std::array<char, beginning.size()> start{};
   ssize_t const count = pread(descriptor, start.data(), start.size(), 0);
   if (count < 0) refuse(file);
   std::string_view const found(start.data(), static_cast<std::size_t>(count));
   if (!found.empty() && found != beginning) {
      throw InputError(file, "is there already, and is no journal");
   }
   if (ftruncate(descriptor, 0) != 0) refuse(file);
}

bool isRegular(int descriptor, std::string const& file) {
   struct stat facts {};
   if (fstat(descriptor, &facts) != 0) refuse(file);
   return S_ISREG(facts.st_mode);
}

}  // namespace

JournalFile::JournalFile(std::string file) : file_(std::move(file)) {
   if (file_.empty()) return;
   descriptor_ = opened(file_);
   if (descriptor_ < 0) refuse(file_);
   try {
      if (isRegular(descriptor_, file_)) clear(descriptor_, file_);
   } catch (InputError const&) {
      ::close(descriptor_);
      throw;
   }
   begin();
}

JournalFile::JournalFile(std::string file, int descriptor) : file_(std::move(file)) {
   if (!isRegular(descriptor, file_)) throw InputError(file_, "is not a regular file");
   clear(descriptor, file_);
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
