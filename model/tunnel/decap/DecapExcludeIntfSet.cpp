#include "tunnel/decap/DecapExcludeIntfSet.h"

#include "mdl/Exception.h"
#include "mdl/Value.h"

#include <algorithm>

namespace Tunnel::Decap {

DecapExcludeIntfSet::DecapExcludeIntfSet(char const*& at, char const* end) {
   Mdl::needString(at, end, "Value('Tunnel::Decap::DecapExcludeIntfSet', ** {'key': ");
   key_ = Mdl::deserializeAttr<DecapIntfKey>(at, end, "key");
   Mdl::needString(at, end, ", 'excludeIntf': [");
   while (at != end && *at != ']') {
      if (!empty()) Mdl::needString(at, end, ", ");
      auto const intfId = Mdl::deserializeAttr<Pkt::IntfId>(at, end, "excludeIntf");
      if (!excludeIntfIs(intfId)) {
         throw Mdl::ParseException("attribute 'excludeIntf': a member twice: " +
                                   Mdl::quotedForMessage(intfId.name().view()));
      }
   }
   Mdl::needString(at, end, "]})");
}

bool DecapExcludeIntfSet::excludeIntfIs(Pkt::IntfId const& intfId) {
   if (members_.contains(intfId)) return false;
   ordered_.push_back(intfId);
   try {
      members_.insert(intfId);
   } catch (...) {
      ordered_.pop_back();
      throw;
   }
   return true;
}

bool DecapExcludeIntfSet::excludeIntfDel(Pkt::IntfId const& intfId) {
   if (members_.erase(intfId) == 0) return false;
   ordered_.erase(std::find(ordered_.begin(), ordered_.end(), intfId));
   return true;
}

void DecapExcludeIntfSet::excludeIntfDelAll() noexcept {
   members_.clear();
   ordered_.clear();
}

void DecapExcludeIntfSet::appendStrep(std::string& out) const {
   out += "Value('Tunnel::Decap::DecapExcludeIntfSet', ** {'key': ";
   Mdl::appendStrep(out, key_);
   out += ", 'excludeIntf': [";
   char const* separator = "";
   for (Pkt::IntfId const& intfId : ordered_) {
      out += separator;
      Mdl::appendStrep(out, intfId);
      separator = ", ";
   }
   out += "]})";
}

}  // namespace Tunnel::Decap
