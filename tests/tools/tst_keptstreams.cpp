#include "tests/support/testclass.h"
#include "tools/testpicture/numberedstream.h"

#include "tests/support/files.h"

#include <memory>

using namespace quorvale;

class TestKeptStreams : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_folder = std::make_unique<QTemporaryDir>();
        qputenv("QUORVALE_KEPT_STREAMS", QFile::encodeName(path("kept")));
        QVERIFY(encodeNumberedStream(stream("first.ts")).ok());
        QCOMPARE(kept().size(), 1);
    }

    void cleanup() { qunsetenv("QUORVALE_KEPT_STREAMS"); }

    void stream_isMadeOnce()
    {
        // What is found in the kept file's place is given out: nobody makes it again.
        QVERIFY(writeFile(path("kept/" + kept().first()), "as kept"));
        QVERIFY(encodeNumberedStream(stream("second.ts")).ok());
        QCOMPARE(readFile(path("second.ts")), QByteArray("as kept"));
        QCOMPARE(kept().size(), 1);
    }

    void stream_isMadeAnew_whereAnythingElseIsWanted_data()
    {
        QTest::addColumn<int>("frames");
        QTest::addColumn<int>("firstNumber");
        QTest::addColumn<int>("look");
        QTest::addColumn<QString>("option");
        QTest::addColumn<QString>("name");
        const QString name = "other.ts";
        QTest::newRow("more pictures") << 4 << 0 << 0 << "2" << name;
        QTest::newRow("other numbers") << 3 << 1 << 0 << "2" << name;
        QTest::newRow("other colours") << 3 << 0 << 1 << "2" << name;
        QTest::newRow("another option") << 3 << 0 << 0 << "3" << name;
        QTest::newRow("another container") << 3 << 0 << 0 << "2"
                                           << "other.mkv";
    }
    void stream_isMadeAnew_whereAnythingElseIsWanted()
    {
        QFETCH(const int, frames);
        QFETCH(const int, firstNumber);
        QFETCH(const int, look);
        QFETCH(const QString, option);
        QFETCH(const QString, name);
        NumberedStream wanted = stream("other.ts");
        wanted.encoderArguments.insert(wanted.encoderArguments.begin(), {"-q:v", "2"});
        QVERIFY(encodeNumberedStream(wanted).ok());
        QCOMPARE(kept().size(), 2);
        wanted.frames = frames;
        wanted.firstNumber = static_cast<unsigned>(firstNumber);
        wanted.look = static_cast<unsigned>(look);
        wanted.encoderArguments[1] = option.toStdString();
        wanted.path = path(name).toStdString();
        QVERIFY(encodeNumberedStream(wanted).ok());
        QCOMPARE(kept().size(), 3);
    }

    void stream_staysAsItWas_whateverBecomesOfACopy()
    {
        const QByteArray made = readFile(path("first.ts"));
        QVERIFY(made.size() > 188);
        QVERIFY(encodeNumberedStream(stream("second.ts")).ok());
        QFile changed(path("second.ts"));
        QVERIFY(changed.open(QIODevice::ReadWrite) && changed.write("damaged") == 7);
        changed.close();
        QVERIFY(encodeNumberedStream(stream("second.ts")).ok()); // It is replaced, too.
        QCOMPARE(readFile(path("second.ts")), made);
    }

    void use_renewsTheTimeOfAKeptFile()
    {
        QFile file(path("kept/" + kept().first()));
        const QDateTime longAgo = QDateTime::currentDateTime().addYears(-1);
        QVERIFY(file.open(QIODevice::ReadWrite) && file.setFileTime(longAgo, QFileDevice::FileModificationTime));
        file.close();
        QVERIFY(encodeNumberedStream(stream("second.ts")).ok());
        QVERIFY(QFileInfo(file).lastModified() > longAgo.addDays(1));
    }

    void nothing_isKept_ofAFailure()
    {
        NumberedStream wrong = stream("wrong.ts");
        wrong.encoderArguments = {"-c:v", "no such encoder"};
        QVERIFY(!encodeNumberedStream(wrong).ok());
        QCOMPARE(kept().size(), 1);
    }

    void nothing_isKept_withoutAFolder()
    {
        qunsetenv("QUORVALE_KEPT_STREAMS");
        NumberedStream other = stream("second.ts");
        other.frames = 2;
        QVERIFY(encodeNumberedStream(other).ok());
        QCOMPARE(kept().size(), 1);
    }

private:
    [[nodiscard]] QString path(const QString &name) const { return m_folder->filePath(name); }
    [[nodiscard]] QStringList kept() const { return QDir(path("kept")).entryList(QDir::Files); }
    [[nodiscard]] NumberedStream stream(const QString &name) const
    {
        NumberedStream wanted;
        wanted.path = path(name).toStdString();
        wanted.picture = {160, 120, ChromaFormat::Yuv420, false};
        wanted.frames = 3;
        wanted.encoderArguments = {"-c:v", "mpeg2video", "-f", "mpegts"};
        return wanted;
    }

    std::unique_ptr<QTemporaryDir> m_folder;
};

TEST_CLASS(TestKeptStreams, QCoreApplication)
#include "tst_keptstreams.moc"
