#include "app/displaypath.h"

#include <QStringList>

#include <algorithm>

namespace quorvale {

namespace {

constexpr QChar kLeftToRightIsolate(0x2066);
constexpr QChar kFirstStrongIsolate(0x2068); // The name's own letters say how it reads.
constexpr QChar kPopDirectionalIsolate(0x2069);

// Nothing below the Hebrew letters reads from right to left, or makes anything do so.
bool mayReadFromRightToLeft(const QString &name)
{
    constexpr char16_t kFirstHebrew = 0x0590;
    return std::any_of(name.begin(), name.end(), [](QChar c) { return c.unicode() >= kFirstHebrew; });
}

} // namespace

QString withNamesApart(const QString &path)
{
    QStringList names = path.split(QLatin1Char('/'));
    for (QString &name : names) {
        if (mayReadFromRightToLeft(name))
            name = kFirstStrongIsolate + name + kPopDirectionalIsolate;
    }
    return names.join(QLatin1Char('/'));
}

QString pathInText(const QString &path)
{
    return kLeftToRightIsolate + withNamesApart(path) + kPopDirectionalIsolate;
}

} // namespace quorvale
