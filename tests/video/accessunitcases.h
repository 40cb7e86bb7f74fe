#pragma once

#include "tests/video/nalunits.h"
#include "tests/video/videopackets.h"
#include "video/bitstream/accessunitreader.h"

#include <QMap>
#include <QObject>
#include <QTemporaryDir>
#include <QVector>

#include <cstddef>
#include <functional>
#include <memory>
#include <utility>

/// A stream to be made for the cases below.
struct UnitStream
{
    QString fileName;
    QStringList encoder;
    bool interlaced = false;
    /// The numbers of the packets at which decoding can begin; nothing: those that the demuxer calls key packets.
    QVector<int> randomAccessPoints{};
    /// At most, and about, how many pictures no other one refers to; -1: not tested.
    int fewestUnreferred = -1;
    int mostUnreferred = -1;
};

/// A coding, by what differs in its packets.
struct UnitCoding
{
    quorvale::VideoCoding coding{};
    QString name;                     ///< as nalUnitType() takes it
    QVector<UnitStream> streams;      ///< the first one has several slices to a picture
    QByteArray endOfSequence;         ///< with its start code
    QMap<QString, int> parameterSets; ///< their types, by name
};

/// Compares what access units say about themselves with what decoding them shows, and tests modified units: the cases
/// that all codings have. The test of one coding derives from it and adds its own cases.
class AccessUnitCases : public QObject
{
    Q_OBJECT

protected:
    static constexpr int kFrames = 90; // of each stream

    explicit AccessUnitCases(UnitCoding which)
        : coding(std::move(which))
        , sliced(coding.streams.first().fileName)
    {
    }

    [[nodiscard]] QString pathOf(const QString &fileName) const { return folder.filePath(fileName); }
    [[nodiscard]] std::unique_ptr<quorvale::AccessUnitReader> makeReader() const
    {
        return quorvale::makeAccessUnitReader(coding.coding);
    }
    /// The number of the second packet that the demuxer calls a key packet.
    [[nodiscard]] std::size_t secondKey(const QString &fileName) const;
    /// Shows a reader the stream up to packet `at`, of which the units are changed; what it says of that one.
    [[nodiscard]] quorvale::AccessUnit tampered(const QString &fileName, std::size_t at,
                                                const std::function<void(NalUnits &)> &change) const;

    const UnitCoding coding;
    const QString sliced; ///< the stream with several slices to a picture
    QTemporaryDir folder;

private:
    void addStreams() const;

private slots:
    void initTestCase();

    void outputOrder_isTheOneOfDisplayTimes_data() { addStreams(); }
    void outputOrder_isTheOneOfDisplayTimes();
    void randomAccessPoints_areThoseOfTheseEncoders_data() { addStreams(); }
    void randomAccessPoints_areThoseOfTheseEncoders();
    void picturesThatNoOtherOneRefersTo_areKnown_data();
    void picturesThatNoOtherOneRefersTo_areKnown();
    void parameters_areNewOnce_andRepeatsChangeNothing_data() { addStreams(); }
    void parameters_areNewOnce_andRepeatsChangeNothing();

    void aMissingFirstSlice_isNotOnePicture();
    void aRepeatedFirstSlice_isNotOnePicture();
    void slicesInAnotherOrder_areNotOnePicture();
    void slicesOfTwoPictures_areNotOnePicture();
    void aUnitWithoutAPicture_isNotOnePicture();
    void theEndOfASequence_isNotOnePicture();
    void aParameterSetThatChanges_isTold_data();
    void aParameterSetThatChanges_isTold();

    void anyDamage_isReadWithinItsBounds_data() { addStreams(); }
    void anyDamage_isReadWithinItsBounds();
};
