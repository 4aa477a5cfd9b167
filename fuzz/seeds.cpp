// Writes the seed corpora of the fuzz targets, made by the library's own writers:
//     fuzz_seeds <corpus directory>
// Each target gets a directory of its own name.

#include "memoryarchive.h"
#include "sprites.h"
#include "testengine.h"

#include <zornx/code/textcodecs.h>
#include <zornx/core/archive.h>
#include <zornx/core/extension.h>
#include <zornx/image/gifimage.h>
#include <zornx/image/imagecodecs.h>
#include <zornx/image/palette.h>

#include <QtCore/QBuffer>
#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtCore/QTextCodec>
#include <QtCore/QXmlStreamWriter>

#include <cstdio>
#include <functional>

namespace {

QString root;

void seed(const char *target, const QString &name, const QByteArray &bytes)
{
    const QString dir = root + QLatin1Char('/') + QLatin1String(target);
    QDir().mkpath(dir);
    QFile file(dir + QLatin1Char('/') + name);
    if (file.open(QIODevice::WriteOnly))
        file.write(bytes);
}

QByteArray written(const std::function<bool(QIODevice *)> &write)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    write(&buffer);
    return buffer.data();
}

// GIFs by saveGIF: true colour with transparency, indexed with own and shared palettes, one
// frame and several, looping or not; and by saveImage, whose heads imageinfo reads too.
void gifSeeds()
{
    int n = 0;
    for (const QSize size : {QSize(1, 1), QSize(9, 5), QSize(40, 30)}) {
        for (int colors : {2, 16, 256}) {
            QVector<Zorn::AnimImageFrame> frames;
            for (int i = 0; i < 3; ++i) {
                const QImage sprite = ZornTest::randomSprite(size, colors, quint32(++n));
                frames.append({colors == 16 ? sprite.convertToFormat(QImage::Format_ARGB32)
                                            : sprite,
                               QPoint(i, 2 * i), 4 + i});
            }
            const QString name = QStringLiteral("%1x%2-%3").arg(size.width()).arg(size.height())
                                     .arg(colors);
            for (bool shared : {false, true}) {
                seed("gif", name + (shared ? "-shared" : "-own"), written([&](QIODevice *d) {
                         return Zorn::saveGIF(d, frames, shared ? 2.0f : 1.0f, 1.0f, shared,
                                              shared);
                     }));
            }
            seed("gif", name + "-one", written([&](QIODevice *d) {
                     return Zorn::saveGIF(d, frames.mid(0, 1), 1.0f, 1.0f, false, false);
                 }));
            seed("imageinfo", name + "-gif", char(3) + written([&](QIODevice *d) {
                     return Zorn::saveImage(d, "GIF", frames[0].image);
                 }));
        }
    }
}

void imageSeeds()
{
    const QSize sizes[] = {QSize(1, 1), QSize(7, 3), QSize(16, 16), QSize(45, 30), QSize(64, 48)};
    int n = 0;
    for (const QSize size : sizes) {
        for (int colors : {2, 32, 256}) {
            const QImage indexed = ZornTest::randomSprite(size, colors, quint32(++n));
            const QString name = QStringLiteral("%1x%2-%3").arg(size.width()).arg(size.height())
                                     .arg(colors);
            const QByteArray dims{char(size.width() - 1), char(size.height() - 1)};
            const QImage argb = indexed.convertToFormat(QImage::Format_ARGB32);
            const QImage rgb = indexed.convertToFormat(QImage::Format_RGB32);
            seed("pcx", name + "-indexed.pcx",
                 written([&](QIODevice *d) { return Zorn::savePCX(indexed, d); }));
            seed("pcx", name + "-rgb.pcx",
                 written([&](QIODevice *d) { return Zorn::savePCX(rgb, d); }));
            seed("pcx", name + "-argb.pcx",
                 written([&](QIODevice *d) { return Zorn::savePCX(argb, d); }));
            for (bool compress : {false, true})
                seed("lz5", name + (compress ? "-compressed" : "-runs"),
                     dims + written([&](QIODevice *d) {
                         return Zorn::saveLZ5(indexed, d, compress);
                     }));
            seed("rle8", name + "-indexed", dims + '\0' + written([&](QIODevice *d) {
                                                return Zorn::saveRLE8(indexed, d);
                                            }));
            seed("rle8", name + "-argb", dims + '\2' + written([&](QIODevice *d) {
                                             return Zorn::saveRLE8(argb, d);
                                         }));
            // RLE5 has no writer: runs of the sprite's rows as plain packets, with a few
            // follow-up bytes.
            QByteArray rle5 = dims;
            for (int y = 0; y < size.height(); ++y) {
                const uchar *line = indexed.constScanLine(y);
                for (int x = 0; x < size.width();) {
                    int run = 1;
                    while (x + run < size.width() && run < 256 && line[x + run] == line[x])
                        ++run;
                    rle5 += char(run - 1);
                    rle5 += char(0x81);
                    rle5 += char(line[x] & 0x1f);
                    rle5 += char(0x20 | (line[x] & 0x1f));
                    x += run;
                }
            }
            seed("rle5", name, rle5);
            const char *formats[] = {"PNG", "BMP", "PCX"};
            for (int f = 0; f < 3; ++f)
                for (const QImage &image : {indexed, rgb, argb})
                    seed("imageinfo", name + QStringLiteral("-%1-%2").arg(f).arg(image.format()),
                         char(f) + written([&](QIODevice *d) {
                             return Zorn::saveImage(d, formats[f], image);
                         }));
        }
    }
    gifSeeds();
}

void textSeeds()
{
    Zorn::TextCodecs::initialize();
    const QString text = QString::fromUtf8(
        "; settings of a made-up fighter\r\n[Data]\r\nlife = 1000\r\nname = \"Zorn Åström\"\r\n"
        "motto = Быстрее ветра\r\njapanese = 風のように速く\r\ngreek = Γρήγορος\r\n");
    for (const char *codec : {"UTF-8", "UTF-16LE", "UTF-16BE", "windows-1251", "Shift_JIS",
                              "ISO-8859-7", "GBK", "KOI8-R", "ISO-8859-1"}) {
        const int id = Zorn::TextCodecs::index(codec);
        QByteArray bytes = Zorn::TextCodecs::stringToData(text, id);
        if (QByteArray(codec).startsWith("UTF-16"))
            bytes.prepend(QByteArray(codec).endsWith("LE") ? "\xff\xfe" : "\xfe\xff");
        seed("textcodecs", QString::fromLatin1(codec), bytes);
    }
    seed("textcodecs", "ascii", "plain = text\r\n");
}

void engineSeeds()
{
    ZornTest::TestEngine engine(QStringLiteral("seed"));
    engine.add(QStringLiteral("Arcade"), QStringLiteral("/opt/game/run"),
               QStringLiteral("-fullscreen -rounds 3"), QStringLiteral("icon.png"));
    engine.add(QStringLiteral("Net <test> & \"more\""), QStringLiteral("C:\\game\\run.exe"),
               QString(), QString());
    engine.setOption(QStringLiteral("resolution"), QSize(640, 480));
    engine.setOption(QStringLiteral("volume"), 0.75);
    engine.setOption(QStringLiteral("title"), QStringLiteral("Zorn"));
    engine.setOption(QStringLiteral("flags"), QStringList{"a", "b"});
    seed("engineconfig", "config.xml", written([&](QIODevice *d) {
             QXmlStreamWriter writer(d);
             writer.setAutoFormatting(true);
             writer.writeStartDocument();
             const bool ok = engine.save(&writer);
             writer.writeEndDocument();
             return ok;
         }));
}

// The palette targets that read by content put the magic in front themselves: their seeds
// start behind it.
void paletteSeeds()
{
    Zorn::RGBA table[256];
    for (int i = 0; i < 256; ++i)
        table[i] = Zorn::RGBA(uchar(i), uchar(i * 3), uchar(255 - i), 255);
    const Zorn::PaletteObject palette(table);
    seed("palette_act", "ramp.act", written([&](QIODevice *d) { return palette.toFile(d, "ACT"); }));
    const QImage sprite = ZornTest::randomSprite(QSize(8, 8), 16, 3);
    seed("palette_png", "16.png", written([&](QIODevice *d) { return Zorn::saveImage(d, "PNG", sprite); }));
    seed("palette_bmp", "16.bmp", written([&](QIODevice *d) { return Zorn::saveImage(d, "BMP", sprite); }));
    QByteArray gif("GIF89a\x02\0\x02\0\x81\0\0", 13);
    for (int i = 0; i < 4; ++i)
        gif += QByteArray(3, char(i * 60));
    seed("palette_gif", "4.gif", gif + ';');
    seed("palette_riff", "2.pal",
         QByteArray("\x18\0\0\0PAL data\x0c\0\0\0\0\3\2\0\1\2\3\0\4\5\6\0", 28));
    seed("palette_jasc", "3.pal", "-PAL\r\n0100\r\n3\r\n1 2 3\r\n255 0 9 128\r\nx\r\n");
    seed("palette_corel", "2.txt", " 1\nCOLS 2\nR:1, G:2, B:3\nR: 4,G: 5,B: 6 A: 7\n");
    seed("palette_aco", "2.aco", QByteArray("\0\1\0\2\0\0\xff\xff\0\0\0\0\0\0"
                                             "\0\x08\x10\0\0\0\0\0\0\0", 24));
    const QByteArray ase("\0\1\0\0\0\0\0\3"                    // version 1.0, 3 blocks
                         "\xc0\x01\0\0\0\x06\0\2\0G\0\0"         // group "G"
                         "\0\1\0\0\0\x0e\0\1\0\0Gray\x3f\0\0\0\0\2" // grey 0.5
                         "\xc0\x02\0\0\0\0",                      // group end
                         46);
    seed("palette_ase", "grey.ase", ase);
}

void zipSeeds(const QString &pluginDirectory)
{
    Zorn::ExtensionManager manager(pluginDirectory);
    Zorn::ArchiveExtension *zip = nullptr;
    for (Zorn::Extension *extension : Zorn::ExtensionManager::list(Zorn::Extension::ArchiveType))
        if (!qstrcmp(extension->format(), "ZIP"))
            zip = static_cast<Zorn::ArchiveExtension *>(extension);
    if (!zip)
        return;
    QTemporaryDir dir;
    const QString file = dir.filePath(QStringLiteral("seed.zip"));
    if (Zorn::Archive *archive = zip->createArchive(file, Zorn::ArchiveExtension::Write)) {
        const QPair<const char *, QByteArray> entries[] = {
            {"game.ini", "name = seed\r\n"},
            {"chars/one/one.ini", "[Files]\r\nsprites = a.ini\r\n"},
            {"chars/one/a.ini", QByteArray(3000, 'x')}};
        for (const auto &entry : entries)
            if (QIODevice *device = archive->openFile(QString::fromLatin1(entry.first),
                                                      QIODevice::WriteOnly)) {
                device->write(entry.second);
                archive->closeFile(device);
            }
        archive->release();
    }
    QFile zipped(file);
    if (zipped.open(QIODevice::ReadOnly))
        seed("zip", "seed.zip", zipped.readAll());
}

void projectSeeds()
{
    seed("projectfile", "main-and-list",
         QByteArray("; a made-up fighter\r\nname = One\r\n[Files]\r\nsprites = a.ini, b.ini\r\n"
                    "sounds = c.ini\r\n")
             + '\0' + "key = value\r\nother = 1,2,3\r\n");
    seed("projectfile", "main-only", "name = Two\nanimations = , ,a.ini\n");
}

// Animation files of the sample module: every kind of line, and frames that optimize() merges.
void animationSeeds()
{
    seed("animation", "lines",
         "; seed\n@0 idle\nloop\nbody -12,-70,24,70\nshow 0,0 | 0,0 | 8 | - | normal\n"
         "hit 1,2,3,4\nshow 1,0 | 6,0 | -1 | hv | add 1 0.5 | 1.5,1.5 | 30\n\n@walk\n");
    seed("animation", "merge",
         "@1\nshow 0,0 | 0,0 | 2 | - | normal\nshow 0,0 | 0,0 | 3 | - | normal\n"
         "hit 0,0,1,1\nshow 0,0 | 0,0 | 1 | v | dodge\n");
}

// Snippet files in the layout that the snippet editor writes.
void snippetSeeds()
{
    seed("snippet", "fields",
         "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<snippet>\r\n\r\n"
         "\t<field name=\"power\" title=\"Power &amp; more\" type=\"int\" column=\"2\"/>\r\n"
         "\t<field name=\"side\" title=\"Side\" type=\"items\" value=\"l,r\" "
         "value_title=\"Left,Right\"/>\r\n\r\n\t<code>\r\n\t\tgo = @power\r\n"
         "\t\tside = @side CURSOR\r\n\t</code>\r\n\r\n</snippet>");
    seed("snippet", "latin1", "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>"
                              "<s><code>name = \xe9</code></s>");
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: fuzz_seeds <corpus directory>\n");
        return 2;
    }
    root = QString::fromLocal8Bit(argv[1]);
    imageSeeds();
    textSeeds();
    engineSeeds();
    zipSeeds(QStringLiteral(ZORNX_PLUGIN_DIR));
    projectSeeds();
    snippetSeeds();
    animationSeeds();
    paletteSeeds();
    return 0;
}
