#include "fwd/FwdCommonSmData.h"

#include <utility>

namespace Fwd {

namespace {

constexpr Mdl::Member dataMembers[] = {
    {FwdCommonSmData::verifyDataAttributeId, "verifyData", Mdl::Member::Kind::scalar,
     [](Mdl::Entity const& e) {
        return Mdl::Reading::of(static_cast<FwdCommonSmData const&>(e).verifyData());
     }},
};

}  // namespace

FwdCommonSmData::FwdCommonSmData(Mdl::Ptr<VerifyData> verifyData)
    : verifyData_(std::move(verifyData)) {}
FwdCommonSmData::~FwdCommonSmData() = default;

Mdl::Type const& FwdCommonSmData::type() noexcept {
   static Mdl::Type const type(typeName, dataMembers);
   return type;
}

}  // namespace Fwd
