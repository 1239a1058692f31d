#include "pkt/WideAddresses.h"
#include "support/FailingNew.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <map>
#include <new>
#include <random>
#include <vector>

namespace {

using Pkt::WideAddresses;

WideAddresses::Bytes address(std::uint32_t number) {
   WideAddresses::Bytes bytes{};
   for (std::size_t i = 0; i < 4; ++i) bytes[i + 4] = static_cast<std::uint8_t>(number >> (8 * i));
   return bytes;
}

TEST(WideAddresses, EachHasItsNumberAsLongAsItStays) {
   WideAddresses addresses;
   std::map<std::uint32_t, std::uint32_t> expected;
   std::mt19937 random(1);
   for (std::uint32_t i = 0; i < 20000; ++i) {
      // Phases of growth and of decline.
      if (expected.empty() || random() % 10 < (i / 2000 % 2 == 0 ? 7U : 3U)) {
         std::uint32_t const number = addresses.add(address(i));
         ASSERT_TRUE(expected.emplace(number, i).second) << number;
      } else {
         auto const gone =
             std::next(expected.begin(), static_cast<std::ptrdiff_t>(random() % expected.size()));
         addresses.remove(gone->first);
         expected.erase(gone);
      }
      if (i % 100 != 0) continue;
      for (auto const& [number, stored] : expected) {
         ASSERT_EQ(addresses.at(number), address(stored));
      }
   }
   while (!expected.empty()) {
      addresses.remove(expected.begin()->first);
      expected.erase(expected.begin());
   }
   EXPECT_EQ(addresses.chunks(), 0U);
}

TEST(WideAddresses, NumbersAreUsedAgain) {
   WideAddresses addresses;
   std::vector<std::uint32_t> numbers;
   for (std::uint32_t i = 0; i < 640; ++i) numbers.push_back(addresses.add(address(i)));
   EXPECT_EQ(addresses.chunks(), 10U);
   for (std::uint32_t const number : numbers) addresses.remove(number);
   EXPECT_EQ(addresses.chunks(), 0U);
   for (std::uint32_t i = 0; i < 640; ++i) EXPECT_LT(addresses.add(address(i)), 640U);
   EXPECT_EQ(addresses.chunks(), 10U);
}

TEST(WideAddresses, OneThatFindsNoMemoryLeavesNoTrace) {
   WideAddresses addresses;
   for (std::uint32_t i = 0; i < 1000; ++i) {
      for (int successes = 0;; ++successes) {
         Support::FailingNew const failing(successes, 1);
         try {
            ASSERT_EQ(addresses.add(address(i)), i);
            break;
         } catch (std::bad_alloc const&) {
            ASSERT_LT(successes, 4);
         }
      }
   }
   for (std::uint32_t i = 0; i < 1000; ++i) EXPECT_EQ(addresses.at(i), address(i));
}

}  // namespace
