#pragma once

#include <QPixmap>
#include <QVector>
#include <QWidget>

/// Shows a recording's thumbnail: a short series of its pictures, one after the other.
///
/// Pixmaps are never owned: the vectors hold the caller's pointers, and the caller empties the widget
/// (ClearThumbs) before it deletes them. Main thread only.
class MultiFrameThumb : public QWidget
{
    Q_OBJECT

public:
    explicit MultiFrameThumb(QWidget *parent);

    [[nodiscard]] QSize minimumSizeHint() const override;

public slots:
    void ClearThumbs();

private:
    QVector<QPixmap *> thumbs1x;
    QVector<QPixmap *> thumbs2x;
};
