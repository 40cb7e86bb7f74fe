#include "tests/support/files.h"
#include "tests/support/testclass.h"
#include "tools/sampledisk/transportstream.h"

#include <stdexcept>

using namespace quorvale;

class TestTransportStream : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

    std::filesystem::path path(const QString &name) const { return m_dir.filePath(name).toStdString(); }

    QByteArray content(const QString &name) const { return readFile(m_dir.filePath(name)); }

    QByteArray makeStream(const QString &name, int packets, int rest = 0) const
    {
        QByteArray bytes;
        for (int i = 0; i < packets * kPacketSize + rest; ++i)
            bytes += i % kPacketSize == 0 ? '\x47' : char(i / kPacketSize + i);
        return writeFile(m_dir.filePath(name), bytes) ? bytes : QByteArray();
    }

private slots:
    void cut_makesConsecutivePieces_ofWholePackets_data()
    {
        QTest::addColumn<int>("packets");
        QTest::addColumn<int>("rest");
        QTest::newRow("three equal pieces") << 9 << 0;
        QTest::newRow("the last piece is longer") << 11 << 0;
        QTest::newRow("the last piece ends inside a packet") << 10 << 57;
        QTest::newRow("more than one buffer") << 20000 << 0;
        QTest::newRow("too short: the first pieces are empty") << 2 << 0;
    }
    void cut_makesConsecutivePieces_ofWholePackets()
    {
        QFETCH(const int, packets);
        QFETCH(const int, rest);
        const QByteArray whole = makeStream("whole", packets, rest);
        cutIntoPieces(path("whole"), {path("a"), path("b"), path("c")});
        QCOMPARE(content("a").size(), packets / 3 * kPacketSize);
        QCOMPARE(content("b").size(), packets / 3 * kPacketSize);
        QCOMPARE(content("a") + content("b") + content("c"), whole);
        QCOMPARE(content("whole"), whole);
    }

    void cut_throws_whenAFileCannotBeReadOrWritten()
    {
        makeStream("whole", 9);
        QVERIFY_EXCEPTION_THROWN(cutIntoPieces(path("none"), {path("a")}), std::runtime_error);
        QVERIFY_EXCEPTION_THROWN(cutIntoPieces(path("whole"), {path("no/a")}), std::runtime_error);
    }

    void damage_keepsTheFirst45Percent_andEndsInsideAPacket()
    {
        const QByteArray whole = makeStream("damaged", 1000);
        damageStream(path("damaged"));
        const QByteArray damaged = content("damaged");
        QCOMPARE(damaged.size(), 1000 * kPacketSize - kPacketSize / 2);
        QCOMPARE(damaged.left(450 * kPacketSize), whole.left(450 * kPacketSize));
        const auto changed = [&](int from, int to) {
            int packets = 0;
            for (int packet = from; packet < to; ++packet)
                packets +=
                    damaged.mid(packet * kPacketSize, kPacketSize) != whole.mid(packet * kPacketSize, kPacketSize);
            return packets;
        };
        QCOMPARE(changed(450, 600), 8); // one of twenty
        QCOMPARE(changed(600, 700), 0);
        QCOMPARE(changed(700, 740), 40); // lost
        QCOMPARE(changed(740, 850), 0);
        QCOMPARE(changed(850, 860), 10); // noise
        QCOMPARE(changed(860, 999), 0);
        for (int packet = 0; packet < 850; ++packet)
            QCOMPARE(damaged[packet * kPacketSize], '\x47');
    }

    void damage_isTheSame_everyTime()
    {
        makeStream("first", 500);
        makeStream("second", 500);
        damageStream(path("first"));
        damageStream(path("second"));
        QCOMPARE(content("first"), content("second"));
    }

    void damage_throws_whenThereIsNoStream()
    {
        QVERIFY_EXCEPTION_THROWN(damageStream(path("none")), std::runtime_error);
    }
};

TEST_CLASS(TestTransportStream, QCoreApplication)
#include "tst_transportstream.moc"
