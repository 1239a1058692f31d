#pragma once

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <string>
#include <system_error>

#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Netlink {

/// A network of a test's own: a child process in a network namespace, gone with it. What a test
/// does to interfaces there nobody else sees, and no right to it is needed where the system lets
/// everybody have namespaces.
class OtherNetwork {
 public:
   /// Runs `body` there. Expectations that fail there fail the test.
   static void run(std::function<void()> const& body) {
      std::fflush(nullptr);
      pid_t const child = ::fork();
      ASSERT_GE(child, 0);
      if (child == 0) ::_exit(inChild(body));
      int status = 0;
      ASSERT_EQ(::waitpid(child, &status, 0), child);
      ASSERT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status);
      EXPECT_EQ(WEXITSTATUS(status), 0) << "see above";
   }

   /// Whether `ip` does this. Inside `run`.
   static bool ip(std::string const& arguments) {
      return std::system(("ip " + arguments).c_str()) == 0;  // NOLINT(concurrency-mt-unsafe)
   }
   /// The same without a word about a failure.
   static bool tryIp(std::string const& arguments) { return ip(arguments + " 2>/dev/null"); }

   /// Makes an interface that carries nothing, of a kind that this kernel has.
   static bool addInterface(std::string const& name) {
      for (char const* const kind : {"dummy", "ifb", "bridge"}) {
         if (tryIp("link add " + name + " type " + kind)) return true;
      }
      return false;
   }
   /// Gives a setting of the network its value, or ends the test inside `run`.
   static void set(std::string const& setting, std::string const& value) {
      std::ofstream file("/proc/sys/net/" + setting);
      if (!(file << value << std::flush)) lacks("no setting " + setting);
   }

   /// Fails the test inside `run` where the system cannot do what it needs, and ends it.
   [[noreturn]] static void lacks(std::string const& why) {
      std::printf("cannot be tested here: %s\n", why.c_str());
      std::fflush(nullptr);
      ::_exit(1);
   }

 private:
   static int inChild(std::function<void()> const& body) {
      enter();
      if (!tryIp("link show >/dev/null")) lacks("there is no ip(8)");
      try {
         body();
      } catch (std::exception const& exception) {
         ADD_FAILURE() << exception.what();
      }
      std::fflush(nullptr);
      return testing::Test::HasFailure() ? 1 : 0;
   }

   static void enter() {
      if (::unshare(CLONE_NEWNET) == 0) return;
      auto const user = ::getuid();
      auto const group = ::getgid();
      if (::unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) {
         lacks("no namespace: " + std::generic_category().message(errno));
      }
      // Root of it, for ip(8) to believe in its rights.
      std::ofstream("/proc/self/setgroups") << "deny";
      std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
      std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
      if (::getuid() != 0) lacks("no user namespace");
   }
};

}  // namespace Netlink
