#include "app/documentbounds.h"

#include <QSet>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>
#include <QTextList>
#include <QTextTable>

#include <algorithm>
#include <cmath>
#include <vector>

namespace quorvale {

namespace {

constexpr qreal kLargestLength = 1000; // pixels, points or percent
constexpr int kCharactersInALine = 32; // in a narrow column each has a line of its own
constexpr int kDeepest = 40;           // more levels do not change the cost

bool isLarge(qreal length)
{
    return !(std::abs(length) <= kLargestLength); // true for NaN, too
}

bool isLarge(const QTextFormat &format, int property)
{
    const QVariant value = format.property(property);
    switch (value.userType()) {
    case QMetaType::Double:
    case QMetaType::Float:
        return isLarge(value.toDouble());
    case QMetaType::QTextLength:
        return isLarge(format.lengthProperty(property).rawValue());
    case QMetaType::Int:
        return (property == QTextFormat::FontPixelSize || property == QTextFormat::BlockIndent ||
                property == QTextFormat::ListIndent) &&
               isLarge(value.toInt());
    default:
        const auto lengths = format.lengthVectorProperty(property);
        return std::any_of(lengths.cbegin(), lengths.cend(),
                           [](const QTextLength &length) { return isLarge(length.rawValue()); });
    }
}

template <typename Format>
Format withoutLargeLengths(Format format)
{
    const auto properties = format.properties();
    for (auto property = properties.keyBegin(); property != properties.keyEnd(); ++property) {
        if (isLarge(format, *property))
            format.clearProperty(*property);
    }
    return format;
}

int tablesAround(const QTextFrame *frame)
{
    int tables = 0;
    for (; frame; frame = frame->parentFrame())
        tables += qobject_cast<const QTextTable *>(frame) ? 1 : 0;
    return std::min(tables, kDeepest);
}

void collectFrames(QTextFrame *frame, std::vector<QTextFrame *> &frames)
{
    frames.push_back(frame);
    const auto children = frame->childFrames();
    for (QTextFrame *child : children)
        collectFrames(child, frames);
}

void boundFrame(QTextFrame &frame)
{
    auto *table = qobject_cast<QTextTable *>(&frame);
    if (!table) {
        frame.setFrameFormat(withoutLargeLengths(frame.frameFormat()));
        return;
    }
    table->setFormat(withoutLargeLengths(table->format()));
    for (int row = 0; row < table->rows(); ++row) {
        for (int column = 0; column < table->columns(); ++column) {
            QTextTableCell cell = table->cellAt(row, column);
            cell.setFormat(withoutLargeLengths(cell.format()));
        }
    }
}

void boundBlock(const QTextBlock &block)
{
    QTextCursor cursor(block);
    cursor.setBlockFormat(withoutLargeLengths(block.blockFormat()));
    cursor.setBlockCharFormat(withoutLargeLengths(block.charFormat()));
    if (QTextList *list = block.textList())
        list->setFormat(withoutLargeLengths(list->format()));

    std::vector<QTextFragment> fragments; // collected first: a change invalidates the iterator
    for (auto fragment = block.begin(); !fragment.atEnd(); ++fragment)
        fragments.push_back(fragment.fragment());
    for (const QTextFragment &fragment : fragments) {
        cursor.setPosition(fragment.position());
        cursor.setPosition(fragment.position() + fragment.length(), QTextCursor::KeepAnchor);
        cursor.setCharFormat(withoutLargeLengths(fragment.charFormat()));
    }
}

} // namespace

qint64 layoutCost(const QTextDocument &document)
{
    qint64 cost = 0;
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next())
        cost += qint64{1 + block.length() / kCharactersInALine} << tablesAround(QTextCursor(block).currentFrame());

    // A cell that is covered by another one's span has no paragraph, but a place in its table.
    std::vector<QTextFrame *> frames;
    collectFrames(document.rootFrame(), frames);
    for (const QTextFrame *frame : frames) {
        if (const auto *table = qobject_cast<const QTextTable *>(frame))
            cost += qint64{table->rows()} * table->columns() << tablesAround(table);
    }
    return cost;
}

int fontCount(const QTextDocument &document)
{
    QSet<QString> fonts;
    const auto formats = document.allFormats();
    for (const QTextFormat &format : formats) {
        if (!format.isCharFormat())
            continue;
        QFont font = format.toCharFormat().font(); // Lines need no other one.
        font.setUnderline(false);
        font.setStrikeOut(false);
        fonts.insert(font.key());
    }
    return static_cast<int>(fonts.size());
}

bool hasLargeLengths(const QTextDocument &document)
{
    const auto formats = document.allFormats();
    return std::any_of(formats.cbegin(), formats.cend(), [](const QTextFormat &format) {
        const auto properties = format.properties();
        return std::any_of(properties.keyBegin(), properties.keyEnd(),
                           [&](int property) { return isLarge(format, property); });
    });
}

void dropLargeLengths(QTextDocument &document)
{
    std::vector<QTextFrame *> frames;
    collectFrames(document.rootFrame(), frames);
    for (QTextFrame *frame : frames)
        boundFrame(*frame);
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next())
        boundBlock(block);
}

} // namespace quorvale
