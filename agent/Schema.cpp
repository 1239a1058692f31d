#include "agent/Schema.h"

#include "agent/InputError.h"
#include "mdl/Assert.h"
#include "mdl/Value.h"

#include <utility>

namespace Agent {

SchemaNode::~SchemaNode() = default;

void SchemaNode::wrong(std::string const& found) const {
   throw ValueError("expected " + expects_ + ", found " + found);
}

void SchemaNode::text(std::string_view value) { wrong("the text " + Mdl::quotedForMessage(value)); }
void SchemaNode::flag(bool value) { wrong(value ? "true" : "false"); }
void SchemaNode::number(std::uint64_t value) { wrong("the number " + std::to_string(value)); }
void SchemaNode::real(double, std::string_view written) {
   wrong("the number " + std::string(written.substr(0, 40)));
}
void SchemaNode::beginList() { wrong("a list"); }
// Reached only after beginList() or beginRecord() let the reader in.
SchemaNode& SchemaNode::element() { wrong("a list"); }
void SchemaNode::endList() { wrong("a list"); }
void SchemaNode::beginRecord() { wrong("an object"); }
SchemaNode& SchemaNode::field(std::string_view) { wrong("an object"); }
void SchemaNode::endRecord() { wrong("an object"); }

NumberNode::NumberNode(std::uint64_t greatest, Take take)
    : SchemaNode("a whole number from 0 to " + std::to_string(greatest)), greatest_(greatest),
      take_(std::move(take)) {}

void NumberNode::number(std::uint64_t value) {
   if (value > greatest_) wrong("the number " + std::to_string(value));
   take_(value);
}

SecondsNode::SecondsNode(Take take)
    : SchemaNode("seconds, a number of at least 0"), take_(std::move(take)) {}

void SecondsNode::real(double value, std::string_view written) {
   // Also refuses what is not a number.
   if (!(value >= 0.0)) wrong("the number " + std::string(written.substr(0, 40)));
   take_(value);
}

RecordNode::RecordNode(std::vector<Field> fields, std::function<void()> begin,
                       std::function<void()> end)
    : SchemaNode("an object"), fields_(std::move(fields)), begin_(std::move(begin)),
      end_(std::move(end)) {
   MDL_ASSERT(fields_.size() <= 32);
}

void RecordNode::beginRecord() {
   seen_ = 0;
   if (begin_) begin_();
}

SchemaNode& RecordNode::field(std::string_view name) {
   std::string known;
   for (std::size_t i = 0; i < fields_.size(); ++i) {
      if (fields_[i].name == name) {
         std::uint32_t const bit = 1u << i;
         if ((seen_ & bit) != 0) throw ValueError("the field appears a second time");
         seen_ |= bit;
         return fields_[i].node;
      }
      known += known.empty() ? "" : ", ";
      known += fields_[i].name;
   }
   throw ValueError("unknown field; known here: " + known);
}

void RecordNode::endRecord() {
   for (std::size_t i = 0; i < fields_.size(); ++i) {
      if (fields_[i].presence == Presence::required && (seen_ & 1u << i) == 0) {
         throw ValueError("the field \"" + std::string(fields_[i].name) + "\" is missing");
      }
   }
   if (end_) end_();
}

}  // namespace Agent
