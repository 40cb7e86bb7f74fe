#pragma once

#include <QApplication>
#include <QSettings>
#include <QTextStream>

namespace quorvale {

// What differs between Qt's major versions, each difference under a name of its own. No other file of this room asks
// for the version.

/// Windows and pixmaps use the screen's own density. To be called before the application object is made; Qt 6 does it
/// by itself. Qt 5 keeps to whole densities: it takes a screen's resolution for one where nobody chose any, and a
/// window of density 1.04 would be blurred.
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

/// `settings` keeps its file, where it is a text file, in UTF-8: all that Qt 6 reads and writes. Qt 5 alone would
/// take the letters that Qt 6 wrote for others. What Qt 5 wrote without this is read too.
inline void useUtf8([[maybe_unused]] QSettings &settings)
{
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    settings.setIniCodec("UTF-8");
#endif
}

} // namespace quorvale
