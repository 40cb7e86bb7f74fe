#include "video/exact/picturewindow.h"

#include <QtTest>

#include <vector>

namespace {

constexpr std::int64_t kSecond = 90000;
constexpr std::int64_t kStep = 3600;

// The facts of a sound packet, number `index` of its stream.
PacketFacts frameAt(int index)
{
    PacketFacts facts;
    facts.order = index;
    facts.pts = facts.dts = index * kStep;
    return facts;
}

PacketFacts fieldAt(int index, PictureShape shape, std::uint32_t frameNumber)
{
    PacketFacts facts = frameAt(index);
    facts.shape = shape;
    facts.frameNumber = frameNumber;
    return facts;
}

PictureWindow windowOf(const std::vector<PacketFacts> &packets)
{
    PictureWindow window(kSecond);
    for (const PacketFacts &facts : packets)
        window.append(facts);
    return window;
}

std::vector<std::uint32_t> doubtsIn(const PictureWindow &window)
{
    std::vector<std::uint32_t> doubts;
    for (std::int64_t packet = 0; packet < window.packetEnd(); ++packet)
        doubts.push_back(window.facts(packet).doubts);
    return doubts;
}

using Doubts = std::vector<std::uint32_t>;
constexpr PictureShape kTop = PictureShape::TopField;
constexpr PictureShape kBottom = PictureShape::BottomField;

} // namespace

class TestPictureWindow : public QObject
{
    Q_OBJECT

private slots:
    void frames_areAPictureEach()
    {
        const PictureWindow window = windowOf({frameAt(0), frameAt(1), frameAt(2)});
        QCOMPARE(window.pictureEnd(), 3);
        QCOMPARE(window.pictureOf(1), 1);
        QCOMPARE(window.picture(1).firstPacket, 1);
        QCOMPARE(window.picture(1).lastPacket, 1);
        QCOMPARE(doubtsIn(window), (Doubts{0, 0, 0}));
    }

    void fields_areOnePicture_whenTheyBelongTogether()
    {
        const PictureWindow window = windowOf(
            {fieldAt(6, kTop, 3), fieldAt(5, kBottom, 3), fieldAt(2, kBottom, 4), fieldAt(3, kTop, 4), frameAt(9)});
        QCOMPARE(window.pictureEnd(), 3);
        QCOMPARE(window.pictureOf(1), 0);
        QCOMPARE(window.picture(0).lastPacket, 1);
        QCOMPARE(window.picture(0).order, 5); // the earlier field's
        QCOMPARE(window.picture(0).pts, 6 * kStep);
        QCOMPARE(window.picture(1).firstPacket, 2);
        QCOMPARE(window.picture(1).order, 2);
        QCOMPARE(window.picture(2).firstPacket, 4);
    }

    void fields_areDoubted_whenTheyDoNotBelongTogether_data()
    {
        QTest::addColumn<int>("change");
        QTest::newRow("the same parity") << 0;
        QTest::newRow("another frame number") << 1;
        QTest::newRow("one is for reference") << 2;
        QTest::newRow("a sequence begins with the second") << 3;
        QTest::newRow("a frame comes instead") << 4;
    }
    void fields_areDoubted_whenTheyDoNotBelongTogether()
    {
        QFETCH(const int, change);
        PacketFacts second = fieldAt(1, kBottom, 7);
        if (change == 0)
            second.shape = kTop;
        else if (change == 1)
            second.frameNumber = 8;
        else if (change == 2)
            second.reference = false;
        else if (change == 3)
            second.beginsSequence = true;
        else
            second = frameAt(1);
        const PictureWindow window = windowOf({fieldAt(0, kTop, 7), second});
        QCOMPARE(window.pictureEnd(), 2);
        QCOMPARE(window.facts(0).doubts, std::uint32_t{kUnpairedField});
        QCOMPARE(window.facts(1).doubts, change == 4 ? 0U : std::uint32_t{kUnpairedField});
    }

    void aDisplayTime_isMissedInFirstFieldsAlone()
    {
        PacketFacts first = fieldAt(0, kTop, 7);
        PacketFacts second = fieldAt(1, kBottom, 7);
        second.doubts = kNoDisplayTime;
        QCOMPARE(doubtsIn(windowOf({first, second})), (Doubts{0, 0}));
        first.doubts = kNoDisplayTime;
        QCOMPARE(doubtsIn(windowOf({first, second})), (Doubts{kNoDisplayTime, 0}));
    }

    void aThirdField_beginsAnotherPicture()
    {
        const PictureWindow window =
            windowOf({fieldAt(0, kTop, 7), fieldAt(1, kBottom, 7), fieldAt(2, kTop, 7), fieldAt(3, kBottom, 7)});
        QCOMPARE(window.pictureEnd(), 2);
        QCOMPARE(doubtsIn(window), (Doubts{0, 0, 0, 0}));
    }

    void sequences_areCounted_fromTheirFirstPicture()
    {
        PacketFacts begins = frameAt(0);
        begins.beginsSequence = true;
        const PictureWindow window = windowOf({begins, frameAt(1), begins, frameAt(1)});
        QVERIFY(window.picture(0).comesBefore(window.picture(1)));
        QVERIFY(window.picture(1).comesBefore(window.picture(2)));
        QVERIFY(!window.picture(3).comesBefore(window.picture(2)));
        QVERIFY(!window.picture(2).comesBefore(window.picture(2)));
    }

    void aCorruptPacket_castsDoubt_onTheOneBeforeAndTheTwoBehind()
    {
        PacketFacts corrupt = frameAt(3);
        corrupt.corrupt = true;
        const PictureWindow window =
            windowOf({frameAt(0), frameAt(1), frameAt(2), corrupt, frameAt(4), frameAt(5), frameAt(6)});
        const std::uint32_t doubt = kCorruptNear;
        QCOMPARE(doubtsIn(window), (Doubts{0, 0, doubt, doubt, doubt, doubt, 0}));
    }

    void aCorruptFirstPacket_isDoubted()
    {
        PacketFacts corrupt = frameAt(0);
        corrupt.corrupt = true;
        const std::uint32_t doubt = kCorruptNear;
        QCOMPARE(doubtsIn(windowOf({corrupt, frameAt(1), frameAt(2), frameAt(3)})), (Doubts{doubt, doubt, doubt, 0}));
    }

    void decodeTimes_areDoubted_whereTheyGoBackOrJump()
    {
        const auto doubtAfter = [](std::int64_t first, std::int64_t second) {
            PacketFacts one = frameAt(0);
            PacketFacts other = frameAt(1);
            one.dts = first;
            other.dts = second;
            return windowOf({one, other}).facts(1).doubts;
        };
        QCOMPARE(doubtAfter(100, 100), 0U);
        QCOMPARE(doubtAfter(100, 100 + kSecond), 0U);
        QCOMPARE(doubtAfter(100, 99), std::uint32_t{kDecodeTimeUnsteady});
        QCOMPARE(doubtAfter(100, 101 + kSecond), std::uint32_t{kDecodeTimeUnsteady});
        QCOMPARE(doubtAfter(INT64_MIN + 1, INT64_MAX), std::uint32_t{kDecodeTimeUnsteady});
        QCOMPARE(doubtAfter(INT64_MIN, 5), 0U); // none is no jump
    }

    void decodeTimes_areComparedAcrossPacketsWithoutOne()
    {
        PacketFacts none = frameAt(1);
        none.dts = INT64_MIN;
        PacketFacts late = frameAt(2);
        late.dts = 2 * kSecond;
        QCOMPARE(doubtsIn(windowOf({frameAt(0), none, late})), (Doubts{0, 0, kDecodeTimeUnsteady}));
    }

    void discard_forgetsPicturesAndKeepsNumbers()
    {
        PictureWindow window = windowOf({frameAt(0), fieldAt(1, kTop, 1), fieldAt(2, kBottom, 1), frameAt(3)});
        window.discardBefore(2);
        QVERIFY(!window.holdsPacket(2));
        QVERIFY(window.holdsPacket(3));
        QVERIFY(!window.holdsPacket(4));
        QCOMPARE(window.packetEnd(), 4);
        QCOMPARE(window.pictureEnd(), 3);
        QCOMPARE(window.picture(2).firstPacket, 3);
        window.append(frameAt(4));
        QCOMPARE(window.pictureOf(4), 3);
        window.discardBefore(99);
        QCOMPARE(window.pictureEnd(), 4);
        QVERIFY(!window.holdsPacket(4));
    }

    void discardBeforePacket_keepsThePictureOfThatPacket()
    {
        PictureWindow window = windowOf({frameAt(0), fieldAt(1, kTop, 1), fieldAt(2, kBottom, 1), frameAt(3)});
        window.discardBeforePacket(2);
        QVERIFY(window.holdsPacket(1));
        QVERIFY(!window.holdsPacket(0));
        window.discardBeforePacket(-5);
        window.discardBeforePacket(50);
        QVERIFY(window.holdsPacket(1));
    }

    void doubts_areFound_evenIfForgotten()
    {
        PictureWindow window = windowOf({frameAt(0), frameAt(1), frameAt(2), frameAt(3), frameAt(4)});
        QCOMPARE(window.lastDoubtBefore(5), -1);
        QCOMPARE(window.firstDoubt(0, 5), 5);
        window.doubtPicture(1, kOrderRepeated);
        window.doubtPicture(3, kOrderRepeated);
        QCOMPARE(window.firstDoubt(0, 5), 1);
        QCOMPARE(window.firstDoubt(2, 3), 3);
        QCOMPARE(window.lastDoubtBefore(5), 3);
        QCOMPARE(window.lastDoubtBefore(3), 1);
        window.discardBefore(3);
        QCOMPARE(window.lastDoubtBefore(3), 1);
        window.discardBefore(4);
        QCOMPARE(window.lastDoubtBefore(5), 3);
        window.doubtPacket(2, kDecoderFailed);
        QCOMPARE(window.lastDoubtBefore(5), 3);
    }

    void theLastPacketOfTheFile_castsNoDoubtOnTheOthers()
    {
        PictureWindow window = windowOf({frameAt(0), frameAt(1)});
        window.doubtPacket(1, kLastOfFile);
        QCOMPARE(window.lastDoubtBefore(2), -1);
        QCOMPARE(window.firstDoubt(0, 2), 1);
    }

    void newParameters_areFound()
    {
        PacketFacts fresh = frameAt(2);
        fresh.newParameters = true;
        const PictureWindow window = windowOf({frameAt(0), frameAt(1), fresh, frameAt(3)});
        QCOMPARE(window.firstNewParameters(0, 4), 2);
        QCOMPARE(window.firstNewParameters(3, 4), 4);
    }
};

QTEST_APPLESS_MAIN(TestPictureWindow)
#include "tst_picturewindow.moc"
