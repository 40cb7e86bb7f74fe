#include "app/programmetext.h"

#include <QCoreApplication>
#include <QLocale>

namespace quorvale {

namespace {

constexpr int kWeekdayUpToDays = 6; // a week ago the weekday is that of today
constexpr int kLargestMegabyteSize = 0xFFFFF;
constexpr float kGigabytesPerKibibyte = 1.0F / (1 << 20);
constexpr int kGigabyteDigits = 3;

QString translated(const char *text)
{
    return QCoreApplication::translate("Viewer", text);
}

// Only within `today`'s year: on 1 January, the day before is shown by its weekday.
bool isYesterday(int day, int month, int year, const QDate &recorded, const QDate &today)
{
    if (today.year() != year)
        return false;
    if (today.month() == month && today.day() - 1 == day)
        return true;
    return today.day() == 1 && day == recorded.daysInMonth() && today.month() - 1 == month;
}

} // namespace

QString twoDigits(int number)
{
    const QString digits = QString::number(number);
    return number <= 9 ? QLatin1Char('0') + digits : digits;
}

QString formatStartTime(int hour, int minute, int second)
{
    return QStringLiteral("%1:%2:%3").arg(twoDigits(hour), twoDigits(minute), twoDigits(second));
}

QString formatRecordingDate(int day, int month, int year, std::optional<DateOrder> order, const QDate &today)
{
    const QDate recorded(year, month, day);
    if (recorded == today)
        return translated(QT_TRANSLATE_NOOP("Viewer", "Today"));
    if (isYesterday(day, month, year, recorded, today))
        return translated(QT_TRANSLATE_NOOP("Viewer", "Yesterday"));
    // A future date is a negative number of days back. A date that does not exist counts as 0 days back: its weekday
    // has no name.
    if (recorded.daysTo(today) <= kWeekdayUpToDays)
        return QLocale::system().dayName(recorded.dayOfWeek(), QLocale::LongFormat);

    if (!order)
        return recorded.toString(Qt::TextDate);
    return numericDate(*order, twoDigits(day), twoDigits(month), twoDigits(year));
}

QStringList recordingDateWords()
{
    QStringList words = {translated("Today"), translated("Yesterday")};
    for (int day = Qt::Monday; day <= Qt::Sunday; ++day)
        words.append(QLocale::system().dayName(day, QLocale::LongFormat));
    return words;
}

QString formatPlayPosition(int seconds)
{
    const int hours = seconds / 3600;
    const int rest = seconds - 3600 * hours;
    const int minutes = rest / 60;
    return translated(QT_TRANSLATE_NOOP("Viewer", "%1h %2m %3s")).arg(hours).arg(minutes).arg(rest - 60 * minutes);
}

QString formatFileSize(int kibibytes)
{
    const QString text = QStringLiteral("%1 %2");
    if (kibibytes <= kLargestMegabyteSize)
        return text.arg(QString::number(kibibytes / 1024), translated(QT_TRANSLATE_NOOP("Viewer", "MB")));
    // Single precision and three digits: both decide which figure is shown.
    const float gigabytes = static_cast<float>(kibibytes) * kGigabytesPerKibibyte;
    return text.arg(QString::number(static_cast<double>(gigabytes), 'g', kGigabyteDigits),
                    translated(QT_TRANSLATE_NOOP("Viewer", "GB")));
}

} // namespace quorvale
