#pragma once

#include "platform/netlink/InterfaceObserver.h"

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace Netlink {

using Lines = std::vector<std::string>;

/// "eth0 in red 10.0.0.1/24 2nd 10.0.0.2/24 v6 2001:db8::1/64"; the default VRF is not mentioned.
inline std::string textOf(InterfaceState const& state) {
   std::string text = state.name.name().stdString();
   if (state.vrf != L3::VrfName::defaultVrf()) text += " in " + state.vrf.name().stdString();
   if (!state.primary.isZero()) text += " " + state.primary.stringValue().stdString();
   for (auto const& address : state.secondary) {
      text += " 2nd " + address.stringValue().stdString();
   }
   for (auto const& address : state.ipv6) text += " v6 " + address.stringValue().stdString();
   return text;
}

/// Writes down what it is told, and what should be there by that.
class Listener final : public InterfaceObserver {
 public:
   void interfaceIs(InterfaceState const& state) override {
      lines_.push_back(textOf(state));
      states_[state.name.name().stdString()] = state;
   }
   void interfaceDel(Pkt::IntfId const& name) override {
      lines_.push_back("no " + name.name().stdString());
      states_.erase(name.name().stdString());
   }
   void synchronised() override {
      lines_.emplace_back("synchronised");
      ++synchronisations_;
   }

   /// What was told since the last time.
   Lines heard() { return std::exchange(lines_, {}); }
   Lines const& lines() const { return lines_; }
   /// Null when there is none.
   InterfaceState const* find(std::string const& name) const {
      auto const found = states_.find(name);
      return found == states_.end() ? nullptr : &found->second;
   }
   std::size_t synchronisations() const { return synchronisations_; }

 private:
   Lines lines_;
   std::map<std::string, InterfaceState> states_;
   std::size_t synchronisations_ = 0;
};

}  // namespace Netlink
