#include "tests/support/testclass.h"
#include "tools/sampledisk/catalogue.h"
#include "tools/sampledisk/options.h"
#include "tools/sampledisk/recordingencoder.h"

#include <algorithm>
#include <set>

using namespace quorvale;

namespace {

QDate dateOf(const Day &day)
{
    return {day.year, day.month, day.day};
}

} // namespace

class TestCatalogue : public QObject
{
    Q_OBJECT

    const std::vector<Recording> m_builtIn = catalogue(Options().recordings, {2026, 11, 21});

    long count(RecordingKind kind) const
    {
        return std::count_if(m_builtIn.begin(), m_builtIn.end(),
                             [kind](const Recording &recording) { return recording.kind == kind; });
    }

private slots:
    void today_isTheLocalDate()
    {
        const QDate before = QDate::currentDate();
        const QDate day = dateOf(today());
        QVERIFY(day >= before && day <= QDate::currentDate());
    }

    void daysBefore_countsBack_acrossMonthsAndYears_data()
    {
        QTest::addColumn<QDate>("day");
        QTest::newRow("leap day") << QDate(2024, 3, 1);
        QTest::newRow("no leap day") << QDate(2025, 3, 1);
        QTest::newRow("new year") << QDate(2026, 1, 1);
        QTest::newRow("summer time ends") << QDate(2026, 10, 26);
        qputenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3");
        tzset();
    }
    void daysBefore_countsBack_acrossMonthsAndYears()
    {
        QFETCH(const QDate, day);
        for (const int days : {0, 1, 2, 31, 365, 10000})
            QCOMPARE(dateOf(daysBefore({day.year(), day.month(), day.day()}, days)), day.addDays(-days));
    }

    void isoText_hasFourTwoAndTwoDigits() { QCOMPARE(isoText({2026, 1, 9}), std::string("2026-01-09")); }

    void catalogue_holdsEveryKind()
    {
        using Kind = RecordingKind;
        for (const auto kind :
             {Kind::ShortHighDefinition, Kind::Hevc, Kind::Split, Kind::Damaged, Kind::Missing, Kind::WideSamples})
            QCOMPARE(count(kind), 1L);
        for (const auto kind : {Kind::HighDefinition, Kind::StandardDefinition, Kind::Radio})
            QCOMPARE(count(kind), 2L);
        QVERIFY(Options().length > 780);
    }

    void catalogue_spansTodayYesterdayThisWeekAndLastYear_onAnyDay()
    {
        for (QDate day(2024, 1, 1); day < QDate(2025, 3, 5); day = day.addDays(1)) {
            std::set<qint64> ages;
            bool lastYear = false;
            for (const Recording &recording : catalogue(12, {day.year(), day.month(), day.day()})) {
                const QDate date = dateOf(recording.record.day);
                QVERIFY(date.isValid() && date <= day);
                ages.insert(date.daysTo(day));
                lastYear = lastYear || date.year() == day.year() - 1;
            }
            QVERIFY(ages.count(0) && ages.count(1) && (ages.count(3) || ages.count(4)) && *ages.rbegin() > 7);
            QVERIFY(lastYear);
        }
    }

    void catalogue_hasPositions_withAndWithoutTheMarker()
    {
        const auto &first = m_builtIn[0].record.playPosition;
        QVERIFY(first && *first > 0);
        QVERIFY(!m_builtIn[1].record.playPosition); // a reader carries the first one over to it
        QCOMPARE(m_builtIn[2].record.playPosition, std::optional<int>(0));
    }

    void catalogue_hasUtf8TitlesAndHtmlDescriptions()
    {
        int foreign = 0;
        int html = 0;
        for (const Recording &recording : m_builtIn) {
            for (const auto &text : {recording.record.title, recording.record.description, recording.record.channel}) {
                QVERIFY(!text.empty());
                QCOMPARE(QString::fromStdString(text).toStdString(), text); // valid UTF-8
            }
            foreign +=
                QString::fromStdString(recording.record.title).toLatin1().toStdString() != recording.record.title;
            html += recording.record.description.find("</") != std::string::npos;
        }
        QVERIFY(foreign >= 5);
        QVERIFY(html >= 5);
    }

    void catalogue_givesTheFirstOnes_whenFewerAreWanted()
    {
        const auto three = catalogue(3, {2026, 11, 21});
        QCOMPARE(three.size(), std::size_t(3));
        for (std::size_t i = 0; i < 3; ++i)
            QCOMPARE(three[i].record.title, m_builtIn[i].record.title);
    }

    void catalogue_repeatsTheKindsWithTitlesOfTheirOwn_whenMoreAreWanted()
    {
        const auto many = catalogue(kMostRecordings, {2026, 11, 21});
        QCOMPARE(many.size(), std::size_t(kMostRecordings));
        std::set<std::string> titles;
        std::set<std::string> fileNames;
        for (std::size_t i = 0; i < many.size(); ++i) {
            QCOMPARE(int(many[i].kind), int(m_builtIn[i % 12].kind));
            QCOMPARE(many[i].source, int(i % 12));
            QVERIFY(many[i].record.fileName.size() <= 29);
            QVERIFY(many[i].record.day.year >= 1792);
            titles.insert(many[i].record.title);
            fileNames.insert(many[i].record.fileName);
        }
        QCOMPARE(titles.size(), many.size());
        QCOMPARE(fileNames.size(), many.size());
        QCOMPARE(many[12].record.title, m_builtIn[0].record.title + ", episode 2");
        for (const std::size_t i : {0, 10}) // one of these days, and one of last year
            QCOMPARE(dateOf(many[12 + i].record.day), dateOf(m_builtIn[i].record.day).addDays(-7));
    }

    void fileExtensions_followTheKind()
    {
        using Names = std::vector<std::string>;
        QCOMPARE(fileExtensions(RecordingKind::Split), (Names{".ts", ".ts1", ".ts2"}));
        QCOMPARE(fileExtensions(RecordingKind::Missing), Names());
        QCOMPARE(fileExtensions(RecordingKind::Radio), Names{".ts"});
    }
};

TEST_CLASS(TestCatalogue, QCoreApplication)
#include "tst_catalogue.moc"
