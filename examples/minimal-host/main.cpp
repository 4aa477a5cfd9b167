// The smallest program that uses the library as a host does: it installs its Interface,
// opens a game directory through the FileSystemArchive, reads a file through a ProjectFile,
// changes it and saves it through the crash-safe path.
//
//   minimal-host [directory]     (default: the sample game shipped beside this example)
//
// The directory is copied to a temporary place first, so the original is never changed.

#include "host.h"
#include "textfile.h"

#include <zornx/zornx.h>

#include <QtCore/QDirIterator>
#include <QtCore/QTemporaryDir>
#include <QtCore/QTextStream>
#include <QtWidgets/QApplication>

static QTextStream out(stdout);

static bool copyTree(const QString &from, const QString &to)
{
    Zorn::Archive &fs = Zorn::FileSystemArchive::instance();
    QDirIterator it(from, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString source = it.next();
        if (!Zorn::copyFile(fs, source, fs, to + source.mid(from.size())))
            return false;
    }
    return true;
}

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    MinimalHost host;

    const QString source = argc > 1 ? QString::fromLocal8Bit(argv[1])
                                    : QStringLiteral(ZORNX_SAMPLE_DIR);
    if (!QDir(source).exists()) {
        out << "No such directory: " << source << '\n';
        return 1;
    }
    QTemporaryDir work;
    if (!copyTree(QDir(source).absolutePath(), work.path())) {
        out << "Could not copy " << source << '\n';
        return 1;
    }
    Zorn::Archive &fs = Zorn::FileSystemArchive::instance();
    out << "Game directory " << source << " (working copy in " << work.path() << ")\n";

    // Every file below the directory, as a host's project tree would list it.
    QStringList files;
    QDirIterator it(work.path(), QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext())
        files << Zorn::absolutePathToRelative(it.next(), work.path());
    std::sort(files.begin(), files.end(), Zorn::fileNameLessThan);
    for (const QString &file : qAsConst(files))
        out << "  " << file << '\n';

    // Find the first .ini file, whatever the case of its name on disk.
    const QString name =
        Zorn::fixFileCase(work.path() + '/', fs, files.contains("game.ini") ? "GAME.INI" : files.value(0));
    auto *file = new TextFile;
    if (!file->fromFile(fs, name, 0, host.newJob(QStringLiteral("Open"), 0))) {
        file->release();
        return 1;
    }
    out << "Read " << file->displayName() << ": " << file->text.count('\n') << " lines\n";

    file->setText(file->text + QStringLiteral("; edited by the minimal host\n"));
    out << "Modified: " << (file->isModified() ? "yes" : "no") << '\n';
    const bool saved = file->toFile(fs, name, 0, host.newJob(QStringLiteral("Save"), 0));
    out << "Saved through the crash-safe writer: " << (saved ? "yes" : "no")
        << ", modified now: " << (file->isModified() ? "yes" : "no") << '\n';

    auto *check = new TextFile;
    check->fromFile(fs, name, 0, nullptr);
    out << "Read back, last line: " << check->text.trimmed().split('\n').last() << '\n';
    check->release();
    file->release();
    out << "Done.\n";
    return saved ? 0 : 1;
}
