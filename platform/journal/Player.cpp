#include "platform/journal/Player.h"

#include "mdl/Log.h"
#include "mdl/System.h"
#include "platform/sim/KeyText.h"

#include <charconv>
#include <exception>
#include <system_error>
#include <utility>

namespace Journal {

namespace {

Mdl::TraceHandle* traces() { return Mdl::TraceHandle::find("FwdDecapGroup"); }

/// The reverse of `Sim::answerText`. Where the replay is over, all that matters is to come to an
/// end.
Fwd::dgRetCode codeOf(std::string const& answer) {
   if (auto const code = Sim::answerFromText(answer)) return *code;
   std::uint8_t number = 0;
   char const* const end = answer.data() + answer.size();
   auto const read = std::from_chars(answer.data(), end, number);
   bool const isNumber = read.ec == std::errc() && read.ptr == end;
   return isNumber ? static_cast<Fwd::dgRetCode>(number) : Fwd::dgRcSuccess;
}

}  // namespace

/// The hook of a replay: its answers stand in the journal.
class Player::Platform final : public Fwd::FwdDecapGroupSmHelper {
 public:
   explicit Platform(Player& player) : FwdDecapGroupSmHelper("replay"), player_(player) {}

   Fwd::dgRetCode programDecapKey(Fwd::DecapKey const&) override {
      return codeOf(player_.answer());
   }
   void removeDecapKey(Fwd::DecapKey const&) override { player_.answer(); }
   void verify() override { player_.answer(); }
   void decapGroupConfigReady() override { player_.answer(); }
   bool waitForDstPortPayloadTypeForUdpTunnel() override { return player_.udpWait(); }

 private:
   ~Platform() override = default;

   Player& player_;
};

Mdl::Ptr<Fwd::FwdDecapGroupSmHelper> Player::platform() { return Mdl::allocate<Platform>(*this); }

Player::Player(std::string_view text)
    : clock_(Mdl::allocate<Mdl::Clock>()), verifyData_(Mdl::allocate<Fwd::VerifyData>()),
      shared_(Mdl::allocate<Fwd::FwdCommonSmData>(verifyData_)) {
   cut(text);
   Mdl::System::timeSourceIs([this] { return now_; });
   Mdl::Log::sinkIs([this](Mdl::LogHandle const& message) {
      if (recorder_) recorder_->noteLog(message);
   });
   Mdl::Trace::sinkIs([this](Mdl::TraceRecord const& record) {
      if (recorder_) recorder_->noteTrace(record);
      if ((extraTraces_ >> record.level & 1) != 0 && traceObserver_) traceObserver_(record);
   });
}

Player::~Player() {
   // What is left of a replay that went another way goes unseen.
   if (recorder_) recorder_->close();
   seen_ = lines_.size();
   machine_ = nullptr;
   if (Mdl::TraceHandle* const handle = traces()) handle->maskIs(0);
   Mdl::Trace::sinkIs({});
   Mdl::Log::sinkIs({});
   Mdl::System::timeSourceIs({});
}

/// A last line without its end was being written when the recording was cut off. It is left out.
void Player::cut(std::string_view text) {
   std::size_t end = 0;
   while ((end = text.find('\n')) != std::string_view::npos) {
      lines_.push_back(text.substr(0, end));
      text.remove_prefix(end + 1);
   }
   if (lines_.empty() || lines_.front() != header) {
      throw JournalError(1, "this is no journal, or one of another version");
   }
   hasEnd_ = Line(lines_.size(), lines_.back()).is(0, "end");
}

void Player::traceIs(std::uint32_t mask, TraceObserver observer) {
   extraTraces_ = mask;
   traceObserver_ = std::move(observer);
   if (Mdl::TraceHandle* const handle = traces()) handle->maskIs(mask);
}

Outcome Player::play() {
   recorder_.emplace([this](std::string const& line) { see(line); });
   while (!isOver()) step();
   if (error_) throw JournalError(*error_);
   if (hasEnd_ && seen_ < lines_.size()) differs({});
   return outcome_;
}

/// Acts on the next line, which is an input, or the end.
void Player::step() {
   Line const line = nextLine();
   if (!line.isTimed() || line.is(1, "answer") || line.is(1, "call")) {
      if (!line.is(0, "end")) return differs({});
      done_ = next() + 1;
      outcome_.complete = true;
      return recorder_->close();
   }
   done_ = next() + 1;
   if (progress_) progress_(done_);
   moveTo(line.seconds(0));
   try {
      act(line);
   } catch (JournalError const&) {
      throw;
   } catch (std::exception const&) {
      // Whoever made the change then has been told, too.
   }
}

/// The replay has written a line.
void Player::see(std::string const& line) {
   if (outcome_.difference || error_) return;
   if (seen_ >= lines_.size() && !hasEnd_) return;
   if (seen_ >= lines_.size() || lines_[seen_] != line) return differs(line);
   ++seen_;
   ++outcome_.lines;
   count(line);
}

void Player::differs(std::string replayed) {
   if (outcome_.difference) return;
   // An input that is yet to be seen is where the two part.
   outcome_.difference =
       Difference{seen_ + 1, seen_ < lines_.size() ? std::string(lines_[seen_]) : std::string(),
                  std::move(replayed)};
}

void Player::count(std::string_view line) {
   if (line.starts_with("[\"log\"")) {
      ++outcome_.messages;
   } else if (line.starts_with("[\"trace\"")) {
      ++outcome_.traces;
   } else if (!line.starts_with("[\"")) {
      bool const isCall = line.find(",\"call\",") != std::string_view::npos;
      bool const isAnswer = line.find(",\"answer\",") != std::string_view::npos;
      if (isCall) ++outcome_.calls;
      if (!isCall && !isAnswer) ++outcome_.inputs;
   }
}

std::string Player::answer() try { return recordedAnswer(); } catch (JournalError const& error) {
   // It is none of the machine's business.
   if (!error_) error_ = error;
   return {};
}

/// What the platform answered to the call that has just been seen. What it did meanwhile is done
/// first. Nothing when the journal does not tell.
std::string Player::recordedAnswer() {
   while (!isOver()) {
      Line const line = nextLine();
      if (line.is(1, "answer")) {
         moveTo(line.seconds(0));
         if (line.is(2, "threw")) throw Mdl::Exception(line.name(3).stdString());
         return line.word(2);
      }
      if (!line.isTimed() || line.is(1, "call")) {
         differs({});
      } else {
         step();
      }
   }
   return {};
}

bool Player::udpWait() {
   if (isOver() || lines_[next()].find(",\"udp-wait\",") == std::string_view::npos) return udpWait_;
   try {
      Line const line = nextLine();
      if (line.is(1, "udp-wait")) {
         moveTo(line.seconds(0));
         udpWait_ = line.flag(2);
      }
   } catch (JournalError const& error) {
      if (!error_) error_ = error;
   }
   return udpWait_;
}

}  // namespace Journal
