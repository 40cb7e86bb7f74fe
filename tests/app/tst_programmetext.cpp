#include "app/programmetext.h"
#include "tests/support/testclass.h"

#include <QtTest>

using namespace quorvale;

namespace {

QString recordedOn(const QDate &date, const QDate &today, int dateFormat = 0)
{
    return formatRecordingDate(date.day(), date.month(), date.year(), dateOrder(dateFormat), today);
}

QString weekday(const QDate &date)
{
    return QLocale::c().dayName(date.dayOfWeek(), QLocale::LongFormat);
}

} // namespace

class TestProgrammeText : public QObject
{
    Q_OBJECT

public:
    // Weekdays are named as the system's locale names them.
    static void initMain() { qputenv("LC_ALL", "C.UTF-8"); }

private slots:
    void twoDigits_putsZeroBefore_upToNine_data()
    {
        QTest::addColumn<int>("number");
        QTest::addColumn<QString>("text");
        QTest::newRow("0") << 0 << "00";
        QTest::newRow("5") << 5 << "05";
        QTest::newRow("9") << 9 << "09";
        QTest::newRow("10") << 10 << "10";
        QTest::newRow("123") << 123 << "123";
        QTest::newRow("negative") << -3 << "0-3";
    }

    void twoDigits_putsZeroBefore_upToNine()
    {
        QFETCH(int, number);
        QTEST(twoDigits(number), "text");
    }

    void startTime_padsEachPart()
    {
        QCOMPARE(formatStartTime(7, 5, 0), QString("07:05:00"));
        QCOMPARE(formatStartTime(10, 0, 9), QString("10:00:09"));
        QCOMPARE(formatStartTime(255, 75, 60), QString("255:75:60"));
    }

    void date_isRelative_nearToday_data()
    {
        QTest::addColumn<QDate>("recorded");
        QTest::addColumn<QDate>("today");
        QTest::addColumn<QString>("text");
        const QDate march15(2016, 3, 15);
        QTest::newRow("today") << march15 << march15 << "Today";
        QTest::newRow("yesterday") << QDate(2016, 3, 14) << march15 << "Yesterday";
        QTest::newRow("last day of a 31-day month") << QDate(2016, 1, 31) << QDate(2016, 2, 1) << "Yesterday";
        QTest::newRow("last day of a 30-day month") << QDate(2016, 4, 30) << QDate(2016, 5, 1) << "Yesterday";
        QTest::newRow("29 February") << QDate(2016, 2, 29) << QDate(2016, 3, 1) << "Yesterday";
        QTest::newRow("28 February") << QDate(2015, 2, 28) << QDate(2015, 3, 1) << "Yesterday";
        QTest::newRow("28 February of a leap year") << QDate(2016, 2, 28) << QDate(2016, 3, 1) << "Sunday";
        QTest::newRow("1 January, today") << QDate(2016, 1, 1) << QDate(2016, 1, 1) << "Today";
        QTest::newRow("31 December on 1 January") << QDate(2015, 12, 31) << QDate(2016, 1, 1) << "Thursday";
        QTest::newRow("same day and month of another year") << QDate(2015, 3, 15) << march15 << "15.03.2015";
        QTest::newRow("day before in another month") << QDate(2016, 2, 14) << march15 << "14.02.2016";
        QTest::newRow("last day of the month before the last")
            << QDate(2016, 1, 31) << QDate(2016, 3, 1) << "31.01.2016";
        QTest::newRow("last day of the month before, but not on a 1st")
            << QDate(2016, 2, 29) << QDate(2016, 3, 3) << "Monday";
        QTest::newRow("last day of the month before, two weeks ago")
            << QDate(2016, 1, 31) << QDate(2016, 2, 15) << "31.01.2016";
        QTest::newRow("day before in another year") << QDate(2015, 3, 14) << march15 << "14.03.2015";
        QTest::newRow("28 February of another year") << QDate(2015, 2, 28) << QDate(2016, 3, 1) << "28.02.2015";
    }

    void date_isRelative_nearToday()
    {
        QFETCH(QDate, recorded);
        QFETCH(QDate, today);
        QTEST(recordedOn(recorded, today), "text");
    }

    void date_isTheWeekday_upToSixDaysBackAndAhead_data()
    {
        QTest::addColumn<int>("daysBack");
        QTest::addColumn<bool>("isWeekday");
        QTest::newRow("2 days back") << 2 << true;
        QTest::newRow("5 days back") << 5 << true;
        QTest::newRow("6 days back") << 6 << true;
        QTest::newRow("7 days back") << 7 << false;
        QTest::newRow("tomorrow") << -1 << true;
        QTest::newRow("next year") << -366 << true;
        QTest::newRow("thirty years ahead") << -11000 << true;
    }

    void date_isTheWeekday_upToSixDaysBackAndAhead()
    {
        QFETCH(int, daysBack);
        QFETCH(bool, isWeekday);
        const QDate today(2016, 3, 15);
        const QDate recorded = today.addDays(-daysBack);
        QCOMPARE(recordedOn(recorded, today), isWeekday ? weekday(recorded) : recorded.toString("dd.MM.yyyy"));
    }

    void date_isNumeric_inTheChosenOrder_data()
    {
        QTest::addColumn<int>("dateFormat");
        QTest::addColumn<QString>("text");
        QTest::newRow("day first") << 0 << "03.07.2016";
        QTest::newRow("month first") << 1 << "07.03.2016";
        QTest::newRow("year first") << 2 << "2016.07.03";
    }

    void date_isNumeric_inTheChosenOrder()
    {
        QFETCH(int, dateFormat);
        QTEST(recordedOn(QDate(2016, 7, 3), QDate(2026, 1, 1), dateFormat), "text");
    }

    void date_isQtsText_withAnUnknownOrder()
    {
        const QDate date(1995, 5, 20);
        for (const int unknown : {-1, 3, 77})
            QCOMPARE(recordedOn(date, QDate(2026, 1, 1), unknown), date.toString(Qt::TextDate));
        QCOMPARE(recordedOn(date, QDate(2026, 1, 1), 3), QString("Sat May 20 1995"));
    }

    void date_isEmpty_whenItDoesNotExist_data()
    {
        QTest::addColumn<int>("day");
        QTest::addColumn<int>("month");
        QTest::newRow("month 13") << 1 << 13;
        QTest::newRow("month 256") << 1 << 256;
        QTest::newRow("30 February") << 30 << 2;
        QTest::newRow("day 256") << 256 << 3;
    }

    void date_isEmpty_whenItDoesNotExist()
    {
        QFETCH(int, day);
        QFETCH(int, month);
        for (const int dateFormat : {0, 1, 2, 3})
            QCOMPARE(formatRecordingDate(day, month, 2016, dateOrder(dateFormat), QDate(2016, 3, 15)), QString());
    }

    void playPosition_isTruncatedAndUnpadded_data()
    {
        QTest::addColumn<int>("seconds");
        QTest::addColumn<QString>("text");
        QTest::newRow("0") << 0 << "0h 0m 0s";
        QTest::newRow("59") << 59 << "0h 0m 59s";
        QTest::newRow("3600") << 3600 << "1h 0m 0s";
        QTest::newRow("3725") << 3725 << "1h 2m 5s";
        QTest::newRow("65535") << 65535 << "18h 12m 15s";
        QTest::newRow("cut off in the index") << -257 << "0h -4m -17s";
    }

    void playPosition_isTruncatedAndUnpadded()
    {
        QFETCH(int, seconds);
        QTEST(formatPlayPosition(seconds), "text");
    }

    void fileSize_changesUnit_at1GiB_data()
    {
        QTest::addColumn<int>("kibibytes");
        QTest::addColumn<QString>("text");
        QTest::newRow("0") << 0 << "0 MB";
        QTest::newRow("488") << 488 << "0 MB";
        QTest::newRow("1023") << 1023 << "0 MB";
        QTest::newRow("1024") << 1024 << "1 MB";
        QTest::newRow("just under 1 GiB") << 1048575 << "1023 MB";
        QTest::newRow("1 GiB") << 1048576 << "1 GB";
        QTest::newRow("1500 MiB") << 1536000 << "1.46 GB";
        QTest::newRow("100 GiB") << 104857600 << "100 GB";
        QTest::newRow("999.5 GiB rounds up into the exponent") << 1048051712 << "1e+03 GB";
        QTest::newRow("1.5 TiB") << 1610612736 << "1.54e+03 GB";
        QTest::newRow("the most there is") << 2147483647 << "2.05e+03 GB";
        QTest::newRow("16.0500002 GiB, less in single precision") << 16829645 << "16 GB";
    }

    void fileSize_changesUnit_at1GiB()
    {
        QFETCH(int, kibibytes);
        QTEST(formatFileSize(kibibytes), "text");
    }
};

TEST_CLASS(TestProgrammeText, QCoreApplication)
#include "tst_programmetext.moc"
