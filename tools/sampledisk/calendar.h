#pragma once

#include <string>

namespace quorvale {

/// A day of the local calendar.
struct Day
{
    int year = 1980;
    int month = 1; ///< 1 to 12
    int day = 1;   ///< 1 to 31
};

/// The current day by the local clock.
[[nodiscard]] Day today();

/// The day `days` before `day`.
[[nodiscard]] Day daysBefore(const Day &day, int days);

/// As in "2024-02-29".
[[nodiscard]] std::string isoText(const Day &day);

} // namespace quorvale
