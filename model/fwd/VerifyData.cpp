#include "fwd/VerifyData.h"

namespace Fwd {

namespace {

constexpr Mdl::Member verifyMembers[] = {
    {VerifyData::requestVerifyAttributeId, "requestVerify", Mdl::Member::Kind::scalar,
     [](Mdl::Entity const& e) {
        return Mdl::Reading::of(static_cast<VerifyData const&>(e).requestVerify());
     }},
};

}  // namespace

VerifyData::VerifyData() noexcept = default;
VerifyData::~VerifyData() = default;

void VerifyData::doRequestVerify() {
   requestVerify_ = true;
   notify(requestVerifyAttributeId);
}

void VerifyData::updateCliVerifyOutput(Mdl::String const& function, Mdl::String const& text) const {
   cliOutput_.push_back({function, text});
}

void VerifyData::verifyOutputIs(VerifyOutput const& output) const { outputs_.push_back(output); }

void VerifyData::outputDelAll() noexcept {
   cliOutput_.clear();
   outputs_.clear();
}

Mdl::Type const& VerifyData::type() noexcept {
   static Mdl::Type const type(typeName, verifyMembers);
   return type;
}

}  // namespace Fwd
