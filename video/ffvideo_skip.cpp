#include "video/ffvideo.h"

#include "video/ffmpeg_compat.h"
#include "video/singleinput.h"
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
        const auto jump = skipAhead->plan(currentFrame, target);
        if (!jump || !canBeInVain(target))
            stepInOrder();
        else if (!follow(*jump))
            return startOver(target, estimate);
        if (skipAhead->betrayed())
            return startOver(target, estimate);
    }
    // That the file ends before the target is a matter of counting, whatever its last pictures look like.
    const bool delivered = currentFrame == target;
    if (delivered && !skipAhead->trusted())
        startOver(target, estimate);
}

// Whether everything up to `target` may have to be decoded again. It may while the file has cost no more than the plain
// way to there: then it costs twice that at most, however often it is not as it looks.
bool FFVideo::canBeInVain(int target) const
{
    return skipOrder.counters.picturesDecoded <= target;
}

// Whether a picture that did not come on the way to the file's end is certainly missing. The plain reader goes back
// then and looks again, from the last row that it knew: behind damage the decoder can deliver another number of
// pictures after a seek. Where nothing was damaged the same pictures come again, and the reader stands at the end
// again, as it does now.
bool FFVideo::isMissing() const
{
    return endOfStream && skipAhead->wasSound() && skipOrder.counters.fullFallbacks == 0;
}

// Steps to the target without the decoder up to the restart, and from there on with the pictures that others refer to.
// False where the decoder does not do exactly what was predicted.
bool FFVideo::follow(const SkipAheadJump &jump)
{
    avcodec_flush_buffers(videoCodec);
    skipAhead->restarted(jump);
    ++skipOrder.counters.flushes;

    const ffmpeg::PacketPtr packet = ffmpeg::makePacket();
    std::size_t delivered = 0;
    while (currentFrame < jump.targetNumber) {
        if (delivered == jump.deliveries.size())
            return false; // The target came before its turn.
        ++currentFrame;
        const std::int64_t expected = jump.order[static_cast<std::size_t>(currentFrame - jump.anchorNumber)];
        bool firstOfPicture = true;
        do {
            if (!skipAhead->take(*packet))
                return false;
            noteTimestamps(*packet, firstOfPicture);
            firstOfPicture = false;
            if (!skipAhead->isNeeded(jump))
                skipOrder.counters.picturesSkipped += skipAhead->beginsPicture() ? 1 : 0;
            else if (!decodeStrictly(*packet, jump, delivered))
                return false;
        } while (!skipAhead->completesStep());
        recordPicture(packet->dts, skipAhead->wouldBeRow(expected));
        skipAhead->counted(expected);
    }
    skipAhead->arrived(jump);
    return delivered == jump.deliveries.size();
}

// Sends the packet and takes the picture that it completes, if there is one. False on any complaint, where there is
// more than one, and where it is not the next one of the jump's. `delivered`: how many of those came.
bool FFVideo::decodeStrictly(AVPacket &packet, const SkipAheadJump &jump, std::size_t &delivered)
{
    tagPacket(packet);
    if (avcodec_send_packet(videoCodec, &packet) < 0)
        return false;
    const int status = avcodec_receive_frame(videoCodec, frame);
    if (status != 0)
        return status == AVERROR(EAGAIN);
    if (avcodec_receive_frame(videoCodec, spareFrame.get()) != AVERROR(EAGAIN))
        return false;
    // In front of the restart's own picture, what comes out refers to what was skipped.
    const std::int64_t firstPacket = ffmpeg::tagOf(*frame);
    if (skipAhead->isInFront(jump, firstPacket))
        return true;
    if (ffmpeg::isDamaged(*frame) || delivered == jump.deliveries.size())
        return false;
    const std::int64_t expected = jump.deliveries[delivered++];
    return skipAhead->isPicture(expected, firstPacket) && skipAhead->wouldBeRow(expected) == entersTable(*frame);
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
        closeSingleInput(formatContext);
        endOfStream = true;
        return;
    }
    watchPackets();
    if (skipAhead)
        skipAhead->decodeAllBefore(target);
    while (currentFrame < target && !endOfStream)
        stepInOrder();
}
