#pragma once

#include <QString>

#include <optional>

namespace quorvale {

/// The order of day, month and year in a date that is written in numbers. The values are those of Viewer::dateFormat.
enum class DateOrder { DayFirst = 0, MonthFirst = 1, YearFirst = 2 };

constexpr DateOrder kDateOrders[] = {DateOrder::DayFirst, DateOrder::MonthFirst, DateOrder::YearFirst};

/// The order that `dateFormat` stands for; nothing for any other value.
[[nodiscard]] std::optional<DateOrder> dateOrder(int dateFormat);

/// The word for an order in the settings, and the order for a word, which is compared case-sensitively.
[[nodiscard]] QString storedWord(DateOrder order);
[[nodiscard]] std::optional<DateOrder> dateOrderStoredAs(const QString &word);

/// How the preferences show an order, in the user's language: "dd.mm.yyyy".
[[nodiscard]] QString dateOrderText(DateOrder order);

/// The three texts in this order: "24.12.2015".
[[nodiscard]] QString numericDate(DateOrder order, const QString &day, const QString &month, const QString &year);

} // namespace quorvale
