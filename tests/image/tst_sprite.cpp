// The sprite model's own code: SubItem::parse and Sprite::aligned, on the smallest sprite.

#include <zornx/image/sprite.h>

#include <QtTest/QTest>

using namespace Zorn;

namespace {

// A sprite that is just a picture.
class PictureSprite : public Sprite
{
public:
    explicit PictureSprite(const QImage &picture) : picture(picture) {}
    QVariant property(const QString &) const override { return {}; }
    void setProperty(const QString &, const QVariant &) override {}
    unsigned int index() const override { return 0; }
    Sprites *parent() const override { return nullptr; }
    Sprite *duplicate() const override { return new PictureSprite(picture); }
    void crop() override {}
    void splitRGB() override {}
    bool isEmpty() const override { return picture.isNull(); }
    QImage image() const override { return picture; }
    ImageInfo imageProperties() const override { return {}; }
    bool imageIsShared() const override { return false; }
    using Sprite::setImage;
    void setImage(const QImage &image, bool, PaletteMode, Palette *, ShareMode share) override
    {
        setImage(image, share);
    }
    void setImage(const QImage &image, ShareMode share) override
    {
        picture = image;
        lastShare = share;
    }
    Palette *palette() const override { return nullptr; }
    void setPalette(Palette *) override {}
    QPoint axis() const override { return {}; }
    void setAxis(QPoint) override {}

    QImage picture;
    int lastShare = -1;
};

} // namespace

class tst_Sprite : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void parse_data();
    void parse();
    void aligned_data();
    void aligned();
    void setImageMeansNoShare();
};

void tst_Sprite::parse_data()
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

void tst_Sprite::parse()
{
    QFETCH(QString, text);
    QFETCH(bool, ok);
    QFETCH(int, group);
    QFETCH(int, item);
    SubItem out;
    QCOMPARE(SubItem::parse(text, out), ok);
    // A failure leaves the pair as it was.
    QCOMPARE(out.group, group);
    QCOMPARE(out.item, item);
}

void tst_Sprite::aligned_data()
{
    QTest::addColumn<QImage::Format>("format");
    QTest::addColumn<QPoint>("axis");
    QTest::addColumn<QPoint>("maximum");
    QTest::addColumn<QPoint>("rest");
    QTest::addColumn<QPoint>("corner"); // where the picture's top left lands

    QTest::newRow("axis on maximum: top left") << QImage::Format_Indexed8 << QPoint(2, 3) << QPoint(2, 3) << QPoint(5, 4) << QPoint(0, 0);
    QTest::newRow("shifted") << QImage::Format_Indexed8 << QPoint(1, 1) << QPoint(4, 2) << QPoint(6, 6) << QPoint(3, 1);
    QTest::newRow("32-bit shifted") << QImage::Format_ARGB32 << QPoint(0, 2) << QPoint(2, 2) << QPoint(4, 3) << QPoint(2, 0);
    QTest::newRow("cut at the edges") << QImage::Format_ARGB32 << QPoint(3, 3) << QPoint(1, 1) << QPoint(2, 2) << QPoint(-2, -2);
}

void tst_Sprite::aligned()
{
    QFETCH(QImage::Format, format);
    QFETCH(QPoint, axis);
    QFETCH(QPoint, maximum);
    QFETCH(QPoint, rest);
    QFETCH(QPoint, corner);
    QImage picture(4, 3, format);
    if (format == QImage::Format_Indexed8)
        picture.setColorTable({qRgb(1, 1, 1), qRgb(2, 2, 2), qRgb(3, 3, 3), qRgb(4, 4, 4),
                               qRgb(5, 5, 5), qRgb(6, 6, 6), qRgb(7, 7, 7), qRgb(8, 8, 8)});
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 4; ++x) {
            if (format == QImage::Format_Indexed8)
                picture.setPixel(x, y, uint(1 + x + y));
            else
                picture.setPixel(x, y, qRgba(x, y, 9, 255));
        }
    const QImage canvas = PictureSprite(picture).aligned(axis, maximum, rest);
    QCOMPARE(canvas.size(), QSize(maximum.x() + rest.x(), maximum.y() + rest.y()));
    QCOMPARE(canvas.format(), format);
    QCOMPARE(canvas.colorTable(), picture.colorTable());
    for (int y = 0; y < canvas.height(); ++y)
        for (int x = 0; x < canvas.width(); ++x) {
            const QPoint p = QPoint(x, y) - corner;
            const bool inside = QRect(QPoint(), picture.size()).contains(p);
            const uint expected = !inside ? 0u
                                  : format == QImage::Format_Indexed8 ? uint(picture.pixelIndex(p))
                                                                      : picture.pixel(p);
            const uint got = format == QImage::Format_Indexed8 ? uint(canvas.pixelIndex(x, y))
                                                               : canvas.pixel(x, y);
            QCOMPARE(got, expected);
        }
    QVERIFY(PictureSprite(QImage()).aligned(axis, maximum, rest).isNull());
}

void tst_Sprite::setImageMeansNoShare()
{
    PictureSprite sprite(QImage(1, 1, QImage::Format_ARGB32));
    Sprite &base = sprite;
    QImage other(2, 2, QImage::Format_ARGB32);
    base.setImage(other);
    QCOMPARE(sprite.lastShare, int(NoShare));
    QCOMPARE(sprite.picture.size(), QSize(2, 2));
    QCOMPARE(base.propertyNames(), QStringList{"Identifier"});
}

QTEST_GUILESS_MAIN(tst_Sprite)
#include "tst_sprite.moc"
