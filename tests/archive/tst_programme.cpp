#include "archive/programme.h"

#include "tests/support/capturedoutput.h"
#include "tests/support/recordbytes.h"
#include "tests/support/testclass.h"

#include <climits>
#include <memory>
#include <type_traits>

namespace {

struct FileCloser
{
    void operator()(std::FILE *file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

File fileHolding(const QByteArray &bytes)
{
    File file(std::tmpfile());
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), file.get());
    std::rewind(file.get());
    return file;
}

std::string filled(int count, char byte)
{
    return std::string(static_cast<std::size_t>(count), byte);
}

bool sameFields(const Programme &a, const Programme &b)
{
    return a.year == b.year && a.month == b.month && a.day == b.day && a.hour == b.hour && a.minute == b.minute &&
           a.second == b.second && a.channel == b.channel && a.title == b.title && a.description == b.description &&
           a.fileName == b.fileName && a.playPosition == b.playPosition;
}

Programme someProgramme()
{
    Programme programme;
    programme.year = 1999;
    programme.month = 2;
    programme.channel = "old channel";
    programme.title = "old title";
    programme.description = "old description";
    programme.fileName = "old";
    programme.playPosition = 42;
    return programme;
}

// The record at the start of `bytes`, read over the fields of another one.
Programme readFrom(const QByteArray &bytes)
{
    Programme programme = someProgramme();
    const bool read = programme.read(fileHolding(bytes).get(), 0);
    [&] { QVERIFY(read); }();
    return programme;
}

// What is said of a record that cannot be read. The fields stay those of another one.
QByteArray saidOfFailure(std::FILE *file, long offset)
{
    Programme programme = someProgramme();
    CapturedOutput errors(stderr);
    const bool read = programme.read(file, offset);
    const QByteArray said = errors.text();
    [&] { QVERIFY(!read && sameFields(programme, someProgramme())); }();
    return said;
}

QVector<int> recordedAt(const Programme &programme)
{
    return {programme.year, programme.month, programme.day, programme.hour, programme.minute, programme.second};
}

} // namespace

class TestProgramme : public QObject
{
    Q_OBJECT

private slots:
    void construct_givesMidnightOf1January1980_untilRead()
    {
        const Programme programme;
        QCOMPARE(recordedAt(programme), (QVector<int>{1980, 1, 1, 0, 0, 0}));
        QVERIFY(programme.channel.empty());
        QVERIFY(programme.title.empty());
        QVERIFY(programme.description.empty());
        QVERIFY(programme.fileName.empty());
        QCOMPARE(programme.playPosition, 0);
        QVERIFY(!std::is_polymorphic_v<Programme>);
        QVERIFY(std::is_copy_constructible_v<Programme> && std::is_copy_assignable_v<Programme>);
    }

    void read_fillsEveryField_fromItsOffset()
    {
        QByteArray bytes(32768, '\xEE');
        bytes.replace(0, 13, QByteArray("\x52\x01\x07\xDF\x00\x00\x17\x3B\x3A\xEE\xEE\xEE\xEE", 13));
        bytes.replace(13, 8, QByteArray("00A1.xy\0", 8));
        bytes.replace(43, 4, QByteArray("CH1\0", 4));
        bytes.replace(1067, 5, QByteArray("News\0", 5));
        bytes.replace(2091, 14, QByteArray("<b>All</b> of\0", 14));
        bytes.replace(16390, 3, QByteArray("\x6A\x10\x0E", 3));
        const Programme programme = readFrom(bytes);
        QCOMPARE(recordedAt(programme), (QVector<int>{2015, 1, 1, 23, 59, 58}));
        QCOMPARE(programme.fileName, std::string("00A1.xy"));
        QCOMPARE(programme.channel, std::string("CH1"));
        QCOMPARE(programme.title, std::string("News"));
        QCOMPARE(programme.description, std::string("<b>All</b> of"));
        QCOMPARE(programme.playPosition, 3600);
    }

    void read_readsTheRecordAtTheOffset_notAtTheStart()
    {
        RecordBytes first, second;
        first.title = "first";
        second.title = "second";
        const File file = fileHolding(indexBytes({first, second}));
        Programme programme;
        QVERIFY(programme.read(file.get(), 65536));
        QCOMPARE(programme.title, std::string("second"));
        QVERIFY(programme.read(file.get(), 32768));
        QCOMPARE(programme.title, std::string("first"));
    }

    void read_overwritesEarlierTexts_withShorterOnes()
    {
        RecordBytes record;
        record.fileName = record.channel = record.title = record.description = "";
        const Programme programme = readFrom(record.bytes());
        QVERIFY(programme.fileName.empty());
        QVERIFY(programme.channel.empty());
        QVERIFY(programme.title.empty());
        QVERIFY(programme.description.empty());
    }

    void read_keepsFieldsUnchecked_whenTheyMakeNoSense()
    {
        RecordBytes record;
        record.year = 2047;
        record.month = 13;
        record.day = 200;
        record.hour = 99;
        record.minute = 75;
        record.second = 255;
        record.title = "\xFF\xC3(";
        const Programme programme = readFrom(record.bytes());
        QCOMPARE(recordedAt(programme), (QVector<int>{2047, 13, 200, 99, 75, 255}));
        QCOMPARE(programme.title, std::string("\xFF\xC3("));
    }

    void read_fails_withMessage_withoutFile()
    {
        QCOMPARE(saidOfFailure(nullptr, 0), QByteArray("Cannot read given file\n"));
    }

    void read_fails_withMessage_whenItCannotSeek()
    {
        const File file = fileHolding(RecordBytes().bytes());
        QCOMPARE(saidOfFailure(file.get(), -1), QByteArray("Error seeking to programme offset\n"));
    }

    void read_fails_leavingEveryField_withAnotherSignature_data()
    {
        QTest::addColumn<int>("offset");
        QTest::addColumn<int>("byte");
        QTest::newRow("first byte") << 0 << 0x53;
        QTest::newRow("second byte") << 1 << 0x02;
        QTest::newRow("year 2048 or later") << 2 << 0x08;
        QTest::newRow("year before 1792") << 2 << 0x06;
    }
    void read_fails_leavingEveryField_withAnotherSignature()
    {
        QFETCH(int, offset);
        QFETCH(int, byte);
        QByteArray bytes = RecordBytes().bytes();
        bytes[offset] = static_cast<char>(byte);
        QCOMPARE(saidOfFailure(fileHolding(bytes).get(), 0), QByteArray());
    }

    void read_fails_silently_pastTheEndOfFile()
    {
        const File file = fileHolding(RecordBytes().bytes());
        for (const long offset : {32768L, LONG_MAX - 32768, 32766L}) {
            const QByteArray said = saidOfFailure(file.get(), offset);
            QVERIFY(said.isEmpty() || said == "Error seeking to programme offset\n"); // as the system has it
        }
    }

    void read_startsChannelAt43_afterFileNameOf29Bytes()
    {
        RecordBytes record;
        record.fileName = QByteArray(29, 'f');
        record.channel = "at 43";
        const Programme programme = readFrom(record.bytes());
        QCOMPARE(programme.fileName, filled(29, 'f'));
        QCOMPARE(programme.channel, std::string("at 43"));
        QCOMPARE(programme.title, std::string("Title"));
    }

    void read_runsOnIntoChannel_whenFileNameHasNoTerminator()
    {
        RecordBytes record;
        record.fileName = QByteArray(30, 'f');
        record.channel = QByteArray("chan\0rest\0", 10);
        const Programme programme = readFrom(record.bytes());
        QCOMPARE(programme.fileName, filled(30, 'f') + "chan");
        // After the terminator, at 48: a field of 1024 bytes is read from there, and so on.
        QCOMPARE(programme.channel, std::string("rest"));
        // 48 + 1024 = 1072 lies after "Title" at 1067; 1072 is its terminator.
        QCOMPARE(programme.title, std::string());
        // 1072 + 1024 = 2096, five bytes into "Description" at 2091.
        QCOMPARE(programme.description, std::string("iption"));
    }

    void read_doesNotSkip_afterOverlongField_data()
    {
        QTest::addColumn<QByteArray>("fromChannelOn"); // bytes from 43 on; "Title" stands at 1067
        QTest::addColumn<int>("channelLength");
        QTest::addColumn<QByteArray>("title");
        const QByteArray terminator(1, '\0');
        QTest::newRow("1023 bytes fill the field") << QByteArray(1023, 'X') + terminator << 1023 << QByteArray("Title");
        QTest::newRow("1024 bytes, terminator in the title")
            << QByteArray(1024, 'X') + terminator << 1024 << QByteArray("itle");
        QTest::newRow("1025 bytes end without terminator") << QByteArray(1025, 'X') << 1025 << QByteArray("itle");
        QTest::newRow("1026 bytes leave one for the title") << QByteArray(1026, 'X') << 1025 << QByteArray("Xtle");
    }
    void read_doesNotSkip_afterOverlongField()
    {
        QFETCH(QByteArray, fromChannelOn);
        QFETCH(int, channelLength);
        QFETCH(QByteArray, title);
        QByteArray bytes = RecordBytes().bytes();
        RecordBytes::put(bytes, RecordBytes::kChannelOffset, fromChannelOn);
        const Programme programme = readFrom(bytes);
        QCOMPARE(programme.channel, filled(channelLength, 'X'));
        QCOMPARE(programme.title, title.toStdString());
    }

    void read_findsThePlayPosition_afterOverlongFields()
    {
        RecordBytes record;
        record.fileName = QByteArray(16000, 'f');
        record.playPosition = 120;
        record.channel = record.title = record.description = "";
        const Programme programme = readFrom(record.bytes());
        QCOMPARE(programme.fileName, filled(1025, 'f'));
        QCOMPARE(programme.description, filled(1025, 'f'));
        QCOMPARE(programme.playPosition, 120);
    }

    void read_setsPlayPosition_fromMarker_data()
    {
        QTest::addColumn<int>("low");
        QTest::addColumn<int>("high");
        QTest::addColumn<int>("position");
        QTest::newRow("low byte first") << 0x10 << 0x0E << 3600;
        QTest::newRow("zero") << 0 << 0 << 0;
        QTest::newRow("unsigned") << 0xFF << 0xFF << 65535;
    }
    void read_setsPlayPosition_fromMarker()
    {
        QFETCH(int, low);
        QFETCH(int, high);
        QFETCH(int, position);
        QByteArray bytes = RecordBytes().bytes();
        bytes[16390] = 0x6A;
        bytes[16391] = static_cast<char>(low);
        bytes[16392] = static_cast<char>(high);
        const Programme programme = readFrom(bytes);
        QCOMPARE(programme.playPosition, position);
    }

    void read_keepsPlayPosition_withoutMarker()
    {
        QByteArray bytes = RecordBytes().bytes();
        bytes[16390] = 0x6B;
        bytes[16391] = 0x10;
        bytes[16392] = 0x0E;
        const Programme programme = readFrom(bytes);
        QCOMPARE(programme.playPosition, 42);
    }

    void read_givesNegativePosition_whenFileEndsAfterMarker_data()
    {
        QTest::addColumn<int>("size");
        QTest::addColumn<int>("position");
        QTest::newRow("both bytes missing") << 16391 << -257;
        QTest::newRow("high byte missing") << 16392 << -256 + 0x20;
        QTest::newRow("marker missing") << 16390 << 42;
    }
    void read_givesNegativePosition_whenFileEndsAfterMarker()
    {
        QFETCH(int, size);
        QFETCH(int, position);
        RecordBytes record;
        record.playPosition = 0x20;
        const Programme programme = readFrom(record.bytes().left(size));
        QCOMPARE(programme.playPosition, position);
    }

    void read_takes0xFF_pastTheEndOfFile()
    {
        const Programme programme = readFrom(RecordBytes().bytes().left(4));
        QCOMPARE(recordedAt(programme), (QVector<int>{2016, 256, 256, 255, 255, 255}));
        QCOMPARE(programme.fileName, filled(1025, '\xFF'));
        QCOMPARE(programme.channel, filled(1025, '\xFF'));
        QCOMPARE(programme.title, filled(1025, '\xFF'));
        QCOMPARE(programme.description, filled(1025, '\xFF'));
        QCOMPARE(programme.playPosition, 42);
    }

    void readCString_stopsAfterTerminator()
    {
        const File file = fileHolding(QByteArray("one\0\0two\0", 9));
        QCOMPARE(Programme::readCString(file.get()), std::string("one"));
        QCOMPARE(Programme::readCString(file.get()), std::string());
        QCOMPARE(Programme::readCString(file.get()), std::string("two"));
        QCOMPARE(std::ftell(file.get()), 9L);
    }

    void readCString_keepsBytesAsTheyAre()
    {
        const File file = fileHolding(QByteArray("\x01\xFF\x80\n\r\xC3\xA4\0", 8));
        QCOMPARE(Programme::readCString(file.get()), std::string("\x01\xFF\x80\n\r\xC3\xA4"));
    }

    void readCString_stopsAt1025Bytes_withoutTerminator_data()
    {
        QTest::addColumn<int>("length");
        QTest::addColumn<long>("position");
        QTest::newRow("1024 and the terminator") << 1024 << 1025L;
        QTest::newRow("1025, terminator left") << 1025 << 1025L;
        QTest::newRow("2000, the rest left") << 2000 << 1025L;
    }
    void readCString_stopsAt1025Bytes_withoutTerminator()
    {
        QFETCH(int, length);
        QFETCH(long, position);
        const File file = fileHolding(QByteArray(length, 'a') + QByteArray(10, '\0'));
        QCOMPARE(Programme::readCString(file.get()), filled(qMin(length, 1025), 'a'));
        QCOMPARE(std::ftell(file.get()), position);
    }

    void readCString_fillsUpWith0xFF_atEndOfFile()
    {
        const File file = fileHolding("end");
        QCOMPARE(Programme::readCString(file.get()), "end" + filled(1022, '\xFF'));
    }
};

TEST_CLASS(TestProgramme, quorvale::NoApplication)
#include "tst_programme.moc"
