#include "oracle/Soak.h"

#include "oracle/Child.h"
#include "oracle/Generator.h"
#include "oracle/Reduction.h"
#include "oracle/Run.h"
#include "oracle/ScenarioText.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <optional>
#include <ostream>
#include <sstream>
#include <vector>

namespace Oracle {

namespace {

constexpr std::uint32_t longEvery = 40;
constexpr double refresh = 0.2;
constexpr int disagrees = 1;

/// How far the child is. Written by it, read by the parent.
struct Progress {
   std::atomic<std::uint64_t> events;
   std::atomic<std::uint32_t> sequences;
   std::atomic<std::uint32_t> seed;
   /// Events of the sequence under way.
   std::atomic<std::uint32_t> at;
};

/// What the memory of the child was at which time.
class Memory {
 public:
   void note(std::uint64_t events, std::uint64_t bytes) {
      if (bytes != 0) samples_.push_back({events, bytes});
   }
   std::uint64_t last() const { return samples_.empty() ? 0 : samples_.back().bytes; }
   /// The most of the second tenth, and the most of the last one.
   std::uint64_t early(std::uint64_t events) const { return most(events / 10, events / 5); }
   std::uint64_t late(std::uint64_t events) const { return most(events - events / 10, events); }
   /// Whether the end needs more than the beginning, beyond what an allocator may be unlucky with.
   bool grows(std::uint64_t events) const {
      return early(events) != 0 && late(events) > early(events) + early(events) / 20 + (1 << 20);
   }

 private:
   struct Sample {
      std::uint64_t events;
      std::uint64_t bytes;
   };
   std::uint64_t most(std::uint64_t from, std::uint64_t to) const {
      std::uint64_t most = 0;
      for (Sample const& sample : samples_) {
         if (sample.events >= from && sample.events <= to) most = std::max(most, sample.bytes);
      }
      return most;
   }
   std::vector<Sample> samples_;
};

std::string withCommas(std::uint64_t number) {
   std::string text = std::to_string(number);
   for (std::size_t at = text.size(); at > 3;) {
      at -= 3;
      text.insert(at, ",");
   }
   return text;
}

std::string megabytes(std::uint64_t bytes) {
   std::ostringstream out;
   out << std::fixed << std::setprecision(1) << static_cast<double>(bytes) / (1 << 20) << " MB";
   return out.str();
}

std::uint32_t lengthOf(SoakOptions const& options, std::uint32_t sequence) {
   return sequence % longEvery == longEvery - 1 ? options.length * longEvery : options.length;
}

void tell(std::ostream& out, Books::Complaints const& complaints) {
   for (auto const& complaint : complaints) out << "  " << complaint << "\n";
}

/// The child's work: 0 when all events are spent.
int playAll(SoakOptions const& options, Progress& progress) {
   for (std::uint32_t sequence = 0; progress.events < options.events; ++sequence) {
      progress.seed = options.seed + sequence;
      progress.at = 0;
      std::uint64_t const before = progress.events;
      Outcome const outcome =
          options.player(generate(progress.seed, lengthOf(options, sequence)), [&](std::size_t at) {
             progress.at = static_cast<std::uint32_t>(at);
             progress.events = before + at;
          });
      if (!outcome.ok()) return disagrees;
      progress.sequences = sequence + 1;
   }
   return 0;
}

class Soak {
 public:
   Soak(SoakOptions const& options, std::ostream& out, std::ostream* terminal)
       : options_(options), out_(out), terminal_(terminal) {}

   int run() {
      Child child([this] { return playAll(options_, *progress_); });
      std::optional<int> ended;
      while (!ended) {
         ended = child.waitFor(refresh);
         if (ended) break;
         memory_.note(progress_->events, child.memory());
         show();
      }
      wipe();
      return *ended == 0 ? verdict() : failure(*ended);
   }

 private:
   double seconds() const {
      return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin_).count();
   }
   std::uint64_t rate() const {
      return static_cast<std::uint64_t>(static_cast<double>(progress_->events) / seconds());
   }

   void show() {
      if (terminal_ == nullptr) return;
      constexpr std::size_t width = 30;
      double const share = std::min(
          1.0, static_cast<double>(progress_->events) / static_cast<double>(options_.events));
      auto const full = static_cast<std::size_t>(share * width);
      *terminal_ << "\r\033[K[" << std::string(full, '#') << std::string(width - full, '.') << "] "
                 << static_cast<int>(share * 100) << " %  " << withCommas(progress_->events)
                 << " events  " << withCommas(rate()) << "/s  " << megabytes(memory_.last())
                 << std::flush;
   }
   void wipe() {
      if (terminal_ != nullptr) *terminal_ << "\r\033[K" << std::flush;
   }

   /// Whether a sequence fails in a process of its own, quietly.
   bool fails(Events const& events) const {
      Child child([&] {
         std::fclose(stderr);
         return options_.player(events, [](std::size_t) {}).ok() ? 0 : disagrees;
      });
      return child.wait() != 0;
   }

   int verdict() {
      bool const grows = memory_.grows(options_.events);
      out_ << "soak: " << withCommas(progress_->events) << " events in "
           << withCommas(progress_->sequences) << " sequences from seed " << options_.seed << ", "
           << withCommas(rate()) << " events/s";
      if (memory_.early(options_.events) != 0) {
         out_ << ", memory " << megabytes(memory_.early(options_.events)) << " early and "
              << megabytes(memory_.late(options_.events)) << " late";
      }
      out_ << (grows ? ": memory grows\n" : ": machine and oracle agree\n");
      return grows ? 1 : 0;
   }

   int failure(int code) {
      std::uint32_t const seed = progress_->seed;
      Events events = generate(seed, lengthOf(options_, seed - options_.seed));
      std::size_t const at = progress_->at;
      bool const crashed = code != disagrees;
      out_ << "soak: seed " << seed << " fails after " << at << " of " << events.size() << " events"
           << (crashed ? ", which ends the process (" + std::to_string(code) + ")" : "")
           << "; reducing\n";
      out_.flush();
      // The withdrawal at the end belongs to the failure when all events went well.
      events.resize(std::min(events.size(), at));
      std::string const journal = writeJournal(seed, events);
      if (!fails(events)) {
         out_ << "soak: the sequence does not fail when it is played again\n";
         return 2;
      }
      auto const still = [this](Events const& some) { return fails(some); };
      Events const fewest = reduced(events, still, [this](std::size_t left) {
         if (terminal_ != nullptr) *terminal_ << "\r\033[K" << left << " events left" << std::flush;
      });
      wipe();
      report(seed, fewest, journal);
      return 1;
   }

   std::string pathOf(std::uint32_t seed, char const* suffix) const {
      return (std::filesystem::path(options_.folder) / ("soak-" + std::to_string(seed) + suffix))
          .string();
   }

   /// Line by line, as the machine may end the process.
   std::string writeJournal(std::uint32_t seed, Events const& events) const {
      std::string const path = pathOf(seed, ".journal");
      Child child([&] {
         std::fclose(stderr);
         std::ofstream file(path, std::ios::binary);
         record(events, [&](std::string const& line) { file << line << '\n' << std::flush; });
         return 0;
      });
      child.wait();
      return path;
   }

   void report(std::uint32_t seed, Events const& fewest, std::string const& journal) {
      out_ << "The fewest events that still fail:\n" << text(fewest);
      out_.flush();
      std::string const path = pathOf(seed, ".scn");
      std::ofstream file(path);
      file << scenarioOf(fewest, "Seed " + std::to_string(seed) + " of the soak, reduced.");
      file.flush();
      Child child([&] {
         Outcome const outcome = options_.player(fewest, [](std::size_t) {});
         tell(out_, outcome.complaints);
         out_ << "What the oracle expects:\n" << outcome.expected;
         out_.flush();
         file << expectationsOf(fewest);
         file.flush();
         return 0;
      });
      child.wait();
      out_ << "soak: the journal of all events is " << journal << "\n";
      out_ << "soak: machine and oracle disagree; the scenario is " << path << "\n";
   }

   SoakOptions const options_;
   std::ostream& out_;
   std::ostream* const terminal_;
   Shared<Progress> progress_;
   Memory memory_;
   std::chrono::steady_clock::time_point const begin_ = std::chrono::steady_clock::now();
};

}  // namespace

int soak(SoakOptions const& options, std::ostream& out, std::ostream* terminal) {
   return Soak(options, out, terminal).run();
}

}  // namespace Oracle
