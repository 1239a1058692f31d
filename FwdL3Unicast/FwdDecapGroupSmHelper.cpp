#include "FwdL3Unicast/FwdDecapGroupSmHelper.h"

#include "mdl/Reflection.h"

#include <utility>

namespace Fwd {

namespace {

constexpr Mdl::Member helperMembers[] = {
    {257, "name", Mdl::Member::Kind::scalar,
     [](Mdl::Entity const& e) {
        return Mdl::Reading::of(static_cast<FwdDecapGroupSmHelper const&>(e).name());
     }},
};

}  // namespace

FwdDecapGroupSmHelper::FwdDecapGroupSmHelper(Mdl::String name) : name_(std::move(name)) {}
FwdDecapGroupSmHelper::~FwdDecapGroupSmHelper() = default;

Mdl::String FwdDecapGroupSmHelper::name() const { return name_; }
void FwdDecapGroupSmHelper::verify() {}
void FwdDecapGroupSmHelper::decapGroupConfigReady() {}
bool FwdDecapGroupSmHelper::waitForDstPortPayloadTypeForUdpTunnel() { return true; }

Mdl::Type const& FwdDecapGroupSmHelper::type() noexcept {
   static Mdl::Type const type(typeName, helperMembers);
   return type;
}

}  // namespace Fwd
