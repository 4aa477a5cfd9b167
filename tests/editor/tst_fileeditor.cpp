#include "dialogresponder.h"
#include "fixtures.h"
#include "testengine.h"
#include "testinterface.h"

#include <zornx/editor/editor.h>
#include <zornx/editor/itemsdialog.h>
#include <zornx/editor/menu.h>

#include "../../zornx/editor/resetscrollpos_p.h"

#include <QtCore/QStringListModel>
#include <QtCore/QTemporaryDir>
#include <QtGui/QHelpEvent>
#include <QtTest/QtTest>
#include <QtWidgets/QAction>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QListView>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QToolBar>
#include <QtWidgets/QToolTip>

using namespace Zorn;
using ZornTest::DialogResponder;
using Sample::IniFile;

namespace {

// A script file that records how it was saved and can be made to fail.
class ScriptFile : public IniFile
{
public:
    Capabilities capabilities() const override { return caps; }
    bool fromFile(Archive &archive, const QString &name, unsigned int flags,
                  JobStats *job) override
    {
        loadFlags = int(flags);
        return !failLoad && IniFile::fromFile(archive, name, flags, job);
    }
    bool toFile(Archive &archive, const QString &name, unsigned int flags, JobStats *job) override
    {
        saveFlags = int(flags);
        saveJob = job;
        return IniFile::toFile(archive, name, flags & Copy, job);
    }
    Capabilities caps;
    int loadFlags = -1;
    int saveFlags = -1;
    JobStats *saveJob = nullptr;
    static bool failLoad;
};
bool ScriptFile::failLoad = false;

class ScriptEngine : public ZornTest::TestEngine
{
public:
    ProjectFile *createFile(int, Project *) override { return new ScriptFile; }
};

class ScriptEditor : public FileEditor
{
public:
    ScriptEditor() : menuAction(QStringLiteral("Scripts")) {}
    QAction *action() const override { return const_cast<QAction *>(&menuAction); }
    const char *name() const override { return "scripts"; }
    unsigned int areas() const override { return 1; }
    void retranslate() override {}
    QList<ProjectFile::SearchResult> find(const RegExp &, unsigned int) override { return {}; }
    void replace(const QList<ProjectFile::SearchResult> &, const QString &) override {}
    int canEditFileType() const override { return Project::Scripts; }
    void cut() override {}
    void copy() override {}
    void paste() override {}
    void release() override {}
    // Overriding one canDiscard keeps the other in scope.
    using FileEditor::canDiscard;
    bool canDiscard(const ProjectFile *file) const override
    {
        ++asked;
        return FileEditor::canDiscard(file);
    }
    mutable int asked = 0;
    QAction menuAction;
};

} // namespace

class tst_FileEditor : public QObject
{
    Q_OBJECT
private:
    QTemporaryDir dir;
    QString game, home;
    ScriptEngine engine;
    std::unique_ptr<ZornTest::TestInterface> host;
    std::unique_ptr<ZornTest::TestParentProject> parent;
    ZornTest::TestProject *project = nullptr;
    std::unique_ptr<ScriptEditor> editor;
    std::unique_ptr<DialogResponder> dialogs;

    ScriptFile *script(int index = 0)
    {
        return static_cast<ScriptFile *>(project->filesByType(Project::Scripts).value(index));
    }
    QStringList titles() const
    {
        QStringList out;
        for (const DialogResponder::Seen &seen : dialogs->seen)
            out << seen.title;
        return out;
    }

private Q_SLOTS:
    void init()
    {
        static int run = 0;
        game = dir.path() + QStringLiteral("/game%1").arg(++run);
        home = game + QStringLiteral("/chars/pebble");
        ZornTest::writeFile(game + "/game.ini", "[Game]\r\n");
        ZornTest::writeFile(home + "/pebble.ini",
                            "[Info]\r\nname = Pebble\r\n[Files]\r\nscripts = moves.ini, tricks.ini\r\n");
        ZornTest::writeFile(home + "/moves.ini", "jab = 1\r\n");
        ZornTest::writeFile(home + "/tricks.ini", "spin = 2\r\n");
        ScriptFile::failLoad = false;
        host = std::make_unique<ZornTest::TestInterface>();
        host->engine = &engine;
        parent = std::make_unique<ZornTest::TestParentProject>(game, FileSystemArchive::instance(),
                                                               &engine);
        project = ZornTest::TestProject::open(parent.get(), home + "/pebble.ini");
        QVERIFY(project);
        host->project = project;
        editor = std::make_unique<ScriptEditor>();
        host->fileEditor = editor.get();
        dialogs = std::make_unique<DialogResponder>();
    }
    void cleanup()
    {
        dialogs.reset();
        editor.reset();
        project->release();
        delete project;
        parent.reset();
        host.reset();
    }

    void saveFileAsCompletesTheExtension_data()
    {
        QTest::addColumn<QString>("patterns");
        QTest::addColumn<QString>("answer");
        QTest::addColumn<QString>("written");
        QTest::newRow("appended") << "*.ini" << "combo" << "combo.ini";
        QTest::newRow("present") << "*.ini" << "combo.ini" << "combo.ini";
        QTest::newRow("case differs") << "*.ini" << "combo.INI" << "combo.INI.ini";
        QTest::newRow("second of two") << "*.ini*.txt" << "combo.txt" << "combo.txt";
        QTest::newRow("first of two") << "*.ini*.txt" << "combo" << "combo.ini";
        QTest::newRow("blank-separated list") << "*.ini *.txt" << "combo" << "combo";
        QTest::newRow("not a plain suffix") << "*.a1" << "combo" << "combo";
    }
    void saveFileAsCompletesTheExtension()
    {
        QFETCH(QString, patterns);
        QFETCH(QString, answer);
        QFETCH(QString, written);
        engine.fileFilters[Project::Scripts] = patterns;
        QSignalSpy modified(editor.get(), &FileEditor::modified);
        dialogs->answerFile(home + "/" + answer);
        FileEditor::saveFileAs(script(), editor.get(), host.get());
        QCOMPARE(titles(), QStringList{"Save scripts as..."});
        QVERIFY(QFile::exists(home + "/" + written));
        QCOMPARE(script()->fileName(), home + "/" + written);
        QCOMPARE(modified.count(), 1);
        QCOMPARE(host->option("scripts_path", QVariant()).toString(), home);
        QCOMPARE(project->option("scripts_path").toString(), home);
    }

    void filesOutsideTheProject_data()
    {
        QTest::addColumn<bool>("open");
        QTest::addColumn<int>("answer");
        QTest::addColumn<int>("flags");
        QTest::newRow("open as copy") << true << int(QMessageBox::Yes) << 1;
        QTest::newRow("open in place") << true << int(QMessageBox::No) << 0;
        QTest::newRow("save as copy") << false << int(QMessageBox::Yes) << 1;
        QTest::newRow("save in place") << false << int(QMessageBox::No) << 0;
    }
    void filesOutsideTheProject()
    {
        QFETCH(bool, open);
        QFETCH(int, answer);
        QFETCH(int, flags);
        // A sibling whose name begins like the project's directory is outside it too.
        const QString outside = home + "-extra/loose.ini";
        ZornTest::writeFile(outside, "kick = 3\r\n");
        if (!open)
            QFile::remove(outside);
        dialogs->answerFile(outside);
        dialogs->answer(QMessageBox::StandardButton(answer));
        const QString ending = open ? "Do you want to load it as copy?"
                                    : "Do you want to save it as copy?";
        ScriptFile *file;
        if (open) {
            editor->open();
            file = script(2);
            QVERIFY(file);
            QCOMPARE(file->loadFlags, flags);
        } else {
            file = script();
            editor->setCurrentFile(file);
            editor->saveAs();
            QCOMPARE(file->saveFlags, flags);
            QVERIFY(QFile::exists(outside));
        }
        QCOMPARE(dialogs->seen.size(), 2);
        QCOMPARE(dialogs->seen.at(0).title, open ? "Open scripts..." : "Save scripts as...");
        QCOMPARE(dialogs->seen.at(1).title, QString("External file!"));
        QCOMPARE(dialogs->seen.at(1).text,
                 "This file isn't a child of the project directory, so will be ignored on 'Run "
                 "in engine', 'Backup' and 'Save as' functions. " + ending);
        // A copy keeps the file's own name; otherwise the file takes the new one.
        QCOMPARE(file->fileName() == outside, flags == 0);
        QCOMPARE(host->option("scripts_path", QVariant()).toString(), home + "-extra");
    }

    void saveAndItsFallbacks_data()
    {
        QTest::addColumn<bool>("background");
        QTest::addColumn<bool>("failing");
        QTest::newRow("in place") << false << false;
        QTest::newRow("in the background") << true << false;
        QTest::newRow("failing falls to save as") << false << true;
    }
    void saveAndItsFallbacks()
    {
        QFETCH(bool, background);
        QFETCH(bool, failing);
        ScriptFile *file = script();
        if (background)
            file->caps = ProjectFile::SavesInBackground;
        file->setValue("jab", "5");
        editor->setCurrentFile(file);
        if (failing) {
            QFile::remove(home + "/moves.ini");
            QVERIFY(QDir(home).mkdir("moves.ini")); // nothing can replace a directory
            dialogs->answerFile(home + "/saved.ini");
        }
        QSignalSpy modified(editor.get(), &FileEditor::modified);
        editor->save();
        QCOMPARE(host->switchedTo, QList<Editor *>{editor.get()});
        QCOMPARE(host->progress.jobs.size(), size_t(1));
        const ZornTest::TestJob &job = *host->progress.jobs.front();
        QCOMPARE(job.title, QString("Saving moves.ini"));
        QCOMPARE(job.background, background);
        QCOMPARE(titles(), failing ? QStringList{"Save scripts as..."} : QStringList());
        QCOMPARE(file->fileName(), home + (failing ? "/saved.ini" : "/moves.ini"));
        QCOMPARE(file->saveFlags, background ? int(ProjectFile::SaveInBackground) : 0);
        QCOMPARE(modified.count(), 1);
        QVERIFY(!file->isModified());

        // Nothing to save: no job, no question.
        editor->save();
        QCOMPARE(host->progress.jobs.size(), size_t(1));
    }

    void saveWithoutProgressOrProject()
    {
        auto *loose = new ScriptFile;
        QVERIFY(loose->fromFile(FileSystemArchive::instance(), home + "/moves.ini", 0, nullptr));
        loose->setValue("jab", "6");
        struct NoProgress : ZornTest::TestInterface
        {
            ProgressProvider *progressProvider() override { return nullptr; }
        } bare;
        bare.engine = &engine;
        ScriptEditor alone;
        alone.setCurrentFile(loose);
        alone.save();
        QVERIFY(!loose->isModified());
        QVERIFY(!loose->saveJob);

        // Without a project there is neither a start directory nor an outside question.
        loose->setValue("jab", "7");
        dialogs->answerFile(dir.path() + "/anywhere.ini");
        alone.saveAs();
        QCOMPARE(titles(), QStringList{"Save scripts as..."});
        QCOMPARE(loose->fileName(), dir.path() + "/anywhere.ini");
        loose->release();
    }

    void parentSaveAsksForANewFile()
    {
        ScriptFile *file = script(1);
        file->setValue("spin", "4");
        QFile::remove(file->fileName()); // a file that is not on disk cannot be saved in place
        dialogs->answerFile(home + "/renamed.ini");
        parent->save(&host->progress);
        QCOMPARE(titles(), QStringList{"Save scripts as..."});
        QCOMPARE(file->fileName(), home + "/renamed.ini");
        QVERIFY(!file->isModified());
    }

    void openRemembersTheDirectory()
    {
        project->setOption("project_path", dir.path());
        QString startedIn;
        auto where = [&startedIn]() {
            for (QWidget *widget : QApplication::topLevelWidgets())
                if (auto *files = qobject_cast<QFileDialog *>(widget))
                    if (files->isVisible())
                        startedIn = files->directory().absolutePath();
        };
        // A dialog answered without a file name stays open until it is rejected.
        dialogs->answer(QMessageBox::Cancel, where);
        editor->open();
        QCOMPARE(startedIn, dir.path());
        QCOMPARE(project->filesByType(Project::Scripts).size(), 2);

        dialogs->answerFile(home + "/tricks.ini");
        editor->open();
        QCOMPARE(project->filesByType(Project::Scripts).size(), 3);
        QCOMPARE(host->option("scripts_path", QVariant()).toString(), home);
        QCOMPARE(project->option("scripts_path").toString(), home);

        dialogs->answer(QMessageBox::Cancel, where);
        editor->open();
        QCOMPARE(startedIn, home);
    }

    void failedOpenIsSilent()
    {
        ScriptFile::failLoad = true;
        dialogs->answerFile(home + "/tricks.ini");
        QSignalSpy modified(editor.get(), &FileEditor::modified);
        editor->open();
        QCOMPARE(titles(), QStringList{"Open scripts..."});
        QCOMPARE(project->filesByType(Project::Scripts).size(), 2);
        QCOMPARE(modified.count(), 0);

        engine.fileFilters.remove(Project::Scripts); // no filter: no dialog at all
        editor->open();
        FileEditor::saveFileAs(script(), editor.get(), host.get());
        QCOMPARE(dialogs->seen.size(), 1);
    }

    void createAddsAFile()
    {
        editor->undo(); // without a file: nothing happens
        editor->redo();
        QSignalSpy modified(editor.get(), &FileEditor::modified);
        editor->create();
        QCOMPARE(project->filesByType(Project::Scripts).size(), 3);
        QCOMPARE(modified.count(), 1);
        QVERIFY(editor->isActive());
        editor->create();
        QCOMPARE(host->switchedTo.size(), 1); // an active editor does not ask again
    }

    void canDiscard_data()
    {
        QTest::addColumn<bool>("modified");
        QTest::addColumn<bool>("discardable");
        QTest::addColumn<int>("stored");
        QTest::addColumn<int>("answer");
        QTest::addColumn<bool>("asked");
        QTest::addColumn<bool>("result");
        QTest::newRow("unmodified") << false << false << 0 << 0 << false << true;
        QTest::newRow("can discard") << true << true << 0 << 0 << false << true;
        QTest::newRow("yes") << true << false << 0 << int(QMessageBox::Yes) << true << true;
        QTest::newRow("no") << true << false << 0 << int(QMessageBox::No) << true << false;
        QTest::newRow("stored yes") << true << false << 1 << 0 << false << true;
        QTest::newRow("stored no") << true << false << 2 << 0 << false << false;
    }
    void canDiscard()
    {
        QFETCH(bool, modified);
        QFETCH(bool, discardable);
        QFETCH(int, stored);
        QFETCH(int, answer);
        QFETCH(bool, asked);
        QFETCH(bool, result);
        ScriptFile *file = script();
        file->modified = modified;
        if (discardable)
            file->caps = ProjectFile::CanDiscard | ProjectFile::SavesInBackground;
        host->setOption("showmsg_discard", stored);
        if (answer)
            dialogs->answer(QMessageBox::StandardButton(answer));
        QCOMPARE(editor->canDiscard(file), result);
        QCOMPARE(titles(), asked ? QStringList{"Discard changes?"} : QStringList());
        if (asked)
            QVERIFY(dialogs->seen.first().text.startsWith(
                "Do you want to discard the changes made in scripts?"));
        QVERIFY(editor->canDiscard(static_cast<const ProjectFile *>(nullptr)));
    }

    void canDiscardAsksAboutEveryFile()
    {
        script(0)->modified = true;
        script(1)->modified = true;
        dialogs->answer(QMessageBox::No);
        dialogs->answer(QMessageBox::Yes);
        QVERIFY(!editor->canDiscard(static_cast<const Project *>(nullptr)));
        QCOMPARE(editor->asked, 2);
        QCOMPARE(dialogs->seen.size(), 2);
    }

    void itemsDialog_data()
    {
        QTest::addColumn<int>("row");
        QTest::addColumn<QList<int>>("preselected");
        QTest::newRow("row") << 3 << QList<int>{3};
        QTest::newRow("none") << -1 << QList<int>{};
        QTest::newRow("beyond") << 9 << QList<int>{};
    }
    void itemsDialog()
    {
        QFETCH(int, row);
        QFETCH(QList<int>, preselected);
        QStringListModel model({"a", "b", "c", "d", "e"});
        ItemsDialog *chooser = host->itemsDialog(nullptr, "sprites", "Pick", &model, row);
        auto rows = [chooser]() {
            QList<int> out;
            for (const QModelIndex &index : chooser->selected())
                out << index.row();
            std::sort(out.begin(), out.end());
            return out;
        };
        QCOMPARE(chooser->windowTitle(), QString("Pick"));
        QCOMPARE(rows(), preselected);
        auto button = [chooser](const char *name) {
            return chooser->findChild<QPushButton *>(name);
        };
        button("invBut")->click();
        QCOMPARE(rows().size(), 5 - preselected.size());
        QVERIFY(!rows().contains(row));
        button("clearBut")->click();
        QCOMPARE(rows(), QList<int>());
        button("allBut")->click();
        QCOMPARE(rows(), QList<int>({0, 1, 2, 3, 4}));
        QCOMPARE(chooser->findChild<QListView *>("list")->selectionMode(),
                 QAbstractItemView::ExtendedSelection);
        chooser->release();
    }

    void reusableWidgetOutlivesItsToolbar()
    {
        QWidget shown;
        ReusableWidgetAction action(&shown);
        {
            QToolBar bar;
            bar.addAction(&action);
            QCOMPARE(shown.parentWidget(), &bar);
            bar.removeAction(&action);
            QVERIFY(!shown.parentWidget());
            bar.addAction(&action);
            QCOMPARE(shown.parentWidget(), &bar);
        }
        QVERIFY(!shown.parentWidget()); // still alive: this frame owns it

        // An action that ends while its widget is shown leaves the widget alone too.
        QToolBar bar;
        auto *shortLived = new ReusableWidgetAction(&shown);
        bar.addAction(shortLived);
        delete shortLived;
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!shown.parentWidget());
    }

    void resetScrollPos()
    {
        QStringListModel model;
        QStringList many;
        for (int i = 0; i < 200; ++i)
            many << QString::number(i);
        model.setStringList(many);
        auto *view = new QTreeView;
        view->setModel(&model);
        view->resize(100, 100);
        view->show();
        QPointer<Private::ResetScrollPos> alive = new Private::ResetScrollPos(view, 7);
        alive->reset();
        QCOMPARE(view->verticalScrollBar()->value(), 7);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!alive);

        alive = new Private::ResetScrollPos(view, 9);
        delete view;
        alive->reset(); // the view died first: skipped, and the object still goes
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(!alive);
    }

    void menuShowsActionToolTips()
    {
        MenuBar bar;
        Menu *file = bar.addMenu("File");
        QCOMPARE(file->parent(), &bar);
        Menu *recent = file->addMenu("Recent");
        QCOMPARE(recent->parent(), file);
        QAction *action = file->addAction("Save");
        action->setToolTip("Save the current file");
        file->popup(QPoint(0, 0));
        QVERIFY(QTest::qWaitForWindowExposed(file));
        file->setActiveAction(action);
        QHelpEvent help(QEvent::ToolTip, QPoint(1, 1), QPoint(5, 5));
        QApplication::sendEvent(file, &help);
        QCOMPARE(QToolTip::text(), QString("Save the current file"));
        QEvent other(QEvent::Leave);
        QApplication::sendEvent(file, &other);
        QTRY_VERIFY(!QToolTip::isVisible());
    }
};

QTEST_MAIN(tst_FileEditor)
#include "tst_fileeditor.moc"
