#pragma once

#include "support/AdmissionEvent.h"
#include "support/AdmissionModel.h"
#include "support/DecapFixture.h"

#include <array>
#include <cstddef>
#include <string>

namespace Support {

/// A state machine that generated events are applied to, beside the model of what it should hold.
///
/// Owner: a test, one at a time, as the process has one clock.
class AdmissionRun final : public DecapFixture {
 public:
   AdmissionRun();

   void apply(AdmissionEvent const& event);
   /// What keys, counts, hardware or hook calls have that the model has not, or lack. Empty when
   /// all agree.
   std::string difference();

 private:
   void TestBody() override {}

   void applyIp(AdmissionEvent const& event);
   void applyIp6(AdmissionEvent const& event);
   void applyGroup(AdmissionEvent const& event);
   void setEntry(AdmissionEvent const& event);
   void deleteEntry(AdmissionEvent const& event);
   void toggleGroup(AdmissionEvent const& event);
   void replaceIp(AdmissionEvent const& event);
   void replaceIp6(AdmissionEvent const& event);
   void started();

   // Writable faces of what the status lists.
   Mdl::Ptr<Ip::IpIntfStatus>& ipOf(AdmissionEvent const& event) { return ipIntf_[event.intf]; }
   Mdl::Ptr<Ip6::IntfStatus>& ip6Of(AdmissionEvent const& event) { return ip6Intf_[event.intf]; }
   bool isConfigured(DecapGroup const& group) const;

   bool isStopped(DecapGroup const& group) const;
   static Fwd::DecapKey keyOf(DecapGroup const& group, Pkt::IpGenPrefix const& destination);
   std::string differenceOf(DecapGroup const& group, std::vector<Fwd::DecapKey>& references);
   std::string differenceOfCounts(std::vector<Fwd::DecapKey>& references) const;
   std::string differenceOfCalls();

   AdmissionModel model_;
   std::array<Mdl::Ptr<Ip::IpIntfStatus>, AdmissionEvent::interfaces> ipIntf_;
   std::array<Mdl::Ptr<Ip6::IntfStatus>, AdmissionEvent::interfaces> ip6Intf_;
};

}  // namespace Support
