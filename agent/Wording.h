#pragma once

#include "agent/Report.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

// How the agent says things to people.

/// "0.100": at least three decimals, more where they say something, at most six.
std::string secondsText(Mdl::Seconds time);

/// "1 key", "3 keys"; `plural` where it is not formed with an s.
std::string counted(std::uint64_t count, std::string_view noun, std::string_view plural = {});

/// "core, edge": no more than `most` names, then how many more.
std::string namesText(std::vector<Mdl::String> const& names, std::size_t most = 4);

/// The VRF's name, or what stands for none.
std::string vrfText(L3::VrfName const& vrf);

/// "10.0.0.1/24", or what stands for none.
std::string addressText(Pkt::IpGenPrefix const& address);

/// What has become of the address, or why it gives nothing, as a sentence without its full stop.
std::string addressStateText(AddressState state);

/// How the key of the row stands, in a word or two: "in hardware", "waiting", "conflict",
/// "refused", "held back".
char const* statusText(KeyRow const& row) noexcept;

/// Why the key of the row is not in hardware, as a sentence without its full stop.
std::string reasonText(KeyRow const& row, TimeScale const& times = {});

/// What an audit found, as a sentence without its full stop.
std::string findingText(Fwd::AuditFinding const& finding);

/// What became of an entry that a machine found in hardware.
char const* fateText(TakeOver::Fate fate) noexcept;

}  // namespace Agent
