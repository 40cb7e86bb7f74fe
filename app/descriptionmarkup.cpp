#include "app/descriptionmarkup.h"

#include "app/descriptiondocument.h"
#include "app/documentbounds.h"
#include "app/tablespans.h"

#include <QTextCursor>
#include <QTextDocumentFragment>

namespace quorvale {

namespace {

constexpr qint64 kMostCells = 10000;     // parsed in a tenth of a second
constexpr qint64 kMostLayoutCost = 2000; // laid out in a fiftieth of a second; a page of text costs 50
constexpr int kMostFonts = 8;            // with Qt 6, a script without a font costs a hundredth of a second for each

} // namespace

void insertDescription(QTextCursor cursor, const QString &markup)
{
    const QString bounded = withBoundedSpans(markup, kMostCells);
    DescriptionDocument parsed; // never shown, so never laid out
    QTextCursor(&parsed).insertHtml(bounded);
    if (layoutCost(parsed) > kMostLayoutCost || fontCount(parsed) > kMostFonts) {
        cursor.insertText(parsed.toPlainText().replace(QChar::ObjectReplacementCharacter, QLatin1Char(' ')));
    } else if (hasLargeLengths(parsed)) {
        dropLargeLengths(parsed);
        cursor.insertFragment(QTextDocumentFragment(&parsed));
    } else {
        cursor.insertHtml(bounded);
    }
}

} // namespace quorvale
