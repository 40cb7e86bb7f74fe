#pragma once

#include <QAbstractTextDocumentLayout>
#include <QObject>
#include <QTextDocument>
#include <QTextObjectInterface>

/// Stands in for the pictures of a document, and counts how often they are measured: once each time that their
/// paragraphs are laid out.
class CountedPictures : public QObject, public QTextObjectInterface
{
    Q_OBJECT
    Q_INTERFACES(QTextObjectInterface)

public:
    explicit CountedPictures(const QTextDocument &document)
    {
        document.documentLayout()->registerHandler(QTextFormat::ImageObject, this);
    }

    QSizeF intrinsicSize(QTextDocument *, int, const QTextFormat &) override
    {
        ++measured;
        return {1, 1};
    }
    void drawObject(QPainter *, const QRectF &, QTextDocument *, int, const QTextFormat &) override {}

    qint64 measured = 0;
};
