#include "tests/support/testclass.h"
#include "thumbs/thumbnailcache.h"

namespace {

// A pixmap that says when it is deleted.
class Watched : public QPixmap
{
public:
    Watched(int width, QVector<int> &deleted)
        : QPixmap(width, 1)
        , m_deleted(deleted)
    {
    }
    ~Watched() override { m_deleted.append(width()); }

private:
    QVector<int> &m_deleted;
};

} // namespace

class TestThumbnailCache : public QObject
{
    Q_OBJECT

private slots:
    void find_givesTheFirstEntry_ofExactlyThisPath()
    {
        QPixmap first, second;
        const QVector<ThumbnailEntry> cache = {
            {"/d/a.ts", {}, {}}, {"/d/b.ts", {&first}, {&second}}, {"/d/b.ts", {&second}, {&first}}};
        const auto found = findThumbnails(cache, "/d/b.ts");
        QVERIFY(found.has_value());
        QCOMPARE(found->path, QString("/d/b.ts"));
        QCOMPARE(found->x1, QVector<QPixmap *>{&first});
        QCOMPARE(found->x2, QVector<QPixmap *>{&second});
        // An entry without pictures counts too.
        QVERIFY(findThumbnails(cache, "/d/a.ts").has_value());
    }

    void find_givesNothing_forOtherPaths()
    {
        const QVector<ThumbnailEntry> cache = {{"/d/b.ts", {}, {}}};
        for (const char *other : {"/d/B.ts", "/d/b.ts1", "/d//b.ts", "/d/b", ""})
            QVERIFY(!findThumbnails(cache, other).has_value());
        QVERIFY(!findThumbnails({}, "/d/b.ts").has_value());
    }

    void delete_freesEverySeries_inOrder_skippingNulls()
    {
        QVector<int> deleted;
        const auto pixmap = [&](int width) { return new Watched(width, deleted); }; // owned by the cache
        QVector<ThumbnailEntry> cache = {{"a", {pixmap(1), nullptr, pixmap(2)}, {nullptr, pixmap(3)}},
                                         {"b", {}, {}},
                                         {"a", {pixmap(4)}, {pixmap(5)}}};
        deleteThumbnails(cache);
        QCOMPARE(deleted, QVector<int>({1, 2, 3, 4, 5}));
        QVERIFY(cache.isEmpty());
    }

    void delete_doesNothing_toAnEmptyCache()
    {
        QVector<ThumbnailEntry> cache;
        deleteThumbnails(cache);
        QVERIFY(cache.isEmpty());
    }
};

TEST_CLASS(TestThumbnailCache, QApplication)
#include "tst_thumbnailcache.moc"
