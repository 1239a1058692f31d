#pragma once

#include "fwd/VerifyOutput.h"
#include "mdl/Attribute.h"
#include "mdl/Reflection.h"

#include <vector>

namespace Fwd {

/// Requests for verification and what verifications reported.
///
/// Owner: the agent's shared data. The agent sets the request flag; while it stands, the state
/// machine asks for another verification after each change that could break its books.
class MDL_EXPORT VerifyData final : public Mdl::Entity {
 public:
   static constexpr char typeName[] = "Fwd::VerifyData";
   static constexpr Mdl::AttributeId requestVerifyAttributeId = 264;

   /// One line of the verify command's output.
   struct CliLine {
      Mdl::String function;
      Mdl::String text;
   };

   VerifyData() noexcept;

   bool requestVerify() const noexcept { return requestVerify_; }
   /// Sets or clears the request flag; setting it requests a verification when it was clear.
   void requestVerifyIs(bool request) {
      scalarIs(requestVerify_, request, requestVerifyAttributeId);
   }
   /// Requests a verification now: sets the flag and notifies, also when it was set already.
   void doRequestVerify();

   // Reports come from reactors, which see their notifier as const: what they report is no
   // change of the request they watch.

   /// Appends a line to the verify command's output.
   void updateCliVerifyOutput(Mdl::String const& function, Mdl::String const& text) const;
   /// Records a failure.
   void verifyOutputIs(VerifyOutput const& output) const;

   std::vector<CliLine> const& cliVerifyOutput() const noexcept { return cliOutput_; }
   std::vector<VerifyOutput> const& verifyOutput() const noexcept { return outputs_; }
   /// Forgets the reports, before a new verify command.
   void outputDelAll() noexcept;

   static Mdl::Type const& type() noexcept;
   Mdl::Type const& fwkType() const noexcept override { return type(); }

 private:
   ~VerifyData() override;

   bool requestVerify_ = false;
   mutable std::vector<CliLine> cliOutput_;
   mutable std::vector<VerifyOutput> outputs_;
};

}  // namespace Fwd
