#include "app/dateorder.h"

#include <QCoreApplication>

#include <array>
#include <iterator>

namespace quorvale {

namespace {

struct Texts
{
    const char *stored;
    const char *shown;
    const char *numeric; // %1 is the day, %2 the month, %3 the year
};

// In the order of DateOrder.
constexpr std::array<Texts, std::size(kDateOrders)> kTexts = {{
    {"dmy", QT_TRANSLATE_NOOP("Viewer", "dd.mm.yyyy"), "%1.%2.%3"},
    {"mdy", QT_TRANSLATE_NOOP("Viewer", "mm.dd.yyyy"), "%2.%1.%3"},
    {"ymd", QT_TRANSLATE_NOOP("Viewer", "yyyy.mm.dd"), "%3.%2.%1"},
}};

const Texts &textsOf(DateOrder order)
{
    return kTexts[static_cast<std::size_t>(order)];
}

template <typename Predicate>
std::optional<DateOrder> firstOrder(Predicate predicate)
{
    for (const DateOrder order : kDateOrders) {
        if (predicate(order))
            return order;
    }
    return std::nullopt;
}

} // namespace

std::optional<DateOrder> dateOrder(int dateFormat)
{
    return firstOrder([&](DateOrder order) { return static_cast<int>(order) == dateFormat; });
}

QString storedWord(DateOrder order)
{
    return QLatin1String(textsOf(order).stored);
}

std::optional<DateOrder> dateOrderStoredAs(const QString &word)
{
    return firstOrder([&](DateOrder order) { return storedWord(order) == word; });
}

QString dateOrderText(DateOrder order)
{
    return QCoreApplication::translate("Viewer", textsOf(order).shown);
}

QString numericDate(DateOrder order, const QString &day, const QString &month, const QString &year)
{
    return QString::fromLatin1(textsOf(order).numeric).arg(day, month, year);
}

} // namespace quorvale
