#include "agent/serve/Service.h"

#include "agent/ConfigFile.h"
#include "agent/InputError.h"
#include "agent/Narration.h"
#include "agent/Wording.h"
#include "mdl/Trace.h"

#include <sstream>
#include <utility>

namespace Agent {

namespace {

// Severities of the syslog protocol.
constexpr unsigned warning = 4;
constexpr unsigned notice = 5;
constexpr unsigned debug = 7;

constexpr char const* tableFile = "/hardware.state";

std::string hardwareFileIn(std::string const& folder) {
   return folder.empty() ? std::string() : folder + tableFile;
}

void append(std::string& text, std::size_t count, char const* noun, char const* plural,
            char const* what) {
   if (count == 0) return;
   text += (text.empty() ? "" : ", ") + counted(count, noun, plural) + ' ' + what;
}

}  // namespace

std::string changesText(Changes const& changes) {
   std::string text;
   append(text, changes.groupsAdded, "group", "groups", "added");
   append(text, changes.groupsRemoved, "group", "groups", "removed");
   append(text, changes.groupsChanged, "group", "groups", "changed");
   append(text, changes.prefixesAdded, "prefix", "prefixes", "added");
   append(text, changes.prefixesRemoved, "prefix", "prefixes", "removed");
   append(text, changes.interfacesAdded, "interface", "interfaces", "added");
   append(text, changes.interfacesRemoved, "interface", "interfaces", "removed");
   append(text, changes.interfacesChanged, "interface", "interfaces", "changed");
   if (changes.settings) text += text.empty() ? "settings changed" : ", settings changed";
   return text.empty() ? "nothing" : text;
}

Service::Service(ServiceOptions options, std::function<Mdl::Seconds()> clock, TimeScale times,
                 LogSink log)
    : options_(std::move(options)), times_(times), log_(std::move(log)),
      trace_(Mdl::TraceHandle::find("FwdDecapGroup")),
      state_(hardwareFileIn(options_.stateFolder), false), interfaces_(options_.interfaces) {
   world_.followIs(std::move(clock));
   world_.hookLayerIs([this](auto const& platform) { return meter_.metered(platform); });
   world_.faultHandlerIs([this](std::exception const& fault) { noteFault(fault); });
   world_.logObserverIs([this](Mdl::LogHandle const& message) {
      log_(message.severity(), std::string(message.name()) + ": " + message.format());
   });
   Mdl::Trace::sinkIs([this](Mdl::TraceRecord const& record) {
      if (world_.recorder() != nullptr) world_.recorder()->noteTrace(record);
      log_(debug, "trace " + std::to_string(record.level) + "  " + std::string(record.text));
   });
}

Service::~Service() {
   traceLevelIs(std::nullopt);
   Mdl::Trace::sinkIs({});
   world_.logObserverIs({});
   world_.faultHandlerIs({});
}

bool Service::start(std::ostream& err) {
   Configuration const configuration = configurationFromFile(options_.configuration);
   if (!state_.open(world_, err)) return false;
   Reload reload = reloading();
   take(configuration, reload);
   inputChanges_ += reload.made();
   rebuild(false);
   return true;
}

void Service::liveIs(InterfaceConfiguration const& interface) {
   world_.turn();
   Reload reload = reloading();
   interfaces_.liveIs(interface, reload);
   inputChanges_ += reload.made();
}

void Service::liveDel(Pkt::IntfId const& name) {
   world_.turn();
   Reload reload = reloading();
   interfaces_.liveDel(name, reload);
   inputChanges_ += reload.made();
}

Changes Service::apply(Configuration const& configuration) {
   world_.turn();
   Reload reload = reloading();
   take(configuration, reload);
   inputChanges_ += reload.made();
   ++reloads_.applied;
   world_.turn();
   log_(notice, "configuration applied: " + changesText(reload.changes()));
   return reload.changes();
}

Changes Service::reload() {
   Configuration configuration;
   try {
      configuration = configurationFromFile(options_.configuration);
   } catch (InputError const&) {
      noteRefusedConfiguration();
      throw;
   }
   return apply(configuration);
}

void Service::restart(bool keepHardware) {
   log_(notice,
        keepHardware ? "the machine starts anew, hardware forwards on" : "the machine starts anew");
   world_.turn();
   rebuild(keepHardware);
}

bool Service::stop(bool keepHardware, std::ostream& err) {
   world_.turn();
   state_.keepIs(keepHardware);
   world_.keepHardwareIs(keepHardware);
   bool closed = true;
   if (state_.file().empty()) {
      world_.stop(keepHardware);
   } else {
      closed = state_.close(world_, err);
   }
   if (journal_ && !journalName_.empty()) closed = journal_->close(err) && closed;
   journalName_.clear();
   return closed;
}

void Service::journalStart(std::string const& name, int file) {
   if (!journalName_.empty() && journal_->isWrittenTo(file)) {
      throw InputError(name, "is being written already");
   }
   auto fresh = std::make_unique<JournalFile>(name, file);
   world_.turn();
   world_.stop(true);
   if (std::ostringstream wrong; !journalStop(wrong)) log_(warning, printable(wrong.str()));
   journal_ = std::move(fresh);
   journalName_ = name;
   world_.recorderIs(journal_->recorder());
   log_(notice, "a journal begins: " + printable(name));
   rebuild(true);
}

bool Service::journalStop(std::ostream& err) {
   if (journalName_.empty()) return true;
   // The machine's hook goes through the recorder until the next machine; a closed one writes
   // nothing.
   bool const whole = journal_->close(err);
   log_(notice, "the journal ends: " + printable(journalName_));
   journalName_.clear();
   return whole;
}

void Service::traceLevelIs(std::optional<unsigned> level) {
   if (trace_ == nullptr) return;
   std::uint32_t const mask = traceMask(level);
   if (world_.recorder() != nullptr) world_.recorder()->noteTraceMask(mask);
   trace_->maskIs(mask);
}

void Service::detach() {
   world_.hardware().table().fileForget();
   if (journal_) journal_->recorder()->abandon();
   traceLevelIs(std::nullopt);
   world_.logObserverIs({});
   log_ = [](unsigned, std::string const&) {};
   world_.followIs({});
}

Reload Service::reloading() {
   return Reload(world_, [this](Mdl::Exception const& fault) { noteFault(fault); });
}

void Service::take(Configuration const& configuration, Reload& reload) {
   if (configuration.hardware != hardware_) {
      reload.changes().settings = true;
      hardware_ = configuration.hardware;
      world_.configure(hardware_);
   }
   reload.reviewIs(configuration.review);
   interfaces_.fileIs(configuration.interfaces, reload);
   reload.groupsAre(configuration.groups);
   configuredAt_ = world_.now();
}

void Service::noteFault(std::exception const& fault) {
   ++faults_;
   log_(warning, std::string("a hardware call failed: ") + printable(fault.what()));
}

/// A new machine instead of the one that is there, if any.
void Service::rebuild(bool keepHardware) {
   world_.stop(keepHardware);
   if (journal_ && journalName_.empty()) {
      world_.recorderIs(nullptr);
      journal_ = nullptr;
   }
   try {
      world_.start();
   } catch (Mdl::Exception const& fault) {
      noteFault(fault);
   }
   world_.turn();
}

}  // namespace Agent
