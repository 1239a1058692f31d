#include "platform/sim/StateFile.h"

#include "platform/sim/StateFileError.h"

#include <cerrno>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <new>
#include <system_error>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Sim {

namespace {

constexpr std::size_t pieceBytes = std::size_t{1} << 16;

/// The operating system refused; `errno` says why.
[[noreturn]] void refused(std::string const& path, std::string_view what) {
   std::string const why = std::generic_category().message(errno);
   throw StateFileError(StateFileError::Kind::system, path, std::string(what) + ": " + why);
}

/// Writes all of `text` at `offset`. False, and `errno`, when not all of it could be written.
bool writeAll(int file, std::string_view text, std::uint64_t offset) noexcept {
   while (!text.empty()) {
      auto const done = ::pwrite(file, text.data(), text.size(), static_cast<off_t>(offset));
      if (done < 0 && errno == EINTR) continue;
      if (done <= 0) return false;
      text.remove_prefix(static_cast<std::size_t>(done));
      offset += static_cast<std::uint64_t>(done);
   }
   return true;
}

bool isSameFile(int file, std::string const& path) noexcept {
   struct stat opened {};
   struct stat named {};
   return ::fstat(file, &opened) == 0 && ::stat(path.c_str(), &named) == 0 &&
          opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

/// Makes a rename in the folder of `path` outlast a loss of power, where the system can.
void syncFolder(std::string const& path) noexcept {
   auto const slash = path.rfind('/');
   std::string const folder = slash == path.npos ? "." : path.substr(0, slash + 1);
   int const file = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
   if (file < 0) return;
   ::fsync(file);
   ::close(file);
}

}  // namespace

StateFile::Descriptor& StateFile::Descriptor::operator=(Descriptor&& other) noexcept {
   std::swap(number_, other.number_);
   return *this;
}

StateFile::Descriptor::~Descriptor() {
   if (number_ >= 0) ::close(number_);
}

std::unique_ptr<StateFile> StateFile::open(std::string path) {
   Descriptor file = openLocked(path, O_CREAT);
   std::unique_ptr<StateFile> opened(new StateFile(std::move(path), std::move(file)));
   opened->load();
   return opened;
}

std::string StateFile::setAside(std::string const& path) {
   Descriptor const file = openLocked(path, 0);
   std::string name = path + ".rejected";
   if (std::rename(path.c_str(), name.c_str()) != 0) refused(path, "cannot rename to " + name);
   return name;
}

StateFile::StateFile(std::string path, Descriptor file)
    : path_(std::move(path)),
      // Links resolved, and apart from a later change of folder.
      place_(std::filesystem::canonical(path_).string()), file_(std::move(file)) {}

StateFile::~StateFile() = default;

/// The file, for this object alone.
StateFile::Descriptor StateFile::openLocked(std::string const& path, int flags) {
   for (;;) {
      // Not to wait for the other end, should it be a pipe.
      Descriptor file(::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NONBLOCK | flags, 0666));
      if (file.number() < 0) refused(path, "cannot open");
      struct stat status {};
      if (::fstat(file.number(), &status) != 0) refused(path, "cannot examine");
      if (!S_ISREG(status.st_mode)) {
         throw StateFileError(StateFileError::Kind::foreign, path, "not a regular file");
      }
      if (::flock(file.number(), LOCK_EX | LOCK_NB) != 0) {
         if (errno != EWOULDBLOCK) refused(path, "cannot lock");
         throw StateFileError(StateFileError::Kind::inUse, path, "in use by another table");
      }
      // Its last owner may have put another one in its place since.
      if (isSameFile(file.number(), path)) return file;
   }
}

void StateFile::load() {
   StateReader reader(path_);
   std::vector<char> piece(pieceBytes);
   std::uint64_t length = 0;
   for (;;) {
      auto const got =
          ::pread(file_.number(), piece.data(), piece.size(), static_cast<off_t>(length));
      if (got < 0 && errno == EINTR) continue;
      if (got < 0) refused(path_, "cannot read");
      if (got == 0) break;
      reader.read({piece.data(), static_cast<std::size_t>(got)});
      length += static_cast<std::uint64_t>(got);
   }
   reader.finish();
   checksum_ = reader.checksum();
   records_ = reader.records();
   bytes_ = reader.soundBytes();
   entries_ = std::move(reader.entries());
   ragged_ = length != bytes_;
   if (ragged_) cutBack();
   if (length == 0) write(stateHeader);
   // Left behind when a process was killed while it wrote the file anew.
   std::remove((place_ + ".new").c_str());
}

/// Writes behind the last complete line. All of `text` is in the file then, or nothing of it.
void StateFile::write(std::string_view text) {
   if (ragged_) cutBack();
   if (ragged_) refused(path_, "cannot remove what a failed write left behind");
   if (!writeAll(file_.number(), text, bytes_) || (sync_ && ::fdatasync(file_.number()) != 0)) {
      int const why = errno;
      cutBack();
      errno = why;
      refused(path_, "cannot write");
   }
   bytes_ += text.size();
}

/// Removes what stands behind the last complete line. What cannot be removed now, will be before
/// the next append.
void StateFile::cutBack() {
   ragged_ = ::ftruncate(file_.number(), static_cast<off_t>(bytes_)) != 0;
}

void StateFile::append(StateChange change, Fwd::DecapKey const& key) {
   line_.clear();
   std::uint32_t const checksum = appendStateLine(line_, checksum_, change, key);
   write(line_);
   checksum_ = checksum;
   ++records_;
}

void StateFile::rewriteIfLong(Entries const& entries) noexcept {
   if (records_ <= 2 * std::uint64_t{entries.size()} + slack || records_ < nextRewrite_) return;
   try {
      rewrite(entries);
      rewriteFailure_.clear();
      nextRewrite_ = 0;
   } catch (std::exception const& exception) {
      // The change itself is recorded. Only the file is longer than it should be.
      nextRewrite_ = records_ + records_ / 2;
      try {
         rewriteFailure_ = exception.what();
      } catch (std::bad_alloc const&) {
         rewriteFailure_.assign("no memory");  // fits without allocating
      }
   }
}

void StateFile::rewrite(Entries const& entries) {
   std::string const name = place_ + ".new";
   try {
      Descriptor file = createBeside(name);
      StateFile fresh(name, std::move(file));
      fresh.writeTable(entries);
      // Until here the old file is the good one; from here on no loss of power undoes the new one.
      if (::fsync(fresh.file_.number()) != 0) refused(name, "cannot flush");
      if (std::rename(name.c_str(), place_.c_str()) != 0)
         refused(name, "cannot rename to " + path_);
      syncFolder(place_);
      std::swap(file_, fresh.file_);
      checksum_ = fresh.checksum_;
      records_ = fresh.records_;
      bytes_ = fresh.bytes_;
      ragged_ = false;
   } catch (...) {
      std::remove(name.c_str());
      throw;
   }
}

/// A new file, locked before anybody can find it under its final name, with the old one's rights.
StateFile::Descriptor StateFile::createBeside(std::string const& name) const {
   struct stat status {};
   if (::fstat(file_.number(), &status) != 0) refused(path_, "cannot examine");
   std::remove(name.c_str());
   Descriptor file(::open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
   if (file.number() < 0) refused(name, "cannot create");
   if (::fchmod(file.number(), status.st_mode & 07777) != 0) refused(name, "cannot give rights");
   if (::flock(file.number(), LOCK_EX | LOCK_NB) != 0) refused(name, "cannot lock");
   return file;
}

/// Header and entries, into a file without a byte.
void StateFile::writeTable(Entries const& entries) {
   std::string text(stateHeader);
   checksum_ = stateHeaderChecksum();
   for (auto const& entry : entries) {
      checksum_ = appendStateLine(text, checksum_, StateChange::written, entry.key);
      ++records_;
      if (text.size() < pieceBytes) continue;
      write(text);
      text.clear();
   }
   write(text);
}

}  // namespace Sim
