#include "agent/serve/ControlServer.h"

#include "agent/serve/Console.h"
#include "agent/serve/ControlSession.h"
#include "agent/serve/PeerCheck.h"
#include "agent/serve/Privileges.h"

#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/posix/stream_descriptor.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/steady_timer.hpp>

#include <cerrno>
#include <deque>
#include <optional>
#include <set>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace Agent {

namespace asio = boost::asio;
using boost::system::error_code;
using Control::Reply;
using Control::Status;
using Local = asio::local::stream_protocol;
using Clock = std::chrono::steady_clock;

namespace {

constexpr unsigned warning = 4;
constexpr mode_t ownerAndGroup = 0660;

void check(int result, std::string const& what) {
   if (result != 0) throw std::system_error(errno, std::generic_category(), what);
}

/// Takes away what an agent has left that is no more.
void clearTheWay(asio::io_context& loop, std::string const& path) {
   struct stat facts {};
   if (lstat(path.c_str(), &facts) != 0) return;
   if (!S_ISSOCK(facts.st_mode)) throw std::runtime_error(path + " is there and is no socket");
   Local::socket probe(loop);
   error_code error;
   probe.connect(Local::endpoint(path), error);
   if (!error) throw std::runtime_error("another agent listens at " + path);
   // Whatever else keeps us out need not keep others out.
   if (error != asio::error::connection_refused) throw std::system_error(error, path);
   check(unlink(path.c_str()), path);
}

}  // namespace

class ControlServer::Impl {
 public:
   Impl(asio::io_context& loop, Console& console, ControlAddress const& address, LogSink log,
        ControlLimits limits)
       : loop_(loop), console_(console), path_(address.path), acceptor_(loop), pause_(loop),
         rest_(loop) {
      host_.log = std::move(log);
      host_.limits = limits;
      host_.obey = [this](std::shared_ptr<ControlSession> const& session) { queue(session); };
      host_.left = [this](ControlSession& session) { leave(session); };
      if (!address.group.empty()) group_ = groupId(address.group);
      listen(ownerFrom(address.user, address.group));
      accept();
   }

   ~Impl() {
      *gone_ = true;
      error_code ignored;
      acceptor_.close(ignored);
      // Nobody tells on the way out.
      host_.left = [](ControlSession&) {};
      for (auto const& session : std::exchange(sessions_, {})) session->close();
      for (auto const& run : runs_) run->pipe.close(ignored);
      unlink(path_.c_str());
   }

   std::size_t clients() const noexcept { return sessions_.size(); }

 private:
   /// A copy of the process that is at work for a client.
   struct Run {
      Run(asio::io_context& loop, std::unique_ptr<DryRun> run)
          : dryRun(std::move(run)), pipe(loop, ::dup(dryRun->descriptor())) {}

      std::unique_ptr<DryRun> dryRun;
      asio::posix::stream_descriptor pipe;
      std::string text;
   };

   void listen(Owner const& owner) {
      Local::endpoint const place(path_);
      clearTheWay(loop_, path_);
      acceptor_.open();
      // From its first moment the file is for nobody but the owner.
      mode_t const before = umask(0177);
      error_code error;
      acceptor_.bind(place, error);
      umask(before);
      if (error) throw std::system_error(error, path_);
      give(path_, owner);
      if (group_) check(chmod(path_.c_str(), ownerAndGroup), path_);
      acceptor_.listen(Local::acceptor::max_listen_connections);
   }

   void accept() {
      if (accepting_ || *gone_ || sessions_.size() >= host_.limits.clients) return;
      accepting_ = true;
      acceptor_.async_accept([this, gone = gone_](error_code error, Local::socket socket) {
         if (*gone || error == asio::error::operation_aborted) return;
         accepting_ = false;
         if (!error) welcome(std::move(socket));
         if (error) {
            // Out of descriptors, most likely: not at once again.
            host_.log(warning, "a client cannot be taken: " + error.message());
            pause_.expires_after(std::chrono::seconds(1));
            pause_.async_wait([this, gone = gone_](error_code stopped) {
               if (!*gone && !stopped) accept();
            });
            return;
         }
         accept();
      });
   }

   void welcome(Local::socket socket) {
      socket.native_non_blocking(true);
      auto const session = std::make_shared<ControlSession>(std::move(socket), host_);
      sessions_.insert(session);
      Peer peer;
      try {
         peer = peerOf(session->descriptor(), group_);
      } catch (std::system_error const& error) {
         host_.log(warning, error.what());
      }
      if (peer.allowed) {
         session->begin();
         return;
      }
      host_.log(warning, "user " + std::to_string(peer.user) + " may not give commands");
      session->dismiss("you may not give commands to this agent");
   }

   void leave(ControlSession& session) {
      sessions_.erase(session.shared_from_this());
      accept();
   }

   void queue(std::shared_ptr<ControlSession> const& session) {
      waiting_.push_back(session);
      dispatch();
   }

   /// One command, unless one has just been obeyed: then the rest of the agent has its turn first.
   void dispatch() {
      if (resting_ || waiting_.empty() || *gone_) return;
      auto const session = std::move(waiting_.front());
      waiting_.pop_front();
      auto const start = Clock::now();
      obey(session);
      auto const took = Clock::now() - start;
      resting_ = true;
      rest_.expires_after(took);
      rest_.async_wait([this, gone = gone_](error_code stopped) {
         if (*gone || stopped) return;
         resting_ = false;
         dispatch();
      });
   }

   void obey(std::shared_ptr<ControlSession> const& session) {
      try {
         auto outcome = console_.execute(session->request(), session->file());
         if (auto* const reply = std::get_if<Reply>(&outcome)) {
            session->reply(*reply);
         } else {
            follow(session, std::move(std::get<std::unique_ptr<DryRun>>(outcome)));
         }
      } catch (std::exception const& error) {
         session->reply({Status::failed, std::string(error.what()) + '\n'});
      }
   }

   void follow(std::shared_ptr<ControlSession> const& session, std::unique_ptr<DryRun> dryRun) {
      if (runs_.size() >= host_.limits.dryRuns) {
         session->reply({Status::failed, "too many dry runs are under way; try again\n"});
         return;
      }
      auto const run = std::make_shared<Run>(loop_, std::move(dryRun));
      runs_.insert(run);
      asio::async_read(run->pipe, asio::dynamic_buffer(run->text, host_.limits.dryRunText),
                       [this, run, session, gone = gone_](error_code error, std::size_t) {
                          if (*gone || error == asio::error::operation_aborted) return;
                          runs_.erase(run);
                          session->reply(replyOf(*run, error));
                       });
   }

   static Reply replyOf(Run const& run, error_code error) {
      if (error != asio::error::eof || run.text.empty()) {
         return {Status::failed, "the dry run came to no end\n"};
      }
      return {static_cast<Status>(run.text[0] - '0'), run.text.substr(1)};
   }

   asio::io_context& loop_;
   Console& console_;
   std::string const path_;
   std::optional<gid_t> group_;
   ControlSession::Host host_;
   Local::acceptor acceptor_;
   asio::steady_timer pause_;
   asio::steady_timer rest_;
   std::set<std::shared_ptr<ControlSession>> sessions_;
   std::deque<std::shared_ptr<ControlSession>> waiting_;
   std::set<std::shared_ptr<Run>> runs_;
   bool accepting_ = false;
   bool resting_ = false;
   /// Handlers that were due when the server went are still called.
   std::shared_ptr<bool> const gone_ = std::make_shared<bool>(false);
};

ControlServer::ControlServer(asio::io_context& loop, Console& console,
                             ControlAddress const& address, LogSink log, ControlLimits limits)
    : impl_(std::make_unique<Impl>(loop, console, address, std::move(log), limits)) {}

ControlServer::~ControlServer() = default;

std::size_t ControlServer::clients() const noexcept { return impl_->clients(); }

}  // namespace Agent
