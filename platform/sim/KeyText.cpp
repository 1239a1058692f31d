#include "platform/sim/KeyText.h"

#include <array>

namespace Sim {

namespace {

struct AnswerWord {
   Fwd::dgRetCode code;
   std::string_view word;
};

constexpr std::array answerWords = {
    AnswerWord{Fwd::dgRcSuccess, "success"},      AnswerWord{Fwd::dgRcNotReady, "not-ready"},
    AnswerWord{Fwd::dgRcAlreadyExists, "exists"}, AnswerWord{Fwd::dgRcUnSupported, "unsupported"},
    AnswerWord{Fwd::dgRcHwFull, "full"},          AnswerWord{Fwd::dgRcMax, "max"},
    AnswerWord{Fwd::dgRcPending, "pending"},
};

}  // namespace

std::string keyText(Fwd::DecapKey const& key) {
   bool const isUdp = key.tunnelType() == Tunnel::Decap::TunnelType::udp;
   std::string text(stringValue(key.tunnelType()).view());
   text += ' ';
   key.dstIp().appendText(text);
   if (key.dstIp().empty()) text += "(no destination)";
   if (isUdp || key.destPort() != 0) text += " port " + std::to_string(key.destPort());
   if (isUdp || key.payloadType() != Tunnel::Decap::PayloadType::unset) {
      text += " payload ";
      text += stringValue(key.payloadType()).view();
   }
   text += " vrf ";
   text += key.forwardingVrf().empty() ? "\"\"" : key.forwardingVrf().name().view();
   return text;
}

std::string answerText(Fwd::dgRetCode code) {
   for (auto const& entry : answerWords) {
      if (entry.code == code) return std::string(entry.word);
   }
   return std::to_string(static_cast<unsigned>(code));
}

std::optional<Fwd::dgRetCode> answerFromText(std::string_view word) noexcept {
   for (auto const& entry : answerWords) {
      if (entry.word == word) return entry.code;
   }
   return std::nullopt;
}

}  // namespace Sim
