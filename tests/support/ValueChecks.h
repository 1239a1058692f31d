#pragma once

#include "mdl/Exception.h"
#include "mdl/String.h"
#include "mdl/Value.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

namespace Support {

/// What a stream operator writes.
template <class T>
std::string streamed(T const& value) {
   std::ostringstream out;
   out << value;
   return out.str();
}

/// The text of the ParseException that reading `text` as a `T` raises; "" when it raises none.
template <class T>
std::string parseError(std::string const& text) {
   try {
      static_cast<void>(Mdl::strepToValue<T>(Mdl::String(text)));
   } catch (Mdl::ParseException const& error) {
      return error.what();
   }
   return "";
}

/// The value's text representation reads back to the value, alone and with text behind it.
template <class T>
void expectRoundTrip(T const& value) {
   Mdl::String const text = Mdl::valueToStrep(value);
   EXPECT_EQ(Mdl::strepToValue<T>(text), value) << text;

   std::string const followed = text.stdString() + ", more";
   char const* at = followed.data();
   char const* const end = at + followed.size();
   EXPECT_EQ(Mdl::strepToValue<T>(at, end), value) << text;
   EXPECT_EQ(std::string(at, end), ", more") << text;
}

/// Every text that breaks off before the representation ends is refused.
template <class T>
void expectNoPartIsAValue(T const& value) {
   std::string const text = Mdl::valueToStrep(value).stdString();
   for (std::size_t length = 0; length < text.size(); ++length) {
      EXPECT_THROW(static_cast<void>(Mdl::strepToValue<T>(Mdl::String(text.substr(0, length)))),
                   Mdl::ParseException)
          << text.substr(0, length);
   }
}

/// `==`, `<` and the seeded hash agree with each other over all pairs and triples of `values`.
template <class T>
void expectOrderEqualityAndHashAgree(std::vector<T> const& values) {
   for (T const& a : values) {
      for (T const& b : values) {
         int const ways = (a < b ? 1 : 0) + (b < a ? 1 : 0) + (a == b ? 1 : 0);
         ASSERT_EQ(ways, 1);
         ASSERT_EQ(a == b, b == a);
         ASSERT_EQ(a != b, !(a == b));
         if (a == b) {
            ASSERT_EQ(a.hash(std::uint32_t{17}), b.hash(std::uint32_t{17}));
         }
         if (!(a < b)) continue;
         for (T const& c : values) {
            if (b < c) {
               ASSERT_TRUE(a < c);
            }
         }
      }
   }
}

}  // namespace Support
