#include "tests/video/everypicture.h"

#include "tests/support/picture.h"
#include "tests/support/sanitized.h"
#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/pixelformats.h"

#include <QtGlobal>

#include <algorithm>
#include <cstdio>
#include <random>

namespace {

// Under AddressSanitizer a sought picture costs many times as much, and a few of them reach all of the code: only so
// many are sought there. All are still read forwards.
constexpr int kStepFactor = kIsSanitized ? 8 : 1;

// The checksum of picture `number`; empty if it is refused. A layout that Read does not copy is looked at in the
// decoder's frame.
QByteArray checksumOf(FFVideo &video, int number)
{
    if (quorvale::ffmpeg::planeLayoutOf(video.frame->format) == quorvale::ffmpeg::PlaneLayout::None)
        return video.seekToFrame(number) ? checksum(*video.frame) : QByteArray();
    Picture picture;
    if (!video.Read(number, picture))
        return {};
    return checksum(picture, video.frame->format);
}

// Whether what was delivered as picture `number` is what is expected there.
bool isExpected(int number, const QByteArray &found, const QVector<QByteArray> &expected, const Allowance &allowance)
{
    if (found.isEmpty())
        return false;
    return found == expected.value(number) || (allowance.undefined.contains(number) && !expected.contains(found));
}

} // namespace

QString compareEach(FFVideo &video, const QVector<int> &numbers, const QVector<QByteArray> &expected,
                    const Allowance &allowance)
{
    for (const int number : numbers) {
        const QByteArray found = checksumOf(video, number);
        if (isExpected(number, found, expected, allowance))
            continue;
        if (found.isEmpty() && number < allowance.reachableFrom && video.lastError == FFVideo::FF_ERROR_SEEK)
            continue;
        return found.isEmpty() ? QStringLiteral("picture %1 is refused with %2").arg(number).arg(video.lastError)
                               : QStringLiteral("picture %1 is picture %2").arg(number).arg(expected.indexOf(found));
    }
    return {};
}

int readToTheEnd(FFVideo &video, int first, const QVector<QByteArray> &expected, const Allowance &allowance)
{
    for (int number = first;; ++number) {
        const QByteArray found = checksumOf(video, number);
        if (video.endOfStream || (found.isEmpty() && video.lastError == FFVideo::FF_ERROR_RANGE))
            return number;
        if (!isExpected(number, found, expected, allowance)) {
            std::fprintf(stderr, "picture %d is picture %d, error %d\n", number, int(expected.indexOf(found)),
                         video.lastError);
            return -1;
        }
    }
}

QVector<int> descending(int count, int step)
{
    step *= kStepFactor;
    if (qEnvironmentVariableIsSet("QUORVALE_EVERY_PICTURE"))
        step = 1;
    QVector<int> numbers;
    for (int number = count - 1; number >= 0; number -= step)
        numbers.append(number);
    return numbers;
}

QVector<int> shuffled(int count, int step)
{
    QVector<int> numbers = descending(count, step);
    // Not std::shuffle, whose order differs between libraries.
    std::minstd_rand random(4711);
    for (int i = int(numbers.size()) - 1; i > 0; --i)
        std::swap(numbers[i], numbers[int(random() % unsigned(i + 1))]);
    return numbers;
}
