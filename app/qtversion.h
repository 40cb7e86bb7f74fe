#pragma once

#include <QApplication>
#include <QSettings>
#include <QTextStream>

namespace quorvale {

// What differs between Qt's major versions, each difference under a name of its own. No other file of this room asks
// for the version.

/// Windows and pixmaps use the screen's own density. Call it before the application object is made; Qt 6 does it by
/// itself. Qt 5 uses whole densities only: where nobody chose a density it derives one from the screen's resolution,
/// and a window of density 1.04 would be blurred.
inline void useScreenDensity()
{
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    QApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
#endif
}

/// `stream` writes in the encoding of the user's locale: Qt 5's default, where Qt 6 would write UTF-8 in any locale.
/// (On Linux Qt 6 takes UTF-8 for every locale's encoding.)
inline void useLocaleEncoding([[maybe_unused]] QTextStream &stream)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    stream.setEncoding(QStringConverter::System);
#endif
}

/// `settings`, if its store is a text file, uses UTF-8, the only encoding that Qt 6 reads and writes. Without this Qt 5
/// would misread letters that Qt 6 wrote. With it, it still reads what Qt 5 wrote before.
inline void useUtf8([[maybe_unused]] QSettings &settings)
{
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    settings.setIniCodec("UTF-8");
#endif
}

} // namespace quorvale
