#include "mdl/Exception.h"

#include "mdl/String.h"
#include "mdl/Value.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <type_traits>

namespace {

template <class E>
class ExceptionKinds : public testing::Test {};

using Kinds = testing::Types<Mdl::RangeException, Mdl::ParseException, Mdl::ReflectionException>;
TYPED_TEST_SUITE(ExceptionKinds, Kinds);

TYPED_TEST(ExceptionKinds, CarryTheirText) {
   EXPECT_STREQ(TypeParam("some text").what(), "some text");
}

TYPED_TEST(ExceptionKinds, AreCaughtAsFrameworkExceptions) {
   EXPECT_THROW(throw TypeParam("some text"), Mdl::Exception);
}

TEST(NullArgumentException, NamesTheOwningTypeAndTheAttribute) {
   EXPECT_STREQ(Mdl::NullArgumentException("Paint::Box", "colour").what(),
                "Paint::Box: mutator argument for colour is a null pointer");
}

TEST(NullArgumentException, IsCaughtAsAFrameworkException) {
   EXPECT_THROW(throw Mdl::NullArgumentException("Paint::Box", "colour"), Mdl::Exception);
}

// The kinds are apart, and all of them are known to code that knows the standard library only.
static_assert(std::is_base_of_v<std::runtime_error, Mdl::Exception>);
static_assert(!std::is_base_of_v<Mdl::RangeException, Mdl::ParseException>);
static_assert(!std::is_base_of_v<Mdl::ParseException, Mdl::RangeException>);

TEST(Exception, ThrownInTheLibraryIsRecognisedOutsideOfIt) {
   EXPECT_THROW(Mdl::strepToValue<std::uint16_t>(Mdl::String("port")), Mdl::ParseException);
}

}  // namespace
