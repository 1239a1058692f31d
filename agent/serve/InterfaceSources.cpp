#include "agent/serve/InterfaceSources.h"

namespace Agent {

char const* modeText(InterfaceMode mode) noexcept {
   switch (mode) {
      case InterfaceMode::live: return "live";
      case InterfaceMode::file: return "file";
      case InterfaceMode::both: return "both";
   }
   return "";
}

void InterfaceSources::fileIs(std::vector<InterfaceConfiguration> const& interfaces,
                              Reload& reload) {
   if (mode_ == InterfaceMode::live) return;
   ByName wanted;
   for (auto const& interface : interfaces) wanted.emplace(interface.name, interface);
   for (auto const& [name, known] : file_) {
      if (wanted.contains(name)) continue;
      if (auto const live = live_.find(name); live != live_.end()) {
         reload.interfaceIs(live->second);
      } else {
         reload.interfaceDel(name);
      }
   }
   // In the order of the file: it is the order in which a person sees them.
   for (auto const& interface : interfaces) reload.interfaceIs(interface);
   file_ = std::move(wanted);
}

void InterfaceSources::liveIs(InterfaceConfiguration const& interface, Reload& reload) {
   if (mode_ == InterfaceMode::file) return;
   live_.insert_or_assign(interface.name, interface);
   if (!file_.contains(interface.name)) reload.interfaceIs(interface);
}

void InterfaceSources::liveDel(Pkt::IntfId const& name, Reload& reload) {
   if (live_.erase(name) == 0) return;
   if (!file_.contains(name)) reload.interfaceDel(name);
}

}  // namespace Agent
