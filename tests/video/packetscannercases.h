#pragma once

#include "tests/video/packetunits.h"
#include "video/bitstream/packetfacts.h"

#include <QMap>
#include <QObject>
#include <QTemporaryDir>
#include <QVector>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>

/// A stream to be made for the cases below.
struct ScannedStream
{
    QString fileName;
    QStringList encoder;
    bool interlaced = false;
    /// The numbers of the packets at which decoding can begin; nothing: those that the demuxer calls key packets.
    QVector<int> closedKeys{};
    /// How many pictures there are, about and at most, that no other one refers to; -1: not to be looked at.
    int fewestUnreferred = -1;
    int mostUnreferred = -1;
};

/// A codec, by what differs in its packets.
struct ScannedCodec
{
    QString name;                              ///< as kindOf() takes it
    QVector<ScannedStream> streams;            ///< the first one has several slices to a picture
    QByteArray endOfSequence;                  ///< a unit with its start code
    QMap<QString, int> parameterSets;          ///< kinds of units, by name
    std::uint32_t doubtWithoutDisplayTime = 0; ///< see Doubt
};

/// What packets say about themselves, held against what decoding them shows, and what is doubted in packets that were
/// tampered with: the cases that all codecs have. A test of one codec derives from it and adds those that it alone has.
class PacketScannerCases : public QObject
{
    Q_OBJECT

protected:
    static constexpr int kFrames = 90; // of each stream

    explicit PacketScannerCases(ScannedCodec scanned)
        : codec(std::move(scanned))
        , sliced(codec.streams.first().fileName)
    {
    }

    [[nodiscard]] QString pathOf(const QString &fileName) const { return folder.filePath(fileName); }
    /// The number of the second packet that the demuxer calls a key packet.
    [[nodiscard]] std::size_t secondKey(const QString &fileName) const;
    /// Shows a scanner the stream up to packet `at`, of which the units are changed; the facts of that one.
    [[nodiscard]] PacketFacts tampered(const QString &fileName, std::size_t at,
                                       const std::function<void(Units &)> &change) const;

    const ScannedCodec codec;
    const QString sliced; ///< the stream with several slices to a picture
    QTemporaryDir folder;

private:
    void addStreams() const;

private slots:
    void initTestCase();

    void order_isTheOneOfDisplayTimes_data() { addStreams(); }
    void order_isTheOneOfDisplayTimes();
    void tableRows_areThoseOfTheTable_data() { addStreams(); }
    void tableRows_areThoseOfTheTable();
    void closedKeys_areTheKeyPicturesOfTheseEncoders_data() { addStreams(); }
    void closedKeys_areTheKeyPicturesOfTheseEncoders();
    void picturesThatNoOtherOneRefersTo_areKnown_data();
    void picturesThatNoOtherOneRefersTo_areKnown();
    void parameters_areNewOnce_andRepeatsAreNoDoubt_data() { addStreams(); }
    void parameters_areNewOnce_andRepeatsAreNoDoubt();

    void aMissingFirstSlice_isDoubted();
    void aRepeatedFirstSlice_isDoubted();
    void slicesInAnotherOrder_areDoubted();
    void slicesOfTwoPictures_areDoubted();
    void aPacketWithoutAPicture_isDoubted();
    void theEndOfASequence_isDoubted();
    void aParameterSetThatChanges_isDoubted_data();
    void aParameterSetThatChanges_isDoubted();
    void aMissingDisplayTime_isDoubted_whereTheOrderRestsOnOneNumber();

    void anyDamage_isReadWithinItsBounds_data() { addStreams(); }
    void anyDamage_isReadWithinItsBounds();
};
