// Lists the sprites and palettes of the sample game's sprite files and exports one sprite as
// PNG and GIF, as a host does with the module's sprite model.
//
//   sample-sprites [file.zspr ...] [--export directory]
//
// Without files it reads the sample game's lantern.zspr and thorn.zspr.

#include "spritefile.h"

#include <zornx/zornx.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTextStream>
#include <QtGui/QGuiApplication>

static QTextStream out(stdout);

int main(int argc, char **argv)
{
    QGuiApplication app(argc, argv);
    QStringList files = app.arguments().mid(1);
    QString exportDir = QDir::tempPath();
    const int flag = files.indexOf(QStringLiteral("--export"));
    if (flag >= 0 && flag + 1 < files.size()) {
        exportDir = files[flag + 1];
        files.erase(files.begin() + flag, files.begin() + flag + 2);
    }
    if (files.isEmpty())
        files << QStringLiteral(ZORNX_SAMPLE_SPRITES "/lantern.zspr")
              << QStringLiteral(ZORNX_SAMPLE_SPRITES "/thorn.zspr");

    Zorn::FileSystemArchive &archive = Zorn::FileSystemArchive::instance();
    int status = 0;
    for (const QString &name : qAsConst(files)) {
        auto *file = new Sample::SpriteFile;
        if (!file->fromFile(archive, name, 0, nullptr)) {
            out << name << ": not a sprite file\n";
            file->release();
            status = 1;
            continue;
        }
        out << QFileInfo(name).fileName() << ": " << file->count() << " sprites, "
            << file->palettes()->count() << " palettes\n";
        for (unsigned int i = 0; i < file->palettes()->count(); ++i) {
            Zorn::RGBA table[256];
            Zorn::Palette *palette = file->palettes()->at(i);
            palette->colorTable(table);
            out << "  palette " << palette->property("Identifier").toString() << ": entry 1 "
                << table[1].red << ',' << table[1].green << ',' << table[1].blue << ", entry 255 "
                << table[255].red << ',' << table[255].green << ',' << table[255].blue << '\n';
        }
        for (unsigned int i = 0; i < file->count(); ++i) {
            Zorn::Sprite *sprite = file->at(i);
            const Zorn::ImageInfo info = sprite->imageProperties();
            out << "  sprite " << sprite->property("Identifier").toString() << ": "
                << info.width << 'x' << info.height << ' '
                << sprite->property("Format").toString() << ", axis " << sprite->axis().x()
                << ',' << sprite->axis().y() << ", palette "
                << (sprite->palette() ? sprite->palette()->property("Identifier").toString()
                                      : QStringLiteral("own"))
                << (sprite->imageIsShared() ? ", shared" : "") << '\n';
        }
        const QImage first = file->at(0) ? file->at(0)->image() : QImage();
        const QString base = exportDir + QLatin1Char('/') + QFileInfo(name).baseName();
        for (const char *format : {"PNG", "GIF"}) {
            QFile target(base + QLatin1Char('.') + QString::fromLatin1(format).toLower());
            const bool saved = target.open(QIODevice::WriteOnly)
                               && Zorn::saveImage(&target, format, first);
            if (!saved)
                target.remove();
            out << "  first sprite as " << format << ": "
                << (saved ? target.fileName() : QStringLiteral("not written")) << '\n';
        }
        file->release();
    }
    return status;
}
