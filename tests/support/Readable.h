#pragma once

#include "mdl/Reflection.h"

#include <gtest/gtest.h>

#include <string>
#include <variant>
#include <vector>

namespace Support {

/// The members of an entity's type, "259 decapGroup" each. Reads each of them by identifier and by
/// name, and expects the same both times.
inline std::vector<std::string> readableMembers(Mdl::Entity const& entity) {
   std::vector<std::string> members;
   for (Mdl::Member const& member : entity.fwkType().members()) {
      Mdl::Reading const byId = Mdl::read(entity, member.id);
      Mdl::Reading const byName = Mdl::read(entity, member.name);
      EXPECT_EQ(byId.value, byName.value) << member.name;
      EXPECT_EQ(byId.entries, byName.entries) << member.name;
      members.push_back(std::to_string(member.id) + ' ' + member.name);
   }
   return members;
}

/// What reading a member gives, when that is a text, a name or an address.
inline std::string readText(Mdl::Entity const& entity, char const* member) {
   Mdl::Reading const reading = Mdl::read(entity, member);
   return std::get<Mdl::String>(reading.value).stdString();
}

}  // namespace Support
