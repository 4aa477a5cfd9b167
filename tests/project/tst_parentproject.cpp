#include "fixtures.h"
#include "testengine.h"
#include "testinterface.h"

#include <zornx/core/extension.h>

#include <QtCore/QDirIterator>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>
#include <QtTest/QAbstractItemModelTester>
#include <QtTest/QtTest>

using namespace Zorn;
using Sample::IniFile;
using ZornTest::TestParentProject;
using ZornTest::TestProject;
using Path = Zorn::ParentProject::Path;

namespace {

// The tree as text: "name(child,child)".
QString dump(const QAbstractItemModel &model, const QModelIndex &parent = QModelIndex())
{
    QStringList parts;
    for (int row = 0; row < model.rowCount(parent); ++row) {
        const QModelIndex index = model.index(row, 0, parent);
        QString text = index.data().toString();
        if (model.rowCount(index) > 0)
            text += "(" + dump(model, index) + ")";
        parts << text;
    }
    return parts.join(",");
}

const char shortFormat[] = "Z";

QStringList filesBelow(const QString &dir)
{
    QStringList out;
    QDirIterator it(dir, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext())
        out << it.next().mid(dir.size() + 1);
    out.sort();
    return out;
}

} // namespace

class tst_ParentProject : public QObject
{
    Q_OBJECT
private:
    QTemporaryDir dir;
    QString game;
    ZornTest::TestEngine engine;
    std::unique_ptr<ZornTest::TestInterface> host;
    std::unique_ptr<TestParentProject> parent;
    std::unique_ptr<QAbstractItemModelTester> tester;
    QList<TestProject *> projects;

    TestProject *open(const QString &name)
    {
        TestProject *project = TestProject::open(parent.get(), game + "/" + name);
        if (project)
            projects << project;
        return project;
    }

private Q_SLOTS:
    void init()
    {
        game = dir.path() + "/g" + QString::number(QRandomGenerator::global()->generate());
        QVERIFY(ZornTest::copyTree(ZornTest::testData("game"), game));
        host = std::make_unique<ZornTest::TestInterface>();
        host->options["enable_file_watcher"] = true;
        host->options["showmsg_reload_file"] = 1;
        parent = std::make_unique<TestParentProject>(game, FileSystemArchive::instance(), &engine);
        tester = std::make_unique<QAbstractItemModelTester>(
            parent.get(), QAbstractItemModelTester::FailureReportingMode::QtTest);
    }
    void cleanup()
    {
        for (TestProject *project : qAsConst(projects))
            project->release();
        tester.reset();
        parent.reset();
        qDeleteAll(projects);
        projects.clear();
        host.reset();
    }

    void treeFollowsProjects()
    {
        QCOMPARE(dump(*parent), QString("chars(lantern,thorn),data(common.ini,fight.ini)"));
        QCOMPARE(parent->basePath(), game + "/");
        QVERIFY(open("chars/lantern/lantern.ini"));
        QCOMPARE(dump(*parent),
                 QString("chars(lantern(lantern-alt.spr,lantern.anim,lantern.ini,lantern.moves,lantern.sfx,"
                         "lantern.spr,sub(common.moves,extra.anim)),thorn),data(common.ini,fight.ini)"));

        const Path *air = parent->filePath(game + "/chars/lantern/lantern.anim");
        QVERIFY(air && air->isFile() && !air->isDirectory());
        QCOMPARE(air->type(), 3);
        QCOMPARE(air->path(), game + "/chars/lantern/lantern.anim");
        // The project's directory, and in it the one project child, the main file.
        const Path *main = parent->projectForFile(air);
        QCOMPARE(main->name(), QString("lantern.ini"));
        QVERIFY(main->isProject() && main->isFile());
        QCOMPARE(main->type(), 0);
        QVERIFY(parent->filePath(game + "/chars/lantern")->isProject());
        QCOMPARE(parent->projectForFile(parent->filePath(game + "/chars/lantern/sub/extra.anim")), main);
        QCOMPARE(parent->projectForFile(parent->filePath(game + "/chars/thorn")),
                 parent->filePath(game + "/chars/thorn"));
        QVERIFY(parent->filePath(game + "/data/common.ini")->isProject()); // listed file
        QVERIFY(!parent->filePath(game + "/chars/lantern/none.anim"));
        QVERIFY(!parent->filePath(dir.path() + "/elsewhere"));
        QVERIFY(!parent->filePath(game + "2/chars")); // a name that only starts the same
        const Path *root = parent->filePath(game + "/");
        QVERIFY(root && root->isDirectory());
        QCOMPARE(root->path(), game + "/");
        QVERIFY(!parent->itemPath(QModelIndex()));

        // Data of the nodes.
        const QModelIndex chars = parent->index(0, 0);
        QCOMPARE(chars.data(Qt::ToolTipRole).toString(), QString("chars"));
        QCOMPARE(parent->itemPath(chars)->name(), QString("chars"));

        // The project's part of the tree follows its list of files when it says so.
        TestProject *project = projects.first();
        QVERIFY(ZornTest::writeFile(game + "/chars/lantern/lantern.ini",
                                    "name = k\nanimations = lantern.anim\nsprites = sub/x.spr\n"));
        QVERIFY(ZornTest::writeFile(game + "/chars/lantern/sub/x.spr", "x\n"));
        project->mainFile()->fromFile(FileSystemArchive::instance(), game + "/chars/lantern/lantern.ini", 0, nullptr);
        project->fileHierarchyChanged();
        QCOMPARE(dump(*parent), QString("chars(lantern(lantern.anim,lantern.ini,sub(x.spr)),thorn),data(common.ini,fight.ini)"));

        // The project's node leaves with it.
        project->release();
        QCOMPARE(dump(*parent), QString("chars(thorn),data(common.ini,fight.ini)"));
    }

    // A project made with its main file added, whose list names the main file too, and a
    // file listed under two types: each is one node.
    void treeListsEachFileOnce()
    {
        QVERIFY(ZornTest::writeFile(game + "/chars/lantern/lantern.ini",
                                    "name = k\nscripts = lantern.ini, lantern.moves\n"
                                    "animations = lantern.anim\nsprites = lantern.anim\n"));
        TestProject *project = open("chars/lantern/lantern.ini");
        QVERIFY(project);
        QVERIFY(project->filesWithIDs().value(project->mainFile()) & 1); // added as the main file
        QCOMPARE(dump(*parent), QString("chars(lantern(lantern.anim,lantern.ini,lantern.moves),"
                                        "thorn),data(common.ini,fight.ini)"));
        const Path *main = parent->filePath(game + "/chars/lantern/lantern.ini");
        QCOMPARE(main->type(), 0);
        QVERIFY(main->isProject());
    }

    void directoryChangesAreRowChanges()
    {
        QVERIFY(open("chars/lantern/lantern.ini"));
        QSignalSpy inserted(parent.get(), &QAbstractItemModel::rowsInserted);
        QSignalSpy removed(parent.get(), &QAbstractItemModel::rowsRemoved);
        QSignalSpy reset(parent.get(), &QAbstractItemModel::modelReset);

        QVERIFY(QDir(game).mkpath("chars/ken"));
        QTRY_VERIFY(dump(*parent).startsWith("chars(ken,lantern("));
        QVERIFY(ZornTest::writeFile(game + "/data/new.ini", "n = 1\n"));
        QVERIFY(ZornTest::writeFile(game + "/data/skip.txt", "n = 1\n"));
        QTRY_COMPARE(dump(*parent).section("data", 1), QString("(common.ini,fight.ini,new.ini)"));
        QVERIFY(QDir(game).rename("chars/thorn", "chars/ember"));
        QTRY_VERIFY(dump(*parent).startsWith("chars(ember,ken,lantern("));
        QVERIFY(QDir(game + "/chars/ken").removeRecursively());
        QTRY_VERIFY(!dump(*parent).contains("ken"));
        QVERIFY(!inserted.isEmpty());
        QVERIFY(!removed.isEmpty());
        QCOMPARE(reset.size(), 0);
        // The open project kept its files through every scan of its directory.
        QVERIFY(dump(*parent).contains("lantern(lantern-alt.spr,lantern.anim,lantern.ini"));
    }

    // An open project's node never dies under it: not when a scan no longer sees the
    // directory, nor when a scan lists its parent without contents, nor when the node of
    // another project that held it goes. Each step after that touches the node again.
    void openProjectOutlivesItsNode_data()
    {
        QTest::addColumn<int>("path");
        QTest::newRow("directory renamed on disk") << 0;
        QTest::newRow("below a directory listed bare") << 1;
        QTest::newRow("inside a released project") << 2;
    }
    void openProjectOutlivesItsNode()
    {
        QFETCH(int, path);
        QString main = path == 1 ? "chars/thorn/deep/d.ini" : "chars/lantern/sub/s.ini";
        QVERIFY(ZornTest::writeFile(game + "/" + main, "[Files]\nscripts = common.moves\n"));
        QVERIFY(ZornTest::writeFile(game + "/chars/thorn/deep/common.moves", "value = 1\n"));
        if (path == 0)
            main = "chars/lantern/lantern.ini";
        TestProject *project = open(main);
        QVERIFY(project);
        // Each change of chars rescans it.
        auto rescan = [&](const QString &name) {
            QVERIFY(QDir(game).mkpath("chars/" + name));
            QTRY_VERIFY(dump(*parent).contains(name));
        };
        if (path == 0) {
            QVERIFY(QDir(game).rename("chars/lantern", "chars/lamp"));
            QTRY_VERIFY(dump(*parent).contains("lamp"));
        } else if (path == 1) {
            rescan("new");
        } else {
            TestProject *holder = open("chars/lantern/lantern.ini");
            QVERIFY(holder);
            projects.removeOne(holder);
            holder->release();
            delete holder;
        }
        const QString files = path == 0 ? "lantern(lantern-alt.spr" : "(common.moves,";
        QVERIFY2(dump(*parent).contains(files), qPrintable(dump(*parent)));
        rescan("later");
        QVERIFY2(dump(*parent).contains(files), qPrintable(dump(*parent)));
        project->fileHierarchyChanged();
        projects.removeOne(project);
        project->release();
        delete project;
        QVERIFY(!dump(*parent).contains(files));
        rescan("last");
    }

    void addAndRemovePaths()
    {
        QSignalSpy inserted(parent.get(), &QAbstractItemModel::rowsInserted);
        parent->addPath("stages/", TestParentProject::ListFiles, {"*.ini"});
        QCOMPARE(dump(*parent), QString("chars(lantern,thorn),data(common.ini,fight.ini),stages(stage0.ini)"));
        QCOMPARE(inserted.size(), 2); // the node, then what its scan found
        parent->addPath("/extra/deep/", 0, {});
        QVERIFY(dump(*parent).endsWith(",extra(deep)"));
        parent->removePath(game + "/extra/deep");
        QVERIFY(dump(*parent).endsWith(",extra"));
        parent->removePath("extra");
        parent->removePath("missing/path");
        QCOMPARE(dump(*parent), QString("chars(lantern,thorn),data(common.ini,fight.ini),stages(stage0.ini)"));
    }

    void singleProjectAtTheRoot()
    {
        // A parent over one character's directory: the project's node is the root.
        tester.reset();
        parent = std::make_unique<TestParentProject>(game + "/chars/thorn", FileSystemArchive::instance(),
                                                     &engine, false);
        tester = std::make_unique<QAbstractItemModelTester>(
            parent.get(), QAbstractItemModelTester::FailureReportingMode::QtTest);
        QVERIFY(!parent->isGame());
        TestProject *thorn = open("chars/thorn/thorn.ini");
        QCOMPARE(dump(*parent), QString("thorn.anim,thorn.ini,thorn.moves"));
        QCOMPARE(thorn->basePath(), QString());
        QCOMPARE(parent->projectForFile(nullptr), parent->filePath(game + "/chars/thorn/thorn.ini"));

        // "Save as" of a lone project moves the root to the new directory.
        const QString target = dir.path() + "/newthorn";
        static_cast<IniFile *>(thorn->file(Project::Scripts))->setValue("value", "3");
        QVERIFY(parent->saveAs(target + "/thorn.ini", nullptr));
        QCOMPARE(parent->basePath(), target + "/");
        QCOMPARE(filesBelow(target), QStringList({"thorn.anim", "thorn.ini", "thorn.moves"}));
        QCOMPARE(ZornTest::readFile(target + "/thorn.moves"), QByteArray("; thorn.moves\r\nvalue = 3\r\n"));
        QCOMPARE(thorn->fileName(), target + "/thorn.ini");
        QCOMPARE(thorn->archive(), &FileSystemArchive::instance());
    }

    void saveWritesModifiedFilesOnly()
    {
        TestProject *lantern = open("chars/lantern/lantern.ini");
        TestProject *thorn = open("chars/thorn/thorn.ini");
        auto *air = static_cast<IniFile *>(lantern->filesByType(Project::Animations).first());
        auto *cns = static_cast<IniFile *>(thorn->file(Project::Scripts));
        air->setValue("value", "7");
        cns->setValue("value", "8");
        const QByteArray untouched = ZornTest::readFile(game + "/chars/lantern/lantern.moves");

        parent->save(&host->progress);
        QCOMPARE(host->progress.jobs.size(), size_t(1));
        QCOMPARE(host->progress.jobs[0]->title, QString("Saving..."));
        QCOMPARE(host->progress.jobs[0]->maximum, 2u);
        QCOMPARE(host->progress.jobs[0]->value, 2u);
        QVERIFY(!air->isModified() && !cns->isModified());
        QVERIFY(ZornTest::readFile(game + "/chars/lantern/lantern.anim").contains("value = 7"));
        QVERIFY(ZornTest::readFile(game + "/chars/thorn/thorn.moves").contains("value = 8"));
        QCOMPARE(ZornTest::readFile(game + "/chars/lantern/lantern.moves"), untouched);

        // A cancelled job stops at the next file.
        air->setValue("value", "9");
        cns->setValue("value", "9");
        host->progress.jobs.clear();
        struct CancellingProvider : ProgressProvider
        {
            ZornTest::TestJob job{"x"};
            ProviderJob *newJob(const QString &, int) override
            {
                job.cancelled = true;
                return &job;
            }
        } cancelling;
        QVERIFY(parent->save(&cancelling));
        QVERIFY(air->isModified() && cns->isModified());
        QVERIFY(parent->save(nullptr)); // no progress at all is fine too
        QVERIFY(!air->isModified() && !cns->isModified());

        // A disk that takes no more: the old file stays, the file stays modified, and the
        // job names it.
        const QByteArray before = ZornTest::readFile(game + "/chars/lantern/lantern.anim");
        const QStringList names = filesBelow(game + "/chars/lantern");
        air->setValue("value", QString(4000, 'x'));
        host->progress.jobs.clear();
        {
            ZornTest::FileSizeLimit full(1024);
            QVERIFY(!parent->save(&host->progress));
        }
        QCOMPARE(ZornTest::readFile(game + "/chars/lantern/lantern.anim"), before);
        QVERIFY(air->isModified());
        QCOMPARE(host->progress.jobs[0]->errors,
                 QStringList("Can't save file '" + game + "/chars/lantern/lantern.anim'!"));
        QCOMPARE(filesBelow(game + "/chars/lantern"), names); // no temporary file left
    }

    void saveAsGame()
    {
        TestProject *lantern = open("chars/lantern/lantern.ini");
        static_cast<IniFile *>(lantern->file(Project::Sprites))->setValue("value", "new");
        const QString target = dir.path() + "/copygame";
        ZornTest::TestJob job("save as");
        QVERIFY(parent->saveAs(target, &job));
        // The open project moves; the closed one (thorn) comes along through collectFiles.
        const QStringList files = filesBelow(target);
        for (const char *name : {"chars/lantern/lantern.ini", "chars/lantern/lantern-alt.spr", "chars/lantern/sub/extra.anim",
                                 "chars/thorn/thorn.ini", "chars/thorn/thorn.moves"})
            QVERIFY2(files.contains(name), name);
        QVERIFY(ZornTest::readFile(target + "/chars/lantern/lantern-alt.spr").contains("value = new"));
        QCOMPARE(lantern->file(Project::Sprites)->fileName(), target + "/chars/lantern/lantern-alt.spr");
        QCOMPARE(parent->basePath(), target + "/");
        QCOMPARE(job.maximum, job.value);
    }

    // A backup holds the open projects' unsaved texts, in a directory or, with the ZIP
    // extension, in a .zip that ordinary tools read; the documents still point at the game.
    // Restoring brings the files back and reloads each open document once, through the
    // project, not again through the watcher; later outside changes are heard again.
    void backupAndRestore_data()
    {
        QTest::addColumn<bool>("zip");
        QTest::newRow("directory") << false;
        QTest::newRow("zip") << true;
    }
    void backupAndRestore()
    {
        QFETCH(bool, zip);
        std::unique_ptr<ExtensionManager> extensions;
        if (zip) {
            // An archive format shorter than "ZIP" stands first: it is compared whole, and
            // only up to its end.
            struct Short : ArchiveExtension
            {
                const char *format() const override { return shortFormat; }
                Archive *createArchive(const QString &, int) override { return nullptr; }
            };
            QVERIFY(ExtensionManager::add(new Short));
            extensions.reset(new ExtensionManager(QStringLiteral(ZORNX_PLUGIN_DIR)));
        }
        TestProject *lantern = open("chars/lantern/lantern.ini");
        QVERIFY(lantern && open("chars/thorn/thorn.ini"));
        auto *cns = static_cast<ZornTest::TestIniFile *>(lantern->filesByType(Project::Scripts).first());
        cns->setValue("value", "unsaved");
        if (zip) {
            // The archive is written at the end: a failure there fails the backup.
            ZornTest::FileSizeLimit full(200);
            QVERIFY(!parent->backup("b", nullptr));
            QVERIFY(QDir(game + "/backup").entryList(QDir::Files).isEmpty());
        }
        ZornTest::TestJob job("backup");
        QVERIFY(parent->backup("b", &job));
        QCOMPARE(job.value, 2u);
        const QStringList backups =
            QDir(game + "/backup").entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
        QCOMPARE(backups.size(), 1);
        QVERIFY(QRegExp("\\d\\d\\.\\d\\d\\.\\d{4}_\\d+\\.\\d+\\.\\d+_(am|pm)_b(\\.zip)?")
                    .exactMatch(backups[0]));
        const QString saved = game + "/backup/" + backups[0];
        QStringList names;
        QByteArray savedCns;
        if (zip) {
            QProcess unzip;
            unzip.start("unzip", {"-Z1", saved});
            QVERIFY(unzip.waitForFinished() && unzip.exitCode() == 0);
            names = QString(unzip.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
            unzip.start("unzip", {"-p", saved, "chars/lantern/lantern.moves"});
            QVERIFY(unzip.waitForFinished() && unzip.exitCode() == 0);
            savedCns = unzip.readAllStandardOutput();
        } else {
            names = filesBelow(saved);
            savedCns = ZornTest::readFile(saved + "/chars/lantern/lantern.moves");
        }
        QCOMPARE(names.size(), 8 + 3);
        for (const char *name : {"chars/lantern/lantern.ini", "chars/lantern/sub/extra.anim", "chars/thorn/thorn.moves"})
            QVERIFY2(names.contains(name), name);
        QVERIFY(savedCns.contains("value = unsaved"));
        QCOMPARE(cns->fileName(), game + "/chars/lantern/lantern.moves");
        QVERIFY(cns->isModified());

        cns->reload(); // back to the text on disk
        QCOMPARE(cns->value("value"), QString("1"));
        QTest::qWait(300);
        const int reloads = cns->reloads;
        ZornTest::TestJob restore("restore");
        QVERIFY(parent->restoreBackup("/" + (zip ? backups[0].chopped(4) : backups[0]), &restore));
        QCOMPARE(restore.maximum, 8u + 3u + 2u);
        QCOMPARE(cns->value("value"), QString("unsaved"));
        QTest::qWait(500);
        QCOMPARE(cns->reloads, reloads); // the watcher did not reload it again
        QVERIFY(ZornTest::writeFile(game + "/chars/lantern/lantern.moves", "value = later\n"));
        QTRY_COMPARE(cns->value("value"), QString("later"));
    }
};

QTEST_MAIN(tst_ParentProject)
#include "tst_parentproject.moc"
