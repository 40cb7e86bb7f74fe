// A recording is one file. A playlist in its place opens no other file, and reading it always ends.

#include "tests/support/openvideo.h"
#include "tests/support/picture.h"
#include "tests/support/testclass.h"
#include "tests/support/teststreams.h"

class TestFFVideoPlaylists : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        QVERIFY(dir.isValid());
        segment = makeStream(dir.path(), {"segment.ts", {"-c:v", "mpeg2video", "-f", "mpegts"}, 30});
        QVERIFY(!segment.isEmpty());
    }

    void open_readsNoOtherFile_data()
    {
        QTest::addColumn<QByteArray>("list");
        const QByteArray beginning =
            "#EXTM3U\n#EXT-X-VERSION:3\n#EXT-X-TARGETDURATION:86400\n#EXT-X-MEDIA-SEQUENCE:0\n";
        QTest::newRow("playlist") << beginning + "#EXTINF:86400,\n%1\n#EXT-X-ENDLIST\n";
        QTest::newRow("playlist that will grow") << beginning + "#EXTINF:86400,\n%1\n";
        QTest::newRow("playlist that will grow, and names itself") << beginning + "#EXTINF:86400,\n%2\n";
        QTest::newRow("playlist of playlists") << QByteArray("#EXTM3U\n#EXT-X-STREAM-INF:BANDWIDTH=1\n%1\n");
        QTest::newRow("list of files") << QByteArray("ffconcat version 1.0\nfile '%3'\n");
        QTest::newRow("list that names itself") << QByteArray("ffconcat version 1.0\nfile 'list.ts'\n");
        QTest::newRow("manifest") << QByteArray(
            "<?xml version=\"1.0\"?>\n<MPD xmlns=\"urn:mpeg:dash:schema:mpd:2011\" type=\"static\" "
            "profiles=\"urn:mpeg:dash:profile:isoff-main:2011\" mediaPresentationDuration=\"PT1S\">\n"
            "<Period><AdaptationSet mimeType=\"video/mp2t\"><Representation id=\"1\" bandwidth=\"1\">"
            "<BaseURL>%1</BaseURL></Representation></AdaptationSet></Period></MPD>\n");
    }
    void open_readsNoOtherFile()
    {
        QFETCH(QByteArray, list);
        list.replace("%1", QFile::encodeName(segment));
        list.replace("%2", QFile::encodeName(dir.filePath("list.ts")));
        list.replace("%3", "segment.ts");
        const QString path = writeFile(dir.path(), "list.ts", list);
        FFVideo video;
        if (!open(video, path))
            return;
        for (const int number : {0, 5, 150}) {
            Picture picture;
            QVERIFY(!video.Read(number, picture));
        }
    }

private:
    const QTemporaryDir dir;
    QString segment;
};

TEST_CLASS(TestFFVideoPlaylists, quorvale::NoApplication)
#include "tst_ffvideo_playlists.moc"
