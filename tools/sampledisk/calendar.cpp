#include "tools/sampledisk/calendar.h"

#include <array>
#include <cstdio>
#include <ctime>

namespace quorvale {

namespace {

Day dayOf(const std::tm &local)
{
    return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday};
}

} // namespace

Day today()
{
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    return dayOf(local);
}

Day daysBefore(const Day &day, int days)
{
    std::tm local{};
    local.tm_year = day.year - 1900;
    local.tm_mon = day.month - 1;
    local.tm_mday = day.day - days;
    local.tm_hour = 12; // at noon a change to summer time does not change the day
    local.tm_isdst = -1;
    std::mktime(&local); // turns a day of 0 or less into one of an earlier month
    return dayOf(local);
}

std::string isoText(const Day &day)
{
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02d", day.year, day.month, day.day);
    return text.data();
}

} // namespace quorvale
