#include "video/ffvideo.h"

#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/decoder.h"
#include "video/saturate.h"

extern "C" {
#include <libavutil/samplefmt.h>
}

#include <algorithm>
#include <cstring>
#include <memory>

using namespace quorvale;

namespace {

constexpr std::int32_t kToTheEnd = -1;

struct SampleKind
{
    std::int32_t bits;
    FFAudioFormat format;
};

SampleKind sampleKindOf(AVSampleFormat format)
{
    switch (av_get_packed_sample_fmt(format)) {
    case AV_SAMPLE_FMT_U8:
        return {8, FF_AUDIO_U8};
    case AV_SAMPLE_FMT_S16:
        return {16, FF_AUDIO_S16};
    case AV_SAMPLE_FMT_S32:
        return {32, FF_AUDIO_S32};
    case AV_SAMPLE_FMT_FLT:
        return {32, FF_AUDIO_FLOAT};
    case AV_SAMPLE_FMT_DBL:
        return {64, FF_AUDIO_DOUBLE};
    default:
        return {-1, FF_AUDIO_UNKNOWN};
    }
}

// Planar samples of 32-bit integers are missing on purpose: only their first plane is delivered.
bool isInterleavedHere(AVSampleFormat format)
{
    return format == AV_SAMPLE_FMT_U8P || format == AV_SAMPLE_FMT_S16P || format == AV_SAMPLE_FMT_FLTP ||
           format == AV_SAMPLE_FMT_DBLP;
}

// Bytes of samples in one plane; a packed format has one plane only.
std::int64_t planeBytes(const AVFrame &piece)
{
    const auto format = static_cast<AVSampleFormat>(piece.format);
    const int channels = av_sample_fmt_is_planar(format) != 0 ? 1 : ffmpeg::channelCount(piece);
    return std::int64_t{piece.nb_samples} * av_get_bytes_per_sample(format) * channels;
}

// Which part of a decoded piece is delivered, in the format that Open found. A stream can change its format later; then
// what the piece cannot fill is silence.
struct Cut
{
    std::int64_t firstSample = 0;
    std::int64_t samples = 0; // per channel
    std::int64_t bytes = 0;
    std::int64_t channels = 0;
    std::int64_t bytesPerSample = 0;
};

// From its first sample on to the end of a piece of so many samples and bytes, or of the range, which has `left` more.
void setEnd(Cut &cut, std::int64_t samples, std::int64_t bytes, std::int32_t left)
{
    cut.samples = samples - cut.firstSample;
    cut.bytes = bytes - cut.bytesPerSample * cut.channels * cut.firstSample;
    if (left != kToTheEnd && left < cut.samples) {
        cut.samples = std::max(0, left);
        cut.bytes = cut.bytesPerSample * cut.channels * cut.samples;
    }
    cut.bytes = std::max<std::int64_t>(0, cut.bytes);
}

void interleave(const AVFrame &piece, const Cut &cut, unsigned char *out)
{
    const std::int64_t channels = std::min<std::int64_t>(cut.channels, ffmpeg::channelCount(piece));
    const std::int64_t step = cut.bytesPerSample;
    const std::int64_t readable = planeBytes(piece);
    for (std::int64_t sample = 0; sample < cut.samples; ++sample) {
        const std::int64_t from = (cut.firstSample + sample) * step;
        if (from + step > readable || (sample + 1) * cut.channels * step > cut.bytes)
            break;
        for (std::int64_t channel = 0; channel < channels; ++channel) {
            std::memcpy(out + (sample * cut.channels + channel) * step, piece.extended_data[channel] + from,
                        static_cast<std::size_t>(step));
        }
    }
}

void copyFirstPlane(const AVFrame &piece, const Cut &cut, unsigned char *out)
{
    const std::int64_t from = cut.firstSample * cut.channels * cut.bytesPerSample;
    const std::int64_t readable = std::clamp<std::int64_t>(planeBytes(piece) - from, 0, cut.bytes);
    if (readable > 0)
        std::memcpy(out, piece.data[0] + from, static_cast<std::size_t>(readable));
}

} // namespace

void FFVideo::readSampleFormat(const AVCodecContext &audio)
{
    const SampleKind kind = sampleKindOf(audio.sample_fmt);
    audioBitsPerSample = kind.bits;
    audioFormat = kind.format;
}

void FFVideo::GetAudioFormat(int &bitsPerSample, int &channels, int &sampleRate, FFAudioFormat &format)
{
    bitsPerSample = audioBitsPerSample;
    channels = audioChannels;
    sampleRate = audioSampleRate;
    format = audioFormat;
}

bool FFVideo::SetAudioRange(int startFrame, int endFrame)
{
    if (!hasAudio || !audioCodec || !formatContext)
        return false;
    // If that fails, the range begins where the demuxer is.
    av_seek_frame(formatContext, videoStream, 0, AVSEEK_FLAG_BACKWARD | (isHevc ? AVSEEK_FLAG_BYTE : 0));
    avcodec_flush_buffers(audioCodec);
    audioSkipSamples = 0;
    audioSamplesLeft = 0;

    // Single precision throughout.
    const float secondsPerFrame = static_cast<float>(frameRateDen) / static_cast<float>(frameRateNum);
    const auto samplesIn = [&](std::int64_t frames) {
        return truncateToInt32(static_cast<float>(audioSampleRate) * (static_cast<float>(frames) * secondsPerFrame));
    };

    bool reached = true;
    if (startFrame != 0) {
        audioSkipSamples = samplesIn(startFrame);
        reached = dropAudioBeforeRange();
    }
    audioSamplesLeft = endFrame == frameCount ? kToTheEnd : samplesIn(std::int64_t{endFrame} - startFrame + 1);
    return reached;
}

// Decodes up to and including the piece in which the range begins: the rest of the skip is applied to the pieces that
// follow it. False if the file or the decoder ends before.
bool FFVideo::dropAudioBeforeRange()
{
    const ffmpeg::FramePtr piece = ffmpeg::makeFrame();
    while (decodeAudio(*piece) == AudioPiece::Decoded) {
        const std::int64_t left = std::int64_t{audioSkipSamples} - piece->nb_samples;
        if (left < 0)
            return true;
        audioSkipSamples = static_cast<std::int32_t>(left);
        if (left == 0)
            return true;
    }
    return false;
}

// The next piece of audio, from as many packets as it takes. Like video, audio is not drained at the end of the file.
FFVideo::AudioPiece FFVideo::decodeAudio(AVFrame &piece)
{
    const ffmpeg::PacketPtr packet = ffmpeg::makePacket();
    for (;;) {
        const int status = avcodec_receive_frame(audioCodec, &piece);
        if (status == 0)
            return AudioPiece::Decoded;
        if (status != AVERROR(EAGAIN))
            return AudioPiece::Failed;
        if (!readPacketOf(audioStream, *packet))
            return AudioPiece::EndOfFile;
        if (avcodec_send_packet(audioCodec, packet.get()) < 0)
            return AudioPiece::Failed;
    }
}

int FFVideo::ReadAudioFrame(unsigned char *&buffer, int &bytes, int &samples)
{
    if (!hasAudio || !audioCodec || !formatContext)
        return FF_AUDIO_FINISHED;
    bytes = 0;
    samples = 0;
    const ffmpeg::FramePtr piece(av_frame_alloc());
    if (!piece)
        return FF_AUDIO_FINISHED;

    const AudioPiece decoded = decodeAudio(*piece);
    if (decoded == AudioPiece::EndOfFile)
        return finishAudio(FF_AUDIO_END);
    if (decoded == AudioPiece::Failed) {
        delete[] buffer;
        buffer = nullptr;
        return finishAudio(FF_AUDIO_FINISHED);
    }

    const auto format = static_cast<AVSampleFormat>(piece->format);
    samples = piece->nb_samples;
    bytes = std::max(0, av_samples_get_buffer_size(nullptr, audioChannels, samples, format, 1));

    if (audioSkipSamples > samples) {
        audioSkipSamples -= samples;
        return FF_AUDIO_SKIPPED;
    }
    const std::int32_t skipped = std::max(0, audioSkipSamples);
    audioSkipSamples -= skipped;
    Cut cut;
    cut.channels = audioChannels;
    cut.bytesPerSample = audioBitsPerSample / 8;
    cut.firstSample = skipped;
    setEnd(cut, samples, bytes, audioSamplesLeft);
    samples = static_cast<int>(cut.samples);
    bytes = static_cast<int>(cut.bytes);

    auto delivered = std::make_unique<unsigned char[]>(static_cast<std::size_t>(bytes));
    if (isInterleavedHere(format))
        interleave(*piece, cut, delivered.get());
    else
        copyFirstPlane(*piece, cut, delivered.get());
    buffer = delivered.release(); // owned by the caller

    // A range up to the end of the file ends with its first piece.
    if (audioSamplesLeft == kToTheEnd)
        return finishAudio(FF_AUDIO_FINISHED);
    audioSamplesLeft -= samples;
    return audioSamplesLeft > 0 ? FF_AUDIO_MORE : finishAudio(FF_AUDIO_END);
}

// However a range ends, the file is rewound, ready for the next picture or range: to its first byte, or to time 0 where
// the container has no byte positions, as MP4.
int FFVideo::finishAudio(AudioStatus status)
{
    if (av_seek_frame(formatContext, videoStream, 0, AVSEEK_FLAG_BACKWARD | AVSEEK_FLAG_BYTE) < 0)
        av_seek_frame(formatContext, videoStream, 0, AVSEEK_FLAG_BACKWARD);
    ffmpeg::flush(*videoCodec);
    avcodec_flush_buffers(audioCodec);
    currentFrame = -1;
    endOfStream = false;
    return status;
}
