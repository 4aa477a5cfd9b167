// The smallest program that uses the library as a host does. It installs its Interface, loads
// the extensions, opens a game directory as a parent project with the sample engine module,
// lists the project tree, the projects and their animations with their frames, edits a file,
// saves through the crash-safe path and makes a backup (a .zip when the ZIP extension is loaded); then it parses a code file and
// prints its tree and messages, and loads, edits and saves in the background a file in a
// legacy encoding; last it makes a sound, resamples it and saves and loads it in every format
// that can be written.
//
//   minimal-host [directory]     (default: the sample game shipped beside this example)
//
// The directory is copied to a temporary place first, so the original is never changed.

#include "host.h"

#include "sampleanimation.h"
#include "samplecode.h"
#include "sampleengine.h"

#include <zornx/zornx.h>

#include <QtCore/QDirIterator>
#include <QtCore/QTextCodec>
#include <QtGui/QTextCursor>
#include <QtGui/QTextBlock>
#include <QtCore/QTemporaryDir>
#include <QtCore/QTextStream>
#include <QtWidgets/QApplication>

#include <cmath>

using Sample::IniFile;

static QTextStream out(stdout);

// The game as this host keeps it: the module's parent project, told when the last project
// closes.
class Game : public Sample::ParentProject
{
public:
    using Sample::ParentProject::ParentProject;
    int freed = 0;

protected:
    void free() override { ++freed; }
};

static bool copyTree(const QString &from, const QString &to)
{
    if (!QDir().mkpath(to))
        return false;
    QDirIterator it(from, QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QString target = to + path.mid(from.size());
        if (it.fileInfo().isDir() ? !QDir().mkpath(target) : !QFile::copy(path, target))
            return false;
    }
    return true;
}

static QByteArray readFile(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The sections and their values, as the parser's nodes hold them.
static QString describeTree(const Zorn::RootCode *root)
{
    QStringList parts;
    for (const Zorn::CodeNode *child : root->childs()) {
        if (child->type() != Zorn::CodeNode::Group)
            continue;
        const auto *group = static_cast<const Sample::GroupNode *>(child);
        QStringList values;
        for (const Zorn::ValueCode *value : group->values())
            values.append(value->name() + QLatin1Char('=')
                          + Zorn::ValueCode::asString(value, value->valueType(),
                                                      value->rawValue(), QLatin1Char(',')));
        parts.append(QLatin1Char('[') + group->title + QStringLiteral("](")
                     + values.join(QLatin1Char(' ')) + QLatin1Char(')'));
    }
    return parts.join(QLatin1Char(' '));
}

static void printTree(const QAbstractItemModel &model, const QModelIndex &parent, int depth)
{
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex index = model.index(row, 0, parent);
        out << QString(depth * 2 + 2, ' ') << index.data().toString()
            << (model.hasChildren(index) ? "/" : "") << '\n';
        printTree(model, index, depth + 1);
    }
}

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    MinimalHost host;
    // The plug-ins installed with the library (in its build tree: those built there).
    Zorn::ExtensionManager extensions(Zorn::ExtensionManager::installedDirectory());
    out << "Extensions: " << Zorn::ExtensionManager::list(Zorn::Extension::ArchiveType).size()
        << " archive format(s)\n";

    const QString source = argc > 1 ? QString::fromLocal8Bit(argv[1])
                                    : QStringLiteral(ZORNX_SAMPLE_DIR);
    QTemporaryDir work;
    const QString game = work.path() + QStringLiteral("/game");
    if (!QDir(source).exists() || !copyTree(QDir(source).absolutePath(), game)) {
        out << "Cannot read the directory " << source << '\n';
        return 1;
    }
    Zorn::FileSystemArchive &fs = Zorn::FileSystemArchive::instance();

    Sample::Engine engine;
    Game parent(game, fs, &engine);
    out << "Opened " << source << (parent.isGame() ? " (a game)" : "") << '\n';

    // Every character directory with a main file of its own name is a project.
    QList<Sample::Project *> projects;
    const QStringList chars = fs.entries(game + QStringLiteral("/chars"), QDir::Dirs, QDir::Name);
    for (const QString &name : chars) {
        const QString main = QStringLiteral("%1/chars/%2/%2.ini").arg(game, name);
        if (Sample::Project *project = Sample::Project::open(&parent, main))
            projects << project;
    }
    out << "Project tree:\n";
    printTree(parent, QModelIndex(), 0);
    out << "Projects:\n";
    for (Sample::Project *project : qAsConst(projects)) {
        out << "  " << project->name() << " (" << project->basePath() << "):";
        for (int type = 0; type < 5; ++type)
            out << ' ' << engine.queryString(Zorn::Engine::FileTypeName, type) << ' '
                << project->filesByType(type).size();
        out << '\n';
    }
    if (projects.isEmpty()) {
        out << "No projects found.\n";
        return 1;
    }

    // The animations of every project, parsed by the module's animation parser.
    for (Sample::Project *project : qAsConst(projects)) {
        for (Zorn::ProjectFile *file : project->filesByType(Zorn::Project::Animations)) {
            auto *document = new Sample::AnimationDocument;
            document->setPlainText(QString::fromUtf8(readFile(file->fileName())));
            auto *animations = new Sample::AnimationFile(document);
            out << "Animations of " << QFileInfo(file->fileName()).fileName() << ":\n";
            for (const Zorn::AnimationCode *animation : animations->animations()) {
                out << "  " << animation->displayName() << ", loop at frame "
                    << animation->loopPoint() << ':';
                for (const Zorn::FrameCode *frame : animation->frames())
                    out << " [" << frame->property(QStringLiteral("Identifier")).toString()
                        << ' ' << frame->delay() << "t, " << frame->attackBoxes()->count()
                        << " attack " << frame->collisionBoxes()->count() << " collision]";
                out << '\n';
            }
            document->release();
            animations->release();
        }
    }

    // Edit one file and save everything that changed.
    Sample::Project *first = projects.first();
    auto *script = static_cast<IniFile *>(first->filesByType(Zorn::Project::Scripts).value(0));
    if (script) {
        script->setValue(QStringLiteral("edited"), QStringLiteral("by the minimal host"));
        out << "Edited " << script->displayName() << "; modified: "
            << (first->isModified() ? "yes" : "no") << '\n';
        parent.save(&host);
        out << "Saved; modified now: " << (first->isModified() ? "yes" : "no")
            << "; on disk: " << readFile(script->fileName()).trimmed().split('\n').last()
            << '\n';
    }

    parent.backup(QStringLiteral("demo"), host.newJob(QStringLiteral("Backup"), 0));
    QDirIterator backups(game + QStringLiteral("/backup"), QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot);
    while (backups.hasNext()) {
        const QString made = backups.next();
        out << "Backup: " << QFileInfo(made).fileName() << '\n';
        if (made.endsWith(QStringLiteral(".zip")))
            for (Zorn::Extension *extension :
                 Zorn::ExtensionManager::list(Zorn::Extension::ArchiveType)) {
                auto *zip = static_cast<Zorn::ArchiveExtension *>(extension);
                if (Zorn::Archive *archive = zip->createArchive(made, Zorn::ArchiveExtension::Read)) {
                    out << "  holds chars/: "
                        << archive->entries(QStringLiteral("chars"), QDir::Dirs | QDir::Files, QDir::Name).join(", ")
                        << '\n';
                    archive->release();
                }
            }
    }

    // A code file, parsed line by line by the engine's parser, with what the parser found.
    Sample::CodeDocument code;
    code.setPlainText(QStringLiteral("[Data]\nlife = 1000\npower = lots ; a string\n"
                                     "[Step 200]\ntype = 1.5, 2\noops\n"));
    out << "Code tree: " << describeTree(code.root()) << '\n';
    const Zorn::Messages *messages = code.messages();
    for (unsigned int i = 0; i < messages->count(Zorn::Message::All); ++i) {
        const Zorn::Message m = messages->at(i, Zorn::Message::All);
        out << "  line " << m.line + 1 << ": " << m.text << '\n';
    }

    // A file in windows-1251: detected on load, edited, saved on a worker thread in the same
    // encoding while the GUI thread goes on.
    const QString cyrillic = game + QStringLiteral("/data/names.cfg");
    QFile legacy(cyrillic);
    if (legacy.open(QIODevice::WriteOnly))
        legacy.write(QTextCodec::codecForName("windows-1251")->fromUnicode(
            QStringLiteral("[Names]\r\nhero = \"Иван Грозный\"\r\n"
                           "rival = \"Пётр Великий\"\r\n")));
    legacy.close();
    auto *document = new Sample::CodeDocument;
    document->fromFile(fs, cyrillic, 0, nullptr);
    out << "Loaded " << document->displayName() << " as " << document->codecName() << ": "
        << document->toPlainText().section('\n', 1, 1) << '\n';
    QTextCursor cursor(document->lastBlock());
    cursor.movePosition(QTextCursor::EndOfBlock);
    cursor.insertText(QStringLiteral("\nfriend = \"Анна\""));
    document->toFile(fs, cyrillic, Zorn::ProjectFile::SaveInBackground, nullptr);
    out << "Saving in the background; file name meanwhile: \"" << document->fileName() << "\"\n";
    while (document->fileName().isEmpty())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    const QByteArray saved = readFile(cyrillic);
    out << "Saved " << saved.size() << " bytes; read back as windows-1251: "
        << QTextCodec::codecForName("windows-1251")->toUnicode(saved).trimmed().split('\n').last()
        << '\n';
    document->release();

    // A generated tone: resampled, then saved and read back in each writable format.
    Zorn::SoundSample tone;
    tone.channels = 2;
    tone.bits = 16;
    tone.frequency = 44100;
    tone.samples = 22050;
    tone.data.resize(int(tone.samples * 4));
    for (int i = 0; i < int(tone.samples) * 2; ++i)
        Zorn::encodeSample(float(0.4 * std::sin(i * 0.03)), tone.data.data() + 2 * i, 16);
    Zorn::resampleSound(tone, {1, 16, 22050, 0});
    out << "Sound: " << tone.samples << " frames at " << tone.frequency << " Hz, mono\n";
    for (const char *format : {"WAV", "OGG", "FLAC", "MP3"}) {
        QFile file(work.filePath(QStringLiteral("tone.") + QString::fromLatin1(format).toLower()));
        const bool saved = Zorn::saveSound(&file, format, tone);
        file.close();
        Zorn::SoundSample back;
        const bool loaded = saved && Zorn::loadSound(&file, format, back);
        out << "  " << format << ": "
            << (saved ? QStringLiteral("saved %1 bytes").arg(file.size())
                      : QStringLiteral("no writer"))
            << (loaded ? QStringLiteral(", read back %1 frames").arg(back.samples) : QString())
            << '\n';
    }

    for (Sample::Project *project : qAsConst(projects))
        project->release();
    out << "Closed; parent project freed " << parent.freed << " time(s).\n";
    qDeleteAll(projects);
    return 0;
}
