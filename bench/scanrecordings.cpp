// scan_recordings REPORT RECORDING...: makes the thumbnails of the recordings, as a window has it done, and nothing
// else. A line for each recording that has any goes to the file REPORT: how many, the sizes of both kinds, and its
// path.

#include "thumbs/thumbnailscanner.h"

#include <QFile>
#include <QGuiApplication>
#include <QTextStream>

int main(int argc, char **argv)
{
    const QGuiApplication application(argc, argv);
    QStringList arguments = QCoreApplication::arguments().mid(1);
    if (arguments.size() < 2)
        return 2;
    QFile file(arguments.takeFirst());
    if (!file.open(QIODevice::WriteOnly))
        return 1;
    QTextStream report(&file);

    ThumbnailScanner scanner;
    scanner.files = arguments;
    const auto describe = [&](const QString &path, const QVector<QPixmap *> &small, const QVector<QPixmap *> &large) {
        if (!small.isEmpty()) {
            report << small.size() << ' ' << small.first()->width() << ' ' << small.first()->height() << ' '
                   << large.first()->width() << ' ' << large.first()->height() << ' ' << path << '\n';
        }
        qDeleteAll(small);
        qDeleteAll(large);
    };
    QObject::connect(&scanner, &ThumbnailScanner::gotThumbs, describe);
    QObject::connect(&scanner, &ThumbnailScanner::finished, &application, &QCoreApplication::quit,
                     Qt::QueuedConnection);
    scanner.process();
    return QGuiApplication::exec();
}
