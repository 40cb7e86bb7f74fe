#pragma once

#include "video/exact/exactcounters.h"
#include "video/ffvideo.h"

#include <QByteArray>
#include <QString>
#include <QVector>

#include <memory>
#include <optional>

// What an ExactReader delivers, beside what decoding everything delivers.

/// Every picture of a file, by its number, as a literal reader delivers it when it makes one step after the other.
class LiteralPictures
{
public:
    /// Decodes the pictures of the file, none from number `end` on; isOpen() tells whether it can be read.
    explicit LiteralPictures(const QString &path, int end = 1 << 30);

    [[nodiscard]] bool isOpen() const { return m_isOpen; }
    [[nodiscard]] QString path() const { return m_path; }
    [[nodiscard]] int count() const { return int(m_pictures.size()); }
    /// What can be seen of picture `number`, its size, format and strides; "none" past the end.
    [[nodiscard]] QByteArray picture(int number) const { return m_pictures.value(number, "none"); }
    /// The first picture that looks like this; -1 where none does.
    [[nodiscard]] int numberOf(const QByteArray &picture) const { return int(m_pictures.indexOf(picture)); }
    /// Has just opened the file, for any number of readers beside it, which do not change it; null if that fails.
    [[nodiscard]] const FFVideo *opened() const;

private:
    QString m_path;
    QVector<QByteArray> m_pictures;
    bool m_isOpen = false;
    mutable std::unique_ptr<FFVideo> m_opened;
};

/// The pictures of a file that stays what it is; decoded once.
[[nodiscard]] const LiteralPictures &literalPictures(const QString &path);

/// What a comparison found.
struct ExactComparison
{
    QString difference; ///< empty if every answer was right
    quorvale::ExactCounters counters;
    int delivered = 0;    ///< pictures, all of them the right ones
    int pastEnd = 0;      ///< numbers that do not exist
    int refused = 0;      ///< answers that were not proven
    int unrepeatable = 0; ///< damaged pictures that come out differently from one literal reader to the next, too, or
                          ///< show what was in memory before
};

/// Reads the pictures `targets` with a new ExactReader, in this order. `processors`: they are announced, and the reader
/// may decode that many at once. More than `mostUnrepeatable` unrepeatable pictures are a difference.
[[nodiscard]] ExactComparison compareExactly(const LiteralPictures &literal, const QVector<int> &targets,
                                             std::optional<int> processors = {}, int mostUnrepeatable = 0);

/// The same for a file that is read literally only for this; with a report.
[[nodiscard]] ExactComparison compareExactly(const QString &path, const QVector<int> &targets);
/// Prints what was found, for whoever sets the bounds of a test.
void report(const ExactComparison &result);

/// Every `step`th number from `first` up to but not including `end`.
[[nodiscard]] QVector<int> everyNth(int first, int end, int step);
[[nodiscard]] QVector<int> backwards(QVector<int> numbers);
/// In an order that depends on the seed alone.
[[nodiscard]] QVector<int> shuffled(QVector<int> numbers, unsigned seed);
/// The pictures that a recording's thumbnails show.
[[nodiscard]] QVector<int> thumbnailTargets();
