#include "app/descriptiondocument.h"
#include "app/descriptionmarkup.h"

#include <QImage>
#include <QTextCursor>
#include <QTextFrame>
#include <QTextTable>
#include <QtTest>

namespace {

// Cells of the largest table in the document.
qint64 cellsOf(const QTextDocument &document)
{
    qint64 most = 0;
    for (const QTextFrame *frame : document.rootFrame()->childFrames()) {
        if (const auto *table = qobject_cast<const QTextTable *>(frame))
            most = std::max(most, qint64{table->rows()} * table->columns());
    }
    return most;
}

} // namespace

class TestDescriptionMarkup : public QObject
{
    Q_OBJECT

private slots:
    void markup_staysAsItIs_whereNothingIsLarge_data();
    void markup_staysAsItIs_whereNothingIsLarge();
    void numbers_areBounded_inTagsOnly_data();
    void numbers_areBounded_inTagsOnly();
    void table_staysSmall_howeverItsSpansAreWritten_data();
    void table_staysSmall_howeverItsSpansAreWritten();
    void picture_isNotDecoded_thatStandsInTheText();
};

void TestDescriptionMarkup::markup_staysAsItIs_whereNothingIsLarge_data()
{
    QTest::addColumn<QString>("markup");
    QTest::newRow("nothing") << QString();
    QTest::newRow("no markup") << "In 1984 and 20480 &#49;&#50; others";
    QTest::newRow("text and tags") << "<b>1984</b> and <font color=\"#102030\" size=4>2001</font>";
    QTest::newRow("colour with letters") << "<p style='color:#a12345; margin: 10px 999px'>x</p>";
    QTest::newRow("less than") << "a < b, and it's 1984";
    QTest::newRow("apostrophe in a tag's word") << "<it's> 1984 and it's 2001";
    QTest::newRow("small spans") << "<table><tr><td colspan=2 rowspan='3'>x</td></tr></table>";
}

void TestDescriptionMarkup::markup_staysAsItIs_whereNothingIsLarge()
{
    QFETCH(const QString, markup);
    QCOMPARE(boundedMarkup(markup), markup);
}

void TestDescriptionMarkup::numbers_areBounded_inTagsOnly_data()
{
    QTest::addColumn<QString>("markup");
    QTest::addColumn<QString>("bounded");
    QTest::newRow("style") << "<p style=\"text-indent:20000px\">30000"
                           << "<p style=\"text-indent:999px\">30000";
    QTest::newRow("exponent") << "<img width=1e9>"
                              << "<img width=999>";
    QTest::newRow("greater than between quotes") << "<p title=\"a>b\" width=5000>5000"
                                                 << "<p title=\"a>b\" width=999>5000";
    QTest::newRow("tag without an end") << "1984 <p width=5000 "
                                        << "1984 <p width=999 ";
    QTest::newRow("quote without an end") << "1984 <p title=\"5000"
                                          << "1984 <p title=\"999";
    QTest::newRow("span") << "<td colspan=10>"
                          << "<td colspan=9>";
    QTest::newRow("spans") << "<td COLSPAN = \"20480\" rowspan='30'>"
                           << "<td COLSPAN = \"9\" rowspan='9'>";
}

void TestDescriptionMarkup::numbers_areBounded_inTagsOnly()
{
    QFETCH(const QString, markup);
    QFETCH(const QString, bounded);
    QCOMPARE(boundedMarkup(markup), bounded);
}

void TestDescriptionMarkup::table_staysSmall_howeverItsSpansAreWritten_data()
{
    QTest::addColumn<QString>("attribute");
    for (const char *attribute :
         {"colspan=20000", "COLSPAN='20000'", "\"colspan\"=20000", "'colspan' = \" +20000\"", "col&#115;pan=20000",
          "col&#x73;pan=20000", "colspan=&#50;0000", "colspan=&#x32;0&#48;00", "colspan=\"&#50;&#48;000\"",
          "col&#&#49;15;pan=20000", "col&#0115;pan=20000",
          "colspan\xA0=\xA0"
          "20000",
          "title='>' colspan=20000", "a='\"' colspan=20000", "a=\"'\" colspan=20000", "colspan=00020000",
          "rowspan=20000", "x colspan=20000", "rowspan=20000 colspan=20000"})
        QTest::newRow(attribute) << QString::fromLatin1(attribute);
}

void TestDescriptionMarkup::table_staysSmall_howeverItsSpansAreWritten()
{
    QFETCH(const QString, attribute);
    const QString markup = "<table><tr><td " + attribute + ">text</td><td>more</td></tr></table>";
    DescriptionDocument document;
    QTextCursor(&document).insertHtml(boundedMarkup(markup));
    QVERIFY(document.toPlainText().contains("text"));
    QVERIFY2(cellsOf(document) <= 100, qPrintable(QString::number(cellsOf(document))));
}

// A JPEG's header can claim 65535 times 65535 pixels in 200 bytes; this one is honest, and would be shown.
void TestDescriptionMarkup::picture_isNotDecoded_thatStandsInTheText()
{
    QImage picture(40, 30, QImage::Format_RGB32);
    picture.fill(Qt::red);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    QVERIFY(picture.save(&buffer, "PNG"));
    const QUrl url = QStringLiteral("data:image/png;base64,") + bytes.toBase64();
    QCOMPARE(QTextDocument().resource(QTextDocument::ImageResource, url).value<QImage>().size(), picture.size());
    QCOMPARE(DescriptionDocument().resource(QTextDocument::ImageResource, url).value<QImage>().size(), QSize(1, 1));
}

QTEST_MAIN(TestDescriptionMarkup)
#include "tst_descriptionmarkup.moc"
