#include "video/ffvideo.h"

#include "video/ffmpeg_compat.h"
#include "video/skipahead.h"

#include <string>

void FFVideo::setSkipAhead(bool on)
{
    skipOrder.given = on;
}

const SkipAheadCounters &FFVideo::skipAheadCounters() const
{
    return skipOrder.counters;
}

// From the file's first packet on; for codecs whose packets can be read, and where seeking is not done by a table that
// came from elsewhere.
void FFVideo::watchPackets()
{
    const AVStream &stream = *formatContext->streams[videoStream];
    std::unique_ptr<PacketScanner> scanner = makePacketScanner(*stream.codecpar);
    if (!scanner)
        return;
    const std::int64_t second = stream.time_base.num > 0 ? stream.time_base.den / stream.time_base.num : 0;
    const auto source = [this](AVPacket &packet) { return readFromFile(videoStream, packet); };
    skipAhead = std::make_unique<SkipAhead>(ReadAhead(source, std::move(scanner), second));
    ffmpeg::keepTags(*videoCodec);
}

// Brings the reader to picture `target`, or to the end of the file, with everything as if it had decoded all pictures
// on the way.
void FFVideo::skipTo(int target)
{
    const std::int32_t estimate = frameCount;
    while (currentFrame < target && !endOfStream) {
        if (const auto jump = skipAhead->plan(currentFrame, target)) {
            if (!follow(*jump, target))
                return startOver(target, estimate);
        } else {
            stepInOrder();
        }
        if (skipAhead->betrayed())
            return startOver(target, estimate);
    }
    // That the file ends before the target is a matter of counting, whatever its last pictures look like.
    const bool delivered = currentFrame == target;
    if (delivered && !skipAhead->trusted())
        startOver(target, estimate);
}

// Steps to the target without the decoder up to the restart, and with it from there on. False where the decoder does
// not do exactly what was predicted.
bool FFVideo::follow(const SkipAheadJump &jump, int target)
{
    avcodec_flush_buffers(videoCodec);
    skipAhead->restarted(jump);
    ++skipOrder.counters.flushes;

    const ffmpeg::PacketPtr packet = ffmpeg::makePacket();
    while (currentFrame < target) {
        ++currentFrame;
        const std::int64_t place = currentFrame - jump.anchorNumber;
        const std::int64_t expected = jump.order[static_cast<std::size_t>(place)];
        bool firstOfPicture = true;
        std::int64_t deliveredPacket = -1;
        do {
            if (!skipAhead->take(*packet))
                return false;
            noteTimestamps(*packet, firstOfPicture);
            firstOfPicture = false;
            if (skipAhead->packet() < jump.restartPacket) {
                skipOrder.counters.picturesSkipped += skipAhead->beginsPicture() ? 1 : 0;
                continue;
            }
            if (deliveredPacket >= 0 || !decodeStrictly(*packet, deliveredPacket))
                return false;
        } while (!skipAhead->completesStep());

        // In front of the restart's own picture, what comes out is nothing, or refers to what was skipped.
        const bool counts = place >= jump.restartPlace;
        if (counts && !skipAhead->isPicture(expected, deliveredPacket))
            return false;
        const bool row = skipAhead->wouldBeRow(expected);
        if (counts && row != entersTable(*frame))
            return false;
        recordPicture(packet->dts, row);
        skipAhead->counted(expected);
    }
    skipAhead->arrived(jump);
    return true;
}

// Sends the packet and takes the picture that it completes, if there is one, as packet `deliveredPacket`. False on any
// complaint, and where there is more than one.
bool FFVideo::decodeStrictly(AVPacket &packet, std::int64_t &deliveredPacket)
{
    tagPacket(packet);
    if (avcodec_send_packet(videoCodec, &packet) < 0)
        return false;
    int status = avcodec_receive_frame(videoCodec, frame);
    if (status == 0) {
        deliveredPacket = ffmpeg::tagOf(*frame);
        if (ffmpeg::isDamaged(*frame))
            return false;
        status = avcodec_receive_frame(videoCodec, spareFrame.get());
    }
    return status == AVERROR(EAGAIN);
}

void FFVideo::tagPacket(AVPacket &packet)
{
    ffmpeg::tag(*videoCodec, packet, skipAhead->packet());
    ffmpeg::setStrict(*videoCodec, skipAhead->strict());
    ++skipOrder.counters.packetsSent;
    if (skipAhead->beginsPicture())
        ++skipOrder.counters.picturesDecoded;
}

void FFVideo::notePicture()
{
    skipAhead->delivered(ffmpeg::tagOf(*frame), currentFrame, !ffmpeg::isDamaged(*frame), entersTable(*frame));
}

// After a seek, what is read is no longer one pass over the file.
void FFVideo::stopSkipping()
{
    skipAhead.reset();
    ffmpeg::setStrict(*videoCodec, false);
}

// The file is read again, as if for the first time, and everything is decoded up to `target`: something was not as it
// looked. `estimate`: the number of pictures to go by until the end of the file is found again.
void FFVideo::startOver(int target, std::int32_t estimate)
{
    ++skipOrder.counters.fullFallbacks;
    const std::string path = keyFrames.fileName;
    ReleaseKFT(&keyFrames);
    InitialiseKFT(&keyFrames, path.c_str(), -1);
    frameCount = estimate;
    currentFrame = -1;
    lastDts = previousDts = seekDts = firstDts = kNoTimestamp;
    endOfStream = false;
    forceKeyEntry = true;
    if (!openStreams(path.c_str())) {
        // A file that can no longer be opened is no longer read either.
        avformat_close_input(&formatContext);
        endOfStream = true;
        return;
    }
    watchPackets();
    if (skipAhead)
        skipAhead->decodeAllBefore(target);
    while (currentFrame < target && !endOfStream)
        stepInOrder();
}
