#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Ctl::Report {

/// For HTML, as text and in quotes: markup is taken apart, and what is no character of a page (a
/// control, a byte that is not UTF-8) is shown as \xNN. So are the characters that turn the
/// direction of text.
std::string escaped(std::string_view text);

/// 1234567 as "1,234,567".
std::string counted(std::uint64_t number);
/// "3 entries", "1 entry".
std::string counted(std::uint64_t number, std::string const& one, std::string const& several);
/// A duration as people say it: "0 s", "2.5 ms", "1 h 05 min".
std::string duration(double seconds);
/// A coordinate: one digit behind the point, none when it is 0.
std::string coordinate(double value);
/// A time since the beginning, in seconds, to six digits and no finer than a microsecond.
std::string moment(double seconds);
/// Short and exact enough for an axis: "0.25", "1200", "1e+09".
std::string plain(double value);

}  // namespace Ctl::Report
