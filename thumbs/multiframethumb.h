#pragma once

#include <QPixmap>
#include <QPointF>
#include <QSize>
#include <QVector>
#include <QWidget>

/// Shows a recording's thumbnail as a slide show, one frame a second and over again, or a turning ring while the
/// frames are still being made. A click pauses and resumes the show.
///
///   SetThumbs        any state          ->  Playing, at frame 0
///   click            Playing           <->  Paused
///   SetBusy(true)    any state          ->  Busy
///   SetBusy(false)   Busy               ->  Paused
///   ClearThumbs      Playing or Paused  ->  Empty; Busy stays Busy and only drops its frames
///
/// Empty and Paused paint nothing: a paused frame stays on screen only until something has the widget painted again.
///
/// It does not own the pixmaps, and the vectors are shallow copies. So the owner of the pixmaps calls ClearThumbs
/// before it deletes them, or at the latest before control returns to the event loop, where the next paint would use
/// the pointers. A null pointer is a frame that could not be read, and paints nothing.
///
/// The fields are for callers and tests to read; the slots keep them consistent. Main thread only.
class MultiFrameThumb : public QWidget
{
    Q_OBJECT

public:
    explicit MultiFrameThumb(QWidget *parent = nullptr);

    /// 64 x 64: enough room for a ring whose turning can be seen.
    [[nodiscard]] QSize minimumSizeHint() const override;

    void timerEvent(QTimerEvent *event) override;
    /// Any button is togglePause().
    void mousePressEvent(QMouseEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

    /// Pauses a running show or resumes a stopped one. Does not repaint.
    void togglePause();

    QVector<QPixmap *> thumbs1x; ///< frames for screens of standard density, in display order
    QVector<QPixmap *> thumbs2x; ///< the same frames for dense screens; as many as in `thumbs1x`
    bool highDensity = false;    ///< whether the last picture painted was one for dense screens
    int alignment = 0;           ///< Qt::AlignCenter centres the frame; any other value puts it at the top left
    bool busy = false;           ///< whether the ring is shown in place of the frames
    int spinAngle = 0;           ///< degrees the ring has turned clockwise: 0, 30, ... 330
    int spinTimerId = -1;        ///< turns the ring; -1 when stopped
    int frameTimerId = -1;       ///< advances the show; -1 when stopped, which is also what paused means
    int frameIndex = -1;         ///< index of the frame shown; -1 when there are none

public slots:
    /// Ends the busy state and shows a new series from its first frame on. Entry i of `x2` is the picture of entry i of
    /// `x1` at twice the density. Empty series show nothing.
    void SetThumbs(QVector<QPixmap *> &x1, QVector<QPixmap *> &x2);
    /// Drops the series and stops the show. A ring that turns keeps turning.
    void ClearThumbs();
    /// Enters the busy state, or leaves it for the paused one. The ring's timer, once started, runs until SetThumbs.
    void SetBusy(bool b);

private:
    [[nodiscard]] int pixelRatio() const;
    void paintBusyRing();
    [[nodiscard]] QPixmap generatePixmap(int size);
    /// Returns the height of what was drawn: in units when it was scaled, else in its own pixels; 10000 when nothing
    /// was.
    int paintFrame();
    [[nodiscard]] const QPixmap *chooseFrame();
    [[nodiscard]] QPixmap scaledTo(const QSize &fitting, const QPixmap &frame) const;
    [[nodiscard]] QPointF placeOf(const QSize &picture) const;
    void shrinkToHeight(int limit);
    void stopTimer(int &id);
};
