// PaletteObject: its signals, its bulk operations, every palette file it reads, the ACT writer,
// and adaptImageToPalette against a plain search written here.

#include "sprites.h"

#include <zornx/core/extension.h>
#include <zornx/image/imagecodecs.h>
#include <zornx/image/palette.h>

#include <QtCore/QBuffer>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>

#include <cstring>
#include <functional>

using namespace Zorn;
using ZornTest::plainMatch;

namespace Zorn {
char *toString(const RGBA &c)
{
    return qstrdup((QByteArray::number(c.red) + ',' + QByteArray::number(c.green) + ','
                   + QByteArray::number(c.blue) + ',' + QByteArray::number(c.alpha)).constData());
}
} // namespace Zorn

typedef QVector<RGBA> Colors;
Q_DECLARE_METATYPE(Zorn::RGBA)
Q_DECLARE_METATYPE(Colors)
Q_DECLARE_METATYPE(std::function<void(PaletteObject &)>)

namespace {

typedef std::function<void(PaletteObject &)> Operation;

// A table where every entry differs: entry i is (i, 255 - i, i / 2, 255).
void ramp(RGBA *table)
{
    for (int i = 0; i < 256; ++i)
        table[i] = RGBA(uchar(i), uchar(255 - i), uchar(i / 2), 255);
}

QByteArray be16(int v)
{
    return QByteArray(1, char(v >> 8)) + char(v & 0xff);
}

QByteArray be32(quint32 v)
{
    return be16(int(v >> 16)) + be16(int(v & 0xffff));
}

QByteArray beFloat(float f)
{
    quint32 v;
    std::memcpy(&v, &f, 4);
    return be32(v);
}

QByteArray le32(quint32 v)
{
    QByteArray b(4, 0);
    for (int i = 0; i < 4; ++i)
        b[i] = char(v >> (8 * i));
    return b;
}

// An ACO (version 1) colour record.
QByteArray acoColor(int space, int w, int x = 0, int y = 0, int z = 0)
{
    return be16(space) + be16(w) + be16(x) + be16(y) + be16(z);
}

// An ASE colour block with a name and a model.
QByteArray aseColor(const QByteArray &model, const QVector<float> &values)
{
    QByteArray body = be16(2) + QByteArray("\0A\0\0", 4) + model;
    for (float v : values)
        body += beFloat(v);
    body += be16(2); // colour type: normal
    return be16(0x0001) + be32(quint32(body.size())) + body;
}

QByteArray aseGroup(int type)
{
    const QByteArray body = type == 0xC001 ? be16(2) + QByteArray("\0G\0\0", 4) : QByteArray();
    return be16(type) + be32(quint32(body.size())) + (type == 0xC001 ? body : be16(0));
}

QByteArray ase(const QByteArray &blocks, int count, int major = 1)
{
    return "ASEF" + be16(major) + be16(0) + be32(quint32(count)) + blocks;
}

QByteArray riff(int entries, int chunkSize = -1)
{
    QByteArray data;
    for (int i = 0; i < entries; ++i)
        data += QByteArray(1, char(i)) + char(100) + char(200) + char(0);
    const quint32 chunk = chunkSize < 0 ? quint32(4 + data.size()) : quint32(chunkSize);
    return "RIFF" + le32(chunk + 12) + "PAL data" + le32(chunk) + QByteArray("\0\3", 2)
           + QByteArray(1, char(entries & 0xff)) + char(entries >> 8) + data;
}

QByteArray indexedPicture(const char *format, int colors)
{
    QImage image(4, 4, QImage::Format_Indexed8);
    QVector<QRgb> table;
    for (int i = 0; i < colors; ++i)
        table << qRgb(i * 10, 7, 200 - i);
    image.setColorTable(table);
    image.fill(1);
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    saveImage(&buffer, format, image);
    return buffer.data();
}

QByteArray gif(int bits, bool globalTable)
{
    QByteArray bytes = "GIF89a" + QByteArray("\4\0\4\0", 4);
    bytes += char((globalTable ? 0x80 : 0) | (bits - 1));
    bytes += QByteArray("\0\0", 2);
    for (int i = 0; i < (1 << bits); ++i)
        bytes += QByteArray(1, char(i)) + char(i * 2) + char(255 - i);
    return bytes + ';';
}


class TestPaletteReader : public PaletteReaderExtension
{
public:
    const char *format() const override { return "TPAL"; }
    bool load(QIODevice *device, RGBA *palette) override
    {
        const QByteArray bytes = device->readAll();
        if (!bytes.startsWith("tpal"))
            return false;
        palette[0] = RGBA(1, 2, 3, 4);
        return true;
    }
};

class TestPaletteWriter : public PaletteWriterExtension
{
public:
    const char *format() const override { return "TPAL"; }
    bool save(const char *format, const RGBA *palette, QIODevice *device) override
    {
        return !std::strcmp(format, "TPAL") && device->write("tpal", 4) == 4 && palette;
    }
};

} // namespace

class tst_Palette : public QObject
{
    Q_OBJECT

private:
    RGBA table[256];

private Q_SLOTS:
    void init() { ramp(table); }

    void signalPairs_data();
    void signalPairs();
    void index_data();
    void index();
    void gradient_data();
    void gradient();
    void clearDuplicatedAndAddColors();
    void switchColors_data();
    void switchColors();
    void effects_data();
    void effects();
    void sortByTones();
    void readers_data();
    void readers();
    void actRoundTrip();
    void extensions();
    void adaptCost_data();
    void adaptCost();
    void adaptMatchesPlainSearch();
};

void tst_Palette::signalPairs_data()
{
    QTest::addColumn<Operation>("operation");
    QTest::addColumn<bool>("emits");

    static bool some[256] = {};
    some[3] = some[9] = true;
    static RGBA other[256];
    const RGBA red(255, 0, 0, 255);
    QTest::newRow("fromPalette") << Operation([](PaletteObject &p) { p.fromPalette(other); }) << true;
    QTest::newRow("setColor 0") << Operation([red](PaletteObject &p) { p.setColor(0, red); }) << true;
    QTest::newRow("setColor selection")
        << Operation([red](PaletteObject &p) { p.setColor(some, red); }) << true;
    QTest::newRow("gradient empty range")
        << Operation([red](PaletteObject &p) { p.gradient(9, red, 9, red); }) << true;
    QTest::newRow("gradient selection")
        << Operation([red](PaletteObject &p) { p.gradient(some, red, RGBA()); }) << true;
    QTest::newRow("clearDuplicated")
        << Operation([](PaletteObject &p) { p.clearDuplicated(RGB()); }) << true;
    QTest::newRow("addColors, all present") << Operation([](PaletteObject &p) {
        RGBA same[256];
        p.toPalette(same);
        p.addColors(same);
    }) << true;
    QTest::newRow("applyEffect 0")
        << Operation([](PaletteObject &p) { p.applyEffect(NoEffect, nullptr); }) << true;
    QTest::newRow("switchColors")
        << Operation([](PaletteObject &p) { p.switchColors(some, true); }) << true;
    QTest::newRow("sortByTones") << Operation([](PaletteObject &p) { p.sortByTones(); }) << true;
    QTest::newRow("addHueSaturation")
        << Operation([](PaletteObject &p) { p.addHueSaturation(some, 10, 10); }) << true;
    QTest::newRow("addRGB") << Operation([](PaletteObject &p) { p.addRGB(some, 1, 2, 3); }) << true;
    QTest::newRow("fromFile ACT") << Operation([](PaletteObject &p) {
        QBuffer b;
        b.setData(QByteArray(768, 5));
        b.open(QIODevice::ReadOnly);
        QVERIFY(p.fromFile(&b, "ACT"));
    }) << true;

    QTest::newRow("fromFile failing") << Operation([](PaletteObject &p) {
        QBuffer b;
        b.setData(QByteArray(767, 5));
        b.open(QIODevice::ReadOnly);
        QVERIFY(!p.fromFile(&b, "ACT"));
    }) << false;
    QTest::newRow("empty") << Operation([](PaletteObject &p) { p.empty(); }) << false;
}

void tst_Palette::signalPairs()
{
    QFETCH(Operation, operation);
    QFETCH(bool, emits);
    PaletteObject object(table);
    QStringList order;
    connect(&object, &PaletteObject::changing, this, [&] { order << "changing"; });
    connect(&object, &PaletteObject::changed, this, [&] { order << "changed"; });
    QSignalSpy changing(&object, &PaletteObject::changing);
    operation(object);
    QCOMPARE(order, emits ? QStringList({"changing", "changed"}) : QStringList());
    QCOMPARE(changing.count(), emits ? 1 : 0);
}

void tst_Palette::index_data()
{
    QTest::addColumn<Colors>("entries"); // the first entries; the rest far away
    QTest::addColumn<RGBA>("color");
    QTest::addColumn<int>("expected");

    const RGBA grey(50, 50, 50, 255);
    QTest::newRow("nearest wins") << Colors{RGBA(0, 0, 0, 255), RGBA(60, 50, 50, 255)} << grey << 1;
    QTest::newRow("opaque: first of equals")
        << Colors{RGBA(40, 50, 50, 255), RGBA(60, 50, 50, 255)} << grey << 0;
    // Alpha differences are signed, the best one is kept as its low byte: -255 (low byte 1)
    // beats 0, and then -127 (low byte 129) beats it, and 0 beats that.
    QTest::newRow("transparent beats opaque")
        << Colors{RGBA(50, 50, 50, 255), RGBA(50, 50, 50, 0)} << grey << 1;
    QTest::newRow("low byte chain")
        << Colors{RGBA(50, 50, 50, 255), RGBA(50, 50, 50, 0), RGBA(50, 50, 50, 128),
                  RGBA(50, 50, 50, 255)}
        << grey << 3;
    QTest::newRow("more opaque than asked loses")
        << Colors{RGBA(50, 50, 50, 0), RGBA(50, 50, 50, 255)} << RGBA(50, 50, 50, 0) << 0;
}

void tst_Palette::index()
{
    QFETCH(Colors, entries);
    QFETCH(RGBA, color);
    QFETCH(int, expected);
    for (RGBA &e : table)
        e = RGBA(255, 255, 255, 255);
    std::copy(entries.begin(), entries.end(), table);
    QCOMPARE(int(PaletteObject(table).index(color)), expected);
}

void tst_Palette::gradient_data()
{
    QTest::addColumn<int>("first"); // -1: over the selection below
    QTest::addColumn<int>("last");
    QTest::addColumn<QVector<int>>("selection");
    QTest::addColumn<QVector<int>>("reds"); // entries first (or the selected) on

    QTest::newRow("range, falling, truncated") << 10 << 14 << QVector<int>() << QVector<int>{100, 67, 34, 0, 14};
    QTest::newRow("one step writes a alone") << 10 << 11 << QVector<int>() << QVector<int>{100, 11};
    QTest::newRow("whole range leaves 255") << 0 << 255 << QVector<int>() << QVector<int>{100};
    QTest::newRow("selection of one takes a") << -1 << 0 << QVector<int>{7} << QVector<int>{100};
    QTest::newRow("selection ends on b") << -1 << 0 << QVector<int>{2, 40, 41} << QVector<int>{100, 50, 0};
}

void tst_Palette::gradient()
{
    QFETCH(int, first);
    QFETCH(int, last);
    QFETCH(QVector<int>, selection);
    QFETCH(QVector<int>, reds);
    PaletteObject object(table);
    const RGBA a(100, 0, 0, 255), b(0, 0, 0, 255);
    if (first >= 0) {
        object.gradient(uchar(first), a, uchar(last), b);
        for (int k = 0; k < reds.size(); ++k)
            QCOMPARE(int(table[first + k].red), reds[k]);
        if (last == 255)
            QCOMPARE(table[255], RGBA(255, 0, 127, 255));
        return;
    }
    bool flags[256] = {};
    for (int i : selection)
        flags[i] = true;
    object.gradient(flags, a, b);
    for (int k = 0; k < selection.size(); ++k)
        QCOMPARE(int(table[selection[k]].red), reds[k]);
    QCOMPARE(table[selection[0] + 1], RGBA(uchar(selection[0] + 1), uchar(254 - selection[0]),
                                           uchar((selection[0] + 1) / 2), 255));
}

void tst_Palette::clearDuplicatedAndAddColors()
{
    PaletteObject object(table);
    const RGBA dup(9, 9, 9, 255);
    table[0] = table[1] = table[3] = table[5] = dup;
    object.clearDuplicated(RGB(1, 2, 3));
    QCOMPARE(table[0], dup); // entry 0 takes no part
    QCOMPARE(table[1], RGBA(1, 2, 3, 255));
    QCOMPARE(table[3], RGBA(1, 2, 3, 255));
    QCOMPARE(table[5], dup); // the last of the group stays

    ramp(table);
    RGBA colors[256];
    std::copy(table, table + 256, colors);
    colors[0] = RGBA(7, 7, 7, 7); // new
    colors[1] = RGBA(7, 7, 7, 7); // now present: stored earlier
    colors[2] = RGBA(8, 8, 8, 8);
    object.addColors(colors);
    QCOMPARE(table[255], RGBA(7, 7, 7, 7));
    QCOMPARE(table[254], RGBA(8, 8, 8, 8));
    // The two entries overwritten are missing now, and come back further down.
    QCOMPARE(table[253], RGBA(254, 1, 127, 255));
    QCOMPARE(table[252], RGBA(255, 0, 127, 255));
    QCOMPARE(table[251], RGBA(251, 4, 125, 255));
}

void tst_Palette::switchColors_data()
{
    QTest::addColumn<QVector<int>>("selection"); // empty: null, all entries
    QTest::addColumn<bool>("swapAlpha");
    QTest::addColumn<QVector<int>>("expected"); // red of entries 0..5 and 250..255

    QTest::newRow("all") << QVector<int>() << false
                         << QVector<int>{255, 254, 253, 252, 251, 250, 5, 4, 3, 2, 1, 0};
    QTest::newRow("three") << QVector<int>{1, 3, 252} << false
                           << QVector<int>{0, 252, 2, 3, 4, 5, 250, 251, 1, 253, 254, 255};
    QTest::newRow("only the last") << QVector<int>{255} << false
                                   << QVector<int>{0, 1, 2, 3, 4, 5, 250, 251, 252, 253, 254, 255};
}

void tst_Palette::switchColors()
{
    QFETCH(QVector<int>, selection);
    QFETCH(bool, swapAlpha);
    QFETCH(QVector<int>, expected);
    bool flags[256] = {};
    for (int i : selection)
        flags[i] = true;
    table[0].alpha = 0;
    PaletteObject(table).switchColors(selection.isEmpty() ? nullptr : flags, swapAlpha);
    QVector<int> reds;
    for (int i : {0, 1, 2, 3, 4, 5, 250, 251, 252, 253, 254, 255})
        reds << table[i].red;
    QCOMPARE(reds, expected);

    ramp(table);
    table[0].alpha = 0;
    PaletteObject(table).switchColors(flags, true);
    QCOMPARE(int(table[0].alpha), 255);
    QCOMPARE(int(table[255].alpha), 0);
}

void tst_Palette::effects_data()
{
    QTest::addColumn<int>("effect");
    QTest::addColumn<RGBA>("in");
    QTest::addColumn<RGBA>("out");

    const RGBA c(10, 100, 240, 77);
    QTest::newRow("0 nothing") << 0 << c << c;
    QTest::newRow("15 nothing") << 15 << c << c;
    QTest::newRow("1 red blue") << 1 << c << RGBA(240, 100, 10, 77);
    QTest::newRow("4 green blue") << 4 << c << RGBA(10, 240, 100, 77);
    QTest::newRow("7 lighter") << 7 << c << RGBA(42, 132, 255, 77);
    QTest::newRow("9 grey") << 9 << c << RGBA(116, 116, 116, 77);
    QTest::newRow("10") << 10 << c << RGBA(216, 58, 0, 77);
    QTest::newRow("11") << 11 << c << RGBA(89, 0, 118, 77);
    QTest::newRow("12 dark") << 12 << RGBA(30, 30, 30, 1) << RGBA(80, 80, 80, 1);
    QTest::newRow("12 light") << 12 << RGBA(200, 210, 190, 1) << RGBA(150, 150, 150, 1);
    QTest::newRow("14 much darker") << 14 << c << RGBA(0, 0, 112, 77);
}

void tst_Palette::effects()
{
    QFETCH(int, effect);
    QFETCH(RGBA, in);
    QFETCH(RGBA, out);
    bool flags[256] = {};
    flags[4] = true;
    table[4] = in;
    const RGBA untouched = table[5];
    PaletteObject(table).applyEffect(RGBPaletteEffect(effect), flags);
    QCOMPARE(table[4], out);
    QCOMPARE(table[5], untouched);
}

void tst_Palette::sortByTones()
{
    // Reds 255 down to 1 behind a black entry 0: the chain from black takes them rising.
    for (int i = 0; i < 256; ++i)
        table[i] = RGBA(uchar(i ? 256 - i : 0), 0, 0, 255);
    PaletteObject object(table);
    object.sortByTones();
    for (int i = 0; i < 256; ++i)
        QCOMPARE(int(table[i].red), i);

    bool flags[256] = {};
    flags[1] = true;
    table[1] = RGBA(255, 0, 0, 10);
    object.addHueSaturation(flags, 120, 0);
    QCOMPARE(table[1], RGBA(1, 255, 1, 255)); // hue 120 at Qt's lightness 127; opaque
    table[2] = RGBA(250, 5, 128, 9);
    flags[2] = true;
    object.addRGB(flags, 10, -10, 0);
    QCOMPARE(table[2], RGBA(255, 0, 128, 9));
}

void tst_Palette::readers_data()
{
    QTest::addColumn<QByteArray>("format");
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<QVector<int>>("at"); // entries to check
    QTest::addColumn<Colors>("expected");

    QByteArray act;
    for (int i = 0; i < 256; ++i)
        act += QByteArray(1, char(i)) + char(1) + char(2);
    const RGBA black(0, 0, 0, 255);
    QTest::newRow("ACT reversed") << QByteArray("ACT") << act << true << QVector<int>{0, 255}
                                  << Colors{RGBA(255, 1, 2, 255), RGBA(0, 1, 2, 255)};
    QTest::newRow("ACT short") << QByteArray("ACT") << act.left(767) << false << QVector<int>() << Colors();

    QTest::newRow("RIFF full") << QByteArray("PAL") << riff(256) << true << QVector<int>{0, 255}
                               << Colors{RGBA(255, 100, 200, 255), RGBA(0, 100, 200, 255)};
    QTest::newRow("RIFF of 16") << QByteArray("PAL") << riff(16) << true << QVector<int>{0, 240, 255}
                                << Colors{RGBA(0, 0, 0, 255), RGBA(15, 100, 200, 255), RGBA(0, 100, 200, 255)};
    QTest::newRow("RIFF over 1024") << QByteArray("PAL") << riff(256, 1032) << false << QVector<int>() << Colors();
    QTest::newRow("RIFF chunk below 4") << QByteArray("PAL") << riff(0, 2) << false << QVector<int>() << Colors();
    QTest::newRow("RIFF truncated") << QByteArray("PAL") << riff(256).left(500) << false << QVector<int>() << Colors();
    QByteArray wrongKind = riff(4);
    wrongKind.replace(8, 4, "WAVE");
    QTest::newRow("RIFF not PAL") << QByteArray("PAL") << wrongKind << false << QVector<int>() << Colors();

    const QByteArray jasc = "JASC-PAL\r\n0100\r\n256\r\n300 0 0\r\nred green blue\r\n1 2 3 4\r\n5 6 7";
    QTest::newRow("JASC") << QByteArray("PAL") << jasc << true << QVector<int>{0, 1, 2, 3, 4}
                          << Colors{RGBA(255, 0, 0, 255), RGBA(), RGBA(1, 2, 3, 4), RGBA(5, 6, 7, 255), RGBA()};
    QByteArray bare = jasc;
    bare.replace("\r\n", "\n");
    QTest::newRow("JASC bare LF") << QByteArray("PAL") << bare << false << QVector<int>() << Colors();
    QTest::newRow("JASC version") << QByteArray("PAL") << QByteArray("JASC-PAL\r\n0200\r\n1\r\n1 1 1")
                                  << false << QVector<int>() << Colors();

    const QByteArray aco = be16(1) + be16(6) + acoColor(0, 65535, 257 * 10, 0)
                           + acoColor(1, 0, 65535, 65535) + acoColor(2, 65535, 0, 65535, 65535)
                           + acoColor(7, 1, 1, 1) + acoColor(8, 65535) + acoColor(0, 514, 0, 0);
    QTest::newRow("ACO v1") << QByteArray("ACO") << aco << true << QVector<int>{0, 1, 2, 3, 4, 5}
                            << Colors{RGBA(255, 10, 0, 255), RGBA(255, 0, 0, 255), RGBA(255, 0, 255, 255),
                                      RGBA(120, 120, 120, 255) /* 255 - 1671, modulo 256 */,
                                      RGBA(2, 0, 0, 255), black};
    QByteArray aco2 = aco;
    aco2[1] = 2;
    QTest::newRow("ACO v2") << QByteArray("ACO") << aco2 << false << QVector<int>() << Colors();
    QTest::newRow("ACO truncated") << QByteArray("ACO") << aco.left(4 + 10 + 3) << true << QVector<int>{0, 1}
                                   << Colors{RGBA(255, 10, 0, 255), black};

    const QByteArray aseBlocks = aseGroup(0xC001) + aseColor("RGB ", {1.0f, 0.5f, 2.0f})
                                 + aseColor("LAB ", {0, 0, 0}) + aseColor("Gray", {0.2f})
                                 + aseColor("CMYK", {0, 1, 1, 0}) + aseGroup(0xC002)
                                 + be16(0x7777) + be32(3) + "xyz" + aseColor("RGB ", {0, 0, 0.0f / 0.0f});
    QTest::newRow("ASE groups") << QByteArray("ASE") << ase(aseBlocks, 8) << true << QVector<int>{0, 1, 2, 3, 4}
                                << Colors{RGBA(255, 128, 255, 255), RGBA(51, 51, 51, 255),
                                          RGBA(255, 0, 0, 255), RGBA(0, 0, 0, 255), RGBA()};
    QByteArray many;
    for (int i = 0; i < 300; ++i)
        many += aseColor("Gray", {float(i % 256) / 255.0f});
    QTest::newRow("ASE past 256") << QByteArray("ASE") << ase(many, 300) << true << QVector<int>{0, 255}
                                  << Colors{RGBA(0, 0, 0, 255), RGBA(255, 255, 255, 255)};
    QTest::newRow("ASE version 2") << QByteArray("ASE") << ase(many, 300, 2) << false << QVector<int>() << Colors();
    QTest::newRow("ASE huge count, short") << QByteArray("ASE") << ase(aseColor("RGB ", {1, 1}), -1)
                                           << true << QVector<int>{0, 1}
                                           << Colors{RGBA(255, 255, 0, 255), RGBA()};

    const QByteArray corel = "ROWS 1\nCOLS 2\nR:10, G:20, B:300\nnothing\nR: 1,G: 2,B: 3 A: 4\r\n";
    QTest::newRow("Corel") << QByteArray("TXT") << corel << true << QVector<int>{0, 1, 2}
                           << Colors{RGBA(10, 20, 255, 255), RGBA(1, 2, 3, 4), RGBA()};

    QTest::newRow("PNG of 16") << QByteArray("PNG") << indexedPicture("PNG", 16) << true << QVector<int>{1, 16, 255}
                               << Colors{RGBA(10, 7, 199, 255), black, black};
    QTest::newRow("PCX") << QByteArray("PCX") << indexedPicture("PCX", 16) << true << QVector<int>{2, 16}
                         << Colors{RGBA(20, 7, 198, 255), black};
    QImage rgb(3, 3, QImage::Format_RGB32);
    rgb.fill(Qt::red);
    QBuffer rgbPng;
    rgbPng.open(QIODevice::WriteOnly);
    saveImage(&rgbPng, "PNG", rgb);
    QTest::newRow("PNG true colour") << QByteArray("PNG") << rgbPng.data() << false << QVector<int>() << Colors();
    QTest::newRow("GIF table") << QByteArray("GIF") << gif(2, true) << true << QVector<int>{3, 4}
                               << Colors{RGBA(3, 6, 252, 255), black};
    QTest::newRow("GIF without table") << QByteArray("GIF") << gif(2, false) << false << QVector<int>() << Colors();
    QTest::newRow("GIF short table") << QByteArray("GIF") << gif(8, true).left(300) << false << QVector<int>() << Colors();
    QTest::newRow("unknown") << QByteArray("PAL") << QByteArray("MAYBE") << false << QVector<int>() << Colors();
}

void tst_Palette::readers()
{
    QFETCH(QByteArray, format);
    QFETCH(QByteArray, bytes);
    QFETCH(bool, ok);
    QFETCH(QVector<int>, at);
    QFETCH(Colors, expected);
    const RGBA mark(1, 1, 1, 1);
    std::fill(table, table + 256, mark);
    PaletteObject object(table);
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly);
    QSignalSpy changed(&object, &PaletteObject::changed);
    QCOMPARE(object.fromFile(&buffer, format.constData()), ok);
    QCOMPARE(changed.count(), ok ? 1 : 0);
    if (!ok) {
        QVERIFY(std::all_of(table, table + 256, [mark](RGBA e) { return e == mark; }));
        return;
    }
    for (int i = 0; i < at.size(); ++i)
        QCOMPARE(table[at[i]], expected[i]);
}

void tst_Palette::actRoundTrip()
{
    table[7].alpha = 3;
    PaletteObject object(table);
    QBuffer buffer;
    QVERIFY(!object.toFile(&buffer, "ACT")); // not open
    buffer.open(QIODevice::WriteOnly);
    QVERIFY(object.toFile(&buffer, "ACT"));
    QCOMPARE(buffer.size(), qint64(768));
    QVERIFY(!object.toFile(&buffer, "XYZ"));
    buffer.close();
    buffer.open(QIODevice::ReadOnly);
    RGBA back[256] = {};
    QVERIFY(PaletteObject(back).fromFile(&buffer, "ACT"));
    table[7].alpha = 255;
    QVERIFY(std::equal(table, table + 256, back));
}

void tst_Palette::extensions()
{
    auto *reader = new TestPaletteReader;
    auto *writer = new TestPaletteWriter;
    QVERIFY(ExtensionManager::add(reader));
    QVERIFY(ExtensionManager::add(writer));
    PaletteObject object(table);
    QBuffer out;
    out.open(QIODevice::WriteOnly);
    QVERIFY(object.toFile(&out, "TPAL"));
    QVERIFY(!object.toFile(&out, "OTHER"));
    QBuffer in(&out.buffer());
    in.open(QIODevice::ReadOnly);
    QVERIFY(!object.fromFile(&in, "OTHER"));
    in.seek(0);
    QVERIFY(object.fromFile(&in, "TPAL"));
    QCOMPARE(table[0], RGBA(1, 2, 3, 4));
    QCOMPARE(table[1], RGBA()); // the work table starts all zero
    // A manager's destructor releases every registered extension.
    delete new ExtensionManager(QStringLiteral("/nonexistent"));
    QVERIFY(ExtensionManager::list(Extension::PaletteReaderType).isEmpty());
}

void tst_Palette::adaptCost_data()
{
    QTest::addColumn<QRgb>("pixel");
    QTest::addColumn<Colors>("entries");
    QTest::addColumn<int>("expected");

    const Colors pair{RGBA(0, 0, 0, 0), RGBA(100, 100, 100, 255)};
    QTest::newRow("opaque pixel avoids transparent") << qRgba(0, 0, 0, 255) << pair << 1;
    QTest::newRow("transparent pixel: colour free") << qRgba(100, 100, 100, 0) << pair << 0;
    // A = 128: colour part 30000 * 128 / 255 = 15058 plus 127² = 16129 for entry 1 (31187),
    // against 0 + 128² = 16384 for entry 0.
    QTest::newRow("half: weighted") << qRgba(0, 0, 0, 128) << pair << 0;
    QTest::newRow("half: near colour") << qRgba(90, 90, 90, 128) << pair << 1;
    QTest::newRow("first of equals") << qRgba(50, 50, 50, 255)
                                     << Colors{RGBA(40, 50, 50, 255), RGBA(60, 50, 50, 255)} << 0;
}

void tst_Palette::adaptCost()
{
    QFETCH(QRgb, pixel);
    QFETCH(Colors, entries);
    QFETCH(int, expected);
    for (RGBA &e : table)
        e = RGBA(255, 0, 255, 255);
    std::copy(entries.begin(), entries.end(), table);
    QImage image(2, 1, QImage::Format_ARGB32);
    image.fill(pixel);
    adaptImageToPalette(image, table);
    QCOMPARE(image.format(), QImage::Format_Indexed8);
    QCOMPARE(int(image.pixelIndex(1, 0)), expected);
    QCOMPARE(qAlpha(image.color(0)), int(table[0].alpha)); // ARGB32: alpha counts
}

void tst_Palette::adaptMatchesPlainSearch()
{
    // Many colours, so that the memory of looked-up pixels is both hit and overwritten.
    QImage picture = ZornTest::randomSprite(QSize(200, 150), 256, 7).convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < picture.height(); y += 3)
        for (int x = 0; x < picture.width(); ++x)
            picture.setPixel(x, y, qRgba(x, y, x ^ y, (x * 7) & 0xff));
    // Two palettes: distinct colours with some transparency, and one where every colour comes
    // twice and reds repeat, so that equal costs must go to the first entry.
    for (int round = 0; round < 2; ++round) {
        for (int i = 0; i < 256; ++i)
            table[i] = round == 0 ? RGBA(uchar(i * 37), uchar(i * 11), uchar(255 - i),
                                         uchar(i < 4 ? i * 60 : 255))
                                  : RGBA(uchar((i / 2) & 0xf0), uchar(i / 2 * 5), uchar(i / 8 * 9),
                                         uchar(i % 2 ? 255 : 200));
        QImage adapted = picture;
        adaptImageToPalette(adapted, table);
        for (int y = 0; y < picture.height(); ++y)
            for (int x = 0; x < picture.width(); ++x)
                QCOMPARE(int(adapted.pixelIndex(x, y)), int(plainMatch(picture.pixel(x, y), table)));
    }

    // Opaque pictures get an opaque table; indexed ones with alpha in their table do not.
    QImage opaque(4, 4, QImage::Format_RGB32);
    opaque.fill(Qt::blue);
    adaptImageToPalette(opaque, table);
    QCOMPARE(qAlpha(opaque.color(0)), 255);
    QImage indexed(4, 4, QImage::Format_Indexed8);
    indexed.setColorTable({qRgba(0, 0, 0, 0), qRgb(1, 1, 1)});
    indexed.fill(1);
    adaptImageToPalette(indexed, table);
    QCOMPARE(qAlpha(indexed.color(0)), int(table[0].alpha));
    QCOMPARE(indexed.size(), QSize(4, 4));
}

QTEST_GUILESS_MAIN(tst_Palette)
#include "tst_palette.moc"
