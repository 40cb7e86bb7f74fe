#include "video/ffvideo.h"

#include "video/exact/skipahead.h"
#include "video/ffmpeg/compat.h"
#include "video/saturate.h"

namespace {

// A packet can be held by the decoder in several damaged pieces. More of them than this in one packet is a decoder that
// fails without consuming anything.
constexpr int kMostDamagedPictures = 64;

} // namespace

bool FFVideo::stepForward()
{
    // Once pictures were skipped, the next one is looked at before it is believed.
    if (skipAhead && skipAhead->hasRestarted() && !endOfStream)
        skipTo(saturateToInt32(std::int64_t{currentFrame} + 1));
    else
        stepInOrder();
    return true;
}

bool FFVideo::stepInOrder()
{
    if (endOfStream || !formatContext)
        return true;
    currentFrame = saturateToInt32(std::int64_t{currentFrame} + 1);

    std::int64_t arrivalDts = kNoTimestamp;
    if (!takeSparePicture()) {
        const ffmpeg::PacketPtr packet = ffmpeg::makePacket();
        bool firstOfPicture = true;
        do {
            if (!readPacketOf(videoStream, *packet)) {
                reachEnd();
                return true;
            }
            noteTimestamps(*packet, firstOfPicture);
            firstOfPicture = false;
            passOver(*packet);
            if (skipAhead)
                tagPacket(*packet);
        } while (!decode(*packet));
        arrivalDts = packet->dts;
    }
    recordPicture(arrivalDts, entersTable(*frame));
    if (skipAhead)
        notePicture();
    return true;
}

// The next packet of one stream. An error counts as the end of the file: a recording on a disk that was pulled out ends
// where it can no longer be read.
bool FFVideo::readPacketOf(int stream, AVPacket &packet)
{
    return skipAhead && stream == videoStream ? skipAhead->take(packet) : readFromFile(stream, packet);
}

bool FFVideo::readFromFile(int stream, AVPacket &packet)
{
    do {
        av_packet_unref(&packet);
        if (av_read_frame(formatContext, &packet) < 0)
            return false;
    } while (packet.stream_index != stream);
    return true;
}

void FFVideo::noteTimestamps(const AVPacket &packet, bool firstOfPicture)
{
    if (packet.dts != kNoTimestamp) {
        previousDts = lastDts;
        lastDts = packet.dts;
    }
    if (firstDts == kNoTimestamp)
        firstDts = packet.dts;
    // The timestamp before the picture's first packet, or before the key packet within it: a seek backward from
    // there lands at or before the packets that the picture is made of.
    if (firstOfPicture || (packet.flags & AV_PKT_FLAG_KEY) != 0)
        seekDts = previousDts != kNoTimestamp ? previousDts : packet.dts;
}

// Spares the decoder the macroblocks of a packet before the key packet that was sought. In H.264 without reordering
// nothing else changes: no picture is delivered between a flush and the next key picture, be it decoded or not, and
// what is delivered later does not refer to one from before it. Other decoders would leave out a picture that counts.
void FFVideo::passOver(const AVPacket &packet)
{
    if (passOverUpTo == kNoTimestamp)
        return;
    const bool early = packet.dts != kNoTimestamp && packet.dts <= passOverUpTo;
    const bool isKey = (packet.flags & AV_PKT_FLAG_KEY) != 0;
    if (early && !isKey && videoCodec->codec_id == AV_CODEC_ID_H264 && videoCodec->has_b_frames == 0) {
        videoCodec->skip_frame = AVDISCARD_NONINTRA;
        return;
    }
    videoCodec->skip_frame = AVDISCARD_DEFAULT;
    passOverUpTo = kNoTimestamp;
}

// Feeds one packet and takes one picture; false where the packet completes none, or does not decode at all.
bool FFVideo::decode(const AVPacket &packet)
{
    if (send(packet) != AVERROR(EAGAIN))
        return receivePicture(*frame);
    // The decoder holds a picture that must be taken before it accepts the packet. What the packet itself completes
    // is then for the next step.
    const bool heldOne = receivePicture(*frame);
    const bool accepted = send(packet) >= 0;
    return heldOne || (accepted && receivePicture(*frame));
}

int FFVideo::send(const AVPacket &packet)
{
    const int status = avcodec_send_packet(videoCodec, &packet);
    if (skipAhead && status < 0)
        skipAhead->failed();
    return status;
}

// Takes the next picture out of the decoder; damaged ones are passed over. False where it has none.
bool FFVideo::receivePicture(AVFrame &picture)
{
    for (int attempt = 0; attempt < kMostDamagedPictures; ++attempt) {
        const int status = avcodec_receive_frame(videoCodec, &picture);
        if (status == 0)
            return true;
        if (status == AVERROR(EAGAIN) || status == AVERROR_EOF)
            break;
        if (skipAhead)
            skipAhead->failed();
    }
    return false;
}

// One packet can complete more than one picture. Each further one is a step of its own, and costs no packet.
// Received beside `frame`, which at the end of the file keeps the last picture.
bool FFVideo::takeSparePicture()
{
    if (!receivePicture(*spareFrame))
        return false;
    av_frame_unref(frame);
    av_frame_move_ref(frame, spareFrame.get());
    return true;
}

bool FFVideo::entersTable(const AVFrame &picture)
{
    return ffmpeg::isKeyFrame(picture) || picture.pict_type == AV_PICTURE_TYPE_I;
}

// Counts the current picture, and enters it in the table: `asRow`, because it is one to seek to.
void FFVideo::recordPicture(std::int64_t arrivalDts, bool asRow)
{
    if (!keyFrames.complete && !isHevc && (asRow || forceKeyEntry)) {
        KeyFrameEntry row;
        row.frame = currentFrame;
        row.seekDts = currentFrame == FIRST_FRAME_INDEX ? firstDts : seekDts;
        row.frameDts = arrivalDts;
        if (row.frameDts == kNoTimestamp)
            row.frameDts = lastDts;
        if (row.frameDts == kNoTimestamp)
            row.frameDts = row.seekDts;
        AddEntry(&keyFrames, row);
        forceKeyEntry = false;
    }
    const std::int64_t index = std::int64_t{currentFrame} - FIRST_FRAME_INDEX;
    if (index >= keyFrames.frames)
        keyFrames.frames = saturateToInt32(index + 1);
}

void FFVideo::reachEnd()
{
    endOfStream = true;
    keyFrames.complete = true;
    frameCount = keyFrames.frames;
}
