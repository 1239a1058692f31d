#pragma once

#include "decapctl/report/Buckets.h"
#include "decapctl/report/JournalReader.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Ctl::Report {

/// A place in the journal: seconds since its beginning, and a line.
struct Place {
   double time = 0;
   std::size_t line = 0;
};

/// A quantity within a cell: what it was at its least and greatest, and in the end.
struct Level {
   bool seen = false;
   std::uint32_t low = 0;
   std::uint32_t high = 0;
   std::uint32_t last = 0;

   void is(std::uint32_t value);
   void add(Level const& later);
};

struct LevelCell {
   Level entries;
   Level backlog;
   std::uint32_t calls = 0;
   std::uint32_t refusals = 0;
   /// Of all lines.
   std::uint32_t lines = 0;
   /// Where the last of them was.
   Place last;

   void add(LevelCell const& later);
};

/// How long calls took: none of the time, then three classes a decade from a microsecond on.
struct LatencyCell {
   static constexpr std::size_t classes = 26;
   std::array<std::uint32_t, classes> calls{};

   static std::size_t classOf(double seconds) noexcept;
   /// The least time of a class but the first.
   static double leastOf(std::size_t index) noexcept;
   void add(LatencyCell const& later);
};

/// What happened, by where it is shown.
enum class Lane : std::uint8_t { machine, configuration, interfaces, messages, faults };
inline constexpr std::size_t lanes = 5;

/// Events of a lane that lie close together. The first of them are kept as text.
struct Mark {
   static constexpr std::size_t greatestTexts = 3;
   std::uint64_t count = 0;
   std::size_t firstLine = 0;
   double firstTime = 0;
   std::vector<std::string> texts;

   void add(Mark const& later);
};

struct MarkCell {
   std::array<Mark, lanes> marks;

   void add(MarkCell const& later);
};

/// From one place to another. What has no end in the journal lasts until there.
struct Span {
   Place begin;
   Place end;
   bool ended = false;

   double seconds() const noexcept { return end.time - begin.time; }
};

/// Destinations that were removed and programmed again soon afterwards, between two inputs of the
/// machine: what one change re-keyed.
struct Burst {
   Span span;
   std::size_t destinations = 0;
   /// How long one of them was absent.
   double longestGap = 0;
};

/// What is known of a key that hardware has refused, or that took longest.
struct KeyStory {
   std::string key;
   std::uint32_t full = 0;
   std::uint32_t notReady = 0;
   std::uint32_t pending = 0;
   std::uint32_t threw = 0;
   /// For good.
   std::uint32_t refused = 0;
   double slowestCall = 0;
   double waited = 0;
   double longestWait = 0;
   bool present = false;
   bool waiting = false;

   std::uint32_t refusals() const noexcept { return full + notReady + pending + threw + refused; }
};

/// How much of the table a tunnel type had.
struct Use {
   std::uint32_t entries = 0;
   std::uint32_t greatest = 0;
   /// How often "full" was answered, and between which numbers of entries.
   std::uint32_t full = 0;
   std::uint32_t fullLeast = 0;
   std::uint32_t fullGreatest = 0;
};

/// The same along an axis: time, or the lines of the journal.
struct Course {
   Course(double levelWidth, double markWidth)
       : levels(1000, levelWidth), latencies(250, markWidth), marks(240, markWidth) {}

   Buckets<LevelCell> levels;
   Buckets<LatencyCell> latencies;
   Buckets<MarkCell> marks;
};

/// All that a report shows, whatever the size of the journal. Times are seconds since its
/// beginning.
struct RunHistory {
   JournalEnd end;
   /// The time that the journal begins with.
   double startTime = 0;
   double duration = 0;

   Course byTime{1e-6, 1e-6};
   Course byLine{1, 1};

   /// Calls to program by their answers, and the others by what they are.
   std::map<std::string, std::uint64_t> programs;
   std::map<std::string, std::uint64_t> otherCalls;
   std::uint64_t calls = 0;
   /// Calls that the journal has no answer to.
   std::uint64_t unanswered = 0;
   std::uint64_t traces = 0;
   double slowestCall = 0;
   Place slowestAt;

   Use table;
   Place greatestAt;
   std::map<std::string, Use> types;
   /// Removed, or found there, without the journal having seen them written.
   std::uint64_t olderEntries = 0;

   std::uint32_t backlog = 0;
   std::uint32_t greatestBacklog = 0;
   Place greatestBacklogAt;

   std::vector<Span> alarms;
   std::vector<Burst> bursts;
   std::uint64_t rekeyed = 0;
   double longestGap = 0;
   std::uint64_t machines = 0;

   /// Those with the longest waits, the most refusals and the slowest calls.
   std::vector<KeyStory> keys;
   std::uint64_t distinctKeys = 0;
   std::uint64_t keysRefused = 0;
};

}  // namespace Ctl::Report
