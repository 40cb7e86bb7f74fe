#include "tests/video/exactcomparison.h"

#include "tests/support/memorytraces.h"
#include "tests/support/openvideo.h"
#include "tests/support/picture.h"
#include "video/exact/exactreader.h"
#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/pixelformats.h"

#include <algorithm>
#include <map>
#include <random>

namespace {

using quorvale::ExactReader;
using quorvale::ffmpeg::PlaneLayout;
using quorvale::ffmpeg::planeLayoutOf;

QByteArray textOf(const BridgeImage &image, int avFormat)
{
    const int *stride = image.stride;
    return QString::asprintf("%dx%d format %d strides %d %d %d ", image.width, image.height, int(image.format),
                             stride[0], stride[1], stride[2])
               .toLatin1() +
           checksum(image, avFormat);
}

const QByteArray kNotCopied = "not copied";

// The reader's current picture.
QByteArray currentPicture(FFVideo &video)
{
    if (quorvale::ffmpeg::planeLayoutOf(video.frame->format) == quorvale::ffmpeg::PlaneLayout::None)
        return kNotCopied;
    Picture picture;
    return video.Read(video.currentFrame, picture) ? textOf(picture, video.frame->format) : "failed";
}

// Whether what picture `number` looks like is up to what was in memory before, or any of a few further literal readers
// delivers something else.
bool isUnrepeatable(const LiteralPictures &literal, int number)
{
    if (picturesWithTracesOfMemory(literal.path()).contains(number))
        return true;
    for (int attempt = 0; attempt < 4; ++attempt) {
        if (LiteralPictures(literal.path(), number + 1).picture(number) != literal.picture(number))
            return true;
    }
    return false;
}

} // namespace

LiteralPictures::LiteralPictures(const QString &path, int end)
    : m_path(path)
{
    FFVideo video;
    m_isOpen = open(video, path);
    while (m_isOpen && !video.endOfStream && m_pictures.size() < end) {
        m_pictures.append(currentPicture(video));
        video.stepForward();
    }
}

const FFVideo *LiteralPictures::opened() const
{
    if (!m_opened) {
        m_opened = std::make_unique<FFVideo>();
        if (!open(*m_opened, m_path))
            m_opened.reset();
    }
    return m_opened.get();
}

const LiteralPictures &literalPictures(const QString &path)
{
    static std::map<QString, LiteralPictures> decoded;
    return decoded.try_emplace(path, path).first->second;
}

ExactComparison compareExactly(const LiteralPictures &literal, const QVector<int> &targets,
                               std::optional<int> processors, int mostUnrepeatable)
{
    ExactComparison result;
    const FFVideo *video = literal.opened();
    if (!video || !literal.isOpen()) {
        result.difference = QStringLiteral("does not open");
        return result;
    }
    const int avFormat = video->frame->format;
    ExactReader reader(*video, processors.value_or(1));
    if (processors)
        reader.announce({targets.begin(), targets.end()});
    for (const int target : targets) {
        Picture picture;
        QByteArray found;
        switch (reader.read(target, picture)) {
        case ExactReader::Answer::Picture:
            found = textOf(picture, avFormat);
            break;
        case ExactReader::Answer::NotCopied:
            found = kNotCopied;
            break;
        case ExactReader::Answer::PastEnd:
            found = "none";
            break;
        case ExactReader::Answer::NotProven:
        case ExactReader::Answer::Failed:
            ++result.refused;
            continue;
        }
        const QByteArray expected = literal.picture(target);
        if (found != expected && result.unrepeatable < mostUnrepeatable && isUnrepeatable(literal, target)) {
            ++result.unrepeatable;
            continue;
        }
        if (found != expected) {
            const int other = literal.numberOf(found);
            const QByteArray what = other >= 0 ? "number " + QByteArray::number(other) : found;
            result.difference =
                QString::asprintf("picture %d: %s instead of %s", target, what.constData(), expected.constData());
            break;
        }
        ++(target < literal.count() ? result.delivered : result.pastEnd);
    }
    result.counters = reader.counters();
    return result;
}

ExactComparison compareExactly(const QString &path, const QVector<int> &targets)
{
    // Only the pictures that are asked for need to be known.
    const int last = *std::max_element(targets.begin(), targets.end());
    const ExactComparison result = compareExactly(LiteralPictures(path, last + 2), targets);
    report(result);
    return result;
}

void report(const ExactComparison &result)
{
    qInfo("%d delivered, %d past the end, %d refused, %lld decoded, %lld runs, %d unrepeatable", result.delivered,
          result.pastEnd, result.refused, static_cast<long long>(result.counters.picturesDecoded),
          static_cast<long long>(result.counters.runs), result.unrepeatable);
}

QVector<int> everyNth(int first, int end, int step)
{
    QVector<int> numbers;
    for (int number = first; number < end; number += step)
        numbers.append(number);
    return numbers;
}

QVector<int> backwards(QVector<int> numbers)
{
    std::reverse(numbers.begin(), numbers.end());
    return numbers;
}

QVector<int> shuffled(QVector<int> numbers, unsigned seed)
{
    // The standard's own shuffle and distributions differ from library to library; the engine does not.
    std::mt19937 random(seed);
    for (int i = int(numbers.size()) - 1; i > 0; --i)
        std::swap(numbers[i], numbers[int(random() % unsigned(i + 1))]);
    return numbers;
}

QVector<int> thumbnailTargets()
{
    return {150, 300, 450, 600, 750};
}
