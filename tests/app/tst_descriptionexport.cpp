#include "app/descriptionexport.h"

#include "archive/programme.h"
#include "tests/support/testclass.h"

#include "tests/support/testvolume.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace quorvale;

namespace {

Programme news()
{
    Programme programme;
    programme.title = "News";
    programme.channel = "CH1";
    programme.description = "Headlines.";
    programme.year = 2016;
    programme.month = 3;
    programme.day = 5;
    programme.hour = 18;
    programme.minute = 0;
    programme.second = 7;
    return programme;
}

} // namespace

class TestDescriptionExport : public QObject
{
    Q_OBJECT

public:
    static void initMain() { qputenv("LC_ALL", "C.UTF-8"); }

private slots:
    void text_hasEveryLine_inOrder_data()
    {
        QTest::addColumn<int>("dateFormat");
        QTest::addColumn<QString>("date");
        QTest::newRow("day first") << 0 << "Date       : 05.03.2016\n";
        QTest::newRow("month first") << 1 << "Date       : 03.05.2016\n";
        QTest::newRow("year first") << 2 << "Date       : 2016.03.05\n";
        QTest::newRow("an unknown order") << -1 << "";
        QTest::newRow("another one") << 3 << "";
    }
    void text_hasEveryLine_inOrder()
    {
        QFETCH(int, dateFormat);
        QFETCH(QString, date);
        QCOMPARE(descriptionText(news(), dateOrder(dateFormat)), "Show       : News\nDescription:\n\nHeadlines.\n\n" +
                                                                     date +
                                                                     "Time stamp : 18:00:07\nChannel    : CH1\n");
    }

    void text_keepsItsEmptyLines_withoutDescription()
    {
        Programme programme = news();
        programme.description.clear();
        QCOMPARE(descriptionText(programme, DateOrder::DayFirst).left(44),
                 QString("Show       : News\nDescription:\n\n\n\nDate      "));
    }

    void text_padsNumbers_toTwoDigits()
    {
        Programme programme = news();
        programme.hour = programme.minute = programme.second = 0;
        QVERIFY(descriptionText(programme, DateOrder::DayFirst).contains("\nTime stamp : 00:00:00\n"));
        programme.hour = 255;
        QVERIFY(descriptionText(programme, DateOrder::DayFirst).contains("\nTime stamp : 255:00:00\n"));
    }

    void text_keepsTheDescription_asStored()
    {
        Programme programme = news();
        programme.description = "<b>%1</b>\r\n%2\nend %L3";
        programme.title = "%1 %2 %3";
        const QString text = descriptionText(programme, DateOrder::DayFirst);
        QVERIFY(text.startsWith(
            "Show       : %1 %2 %3\nDescription:\n\n<b>%1</b>\r\n%2\nend %L3\n\nDate       : 05.03.2016\n"));
    }

    void text_takesEachByte_asOneLatin1Character()
    {
        Programme programme = news();
        programme.title = "\xC3\xA4\xFF\x80";
        programme.channel = "\xE4";
        const QString text = descriptionText(programme, DateOrder::DayFirst);
        QVERIFY(
            text.startsWith(QString("Show       : ") + QChar(0xC3) + QChar(0xA4) + QChar(0xFF) + QChar(0x80) + '\n'));
        QVERIFY(text.endsWith(QString("Channel    : ") + QChar(0xE4) + '\n'));
    }

    void write_encodesTheText_inTheLocale()
    {
        const QTemporaryDir directory;
        const QString path = directory.filePath("out.txt");
        const QString text = QString("a") + QChar(0xC3) + QChar(0xA4) + "\n";
        writeDescription(path, text);
        QCOMPARE(TestVolume::readFile(path), text.toLocal8Bit());
        // The locale here is UTF-8, so the two bytes of one letter have become two letters.
        QCOMPARE(TestVolume::readFile(path), QByteArray("a\xC3\x83\xC2\xA4\n"));
    }

    void write_encodesTheText_inALocaleThatIsNotUtf8()
    {
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
        QTextCodec *previous = QTextCodec::codecForLocale();
        const auto restore = qScopeGuard([previous] { QTextCodec::setCodecForLocale(previous); });
        QTextCodec::setCodecForLocale(QTextCodec::codecForName("ISO-8859-1"));
        const QTemporaryDir directory;
        const QString path = directory.filePath("out.txt");
        writeDescription(path, QString("a") + QChar(0xC3) + QChar(0xA4) + "\n");
        QCOMPARE(TestVolume::readFile(path), QByteArray("a\xC3\xA4\n"));
#else
        QSKIP("The locale's encoding cannot be changed in a program that runs.");
#endif
    }

    void write_replacesAFile_thatIsThere()
    {
        const QTemporaryDir directory;
        const QString path = directory.filePath("out.txt");
        QVERIFY(TestVolume::writeFile(path, "something much longer than what comes"));
        writeDescription(path, "short\n");
        QCOMPARE(TestVolume::readFile(path), QByteArray("short\n"));
    }

    void write_isSilent_whenTheFileCannotBeOpened()
    {
        const QTemporaryDir directory;
        writeDescription(directory.path(), "a directory");
        writeDescription(directory.filePath("no/such/folder.txt"), "text");
        const QByteArray pipe = QFile::encodeName(directory.filePath("pipe"));
        QCOMPARE(mkfifo(pipe.constData(), 0600), 0);
        const int reader = open(pipe.constData(), O_RDONLY | O_NONBLOCK); // otherwise a defect would hang the test
        writeDescription(QFile::decodeName(pipe), "text");
        QFile pipeEnd;
        QVERIFY(pipeEnd.open(reader, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle));
        QCOMPARE(pipeEnd.readAll(), QByteArray());
        QVERIFY(QFile::remove(QFile::decodeName(pipe)));
        QCOMPARE(QDir(directory.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
    }
};

TEST_CLASS(TestDescriptionExport, QCoreApplication)
#include "tst_descriptionexport.moc"
