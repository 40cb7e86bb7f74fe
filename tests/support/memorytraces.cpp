#include "tests/support/memorytraces.h"

#include "tests/support/picture.h"
#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/pointers.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QMap>

#include <algorithm>
#include <cstring>

namespace ffmpeg = quorvale::ffmpeg;

namespace {

// FFmpeg gives a decoder black buffers at first, and later the unchanged buffers of earlier pictures. This makes them
// black again.
int getBlackBuffer(AVCodecContext *decoder, AVFrame *frame, int flags)
{
    const int status = avcodec_default_get_buffer2(decoder, frame, flags);
    for (const AVBufferRef *buffer : frame->buf) {
        if (status >= 0 && buffer != nullptr)
            std::memset(buffer->data, 0, std::size_t(buffer->size));
    }
    return status;
}

using GetBuffer = decltype(AVCodecContext::get_buffer2);

// Checksums of all pictures, decoded with one thread into the buffers of `getBuffer`.
QVector<QByteArray> checksumsIn(GetBuffer getBuffer, const QString &path)
{
    ffmpeg::registerLibraries(); // keeps them from writing to the terminal
    AVFormatContext *opened = nullptr;
    if (avformat_open_input(&opened, QFile::encodeName(path).constData(), nullptr, nullptr) < 0)
        return {};
    const ffmpeg::InputPtr input(opened);
    const AVCodec *codec = nullptr;
    if (avformat_find_stream_info(opened, nullptr) < 0)
        return {};
    const int stream = ffmpeg::findBestStream(opened, AVMEDIA_TYPE_VIDEO, codec);
    if (stream < 0)
        return {};
    const ffmpeg::DecoderPtr decoder(avcodec_alloc_context3(codec));
    avcodec_parameters_to_context(decoder.get(), opened->streams[stream]->codecpar);
    decoder->thread_count = 1;
    decoder->get_buffer2 = getBuffer;
    if (avcodec_open2(decoder.get(), codec, nullptr) < 0)
        return {};

    QVector<QByteArray> checksums;
    const ffmpeg::PacketPtr packet = ffmpeg::makePacket();
    const ffmpeg::FramePtr frame = ffmpeg::makeFrame();
    for (bool drained = false; !drained;) {
        const bool read = av_read_frame(opened, packet.get()) >= 0;
        if (!read || packet->stream_index == stream) {
            avcodec_send_packet(decoder.get(), read ? packet.get() : nullptr); // a broken packet gives no picture
            while (avcodec_receive_frame(decoder.get(), frame.get()) >= 0)
                checksums.append(checksum(*frame));
        }
        av_packet_unref(packet.get());
        drained = !read;
    }
    return checksums;
}

} // namespace

QVector<int> picturesWithTracesOfMemory(const QString &path)
{
    static QMap<QPair<QString, QDateTime>, QVector<int>> known;
    const QPair<QString, QDateTime> file(path, QFileInfo(path).lastModified()); // Tests write another one in its place.
    if (known.contains(file))
        return known[file];
    const QVector<QByteArray> usual = checksumsIn(avcodec_default_get_buffer2, path);
    const QVector<QByteArray> black = checksumsIn(getBlackBuffer, path);
    QVector<int> numbers;
    for (int number = 0; number < int(std::max(usual.size(), black.size())); ++number) {
        if (usual.value(number) != black.value(number))
            numbers.append(number);
    }
    known[file] = numbers;
    return numbers;
}
