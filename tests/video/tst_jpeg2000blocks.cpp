#include "tests/support/hugeclaims.h"
#include "tests/support/testclass.h"
#include "video/ffmpeg/jpeg2000blocks.h"
#include "video/ffmpeg/pointers.h"

extern "C" {
#include <libavcodec/packet.h>
}

class TestJpeg2000Blocks : public QObject
{
    Q_OBJECT

private slots:
    void blocks_areBounded_whereNotTooManyAreClaimed_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("isBounded");
        const auto add = [](const char *name, const HugeJpeg2000 &picture, bool isBounded) {
            QTest::newRow(name) << picture.bytes() << isBounded;
        };
        HugeJpeg2000 usual;
        add("blocks of 4x4", usual, true);
        HugeJpeg2000 precincts = usual;
        precincts.precincts = precincts.lowest = 0x11;
        add("precincts of four pixels", precincts, false);
        HugeJpeg2000 layers = usual;
        layers.precincts = 0x77;
        add("135 precincts", layers, true);
        layers.layers = 65535;
        add("135 precincts in 65,535 layers", layers, false);
        HugeJpeg2000 tiles = usual;
        tiles.tileWidth = tiles.tileHeight = 64;
        add("tiles of 64x64", tiles, true);
        tiles.tileWidth = tiles.tileHeight = 32;
        add("tiles of 32x32", tiles, false);
        HugeJpeg2000 places = usual;
        places.levels = 1;
        places.precincts = 0xF1; // columns of two pixels
        places.lowest = 0x0F;    // rows of one pixel
        add("precincts that are rows, and columns", places, false);
        HugeJpeg2000 again = usual;
        again.isInTileToo = true;
        add("a tile with a style of its own", again, false);
        HugeJpeg2000 large = usual;
        large.width = large.tileWidth = 8192;
        large.height = large.tileHeight = 4352;
        add("the largest size", large, true);
        large.components = 3;
        add("the largest size in three components", large, false);
        HugeJpeg2000 huge = usual;
        huge.width = huge.tileWidth = 1U << 31;
        add("a negative size", huge, false);

        const QByteArray boxes = QByteArray::fromHex("0000000C6A5020200D0A870A");
        QTest::newRow("in boxes") << boxes + QByteArray::fromHex("000000006A703263") + usual.bytes() << true;
        QTest::newRow("too many, in boxes, after one that is not read")
            << boxes + QByteArray::fromHex("000000106A502020FF4FFF516A703263") +
                   QByteArray::fromHex("000000006A703263") + precincts.bytes()
            << false;
        QTest::newRow("no end") << usual.bytes().chopped(300) << false;
        QTest::newRow("nothing") << QByteArray("none") << false;
    }

    void blocks_areBounded_whereNotTooManyAreClaimed()
    {
        QFETCH(const QByteArray, bytes);
        QFETCH(const bool, isBounded);
        const quorvale::ffmpeg::PacketPtr packet = quorvale::ffmpeg::makePacket();
        QCOMPARE(av_new_packet(packet.get(), int(bytes.size())), 0);
        std::copy(bytes.begin(), bytes.end(), packet->data);
        QCOMPARE(quorvale::ffmpeg::hasBoundedBlocks(*packet), isBounded);
    }
};

TEST_CLASS(TestJpeg2000Blocks, quorvale::NoApplication)
#include "tst_jpeg2000blocks.moc"
