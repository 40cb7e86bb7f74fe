#pragma once

#include "app/dateorder.h"

#include <QDate>
#include <QString>
#include <QStringList>

#include <optional>

namespace quorvale {

// A programme's facts as texts of the details panel. They need no window; the caller says which day is today.

/// `number` in decimal, after a "0" if it is 9 or less: 5 gives "05", 123 gives "123", -3 gives "0-3".
QString twoDigits(int number);

/// "07:05:00"
QString formatStartTime(int hour, int minute, int second);

/// The date of a recording as seen from `today`: "Today", "Yesterday" (within one year), the weekday up to six days
/// back and for any date in the future, otherwise the numbers in `order`, and without an order Qt's text form. A date
/// that does not exist gives an empty text.
QString formatRecordingDate(int day, int month, int year, std::optional<DateOrder> order, const QDate &today);

/// The words that may stand for a date, in the user's language.
QStringList recordingDateWords();

/// `seconds` as "1h 2m 5s", each part truncated and unpadded.
QString formatPlayPosition(int seconds);

/// A size in KiB: whole "MB" below 1 GiB, "GB" to three significant digits from there ("1.46 GB", "1.54e+03 GB").
QString formatFileSize(int kibibytes);

} // namespace quorvale
