// The pictures that the window puts into its icon. An icon reports the sizes of its pictures, but not their densities,
// so the linker passes the window's calls to QIcon through functions here.

#include "tests/support/viewerfixture.h"

#include <QIcon>
#include <QtTest>

namespace {

struct Added
{
    QSize size;
    qreal density;
    QIcon::Mode mode;
    QIcon::State state;

    bool operator==(const Added &other) const
    {
        return size == other.size && density == other.density && mode == other.mode && state == other.state;
    }
};

QVector<Added> added;

} // namespace

extern "C" {
void __real__ZN5QIcon9addPixmapERK7QPixmapNS_4ModeENS_5StateE(QIcon *, const QPixmap &, QIcon::Mode, QIcon::State);

void __wrap__ZN5QIcon9addPixmapERK7QPixmapNS_4ModeENS_5StateE(QIcon *icon, const QPixmap &picture, QIcon::Mode mode,
                                                              QIcon::State state)
{
    added.append({picture.size(), picture.devicePixelRatio(), mode, state});
    __real__ZN5QIcon9addPixmapERK7QPixmapNS_4ModeENS_5StateE(icon, picture, mode, state);
}
}

class TestViewerIcon : public QObject
{
    Q_OBJECT

private slots:
    void icon_hasAPictureForEachDensity()
    {
        ViewerFixture fixture;
        const QIcon icon = fixture.open().windowIcon();
        QCOMPARE(added, (QVector<Added>{{QSize(64, 64), 1.0, QIcon::Normal, QIcon::Off},
                                        {QSize(128, 128), 2.0, QIcon::Normal, QIcon::Off}}));
        QCOMPARE(icon.availableSizes(), (QList<QSize>{QSize(64, 64), QSize(128, 128)}));
    }
};

QTEST_MAIN(TestViewerIcon)
#include "tst_viewer_icon.moc"
