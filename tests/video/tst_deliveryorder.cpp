#include "video/exact/deliveryorder.h"

#include <QtTest>

#include <vector>

namespace {

constexpr std::int64_t kNone = INT64_MIN;

// Pictures with these places in the order of one sequence, and display times that follow from them.
PictureWindow windowOf(const std::vector<std::int64_t> &orders, std::int64_t step = 3600)
{
    PictureWindow window(90000);
    for (std::size_t i = 0; i < orders.size(); ++i) {
        PacketFacts facts;
        facts.order = orders[i];
        facts.dts = static_cast<std::int64_t>(i) * step;
        facts.pts = orders[i] * step;
        facts.beginsSequence = i == 0;
        window.append(facts);
    }
    return window;
}

std::vector<std::int64_t> doubted(const PictureWindow &window, Doubt doubt)
{
    std::vector<std::int64_t> packets;
    for (std::int64_t packet = 0; packet < window.packetEnd(); ++packet) {
        if ((window.facts(packet).doubts & doubt) != 0)
            packets.push_back(packet);
    }
    return packets;
}

using Numbers = std::vector<std::int64_t>;

// Judges all pictures of a window with one packet each.
PictureWindow judged(PictureWindow window, std::int64_t delay = 16)
{
    const Numbers order = deliveryOrder(window, 0);
    judgeOrder(window, order, order.size(), delay);
    return window;
}

// Pictures in the order of delivery with these display times.
PictureWindow windowShownAt(const Numbers &times)
{
    PictureWindow window(90000);
    for (std::size_t i = 0; i < times.size(); ++i) {
        PacketFacts facts;
        facts.order = static_cast<std::int64_t>(i);
        facts.pts = times[i];
        window.append(facts);
    }
    return window;
}

} // namespace

class TestDeliveryOrder : public QObject
{
    Q_OBJECT

private slots:
    void pictures_areDeliveredByTheirPlaceInTheOrder()
    {
        QCOMPARE(deliveryOrder(windowOf({0, 4, 2, 1, 3, 5}), 0), (Numbers{0, 3, 2, 4, 1, 5}));
    }

    void pictures_infrontOfTheAnchor_areLeftOut()
    {
        // Picture 4 is a key; 5 and 6 are decoded behind it and delivered before it.
        QCOMPARE(deliveryOrder(windowOf({0, 3, 1, 2, 6, 4, 5, 8, 7}), 4), (Numbers{4, 8, 7}));
    }

    void sequences_followOneAnother()
    {
        PictureWindow window = windowOf({0, 2, 1});
        PacketFacts facts;
        facts.beginsSequence = true;
        window.append(facts);
        facts.beginsSequence = false;
        facts.order = 1;
        window.append(facts);
        QCOMPARE(deliveryOrder(window, 0), (Numbers{0, 2, 1, 3, 4}));
    }

    void aSoundOrder_isNotDoubted()
    {
        const PictureWindow window = judged(windowOf({0, 4, 2, 1, 3, 8, 6, 5, 7}));
        QCOMPARE(window.firstDoubt(0, 9), 9);
    }

    void twoPicturesInOnePlace_areDoubted()
    {
        const PictureWindow window = judged(windowOf({0, 4, 2, 2, 3}));
        QCOMPARE(doubted(window, kOrderRepeated), (Numbers{2, 3}));
    }

    void aPictureThatWouldComeTooEarly_isDoubted()
    {
        // Number 1 is the fourth picture that the decoder gets.
        QCOMPARE(doubted(judged(windowOf({0, 4, 2, 1, 3}), 2), kReorderedTooDeep), Numbers{});
        QCOMPARE(doubted(judged(windowOf({0, 4, 2, 1, 3}), 1), kReorderedTooDeep), (Numbers{3}));
    }

    void displayTimes_areDoubted_whereTheyDoNotRise()
    {
        QCOMPARE(doubted(judged(windowShownAt({0, 10, 20, 20, 30, 40})), kDisplayTimeUnsteady), (Numbers{2, 3}));
        QCOMPARE(doubted(judged(windowShownAt({0, 10, 20, 15, 30, 40})), kDisplayTimeUnsteady), (Numbers{2, 3}));
    }

    void displayTimes_areDoubted_whereTheyStepTooFarOrTooLittle()
    {
        const auto doubtedWithStep = [](std::int64_t step) {
            Numbers times = {0, 100, 200, 300, 400, 500};
            for (const std::int64_t more : {0, 100, 200, 300})
                times.push_back(500 + step + more);
            return doubted(judged(windowShownAt(times)), kDisplayTimeUnsteady);
        };
        const Numbers none;
        const Numbers both = {5, 6};
        QCOMPARE(doubtedWithStep(49), both);
        QCOMPARE(doubtedWithStep(50), none);
        QCOMPARE(doubtedWithStep(150), none); // three fields instead of two
        QCOMPARE(doubtedWithStep(175), none);
        QCOMPARE(doubtedWithStep(176), both);
        QCOMPARE(doubtedWithStep(200), both); // a picture was lost
    }

    void displayTimes_areComparedAcrossPicturesWithoutOne()
    {
        QCOMPARE(doubted(judged(windowShownAt({0, 10, 20, kNone, kNone, 50, 60, 70})), kDisplayTimeUnsteady),
                 Numbers{});
        QCOMPARE(doubted(judged(windowShownAt({0, 10, 20, kNone, kNone, 90, 100, 110})), kDisplayTimeUnsteady),
                 (Numbers{2, 5}));
    }

    void displayTimes_mayBeMissingAltogether()
    {
        QCOMPARE(doubted(judged(windowShownAt({kNone, kNone, kNone})), kDisplayTimeUnsteady), Numbers{});
        QCOMPARE(doubted(judged(windowShownAt({kNone, 7, kNone})), kDisplayTimeUnsteady), Numbers{});
    }

    void displayTimes_ofAnySize_areCompared()
    {
        QCOMPARE(doubted(judged(windowShownAt({0, 10, 20, INT64_MAX, INT64_MIN + 1, 30})), kDisplayTimeUnsteady),
                 (Numbers{2, 3, 4, 5}));
    }

    void onlyTheFirstPictures_areJudged_whenSoAsked()
    {
        PictureWindow window = windowShownAt({0, 10, 20, 30, 30, 40});
        const Numbers order = deliveryOrder(window, 0);
        judgeOrder(window, order, 4, 16);
        QCOMPARE(window.firstDoubt(0, 6), 6);
        judgeOrder(window, order, 99, 16);
        QCOMPARE(window.firstDoubt(0, 6), 3);
        judgeOrder(window, order, 0, 16);
    }
};

QTEST_APPLESS_MAIN(TestDeliveryOrder)
#include "tst_deliveryorder.moc"
