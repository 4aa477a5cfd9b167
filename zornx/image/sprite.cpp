#include "sprite.h"

#include <cstring>

namespace Zorn {

bool SubItem::parse(const QString &text, SubItem &out)
{
    const QStringList parts = text.split(QLatin1Char(','));
    if (parts.size() != 2)
        return false;
    bool ok = false;
    const int group = parts[0].trimmed().toInt(&ok, 10);
    if (!ok)
        return false;
    const int item = parts[1].trimmed().toInt(&ok, 10);
    if (!ok)
        return false;
    out.group = group;
    out.item = item;
    return true;
}

Sprite::~Sprite() = default;

QStringList Sprite::propertyNames() const
{
    return {QStringLiteral("Identifier")};
}

void Sprite::setImage(const QImage &image)
{
    setImage(image, NoShare);
}

QImage Sprite::aligned(QPoint axis, QPoint maximumAxis, QPoint rest) const
{
    const QImage picture = image();
    if (picture.isNull())
        return QImage();
    QImage canvas(maximumAxis.x() + rest.x(), maximumAxis.y() + rest.y(), picture.format());
    if (canvas.isNull())
        return canvas;
    if (picture.format() == QImage::Format_Indexed8)
        canvas.setColorTable(picture.colorTable());
    canvas.fill(0);
    // Rows and columns that fall outside the canvas are cut, so that a sprite whose axis lies
    // beyond the common maximum cannot write past it.
    const int depth = picture.depth() / 8;
    const int dx = maximumAxis.x() - axis.x(), dy = maximumAxis.y() - axis.y();
    const int x0 = qMax(0, -dx), x1 = qMin(picture.width(), canvas.width() - dx);
    if (x1 <= x0)
        return canvas;
    for (int y = qMax(0, -dy); y < picture.height() && y + dy < canvas.height(); ++y)
        std::memcpy(canvas.scanLine(y + dy) + (x0 + dx) * depth,
                    picture.constScanLine(y) + x0 * depth, size_t((x1 - x0) * depth));
    return canvas;
}

SpriteProvider::~SpriteProvider() = default;

} // namespace Zorn
