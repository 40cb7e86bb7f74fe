#include "video/ffvideo.h"

#include "video/ffmpeg/compat.h"
#include "video/ffmpeg/decoder.h"
#include "video/ffmpeg/singleinput.h"
#include "video/saturate.h"

using namespace quorvale;

bool FFVideo::stepForward()
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
        } while (!decode(*packet));
        arrivalDts = packet->dts;
    }
    recordPicture(arrivalDts);
    return true;
}

// The next packet of one stream. An error counts as the end of the file: a recording on a disk that was pulled out ends
// where it can no longer be read.
bool FFVideo::readPacketOf(std::int32_t stream, AVPacket &packet)
{
    do {
        av_packet_unref(&packet);
        if (ffmpeg::readPacket(*formatContext, packet) < 0)
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
    // The timestamp of the packet before the picture's first one, or before the key packet in it: a seek back to it
    // lands at or before the picture's packets.
    if (firstOfPicture || (packet.flags & AV_PKT_FLAG_KEY) != 0)
        seekDts = previousDts != kNoTimestamp ? previousDts : packet.dts;
}

// Sends one packet and receives one picture; false if the packet completes none, or does not decode.
bool FFVideo::decode(const AVPacket &packet)
{
    if (ffmpeg::send(*videoCodec, packet) != AVERROR(EAGAIN))
        return receivePicture(*frame);
    // The decoder holds a picture that must be received before it accepts the packet. What the packet itself completes
    // is left to the next step.
    const bool heldOne = receivePicture(*frame);
    const bool accepted = ffmpeg::send(*videoCodec, packet) >= 0;
    return heldOne || (accepted && receivePicture(*frame));
}

// Receives the next picture from the decoder; skips damaged ones. False if it has none.
bool FFVideo::receivePicture(AVFrame &picture)
{
    for (int attempt = 0; attempt < ffmpeg::kMostDamagedPictures; ++attempt) {
        const int status = avcodec_receive_frame(videoCodec, &picture);
        if (status == 0)
            return true;
        if (status == AVERROR(EAGAIN) || status == AVERROR_EOF)
            break;
    }
    return false;
}

// One packet can complete more than one picture. Each further one is a step of its own, without a packet.
// Received into m_spare, because at the end of the file `frame` keeps the last picture.
bool FFVideo::takeSparePicture()
{
    if (!receivePicture(*m_spare))
        return false;
    av_frame_unref(frame);
    av_frame_move_ref(frame, m_spare.get());
    return true;
}

// Counts the current picture, and enters it in the table if one can seek to it.
void FFVideo::recordPicture(std::int64_t arrivalDts)
{
    const bool isKey = ffmpeg::isKeyFrame(*frame) || frame->pict_type == AV_PICTURE_TYPE_I;
    if (!keyFrames.complete && !isHevc && (isKey || forceKeyEntry)) {
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
    const std::int64_t scanned = std::int64_t{currentFrame} - FIRST_FRAME_INDEX + 1;
    if (scanned > keyFrames.frames)
        keyFrames.frames = saturateToInt32(scanned);
}

void FFVideo::reachEnd()
{
    endOfStream = true;
    keyFrames.complete = true;
    frameCount = keyFrames.frames;
}
