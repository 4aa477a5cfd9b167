// The sprite model on the sample module's sprites: SubItem::parse, Sprite::aligned, and the
// module's sprite files: the fixtures of the sample game reload and save byte for
// byte, pictures come back as drawn, equal pictures share one cache item, malformed files are
// refused without touching what is loaded, and a failed save costs the old file nothing.
//
// The fixtures are drawn here; ZORNX_WRITE_FIXTURES=1 writes them anew into tests/data/sprites.

#include "memoryarchive.h"

#include <spritefile.h>
#include <zornx/image/palette.h>

#include <QtCore/QFile>
#include <memory>
#include <QtGui/QPainter>
#include <QtTest/QTest>

using namespace Zorn;

namespace {

const QString dataDir = QStringLiteral(ZORNX_TEST_DATA "/sprites/");

// A palette of our own: index 0 transparent, then ramps of one hue.
void rampPalette(RGBA *table, int hue)
{
    table[0] = RGBA(0, 0, 0, 0);
    for (int i = 1; i < 256; ++i) {
        const QColor c = QColor::fromHsv(hue, 200, qMin(255, 40 + i));
        table[i] = RGBA(uchar(c.red()), uchar(c.green()), uchar(c.blue()), 255);
    }
}

// Simple shapes: lantern frames are a ring growing by step; thorn frames a spike.
QImage drawn(const QString &character, int step)
{
    QImage argb(24, 32, QImage::Format_ARGB32);
    argb.fill(Qt::transparent);
    QPainter p(&argb);
    p.setPen(Qt::NoPen);
    if (character == QLatin1String("lantern")) {
        p.setBrush(QColor::fromHsv(45, 200, 240));
        p.drawEllipse(QPoint(12, 14), 6 + step, 6 + step);
        p.setBrush(QColor::fromHsv(45, 200, 120));
        p.drawRect(10, 26, 4, 6);
    } else {
        p.setBrush(QColor::fromHsv(120, 200, 200));
        p.drawPolygon(QPolygon({QPoint(12, 2 + step * 3), QPoint(4, 31), QPoint(20, 31)}));
    }
    p.end();
    RGBA table[256];
    rampPalette(table, character == QLatin1String("lantern") ? 45 : 120);
    adaptImageToPalette(argb, table);
    return argb;
}

// The file of one character: three frames in group 0 and one in group 1 (as PCX), one palette
// each for day and night, and the last frame drawn again so that two sprites share it.
Sample::SpriteFile *build(const QString &character)
{
    auto *file = new Sample::SpriteFile;
    const int hue = character == QLatin1String("lantern") ? 45 : 120;
    RGBA day[256], night[256];
    rampPalette(day, hue);
    rampPalette(night, (hue + 180) % 360);
    Palette *dayPalette = file->palettes()->add(day, "day", NoShare);
    file->palettes()->add(night, "night", NoShare);
    for (int step = 0; step < 3; ++step) {
        Sprite *sprite = file->add(QStringLiteral("0, %1").arg(step), drawn(character, step), Share);
        sprite->setAxis(QPoint(12, 31));
        sprite->setPalette(dayPalette);
    }
    auto *pcx = new Sample::SampleSprite(file);
    pcx->id = SubItem{1, 0};
    pcx->pcx = true;
    file->insertSprite(3, pcx);
    pcx->setImage(drawn(character, 1), Share);
    pcx->setAxis(QPoint(3, 4));
    file->add("2, 0", drawn(character, 2), Share);
    return file;
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// An archive whose writes never reach their target, as when a disk fills up at the end.
class FailingArchive : public ZornTest::MemoryArchive
{
public:
    bool closeFile(QIODevice *device) override
    {
        discardFile(device);
        return false;
    }
};

struct Released
{
    void operator()(Sample::SpriteFile *file) const { file->release(); }
};
typedef std::unique_ptr<Sample::SpriteFile, Released> FilePtr;

} // namespace

class tst_SampleSprites : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void roundTrip_data();
    void roundTrip();
    void sharing();
    void paletteModes();
    void malformed();
    void failedSave();
    void parse_data();
    void parse();
    void aligned_data();
    void aligned();
    void setImageMeansNoShare();
};

void tst_SampleSprites::initTestCase()
{
    if (qEnvironmentVariableIsSet("ZORNX_WRITE_FIXTURES")) {
        for (const char *character : {"lantern", "thorn"}) {
            FilePtr file(build(QLatin1String(character)));
            QFile out(dataDir + QLatin1String(character) + QStringLiteral(".zspr"));
            QVERIFY(out.open(QIODevice::WriteOnly));
            out.write(file->serialize());
        }
    }
}

void tst_SampleSprites::roundTrip_data()
{
    QTest::addColumn<QString>("character");
    QTest::newRow("lantern") << "lantern";
    QTest::newRow("thorn") << "thorn";
}

void tst_SampleSprites::roundTrip()
{
    QFETCH(QString, character);
    const QByteArray fixture = readFile(dataDir + character + ".zspr");
    QVERIFY(!fixture.isEmpty());
    ZornTest::MemoryArchive archive;
    archive.files["in.zspr"] = fixture;
    FilePtr file(new Sample::SpriteFile);
    QVERIFY(file->fromFile(archive, "in.zspr", 0, nullptr));
    QVERIFY(!file->isModified());
    QVERIFY(file->toFile(archive, "out.zspr", 0, nullptr));
    QCOMPARE(archive.files["out.zspr"], fixture);

    // The pictures are those drawn, with the palette of each sprite as their colour table.
    QCOMPARE(file->count(), 5u);
    QCOMPARE(file->palettes()->count(), 2u);
    const int expectedSteps[] = {0, 1, 2, 1, 2};
    RGBA day[256];
    file->palettes()->at(0)->colorTable(day);
    for (unsigned int i = 0; i < file->count(); ++i) {
        Sprite *sprite = file->at(i);
        const QImage picture = sprite->image();
        QImage expected = drawn(character, expectedSteps[i]);
        QCOMPARE(picture.size(), expected.size());
        for (int y = 0; y < picture.height(); ++y)
            QCOMPARE(QByteArray((const char *)picture.constScanLine(y), picture.width()),
                     QByteArray((const char *)expected.constScanLine(y), expected.width()));
        QCOMPARE(sprite->imageProperties().width, quint16(24));
        QCOMPARE(sprite->palette() != nullptr, i < 3);
        if (sprite->palette())
            QCOMPARE(picture.color(5), qRgba(day[5].red, day[5].green, day[5].blue, 255));
    }
    QCOMPARE(file->at(3)->property("Identifier").toString(), QString("1, 0"));
    QCOMPARE(file->at(3)->property("Format").toString(), QString("PCX"));
    QCOMPARE(file->at(3)->axis(), QPoint(3, 4));
    QCOMPARE(file->find(0, "2, 0"), 4);
    QCOMPARE(file->find(0, "9, 9"), -1);
}

void tst_SampleSprites::sharing()
{
    FilePtr file(build("lantern"));
    // Sprites 2 and 4 hold the same picture, and share it on loading too.
    QVERIFY(file->at(2)->imageIsShared());
    QVERIFY(file->at(4)->imageIsShared());
    QVERIFY(!file->at(0)->imageIsShared());
    FilePtr loaded(new Sample::SpriteFile);
    QVERIFY(loaded->deserialize(file->serialize()));
    QVERIFY(loaded->at(4)->imageIsShared());

    // Changing one of them gives it an item of its own: the other keeps its picture.
    const QImage before = loaded->at(2)->image();
    loaded->at(4)->setImage(drawn("lantern", 0));
    QVERIFY(!loaded->at(2)->imageIsShared());
    QCOMPARE(loaded->at(2)->image(), before);
    QCOMPARE(loaded->at(4)->image().pixelIndex(12, 14), drawn("lantern", 0).pixelIndex(12, 14));

    // A duplicate shares until either changes.
    Sprite *copy = loaded->at(0)->duplicate();
    QCOMPARE(copy->index(), 1u);
    QVERIFY(copy->imageIsShared());
    copy->setImage(QImage());
    QVERIFY(copy->isEmpty());
    QVERIFY(!loaded->at(0)->isEmpty());
}

void tst_SampleSprites::paletteModes()
{
    FilePtr file(build("thorn"));
    QImage picture = drawn("lantern", 0);
    Sprite *sprite = file->at(0);
    // Own palette: the picture's table joins the palettes once, however often it is set.
    sprite->setImage(picture, false, Sprite::OwnPalette, nullptr, NoShare);
    file->at(1)->setImage(picture, false, Sprite::OwnPalette, nullptr, NoShare);
    QCOMPARE(file->palettes()->count(), 3u);
    QCOMPARE(sprite->palette(), file->at(1)->palette());
    // Swap: the given palette takes the picture's table.
    Palette *night = file->palettes()->at(1);
    file->at(2)->setImage(picture, false, Sprite::SwapPalette, night, NoShare);
    RGBA table[256];
    night->colorTable(table);
    QCOMPARE(qRgba(table[7].red, table[7].green, table[7].blue, table[7].alpha), picture.color(7));
    // Unused palettes go, and the sprites' references follow.
    file->palettes()->removeDuplicates();
    QCOMPARE(file->palettes()->count(), 2u);
    file->palettes()->clearUnused();
    QCOMPARE(file->palettes()->count(), 1u);
    QCOMPARE(sprite->palette(), file->palettes()->at(0));
}

void tst_SampleSprites::malformed()
{
    const QByteArray fixture = readFile(dataDir + "thorn.zspr");
    FilePtr file(build("lantern"));
    const QByteArray before = file->serialize();
    // Every cut, a byte too many, a sprite count out of reach, a palette index past the end.
    // Every cut in the heads and palettes; among the pictures, every 17th.
    for (int length = 0; length < fixture.size(); length += length < 2200 ? 1 : 17)
        QVERIFY2(!file->deserialize(fixture.left(length)), qPrintable(QString::number(length)));
    QVERIFY(!file->deserialize(fixture + 'x'));
    QByteArray lying = fixture;
    lying[8] = char(0xff);
    QVERIFY(!file->deserialize(lying));
    QByteArray badPalette = fixture;
    const int firstSprite = 12 + 2 * (2 + 1024) + 3 + 5; // head, "day", "night"
    badPalette[firstSprite + 12] = 7;
    QVERIFY(!file->deserialize(badPalette));
    QCOMPARE(file->serialize(), before);
}

void tst_SampleSprites::failedSave()
{
    FailingArchive archive;
    archive.files["keep.zspr"] = "old bytes";
    FilePtr file(build("thorn"));
    QVERIFY(!file->toFile(archive, "keep.zspr", 0, nullptr));
    QCOMPARE(archive.files["keep.zspr"], QByteArray("old bytes"));
    QVERIFY(file->isModified());
}

void tst_SampleSprites::parse_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("ok");
    QTest::addColumn<int>("group");
    QTest::addColumn<int>("item");

    QTest::newRow("pair with blanks") << "9000, 1" << true << 9000 << 1;
    QTest::newRow("negative") << " -1 ,-2 " << true << -1 << -2;
    QTest::newRow("one number") << "9000" << false << 0 << 0;
    QTest::newRow("three numbers") << "1,2,3" << false << 0 << 0;
    QTest::newRow("empty part") << "1," << false << 0 << 0;
    QTest::newRow("not decimal") << "0x10,2" << false << 0 << 0;
    QTest::newRow("bad second") << "4,b" << false << 0 << 0;
}

void tst_SampleSprites::parse()
{
    QFETCH(QString, text);
    QFETCH(bool, ok);
    QFETCH(int, group);
    QFETCH(int, item);
    SubItem out;
    QCOMPARE(SubItem::parse(text, out), ok);
    QCOMPARE(out.group, group); // a failure leaves the pair as it was
    QCOMPARE(out.item, item);
}

void tst_SampleSprites::aligned_data()
{
    QTest::addColumn<bool>("indexed");
    QTest::addColumn<QPoint>("axis");
    QTest::addColumn<QPoint>("maximum");
    QTest::addColumn<QPoint>("rest");
    QTest::addColumn<QPoint>("corner"); // where the picture's top left lands

    QTest::newRow("axis on maximum: top left") << true << QPoint(2, 3) << QPoint(2, 3) << QPoint(5, 4) << QPoint(0, 0);
    QTest::newRow("shifted") << true << QPoint(1, 1) << QPoint(4, 2) << QPoint(6, 6) << QPoint(3, 1);
    QTest::newRow("32-bit shifted") << false << QPoint(0, 2) << QPoint(2, 2) << QPoint(4, 3) << QPoint(2, 0);
    QTest::newRow("cut at the edges") << false << QPoint(3, 3) << QPoint(1, 1) << QPoint(2, 2) << QPoint(-2, -2);
}

void tst_SampleSprites::aligned()
{
    QFETCH(bool, indexed);
    QFETCH(QPoint, axis);
    QFETCH(QPoint, maximum);
    QFETCH(QPoint, rest);
    QFETCH(QPoint, corner);
    QImage picture = drawn("thorn", 1).copy(10, 20, 4, 3);
    if (!indexed)
        picture = picture.convertToFormat(QImage::Format_ARGB32);
    FilePtr file(new Sample::SpriteFile);
    Sprite *sprite = file->add("0, 0", picture, NoShare);
    const QImage stored = sprite->image();
    const QImage canvas = sprite->aligned(axis, maximum, rest);
    QCOMPARE(canvas.size(), QSize(maximum.x() + rest.x(), maximum.y() + rest.y()));
    QCOMPARE(canvas.format(), stored.format());
    QCOMPARE(canvas.colorTable(), stored.colorTable());
    for (int y = 0; y < canvas.height(); ++y)
        for (int x = 0; x < canvas.width(); ++x) {
            const QPoint p = QPoint(x, y) - corner;
            const bool inside = stored.rect().contains(p);
            const uint expected = !inside ? 0u : indexed ? uint(stored.pixelIndex(p)) : stored.pixel(p);
            QCOMPARE(indexed ? uint(canvas.pixelIndex(x, y)) : canvas.pixel(x, y), expected);
        }
    sprite->setImage(QImage());
    QVERIFY(sprite->aligned(axis, maximum, rest).isNull());
}

void tst_SampleSprites::setImageMeansNoShare()
{
    FilePtr file(new Sample::SpriteFile);
    const QImage picture = drawn("lantern", 1);
    Sprite *first = file->add("0, 0", picture, Share);
    Sprite *second = file->add("0, 1", drawn("lantern", 2), Share);
    second->setImage(picture);
    QVERIFY(!first->imageIsShared());
    second->setImage(picture, Share);
    QVERIFY(first->imageIsShared());
    QCOMPARE(first->propertyNames(), QStringList({"Identifier", "Format"}));
}

QTEST_MAIN(tst_SampleSprites)
#include "tst_samplesprites.moc"
