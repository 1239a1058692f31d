#pragma once

#include "FwdL3Unicast/DecapKey.h"
#include "platform/sim/HardwareTable.h"
#include "platform/sim/KeyText.h"
#include "platform/sim/StateFile.h"
#include "platform/sim/StateFileError.h"
#include "platform/sim/StateText.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Support {

inline Fwd::DecapKey udpKey(std::string_view destination, std::string_view vrf = "default") {
   auto const to = Pkt::IpGenPrefix::fromText(destination);
   auto const from =
       to.isIpv4() ? Pkt::IpGenPrefix(Pkt::IpAddr()) : Pkt::IpGenPrefix(Pkt::Ip6Addr());
   return Fwd::DecapKey(from, to, Tunnel::Decap::TunnelType::udp, 6080,
                        Tunnel::Decap::PayloadType::ip, L3::VrfName(Mdl::String(vrf)));
}

/// 10.0.0.0/32, 10.0.0.1/32 and so on.
inline Fwd::DecapKey numberedKey(std::size_t n) {
   return udpKey("10." + std::to_string(n >> 16 & 255) + "." + std::to_string(n >> 8 & 255) + "." +
                 std::to_string(n & 255) + "/32");
}

inline std::vector<std::string> keyTexts(Sim::HardwareTable::Entries const& entries) {
   std::vector<std::string> texts;
   for (auto const& entry : entries) texts.push_back(Sim::keyText(entry.key));
   return texts;
}

/// What a state file holds, in the order of writing. Opens it and lets it go again.
inline std::vector<std::string> fileTexts(std::string const& path) {
   return keyTexts(Sim::StateFile::open(path)->takeEntries());
}

/// A table in memory in front of a state file.
struct KeptTable {
   explicit KeptTable(std::string const& path) { table.fileIs(Sim::StateFile::open(path), 0.0); }
   std::vector<std::string> texts() const { return keyTexts(table.entries()); }

   Sim::HardwareTable table;
};

/// The text of a state file in which the keys were written and some removed again.
class StateFileText {
 public:
   StateFileText& written(Fwd::DecapKey const& key) { return add(Sim::StateChange::written, key); }
   StateFileText& erased(Fwd::DecapKey const& key) { return add(Sim::StateChange::erased, key); }
   StateFileText& cleared() { return add(Sim::StateChange::cleared, {}); }

   /// A line that has the right checksum, whatever it says.
   StateFileText& add(Sim::StateChange change, Fwd::DecapKey const& key) {
      checksum_ = Sim::appendStateLine(text_, checksum_, change, key);
      return *this;
   }
   std::string const& text() const noexcept { return text_; }

 private:
   std::string text_{Sim::stateHeader};
   std::uint32_t checksum_ = Sim::stateHeaderChecksum();
};

/// What reading a state file's text ended in: its table, or why there is none.
struct ReadState {
   std::optional<std::vector<std::string>> table;
   std::optional<Sim::StateFileError> error;
   std::uint64_t soundBytes = 0;
};

inline ReadState readState(std::string_view text, std::size_t pieceBytes = 4096) {
   ReadState result;
   Sim::StateReader reader("hw.state");
   try {
      for (std::string_view rest = text; !rest.empty();) {
         reader.read(rest.substr(0, pieceBytes));
         rest.remove_prefix(std::min(pieceBytes, rest.size()));
      }
      reader.finish();
      result.table = keyTexts(reader.entries());
      result.soundBytes = reader.soundBytes();
   } catch (Sim::StateFileError const& error) {
      result.error = error;
   }
   return result;
}

}  // namespace Support
