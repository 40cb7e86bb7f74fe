// Random descriptions, made of what breaks parsers: whatever they are, the words are those that Qt shows, and the cost
// of the layout is bounded.

#include "app/descriptiondocument.h"
#include "app/descriptionmarkup.h"
#include "tests/app/countedpictures.h"
#include "tests/support/seededrandom.h"
#include "tests/support/testclass.h"

#include <QTextCursor>
#include <QTextTable>

using namespace quorvale;

namespace {

constexpr int kDescriptions = 1000;
constexpr std::size_t kMostPieces = 32;
constexpr qint64 kMostMeasured = 50000; // 2,000 layouts, with 25 pictures in a paragraph

QString piece(SeededRandom &random)
{
    static const QStringList pieces =
        QString(
            "<table>|<table|</table>|<tr>|<td>|</td>|<th>|<td |<td colspan=%1>|<td rowspan='%1'>|"
            "colspan=\"%1\"|COLSPAN='%1| col&#115;pan = %1 |<td colspan=&#57;%1>|<b>|</b>|</i>|<p>|<|>|"
            "<3 3<5 |\"|'|=|/|/>|&amp;|&lt;|&gt;|&#6%1;|&|&#|;|<!--|-->|<!|<!--StartFragment-->|"
            "<!--EndFragment-->|In 2016 |%1|word| |\n|colspan|<ul>|<li>|<ol start=%1>|</ul>|"
            "<hr width=%1>|<img src=x>|<img width=%1 align=left>|<div style='margin:%1px'>|</div>|"
            "<font size=%1>|<span style=\"font-size:%1px\">|"
            "<p style='text-indent:-%1em;line-height:%1%'>|<style>td{padding:%1px}</style>|<script>|"
            "<pre>|<title>|<a href='x'>|<br>|<h1>|<blockquote>|<table align=right width=%1>|"
            "<table border=%1 cellpadding=%1>|\xC3\xA4|</|&lt|&nbsp|&#x%1|&copy|&bogus;|&#65532;|&#64977;|&#8232;|]]>|"
            "<![CDATA[|<?xml|?>|<!DOCTYPE html>|</style>|<style>*{float:left;margin:-%1px}</style>|</script>|</title>|"
            "<head>|</head>|<body bgcolor=red>|<meta name=qrichtext content=1>|<link rel=stylesheet href=x>|</pre>|"
            "<a name=%1>|<a name>|</a>|<ol start=2147483647>|<ol type=i start=%1>|<li/>|<dl>|<dd>|<tr/>|<caption>|"
            "<td rowspan=2147483647>|<td width=%1%>|<table style='-qt-table-type:frame;float:right'>|"
            "<table style='-qt-table-type:root;margin:%1px'>|<p style='-qt-block-indent:%1'>|"
            "<p style='-qt-paragraph-type:empty'>|<p style='white-space:pre'>|<p dir=rtl>|<font size=+%1 face='x,y'>|"
            "<span style='display:none'>|<textarea>|<select><option>|<iframe src=x>|<svg>|<unknown/>|< b>|</ b>|"
            "<TABLE><TR><TD>|<a title='>'>|<a title=&quot;>|<b a=1 a=2 b c= =d>|\t|\r|\f")
            .split('|');
    static const QStringList numbers = {"0", "1", "2", "9", "12", "30", "2000", "30000", "1e9", "-5"};
    const QString chosen = pieces.at(int(random.below(std::size_t(pieces.size()))));
    return chosen.contains("%1")
               ? QString(chosen).replace("%1", numbers.at(int(random.below(std::size_t(numbers.size())))))
               : chosen;
}

QString snippet(SeededRandom &random)
{
    QString markup;
    for (std::size_t pieces = 1 + random.below(kMostPieces); pieces > 0; --pieces)
        markup += piece(random);
    return markup;
}

QStringList wordsOf(const QTextDocument &document)
{
    static const QRegularExpression space("[\\s\\x{FFFC}]+"); // pictures stand as U+FFFC
    return document.toPlainText().split(space, Qt::SkipEmptyParts);
}

} // namespace

class TestDescriptionMarkupRandom : public QObject
{
    Q_OBJECT

private slots:
    void words_areThoseThatQtShows_whateverTheMarkup_data()
    {
        QTest::addColumn<int>("seed");
        const int thousands = qEnvironmentVariableIsSet("QUORVALE_LONG_TESTS") ? 100 : 1;
        for (int seed = 1; seed <= thousands; ++seed)
            QTest::addRow("a thousand, seed %d", seed) << seed;
    }
    void words_areThoseThatQtShows_whateverTheMarkup()
    {
        QFETCH(const int, seed);
        SeededRandom random(static_cast<std::uint64_t>(seed));
        qint64 mostMeasured = 0;
        int different = 0;
        for (int i = 0; i < kDescriptions; ++i) {
            const QString markup = snippet(random);
            DescriptionDocument byQt; // never laid out
            QTextCursor(&byQt).insertHtml(markup);
            DescriptionDocument shown;
            CountedPictures pictures(shown);
            shown.setTextWidth(300);
            quorvale::insertDescription(QTextCursor(&shown), markup);
            QVERIFY(shown.size().isValid()); // it is laid out
            QVERIFY2(wordsOf(shown) == wordsOf(byQt), qPrintable(markup));
            QVERIFY2(pictures.measured <= kMostMeasured, qPrintable(markup));
            mostMeasured = std::max(mostMeasured, pictures.measured);
            different += shown.toHtml() == byQt.toHtml() ? 0 : 1;
        }
        qInfo("%d descriptions, %d of them bounded; a picture was measured %lld times at most", kDescriptions,
              different, mostMeasured);
    }
};

TEST_CLASS(TestDescriptionMarkupRandom, QApplication)
#include "tst_descriptionmarkup_random.moc"
