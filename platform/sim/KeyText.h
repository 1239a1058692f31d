#pragma once

#include "FwdL3Unicast/DecapKey.h"
#include "FwdL3Unicast/dgRetCode.h"

#include <optional>
#include <string>
#include <string_view>

namespace Sim {

/// A key as an operator writes it: "udp 10.1.0.0/16 port 6080 payload ip vrf red". Port and payload
/// type appear where they are set, or where the tunnel type calls for them.
std::string keyText(Fwd::DecapKey const& key);

/// One word for an answer of hardware: success, not-ready, exists, unsupported, full, max, pending,
/// or the decimal number of a code that has no name.
std::string answerText(Fwd::dgRetCode code);

/// The code that the word stands for, if it stands for one.
std::optional<Fwd::dgRetCode> answerFromText(std::string_view word) noexcept;

}  // namespace Sim
