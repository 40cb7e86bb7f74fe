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

// Characters that end the isolate around a name, or turn what comes after it.
bool reachesBeyondItsName(QChar c)
{
    switch (c.direction()) {
    case QChar::DirB:
    case QChar::DirLRE:
    case QChar::DirRLE:
    case QChar::DirLRO:
    case QChar::DirRLO:
    case QChar::DirPDF:
    case QChar::DirLRI:
    case QChar::DirRLI:
    case QChar::DirFSI:
    case QChar::DirPDI:
        return true;
    default:
        return false;
    }
}

QString withoutReachingCharacters(QString text)
{
    text.truncate(static_cast<int>(std::remove_if(text.begin(), text.end(), reachesBeyondItsName) - text.begin()));
    return text;
}

} // namespace

QString withNamesApart(const QString &path)
{
    QStringList names = withoutReachingCharacters(path).split(QLatin1Char('/'));
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
