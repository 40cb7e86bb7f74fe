#pragma once

#include "video/bridgeimage.h"
#include "video/colourspace.h"
#include "video/ffmpeg/picturebudget.h"
#include "video/ffmpeg/pointers.h"
#include "video/ffmpeg/timestamp.h"
#include "video/keyframetable.h"

#include <cstdint>
#include <list>
#include <string>

/// Number of the first picture of every file. Pictures are numbered in the order in which the decoder delivers them.
inline constexpr std::int32_t FIRST_FRAME_INDEX = 0;

/// Format of audio samples; packed and planar layouts count as the same.
enum FFAudioFormat : std::int32_t {
    FF_AUDIO_U8 = 0,
    FF_AUDIO_S16 = 1,
    FF_AUDIO_S32 = 2,
    FF_AUDIO_FLOAT = 3,
    FF_AUDIO_DOUBLE = 4,
    FF_AUDIO_UNKNOWN = 5,
};

/// Reads one video file by picture number.
///
/// Opening finds the best video stream and, where there is one, the best audio stream, and records the facts below.
/// Pictures are counted as the decoder outputs them when it gets every packet from the file's start. At the end of the
/// file it is not drained: pictures that it still holds back do not exist. Seeking uses a table of key pictures, which
/// is filled while decoding.
///
/// Everything the fields point to belongs to the object. Not thread-safe: one FFVideo belongs to one thread at a time.
class FFVideo
{
public:
    /// How a file is opened. FF_ACCESS_READ is the only mode that Open accepts.
    enum AccessMode : std::int32_t {
        FF_ACCESS_READ = 0,
        FF_ACCESS_CLOSED = 2, ///< what `accessMode` holds while no file is open
    };

    /// Codes of `lastError`.
    enum Error : std::int32_t {
        FF_ERROR_NONE = 0,
        FF_ERROR_SEEK = 1,    ///< the picture could not be reached
        FF_ERROR_OPEN = 10,   ///< the file could not be opened, or a decoder for it
        FF_ERROR_RANGE = 30,  ///< a negative number, or one beyond the end of a complete table
        FF_ERROR_LAYOUT = 41, ///< decoded into planes that Read does not copy
    };

    /// What ReadAudioFrame returns.
    enum AudioStatus : std::int32_t {
        FF_AUDIO_FINISHED = 0, ///< finished, or failed
        FF_AUDIO_MORE = 1,     ///< a piece was delivered and more is to come
        FF_AUDIO_SKIPPED = 2,  ///< nothing was delivered this time: the piece lies before the range
        FF_AUDIO_END = 3,      ///< the range or the file has ended
    };

    std::int32_t width = 0;      ///< display width in pixels: the sample aspect ratio is applied
    std::int32_t height = 0;     ///< pixels
    std::int32_t frameCount = 0; ///< an estimate after Open, exact once the table is complete
    std::string decoderName = "unknown";
    std::string audioDecoderName;
    std::int32_t fieldOrder = 0; ///< 0 progressive, 1 bottom field coded first, 2 top field coded first, 3 unknown
    std::int32_t lastError = FF_ERROR_NONE;
    std::int32_t frameRateNum = 0;
    std::int32_t frameRateDen = 1;
    bool hasVideo = false; ///< a video stream was found
    bool hasAudio = false; ///< an audio stream was found
    FFAudioFormat audioFormat = FF_AUDIO_UNKNOWN;
    std::int32_t accessMode = FF_ACCESS_CLOSED;
    AVFormatContext *formatContext = nullptr; ///< owned
    AVCodecContext *videoCodec = nullptr;     ///< owned
    AVCodecContext *audioCodec = nullptr;     ///< owned
    AVFrame *frame = nullptr;                 ///< owned; the one decode target, reused for every picture
    std::int32_t videoStream = -1;
    std::int32_t audioStream = -1;
    bool viewPreview = false; ///< stored, read by nothing here
    std::int32_t reservedA = 500000;
    std::int32_t reservedB = 5;
    KeyFrameTable keyFrames;
    std::int32_t currentFrame = -1; ///< number of the picture in `frame`; -1 before the first and where it is unknown
    bool endOfStream = false;
    std::int64_t lastDts = quorvale::kNoTimestamp;     ///< decode timestamp of the latest video packet that has one
    std::int64_t previousDts = quorvale::kNoTimestamp; ///< of the one before it
    std::int64_t seekDts = quorvale::kNoTimestamp;     ///< where to seek to reach the picture being decoded
    std::int64_t firstDts = quorvale::kNoTimestamp;    ///< of the file's first video packet
    bool forceKeyEntry = true;                         ///< the next picture enters the table whatever it is
    std::string codecName;               ///< four-character tag of the video stream, or what SetCodecByName gave
    bool restartSeeks = false;           ///< going back restarts at the beginning: transport streams tagged "HDMV"
    bool isHevc = false;                 ///< a raw HEVC stream: no rows, every seek goes to byte 0. Never cleared
    std::int32_t outputPixelFormat = -1; ///< libavutil's number; stored, read by nothing here
    std::int32_t colourSpace = 2;        ///< libavutil's number
    std::int32_t reservedC = 0;
    std::int32_t reservedD = 1;
    std::int32_t audioBitsPerSample = 0; ///< -1 for a format without a name here
    std::int32_t audioChannels = 0;
    std::int32_t audioSampleRate = 0;
    std::int32_t audioSkipSamples = 0; ///< samples per channel to drop before output begins
    std::int32_t audioSamplesLeft = 0; ///< samples per channel still to deliver; -1: to the end of the file

    /// Whether the FFmpeg libraries are prepared; shared by all readers, and unguarded.
    static bool registered;

    FFVideo();
    ~FFVideo();
    FFVideo(const FFVideo &) = delete;
    FFVideo &operator=(const FFVideo &) = delete;

    /// Opens `path`, whose bytes go to the operating system as they are; an open file is closed first. The position and
    /// `endOfStream` begin anew.
    /// `quickOpen`: decode the first picture only; otherwise the whole file is decoded to fill the table, unless one
    /// was loaded or set before. False with `lastError` 10 when the file, a video stream in it or a decoder cannot be
    /// opened; false with `lastError` 0 for another mode than reading.
    bool Open(const char *path, bool quickOpen, AccessMode mode);

    /// Closes the file, if there is one, and discards the table's rows. Always true.
    /// The table's `count` and `complete` survive: a reader whose table was completed and that opens another file
    /// takes it for one that was loaded, has 0 pictures and refuses every Read. Use a fresh object per file.
    bool Close();

    void SetFrameRate(int num, int den);
    void SetViewPreview(bool preview);
    /// Overwrites `decoderName` and `codecName`; nothing is opened.
    void SetCodecByName(const char *name);
    [[nodiscard]] std::string GetCodecName() const;
    /// Names of all video codecs that FFmpeg knows, in its order. A codec that both encodes and decodes may be twice.
    std::list<std::string> GetListCodecs();

    /// Decodes picture `frameNumber` (0-based) and copies it into `image`, which must hold no planes.
    /// False with `lastError` 30 out of range, 1 where it cannot be reached, 41 for planes that are not copied.
    bool Read(int frameNumber, BridgeImage &image);
    /// Decodes the next picture. Always true: the end of the file shows in `endOfStream`.
    bool stepForward();
    /// Remembers a format; values outside the enumeration are ignored.
    void SetPixelFormat(FFPixelFormat format);
    /// Remembers a colour space; values outside the enumeration are ignored.
    void SetColourSpace(FFColourSpace newColourSpace);
    [[nodiscard]] FFColourSpace GetColourSpace() const;

    /// Replaces the table by the one in the text file `path`. For a closed reader, before Open.
    bool LoadKeyTable(const char *path);
    bool SaveKeyTable(const char *path, bool markSaved);
    /// Replaces the table by a copy of `table`; false for null. For a closed reader, before Open.
    bool SetKeyTable(const KeyFrameTable *table);

    /// Makes picture `target` the current one; false if it cannot be reached.
    bool seekToFrame(int target);
    /// Makes the key picture `stepsBack` rows before the nearest one at or before `target` the current one, or an
    /// earlier one where it cannot be reached, or `target` itself where that is ahead without a seek.
    bool seekToNearestKeyFrame(int target, int stepsBack);
    /// Decodes what has not been scanned yet, to the end of the file.
    void completeSeekTable();
    /// The same in slices of `maxFrames` pictures; true once the table is complete.
    bool GetFramesUntilComplete(int maxFrames);

    void GetAudioFormat(int &bitsPerSample, int &channels, int &sampleRate, FFAudioFormat &format);
    /// Prepares to read the audio of pictures `startFrame` to `endFrame`, both included. False without audio, or where
    /// the start cannot be reached. An `endFrame` equal to `frameCount` means the end of the file.
    bool SetAudioRange(int startFrame, int endFrame);
    /// Delivers the next piece of the range as interleaved samples (see AudioStatus).
    /// `buffer`: allocated with `new[]`, owned by the caller; untouched where nothing is delivered, except that after
    /// a decoding error what it pointed to is freed and it becomes null. `bytes`, `samples`: its size, and the samples
    /// per channel in it. Every status but 1 and 2 rewinds the file, by time where that has no byte positions.
    int ReadAudioFrame(unsigned char *&buffer, int &bytes, int &samples);

private:
    enum class Landing { OnKeyFrame, Doubted, Missed };
    enum class AudioPiece { Decoded, EndOfFile, Failed };

    static void registerOnce();

    bool openStreams(const char *path);
    bool openVideo();
    bool openAudio();
    void readVideoFacts();
    void releaseFile();
    [[nodiscard]] bool hasTable() const;

    bool readPacketOf(std::int32_t stream, AVPacket &packet);
    void noteTimestamps(const AVPacket &packet, bool firstOfPicture);
    bool decode(const AVPacket &packet);
    bool receivePicture(AVFrame &picture);
    bool takeSparePicture();
    void recordPicture(std::int64_t arrivalDts);
    void reachEnd();

    void restartAtFirstByte();
    bool seekTo(const KeyFrameEntry &row);
    Landing landOn(const KeyFrameEntry &row);

    void readSampleFormat(const AVCodecContext &audio);
    bool dropAudioBeforeRange();
    AudioPiece decodeAudio(AVFrame &piece);
    int finishAudio(AudioStatus status);

    quorvale::ffmpeg::FramePtr m_spare;              // receives what a packet completes beside its first picture
    quorvale::ffmpeg::PictureBudget m_pictureBudget; // of videoCodec
};
