#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace Agent {

/// One place of a document and what may stand there. The reader of the document hands over what it
/// finds; each kind of node takes its own kind of value and refuses the others.
///
/// Owner: whoever composes the schema; nodes refer to each other and do not own.
/// Errors: ValueError, to which the reader adds the place.
class SchemaNode {
 public:
   /// "a whole number from 0 to 65535".
   explicit SchemaNode(std::string expects) : expects_(std::move(expects)) {}
   SchemaNode(SchemaNode const&) = delete;
   SchemaNode& operator=(SchemaNode const&) = delete;
   virtual ~SchemaNode();

   virtual void text(std::string_view value);
   virtual void flag(bool value);
   virtual void number(std::uint64_t value);
   /// A number with a sign, a point or an exponent; `written` as the document has it.
   virtual void real(double value, std::string_view written);
   void null() const { wrong("null"); }

   virtual void beginList();
   /// What stands for every element of the list.
   virtual SchemaNode& element();
   virtual void endList();

   virtual void beginRecord();
   /// What stands for the field. Unknown and repeated fields are refused.
   virtual SchemaNode& field(std::string_view name);
   virtual void endRecord();

 protected:
   [[noreturn]] void wrong(std::string const& found) const;

 private:
   std::string const expects_;
};

/// A string.
class TextNode final : public SchemaNode {
 public:
   using Take = std::function<void(std::string_view)>;
   TextNode(std::string expects, Take take)
       : SchemaNode(std::move(expects)), take_(std::move(take)) {}
   void text(std::string_view value) override { take_(value); }

 private:
   Take const take_;
};

/// true or false.
class FlagNode final : public SchemaNode {
 public:
   using Take = std::function<void(bool)>;
   explicit FlagNode(Take take) : SchemaNode("true or false"), take_(std::move(take)) {}
   void flag(bool value) override { take_(value); }

 private:
   Take const take_;
};

/// A whole number from 0 to `greatest`.
class NumberNode final : public SchemaNode {
 public:
   using Take = std::function<void(std::uint64_t)>;
   NumberNode(std::uint64_t greatest, Take take);
   void number(std::uint64_t value) override;

 private:
   std::uint64_t const greatest_;
   Take const take_;
};

/// Seconds: a number that is not negative.
class SecondsNode final : public SchemaNode {
 public:
   using Take = std::function<void(double)>;
   explicit SecondsNode(Take take);
   void number(std::uint64_t value) override { take_(static_cast<double>(value)); }
   void real(double value, std::string_view written) override;

 private:
   Take const take_;
};

/// A list of any length whose elements are all of one kind.
class ListNode final : public SchemaNode {
 public:
   explicit ListNode(SchemaNode& element) : SchemaNode("a list"), element_(element) {}
   void beginList() override {}
   SchemaNode& element() override { return element_; }
   void endList() override {}

 private:
   SchemaNode& element_;
};

/// An object with known fields.
class RecordNode final : public SchemaNode {
 public:
   enum class Presence : std::uint8_t { optional, required };
   struct Field {
      std::string_view name;
      SchemaNode& node;
      Presence presence = Presence::optional;
   };

   /// `begin` runs when the object opens, before its fields; `end` when it closes with all that are
   /// required. No more than 32 fields.
   explicit RecordNode(std::vector<Field> fields, std::function<void()> begin = {},
                       std::function<void()> end = {});

   void beginRecord() override;
   SchemaNode& field(std::string_view name) override;
   void endRecord() override;

 private:
   std::vector<Field> const fields_;
   std::function<void()> const begin_;
   std::function<void()> const end_;
   std::uint32_t seen_ = 0;
};

}  // namespace Agent
