// Opens a game with the sample engine module, prints the sprites and palettes of every
// project's sprite files, and exports the first sprite of the first one as PNG and GIF, as a
// host does with the module's sprite model.
//
//   sample-sprites [directory] [--export directory]
//
// Without a directory it opens the sample game shipped beside this example; the pictures go
// to the temporary directory unless --export names another.

#include "sampleengine.h"

#include <zornx/zornx.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTextStream>
#include <QtGui/QGuiApplication>

static QTextStream out(stdout);

static QString identifier(const Zorn::PropertyItem *item)
{
    return item->property(QStringLiteral("Identifier")).toString();
}

static void printSprites(const Zorn::Sprites *file)
{
    out << "  " << file->displayName() << ": " << file->count() << " sprites, "
        << file->palettes()->count() << " palettes\n";
    for (unsigned int i = 0; i < file->palettes()->count(); ++i) {
        Zorn::RGBA table[256];
        const Zorn::Palette *palette = file->palettes()->at(i);
        palette->colorTable(table);
        out << "    palette " << identifier(palette) << ": entry 1 " << table[1].red << ','
            << table[1].green << ',' << table[1].blue << ", entry 255 " << table[255].red << ','
            << table[255].green << ',' << table[255].blue << '\n';
    }
    for (unsigned int i = 0; i < file->count(); ++i) {
        const Zorn::Sprite *sprite = file->at(i);
        const Zorn::ImageInfo info = sprite->imageProperties();
        out << "    sprite " << identifier(sprite) << ": " << info.width << 'x' << info.height
            << ' ' << sprite->property(QStringLiteral("Format")).toString() << ", axis "
            << sprite->axis().x() << ',' << sprite->axis().y() << ", palette "
            << (sprite->palette() ? identifier(sprite->palette()) : QStringLiteral("own"))
            << (sprite->imageIsShared() ? ", shared" : "") << '\n';
    }
}

// Writes image as base.png and base.gif; false if either is not written.
static bool exportImage(const QImage &image, const QString &base)
{
    bool all = true;
    for (const char *format : {"PNG", "GIF"}) {
        QFile target(base + QLatin1Char('.') + QString::fromLatin1(format).toLower());
        const bool saved = target.open(QIODevice::WriteOnly)
                           && Zorn::saveImage(&target, format, image);
        if (!saved)
            target.remove();
        out << "  as " << format << ": "
            << (saved ? target.fileName() : QStringLiteral("not written")) << '\n';
        all = all && saved;
    }
    return all;
}

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    QStringList args = app.arguments().mid(1);
    QString exportDir = QDir::tempPath();
    const int flag = args.indexOf(QStringLiteral("--export"));
    if (flag >= 0 && flag + 1 < args.size()) {
        exportDir = args[flag + 1];
        args.erase(args.begin() + flag, args.begin() + flag + 2);
    }
    const QString game = QDir(args.value(0, QStringLiteral(ZORNX_SAMPLE_DIR))).absolutePath();

    Zorn::FileSystemArchive &fs = Zorn::FileSystemArchive::instance();
    Sample::Engine engine;
    Sample::ParentProject parent(game, fs, &engine);
    QList<Sample::Project *> projects;
    for (const QString &name : fs.entries(game + QStringLiteral("/chars"), QDir::Dirs, QDir::Name)) {
        const QString main = QStringLiteral("%1/chars/%2/%2.ini").arg(game, name);
        if (Sample::Project *project = Sample::Project::open(&parent, main))
            projects << project;
    }

    const Zorn::Sprites *first = nullptr;
    for (const Sample::Project *project : qAsConst(projects)) {
        out << project->name() << '\n';
        for (Zorn::ProjectFile *file : project->filesByType(Zorn::Project::Sprites)) {
            if (const auto *sprites = dynamic_cast<const Zorn::Sprites *>(file)) {
                printSprites(sprites);
                if (!first && sprites->count() > 0)
                    first = sprites;
            } else {
                out << "  " << file->displayName() << ": not a sprite file\n";
            }
        }
    }

    int status = 1;
    if (first) {
        const Zorn::Sprite *sprite = first->at(0);
        out << "Sprite " << identifier(sprite) << " of " << first->displayName() << '\n';
        QDir().mkpath(exportDir);
        const QString base = exportDir + QLatin1Char('/') + QFileInfo(first->fileName()).baseName();
        status = exportImage(sprite->image(), base) ? 0 : 1;
    } else {
        out << "No sprites found in " << game << '\n';
    }
    for (Sample::Project *project : qAsConst(projects))
        project->release();
    qDeleteAll(projects);
    return status;
}
