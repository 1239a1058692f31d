#include "mdl/Reflection.h"

#include "mdl/Attribute.h"
#include "mdl/Clock.h"
#include "mdl/Exception.h"
#include "support/Plant.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <functional>
#include <iterator>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

using Kind = Mdl::Member::Kind;
using Mdl::Member;
using Mdl::Ptr;
using Mdl::Reading;
using Mdl::String;
using Value = Reading::Value;

enum class Colour : std::uint8_t { none = 0, red = 1 };

}  // namespace

template <>
struct Mdl::EnumTraits<Colour> {
   static constexpr char const* typeName = "Colour";
   static constexpr Enumerator enumerators[] = {{Colour::none, "none"}, {Colour::red, "red"}};
};

namespace {

/// An entity with a member of each kind, made from a clock and another gadget.
class Gadget final : public Mdl::Entity {
 public:
   static constexpr char typeName[] = "Gadget";

   explicit Gadget(Ptr<Mdl::Clock> clock = nullptr, Ptr<Gadget> other = nullptr)
       : clock_(std::move(clock)), other_(std::move(other)) {}

   static Mdl::Type const& type() noexcept;
   Mdl::Type const& fwkType() const noexcept override { return type(); }

   Ptr<Mdl::Clock> const& clock() const noexcept { return clock_; }
   Ptr<Gadget> const& other() const noexcept { return other_; }

   MDL_SCALAR(bool, on, 130);
   MDL_SCALAR(std::uint16_t, port, 131);
   MDL_SCALAR(double, weight, 132);
   MDL_SCALAR(String, label, 133);
   MDL_SCALAR(Colour, colour, 134);
   MDL_MAP(String, std::uint32_t, part, 135);

 private:
   ~Gadget() override = default;

   Ptr<Mdl::Clock> clock_;
   Ptr<Gadget> other_;
};

Gadget const& gadget(Mdl::Entity const& entity) { return static_cast<Gadget const&>(entity); }

void partIs(Mdl::Entity& entity, std::span<String const> arguments) {
   static_cast<Gadget&>(entity).partIs(Mdl::strepToValue<String>(arguments[0]),
                                       Mdl::strepToValue<std::uint32_t>(arguments[1]));
}

Ptr<Mdl::Entity> makeGadget(std::span<Ptr<Mdl::Entity> const> arguments) {
   return Mdl::allocate<Gadget>(Mdl::constructionArgument<Mdl::Clock>(arguments, 0),
                                Mdl::constructionArgument<Gadget>(arguments, 1));
}

constexpr Member gadgetMembers[] = {
    {Gadget::onAttributeId, "on", Kind::scalar,
     [](Mdl::Entity const& e) { return Reading::of(gadget(e).on()); }},
    {Gadget::portAttributeId, "port", Kind::scalar,
     [](Mdl::Entity const& e) { return Reading::of(gadget(e).port()); }},
    {Gadget::weightAttributeId, "weight", Kind::scalar,
     [](Mdl::Entity const& e) { return Reading::of(gadget(e).weight()); }},
    {Gadget::labelAttributeId, "label", Kind::scalar,
     [](Mdl::Entity const& e) { return Reading::of(gadget(e).label()); }},
    {Gadget::colourAttributeId, "colour", Kind::scalar,
     [](Mdl::Entity const& e) { return Reading::of(gadget(e).colour()); }},
    {Gadget::partAttributeId, "part", Kind::collection,
     [](Mdl::Entity const& e) { return Reading::ofCollection(gadget(e).part()); }},
    {136, "partIs", Kind::operation, nullptr, partIs, 2},
    {137, "clock", Kind::scalar,
     [](Mdl::Entity const& e) { return Reading::of(gadget(e).clock()); }},
    {138, "heavy", Kind::view,
     [](Mdl::Entity const& e) { return Reading::of(gadget(e).weight() > 100.0); }},
};

Mdl::Type const& Gadget::type() noexcept {
   static Mdl::Type const type(typeName, gadgetMembers, makeGadget);
   return type;
}

class Reflection : public testing::Test {
 protected:
   /// The text of the ReflectionException that `act` raises.
   static std::string refusal(std::function<void()> const& act) {
      try {
         act();
      } catch (Mdl::ReflectionException const& exception) {
         return exception.what();
      }
      return "no exception";
   }

   Ptr<Gadget> made = Mdl::allocate<Gadget>(Mdl::allocate<Mdl::Clock>());
};

// ---- Reading
// -------------------------------------------------------------------------------------

TEST_F(Reflection, PlainValuesAreReadAsTheyAre) {
   made->onIs(true);
   made->portIs(65535);
   made->weightIs(0.5);
   made->labelIs("a 'label'");
   EXPECT_EQ(Mdl::read(*made, "on").value, Value(true));
   EXPECT_EQ(Mdl::read(*made, "port").value, Value(std::uint64_t{65535}));
   EXPECT_EQ(Mdl::read(*made, "weight").value, Value(0.5));
   EXPECT_EQ(Mdl::read(*made, "label").value, Value(String("a 'label'")));
}

TEST_F(Reflection, OtherValuesAreReadInTheirTextRepresentation) {
   made->colourIs(Colour::red);
   EXPECT_EQ(Mdl::read(*made, "colour").value, Value(String("red")));
}

TEST_F(Reflection, EntitiesAreReadAsPointers) {
   Ptr<Mdl::Entity const> const clock = made->clock();
   EXPECT_EQ(Mdl::read(*made, "clock").value, Value(clock));
   EXPECT_EQ(Mdl::read(*Mdl::allocate<Gadget>(), "clock").value, Value(Ptr<Mdl::Entity const>()));
}

TEST_F(Reflection, ACollectionIsReadInItsOrder) {
   made->partIs("b", 2);
   made->partIs("a", 1);
   Reading const reading = Mdl::read(*made, "part");
   EXPECT_EQ(reading.value, Value());
   EXPECT_EQ(reading.entries,
             (Reading::Entries{{String("b"), std::uint64_t{2}}, {String("a"), std::uint64_t{1}}}));
}

TEST_F(Reflection, AScalarHasNoEntries) { EXPECT_TRUE(Mdl::read(*made, "port").entries.empty()); }

TEST_F(Reflection, AViewIsReadLikeAnAttribute) {
   EXPECT_EQ(Mdl::read(*made, "heavy").value, Value(false));
   made->weightIs(101.0);
   EXPECT_EQ(Mdl::read(*made, "heavy").value, Value(true));
}

TEST_F(Reflection, TheIdentifierReadsTheSameAsTheName) {
   made->portIs(7);
   made->weightIs(101.0);
   made->partIs("a", 1);
   for (Member const& member : Gadget::type().members()) {
      if (member.kind == Kind::operation) continue;
      Reading const byId = Mdl::read(*made, member.id);
      Reading const byName = Mdl::read(*made, member.name);
      EXPECT_EQ(byId.value, byName.value) << member.name;
      EXPECT_EQ(byId.entries, byName.entries) << member.name;
   }
}

TEST_F(Reflection, AnUnknownMemberIsRefusedByTypeAndMember) {
   EXPECT_EQ(refusal([&] { Mdl::read(*made, "ports"); }), "Gadget has no member ports");
   EXPECT_EQ(refusal([&] { Mdl::read(*made, 129); }), "Gadget has no member 129");
}

TEST_F(Reflection, AnOperationHasNoValue) {
   std::string const expected = "Gadget::partIs is an operation and has no value";
   EXPECT_EQ(refusal([&] { Mdl::read(*made, "partIs"); }), expected);
   EXPECT_EQ(refusal([&] { Mdl::read(*made, 136); }), expected);
}

// ---- Describing
// ----------------------------------------------------------------------------------

TEST_F(Reflection, ATypeFindsItsMembersByIdentifierAndByName) {
   Mdl::Type const& type = made->fwkType();
   EXPECT_STREQ(type.name(), "Gadget");
   EXPECT_EQ(type.members().size(), std::size(gadgetMembers));
   ASSERT_NE(type.member("port"), nullptr);
   EXPECT_EQ(type.member("port"), type.member(131));
   EXPECT_EQ(type.member("port")->kind, Kind::scalar);
   EXPECT_EQ(type.member("por"), nullptr);
   EXPECT_EQ(type.member(0), nullptr);
}

TEST_F(Reflection, ATypeMayHaveNoMembers) {
   EXPECT_TRUE(Support::Leaf::type().members().empty());
   EXPECT_EQ(Support::Leaf::type().member("name"), nullptr);
}

// ---- Invoking
// ------------------------------------------------------------------------------------

TEST_F(Reflection, AnOperationIsCalledWithTextRepresentations) {
   std::array<String, 2> const arguments{"'wheel'", "4"};
   Mdl::invoke(*made, "partIs", arguments);
   EXPECT_EQ(made->part("wheel"), 4u);
}

TEST_F(Reflection, AWrongNumberOfArgumentsIsRefused) {
   std::array<String, 3> const three{"'wheel'", "4", "5"};
   EXPECT_EQ(refusal([&] { Mdl::invoke(*made, "partIs", three); }),
             "Gadget::partIs takes 2 arguments, not 3");
   EXPECT_EQ(refusal([&] { Mdl::invoke(*made, "partIs"); }),
             "Gadget::partIs takes 2 arguments, not 0");
   EXPECT_TRUE(made->part().empty());
}

TEST_F(Reflection, WhatIsNoOperationIsNotInvoked) {
   EXPECT_EQ(refusal([&] { Mdl::invoke(*made, "port"); }), "Gadget::port is not an operation");
   EXPECT_EQ(refusal([&] { Mdl::invoke(*made, "ports"); }), "Gadget has no member ports");
}

TEST_F(Reflection, AnArgumentThatDoesNotParseChangesNothing) {
   std::array<String, 2> const arguments{"'wheel'", "four"};
   EXPECT_THROW(Mdl::invoke(*made, "partIs", arguments), Mdl::ParseException);
   EXPECT_TRUE(made->part().empty());
}

// ---- Constructing
// --------------------------------------------------------------------------------

TEST_F(Reflection, AnInstanceIsMadeFromAList) {
   auto const clock = Mdl::allocate<Mdl::Clock>();
   std::array<Ptr<Mdl::Entity>, 2> const arguments{clock, made};
   auto const instance = Mdl::dynamicPtrCast<Gadget>(Gadget::type().construct(arguments));
   ASSERT_NE(instance, nullptr);
   EXPECT_EQ(instance->clock(), clock);
   EXPECT_EQ(instance->other(), made);
}

TEST_F(Reflection, ANullArgumentStaysNull) {
   std::array<Ptr<Mdl::Entity>, 2> const arguments{};
   auto const instance = Mdl::dynamicPtrCast<Gadget>(Gadget::type().construct(arguments));
   ASSERT_NE(instance, nullptr);
   EXPECT_EQ(instance->clock(), nullptr);
   EXPECT_EQ(instance->other(), nullptr);
}

TEST_F(Reflection, AnArgumentOfAnotherTypeIsRefusedByPlaceAndTypes) {
   std::array<Ptr<Mdl::Entity>, 2> const arguments{nullptr, Mdl::allocate<Mdl::Clock>()};
   EXPECT_EQ(refusal([&] { Gadget::type().construct(arguments); }),
             "construction argument 2 is a Mdl::Clock, not a Gadget");
}

TEST_F(Reflection, ATypeWithoutAConstructorIsRefused) {
   EXPECT_EQ(refusal([] { Mdl::Clock::type().construct({}); }),
             "Mdl::Clock cannot be constructed from a list");
}

// ---- Counting allocations
// ------------------------------------------------------------------------

TEST(AllocationCounts, FollowTheInstancesOfTheType) {
   Mdl::Type const& type = Support::Leaf::type();
   auto const live = type.allocations();
   auto const ever = type.allocationsEver();
   auto one = Mdl::allocate<Support::Leaf>("one");
   auto two = Mdl::allocate<Support::Leaf>("two");
   EXPECT_EQ(type.allocations(), live + 2);
   EXPECT_EQ(type.allocationsEver(), ever + 2);
   one = nullptr;
   EXPECT_EQ(type.allocations(), live + 1);
   EXPECT_EQ(type.allocationsEver(), ever + 2);
   two = nullptr;
   EXPECT_EQ(type.allocations(), live);
}

TEST(AllocationCounts, AreKeptForEachTypeByItself) {
   auto const plants = Support::Plant::type().allocations();
   auto const leaf = Mdl::allocate<Support::Leaf>("leaf");
   EXPECT_EQ(Support::Plant::type().allocations(), plants);
}

TEST(AllocationCounts, LeaveOutWhatItsConstructorRefused) {
   struct Refusing final : Mdl::Entity {
      Refusing() { throw std::runtime_error("refused"); }
      Mdl::Type const& fwkType() const noexcept override { return Support::Plant::type(); }
   };
   auto const ever = Support::Plant::type().allocationsEver();
   EXPECT_THROW(Mdl::allocate<Refusing>(), std::runtime_error);
   EXPECT_EQ(Support::Plant::type().allocationsEver(), ever);
}

TEST(AllocationCounts, LeaveOutWhatTheFrameworkDidNotAllocate) {
   auto const live = Support::Leaf::type().allocations();
   { auto const leaf = Ptr<Support::Leaf>::adopt(new Support::Leaf("leaf")); }
   EXPECT_EQ(Support::Leaf::type().allocations(), live);
}

}  // namespace
