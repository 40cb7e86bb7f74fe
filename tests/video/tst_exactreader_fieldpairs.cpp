#include "tests/support/testclass.h"
#include "tests/support/teststreams.h"
#include "tests/video/exactcomparison.h"
#include "tests/video/h262fieldpairs.h"

/// MPEG-2 with both fields of a frame in one packet. What a decoder that begins at such a frame makes of it is tried
/// once in a file, and the file is read plainly where it is not what the decoder makes of it that comes from the start.
class TestExactReaderFieldPairs : public QObject
{
    Q_OBJECT

private:
    static constexpr int kFrames = 320;
    static constexpr int kProof = 16;
    static constexpr int kTest = 33; // pictures that a restart test may take

    QTemporaryDir folder;

    QString make(const QString &name, const H262FieldPairs &pairs)
    {
        const QString elementary = writeFile(folder.path(), name + ".m2v", pairs.write());
        // Decoded I0 P3 B1 B2 P6 B4 B5 ...
        const QString times = "setts=dts='N/25/TB':pts='(2+if(eq(N,0),0,if(eq(mod(N-1,3),0),N+2,N-1)))/25/TB'";
        return makeWithFFmpeg(folder.path(), name + ".ts",
                              {"-f", "mpegvideo", "-i", elementary, "-c", "copy", "-bsf:v", times});
    }

private slots:
    void theStream_isWhatItIsMeantToBe()
    {
        const LiteralPictures pictures(make("pairs", {}));
        QVERIFY(pictures.isOpen());
        QVERIFY(pictures.count() >= kFrames - 4 && pictures.count() <= kFrames);
        for (int i = 1; i < pictures.count(); ++i)
            QVERIFY(pictures.picture(i) != pictures.picture(i - 1));
    }

    void everyPicture_isTheSame_inAnyOrder()
    {
        const LiteralPictures pictures(make("pairs", {}));
        const QVector<int> targets = everyNth(0, pictures.count(), 7) + everyNth(pictures.count() - 3, kFrames + 9, 2);
        for (const QVector<int> &order : {targets, backwards(targets), shuffled(targets, 5)}) {
            const ExactComparison result = compareExactly(pictures, order);
            QCOMPARE(result.difference, QString());
            QVERIFY(result.delivered > 0);
        }
    }

    void farPictures_costTheirGroups_afterATest()
    {
        const ExactComparison result = compareExactly(make("pairs", {}), {150, 270});
        QCOMPARE(result.difference, QString());
        QCOMPARE(result.delivered, 2);
        QCOMPARE(result.counters.runs, 3);
        qInfo("%lld decoded", static_cast<long long>(result.counters.picturesDecoded));
        QVERIFY(result.counters.picturesDecoded <= kProof + 6 + kTest + 2 * 6);
    }

    void framesThatReferBack_areDecodedPlainly()
    {
        H262FieldPairs pairs;
        pairs.refersBack = true;
        const ExactComparison result = compareExactly(make("back", pairs), {150, 270});
        QCOMPARE(result.difference, QString());
        QCOMPARE(result.delivered, 2);
        QCOMPARE(result.counters.runs, 1); // the test, after which the decoder from the file's start goes on
        qInfo("%lld decoded", static_cast<long long>(result.counters.picturesDecoded));
        QVERIFY(result.counters.picturesDecoded <= 271 + 3 + kTest / 2);
    }
};

TEST_CLASS(TestExactReaderFieldPairs, QCoreApplication)
#include "tst_exactreader_fieldpairs.moc"
