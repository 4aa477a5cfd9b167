#include "fixtures.h"
#include "testengine.h"
#include "testinterface.h"

#include <zornx/core/messages.h>

#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>

using namespace Zorn;
using Sample::IniFile;
using ZornTest::TestParentProject;
using ZornTest::TestProject;

namespace {

QStringList names(const QList<ProjectFile *> &files)
{
    QStringList out;
    for (ProjectFile *file : files)
        out << file->displayName();
    return out;
}

} // namespace

class tst_Project : public QObject
{
    Q_OBJECT
private:
    QTemporaryDir dir;
    QString game;
    ZornTest::TestEngine engine;
    std::unique_ptr<TestParentProject> parent;

    TestProject *openLantern() { return TestProject::open(parent.get(), game + "/chars/lantern/lantern.ini"); }

private Q_SLOTS:
    void init()
    {
        game = dir.path() + "/game" + QString::number(QRandomGenerator::global()->generate());
        QVERIFY(ZornTest::copyTree(ZornTest::testData("game"), game));
        parent = std::make_unique<TestParentProject>(game, FileSystemArchive::instance(), &engine);
    }
    void cleanup() { parent.reset(); }

    void openAndDescribe()
    {
        TestProject *project = openLantern();
        QVERIFY(project);
        QCOMPARE(project->name(), QString("Lantern Keeper"));
        QCOMPARE(project->fileCount(), 8);
        QCOMPARE(names(project->filesByType(Project::Sprites)), QStringList({"lantern.spr", "lantern-alt.spr"}));
        QCOMPARE(names(project->filesByType(Project::Animations)),
                 QStringList({"lantern.anim", "extra.anim"}));
        QCOMPARE(project->fileID(project->mainFile()), Project::FileTypes(1));
        QCOMPARE(project->typeName(), QString("Main"));
        QCOMPARE(project->absolutePath(), game + "/chars/lantern");
        QCOMPARE(project->basePath(), QString("chars/lantern"));
        QCOMPARE(parent->refCount(), 1);
        QVERIFY(parent->isGame());

        // The last added file of a type is the selected one; a selection past the end gives
        // the first.
        QCOMPARE(project->file(Project::Sprites)->displayName(), QString("lantern-alt.spr"));
        project->setSelectedFile(Project::Sprites, 0);
        QCOMPARE(project->file(Project::Sprites)->displayName(), QString("lantern.spr"));
        project->setSelectedFile(Project::Sprites, 7);
        QCOMPARE(project->file(Project::Sprites)->displayName(), QString("lantern.spr"));
        QVERIFY(!project->file(17));
        QCOMPARE(project->selectedFile(17), 0u);
        project->release();
        delete project;
    }

    void addRemoveTakeMove()
    {
        TestProject *project = openLantern();
        QSignalSpy added(project, &Project::fileAdded);
        QSignalSpy removed(project, &Project::fileRemoved);
        QSignalSpy closed(parent.get(), &ParentProject::fileClosed);
        QSignalSpy parentAdded(parent.get(), &ParentProject::fileAdded);

        ProjectFile *air = project->filesByType(Project::Animations).first();
        QVERIFY(!project->addFile(air, Project::Animations)); // already that type
        QCOMPARE(added.size(), 0);

        // One file, two types: leaving one keeps it, without a close.
        air->addRef(); // the project holds one reference per file, whatever its types
        QVERIFY(project->addFile(air, Project::Scripts));
        air->release();
        QCOMPARE(added.size(), 1);
        QCOMPARE(parentAdded.size(), 1);
        QCOMPARE(project->fileID(air), Project::FileTypes((1 << 3) | (1 << 4)));
        QCOMPARE(project->fileCount(), 8);
        project->removeFile(Project::Scripts, 2);
        QCOMPARE(removed.size(), 1);
        QCOMPARE(closed.size(), 0);
        QCOMPARE(project->fileID(air), Project::FileTypes(1 << 3));

        project->removeFile(Project::Scripts, 9); // out of range: nothing
        QCOMPARE(removed.size(), 1);

        // The last type: removed, closed and released.
        project->removeFile(Project::Sounds, 0);
        QCOMPARE(removed.size(), 2);
        QCOMPARE(closed.size(), 1);
        QCOMPARE(project->fileCount(), 7);
        QVERIFY(!project->file(Project::Sounds));

        // takeFile gives the file back unreleased, with one fileRemoved per former type.
        ProjectFile *cns = project->filesByType(Project::Scripts).first();
        QVERIFY(project->addFile(cns, Project::Sprites));
        cns->addRef();
        QCOMPARE(project->takeFile(cns), cns);
        QCOMPARE(removed.size(), 4);
        QCOMPARE(removed[2][1].value<Project::FileType>(), Project::Sprites);
        QCOMPARE(removed[3][1].value<Project::FileType>(), Project::Scripts);
        QCOMPARE(closed.size(), 1);
        QVERIFY(!project->fileID(cns));
        QVERIFY(!cns->project());
        QCOMPARE(project->takeFile(cns), cns); // no types: nothing removed, nothing said
        QCOMPARE(removed.size(), 4);
        cns->release();
        cns->release();

        project->moveFile(Project::Sprites, 1, 0);
        QCOMPARE(names(project->filesByType(Project::Sprites)), QStringList({"lantern-alt.spr", "lantern.spr"}));
        project->moveFile(Project::Sprites, 0, 5); // out of range: nothing
        QCOMPARE(names(project->filesByType(Project::Sprites)), QStringList({"lantern-alt.spr", "lantern.spr"}));

        // A file the project does not hold keeps its reference.
        auto *stranger = new IniFile;
        stranger->addRef();
        project->removeFile(stranger);
        QCOMPARE(stranger->refCount(), 2u);
        QCOMPARE(closed.size(), 1);
        stranger->release();
        stranger->release();

        ProjectFile *extra = project->filesByType(Project::Animations).last();
        project->removeFile(extra);
        QCOMPARE(closed.size(), 2);
        QCOMPARE(names(project->filesByType(Project::Animations)), QStringList({"lantern.anim"}));
        project->release();
        delete project;
    }

    void modifiedEmptyAndReload()
    {
        TestProject *project = openLantern();
        QVERIFY(!project->isModified());
        QVERIFY(!project->isEmpty());
        auto *air = static_cast<IniFile *>(project->file(Project::Animations));
        air->setValue("value", "5");
        QVERIFY(project->isModified());

        QVERIFY(ZornTest::writeFile(game + "/chars/lantern/lantern.moves", "value = 9\n"));
        project->reload();
        QCOMPARE(static_cast<IniFile *>(project->filesByType(Project::Scripts).first())->value("value"),
                 QString("9"));
        QVERIFY(!project->isModified()); // reloaded from disk
        project->release();
        delete project;
    }

    void messagesFollowTheFiles()
    {
        class Noisy : public IniFile
        {
        public:
            Noisy() : list(this) { list.add(Message::Error, "bad", 0, 0); }
            SimpleMessages list;

        protected:
            Messages *fileMessages() const override { return const_cast<SimpleMessages *>(&list); }
        };
        TestProject *project = openLantern();
        auto *noisy = new Noisy;
        QVERIFY(project->addFile(noisy, Project::Scripts));
        QCOMPARE(project->messages()->errorCount(), 1u);
        project->removeFile(noisy);
        QCOMPARE(project->messages()->errorCount(), 0u);
        project->release();
        delete project;
    }

    void releaseOrders_data()
    {
        QTest::addColumn<int>("order");
        QTest::newRow("projects, then parent") << 0;
        QTest::newRow("second project first") << 1;
        QTest::newRow("files outlive projects") << 2;
    }
    void releaseOrders()
    {
        QFETCH(int, order);
        TestProject *lantern = openLantern();
        TestProject *thorn = TestProject::open(parent.get(), game + "/chars/thorn/thorn.ini");
        QVERIFY(lantern && thorn);
        QCOMPARE(parent->refCount(), 2);
        ProjectFile *held = lantern->file(Project::Sprites);
        if (order == 2)
            held->addRef();
        if (order == 1)
            std::swap(lantern, thorn);
        lantern->release();
        QCOMPARE(parent->freed, 0);
        delete lantern;
        thorn->release();
        QCOMPARE(parent->freed, 1); // exactly once, with the last project
        QCOMPARE(parent->refCount(), 0);
        thorn->release();             // a second release changes nothing
        QCOMPARE(parent->freed, 1);
        parent.reset();
        delete thorn;
        if (order == 2) {
            QVERIFY(!held->project()); // the project is gone: the file no longer points to it
            held->release();
        }
    }

    void saveAllCopyAndMove()
    {
        TestProject *project = openLantern();
        auto *fresh = static_cast<IniFile *>(project->filesByType(Project::Animations).last());
        fresh->setValue("value", "fresh");
        // A file outside the project's directory is neither saved nor copied.
        auto *outside = new IniFile;
        QVERIFY(outside->fromFile(FileSystemArchive::instance(), game + "/data/common.ini", 0, nullptr));
        outside->setValue("common", "changed");
        QVERIFY(project->addFile(outside, Project::Scripts));

        const QString copyDir = dir.path() + "/copy";
        QStringList names;
        QVERIFY(project->saveAll(FileSystemArchive::instance(), copyDir, true, &names));
        QCOMPARE(names.size(), 8); // seven listed files and the main file
        QVERIFY(names.contains("lantern.ini"));
        QCOMPARE(ZornTest::readFile(copyDir + "/chars/lantern/sub/extra.anim"),
                 QByteArray("; sub/extra.anim\r\nvalue = fresh\r\n"));
        QCOMPARE(ZornTest::readFile(copyDir + "/chars/lantern/lantern.spr"),
                 ZornTest::readFile(game + "/chars/lantern/lantern.spr"));
        QVERIFY(QFile::exists(copyDir + "/chars/lantern/lantern.ini"));
        QVERIFY(!QFile::exists(copyDir + "/data/common.ini"));
        QVERIFY(!QFile::exists(copyDir + "/chars/lantern/notes.txt"));
        // A copy leaves every binding and name as it was.
        QCOMPARE(fresh->fileName(), game + "/chars/lantern/sub/extra.anim");
        QVERIFY(fresh->isModified());

        // A move: the files follow, the main file is left to the caller.
        const QString moveDir = dir.path() + "/moved";
        QVERIFY(project->saveAll(FileSystemArchive::instance(), moveDir, false, nullptr));
        QCOMPARE(fresh->fileName(), moveDir + "/chars/lantern/sub/extra.anim");
        QVERIFY(!fresh->isModified());
        QVERIFY(!QFile::exists(moveDir + "/chars/lantern/lantern.ini"));
        QVERIFY(QFile::exists(moveDir + "/chars/lantern/lantern-alt.spr"));
        project->release();
        delete project;
    }

    void namesSharingASuffixStayApart()
    {
        // "a.anim" is a suffix of "ba.anim": the fresh save of the one must not be mistaken for
        // the other, nor a stale copy written over it.
        QVERIFY(ZornTest::writeFile(game + "/chars/lantern/lantern.ini",
                                    "name = x\nanimations = a.anim, ba.anim\n"));
        QVERIFY(ZornTest::writeFile(game + "/chars/lantern/a.anim", "a = old\n"));
        QVERIFY(ZornTest::writeFile(game + "/chars/lantern/ba.anim", "ba = old\n"));
        TestProject *project = openLantern();
        auto *ba = static_cast<IniFile *>(project->filesByType(Project::Animations).last());
        QCOMPARE(ba->displayName(), QString("ba.anim"));
        ba->setValue("ba", "new");
        const QString copyDir = dir.path() + "/suffix";
        QVERIFY(project->saveAll(FileSystemArchive::instance(), copyDir, true, nullptr));
        QCOMPARE(ZornTest::readFile(copyDir + "/chars/lantern/ba.anim"), QByteArray("ba = new\r\n"));
        QCOMPARE(ZornTest::readFile(copyDir + "/chars/lantern/a.anim"), QByteArray("a = old\n"));
        project->release();
        delete project;
    }
};

QTEST_MAIN(tst_Project)
#include "tst_project.moc"
