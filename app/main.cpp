#include "app/viewer.h"

#include <QApplication>
#include <QFont>

int main(int argc, char **argv)
{
#ifdef Q_OS_MACOS
    // The system's own user-interface font cannot be asked for by its name.
    QFont::insertSubstitution(QStringLiteral(".Lucida Grande UI"), QStringLiteral("Lucida Grande"));
#endif
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    QApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
#endif
    QApplication application(argc, argv);
    Viewer viewer;
    viewer.show();
    return QApplication::exec();
}
