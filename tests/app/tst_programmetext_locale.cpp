#include "app/programmetext.h"
#include "tests/support/testclass.h"

#include <QtTest>

using namespace quorvale;

/// Dates where the system speaks German. A process of its own: Qt reads the system's locale once.
class TestProgrammeTextLocale : public QObject
{
    Q_OBJECT

public:
    static void initMain() { qputenv("LC_ALL", "de_DE.UTF-8"); }

private slots:
    void initTestCase()
    {
#ifdef Q_OS_MACOS
        QSKIP("The language is a setting of the user here, which no environment changes.");
#endif
    }

    void date_isTheWeekday_inTheSystemsLanguage_data()
    {
        QTest::addColumn<QDate>("recorded");
        QTest::addColumn<QString>("text");
        QTest::newRow("six days back") << QDate(2016, 3, 9) << "Mittwoch";
        QTest::newRow("tomorrow") << QDate(2016, 3, 16) << "Mittwoch";
        QTest::newRow("next Monday") << QDate(2016, 3, 21) << "Montag";
    }

    void date_isTheWeekday_inTheSystemsLanguage()
    {
        QFETCH(QDate, recorded);
        QTEST(formatRecordingDate(recorded.day(), recorded.month(), recorded.year(), DateOrder::DayFirst,
                                  QDate(2016, 3, 15)),
              "text");
    }

    void words_areAllThatADateMayBe()
    {
        const QDate today(2016, 3, 15);
        QStringList words;
        for (int days = -1; days <= 7; ++days) {
            const QDate date = today.addDays(days);
            words.append(formatRecordingDate(date.day(), date.month(), date.year(), DateOrder::DayFirst, today));
        }
        words.removeDuplicates();
        words.sort();
        QStringList announced = recordingDateWords();
        announced.sort();
        QCOMPARE(announced, words);
    }

    void date_keepsItsOrder_inAnyLanguage()
    {
        const QDate today(2016, 3, 15);
        QCOMPARE(formatRecordingDate(8, 3, 2016, DateOrder::DayFirst, today), QString("08.03.2016"));
        QCOMPARE(formatRecordingDate(8, 3, 2016, DateOrder::MonthFirst, today), QString("03.08.2016"));
        QCOMPARE(formatRecordingDate(8, 3, 2016, DateOrder::YearFirst, today), QString("2016.03.08"));
    }
};

TEST_CLASS(TestProgrammeTextLocale, QCoreApplication)
#include "tst_programmetext_locale.moc"
