#include "memoryarchive.h"
#include "testengine.h"
#include "testinterface.h"

#include <zornx/core/propertyitem.h>

#include <QtTest/QtTest>

using namespace Zorn;
using Sample::IniFile;
using ZornTest::MemoryArchive;

namespace {

class Item : public PropertyItem
{
public:
    explicit Item(const QString &id) : id(id) {}
    QStringList propertyNames() const override { return {"Identifier"}; }
    QVariant property(const QString &name) const override
    {
        return name == "Identifier" ? QVariant(id) : QVariant();
    }
    void setProperty(const QString &name, const QVariant &value) override
    {
        if (name == "Identifier")
            id = value.toString();
    }
    QString id;
};

// A list of named items, as sprite and sound lists are.
class ItemList : public SearchableProjectFile
{
public:
    explicit ItemList(const QStringList &ids)
    {
        for (const QString &id : ids)
            items.emplace_back(new Item(id));
    }
    bool isEmpty() const override { return items.empty(); }
    unsigned int itemCount() const override { return unsigned(items.size()); }
    unsigned int currentItem() const override { return current; }
    PropertyItem *item(unsigned int index) const override
    {
        return index < items.size() ? items[index].get() : nullptr;
    }
    void beginChange() override { ++begins; }
    void endChange() override { ++ends; }
    void release() override { SearchableProjectFile::release(); }

    std::vector<std::unique_ptr<Item>> items;
    unsigned int current = 0;
    int begins = 0, ends = 0;

protected:
    void free() override { delete this; }
    Messages *fileMessages() const override { return nullptr; }
};

// Stack-friendly owner of a released-not-deleted file.
template <typename T> struct Held
{
    T *file;
    template <typename... A> explicit Held(A &&...args) : file(new T(std::forward<A>(args)...)) {}
    ~Held() { file->release(); }
    T *operator->() const { return file; }
};

QList<int> lines(const QList<ProjectFile::SearchResult> &results)
{
    QList<int> out;
    for (const auto &r : results)
        out.append(r.line);
    return out;
}

} // namespace

class tst_ProjectFile : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void archiveBinding()
    {
        Held<IniFile> file;
        QCOMPARE(&file->archive(), &FileSystemArchive::instance());

        auto *memory = new MemoryArchive;
        memory->files["a.ini"] = "k = v\n";
        QVERIFY(file->fromFile(*memory, "a.ini", 0, nullptr));
        QCOMPARE(&file->archive(), memory);
        memory->release(); // the file still holds a reference
        QVERIFY(!memory->freed);

        // A copy leaves the binding alone, in both directions.
        MemoryArchive other;
        QVERIFY(file->toFile(other, "b.ini", ProjectFile::Copy, nullptr));
        QCOMPARE(&file->archive(), memory);
        QVERIFY(file->fromFile(other, "b.ini", ProjectFile::Copy, nullptr));
        QCOMPARE(&file->archive(), memory);
        QCOMPARE(file->fileName(), QString("a.ini"));

        // Saving elsewhere moves the file and gives the old archive up.
        QVERIFY(file->toFile(other, "b.ini", 0, nullptr));
        QCOMPARE(&file->archive(), &other);
        QVERIFY(memory->freed);
        delete memory;
        file->release();
        file.file = new IniFile;
        QVERIFY(!other.freed);
    }

    void parentHearsOpensAndMoves()
    {
        MemoryArchive root;
        root.files["main.ini"] = "name = x\n";
        ZornTest::TestParentProject parent(QString(), root, nullptr, false);
        auto *main = new IniFile;
        QVERIFY(main->fromFile(root, "main.ini", 0, nullptr));
        ZornTest::TestProject project(&parent, 0, main, true); // takes our reference
        QCOMPARE(main->project(), &project);

        QSignalSpy opened(&parent, &ParentProject::fileOpened);
        QSignalSpy saved(&parent, &ParentProject::fileSaved);
        QVERIFY(main->fromFile(root, "main.ini", 0, nullptr));
        QCOMPARE(opened.size(), 1); // once more, though the archive did not change
        QVERIFY(main->toFile(root, "main.ini", 0, nullptr));
        QCOMPARE(saved.size(), 0); // a plain save in the same archive
        MemoryArchive other;
        QVERIFY(main->toFile(other, "main.ini", ProjectFile::Copy, nullptr));
        QCOMPARE(saved.size(), 0);
        QVERIFY(main->toFile(other, "main.ini", 0, nullptr));
        QCOMPARE(saved.size(), 1);
        QCOMPARE(saved[0][0].value<ProjectFile *>(), main);
        QVERIFY(main->toFile(root, "main.ini", 0, nullptr)); // back, before other goes
        project.release();
    }

    void optionChain()
    {
        MemoryArchive root;
        ZornTest::TestParentProject parent(QString(), root, nullptr, false);
        auto *main = new IniFile;
        main->setOption("parseCode", false);
        main->setOption("own", 1);
        Held<IniFile> loose;

        // Without a host, without a project.
        QVERIFY(!loose->option("k").isValid());
        QCOMPARE(loose->option("k", 7), QVariant(7));

        ZornTest::TestInterface host;
        host.options["k"] = "host";
        QCOMPARE(loose->option("k"), QVariant("host"));

        ZornTest::TestProject project(&parent, 0, main, true);
        // The main file's code switches moved to the project and the host.
        QCOMPARE(project.option("parseCode"), QVariant(false));
        QCOMPARE(host.options.value("parseCode"), QVariant(false));
        QVERIFY(!host.options.contains("modelCode"));

        QCOMPARE(main->option("k"), QVariant("host"));
        project.setOption("k", "project");
        QCOMPARE(main->option("k"), QVariant("project"));
        main->setOption("k", "file");
        QCOMPARE(main->option("k"), QVariant("file"));
        main->setOption("k", QVariant(), false, false); // removed: the project shows again
        QCOMPARE(main->option("k"), QVariant("project"));
        QCOMPARE(main->option("own"), QVariant(1));

        // Handed to the project, and by it to the host.
        main->setOption("shared", 5, true, true);
        QCOMPARE(project.option("shared"), QVariant(5));
        QCOMPARE(host.options.value("shared"), QVariant(5));
        QCOMPARE(main->option("shared"), QVariant(5));
        main->setOption("k", QVariant(), true, false);
        QCOMPARE(main->option("k"), QVariant("host"));
        project.release();
    }

    void displayName_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("expected");
        QTest::newRow("empty") << "" << "";
        QTest::newRow("path") << "/g/chars/lantern/lantern.cfg" << "lantern.cfg";
        QTest::newRow("trailing slash") << "/g/chars/" << "chars";
        QTest::newRow("double slash") << "a//b" << "b";
    }
    void displayName()
    {
        QFETCH(QString, name);
        QFETCH(QString, expected);
        Held<IniFile> file;
        file->name = name;
        QCOMPARE(file->displayName(), expected);
    }

    void search_data()
    {
        QTest::addColumn<unsigned int>("current");
        QTest::addColumn<unsigned int>("flags");
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<QList<int>>("expected");
        // Items: 0 stand, 1 walk, 2 run, 3 jump, 4 walk back
        QTest::newRow("forward from current") << 1u << 0u << "walk" << QList<int>{4};
        QTest::newRow("forward, nothing after") << 4u << 0u << "walk" << QList<int>{};
        QTest::newRow("forward wraps to start") << 4u << 2u << "walk" << QList<int>{1};
        QTest::newRow("wrap retests current") << 1u << 2u << "^walk$" << QList<int>{1};
        QTest::newRow("wrap retests next") << 1u << 2u << "run" << QList<int>{2};
        QTest::newRow("from start") << 3u << 4u << "walk" << QList<int>{1};
        QTest::newRow("from start never wraps") << 3u << 6u << "zzz" << QList<int>{};
        QTest::newRow("backward") << 3u << 1u << "walk" << QList<int>{1};
        QTest::newRow("backward, nothing before") << 0u << 1u << "walk" << QList<int>{};
        QTest::newRow("backward wraps from end") << 0u << 3u << "walk" << QList<int>{4};
        QTest::newRow("backward wrap includes current") << 2u << 3u << "run" << QList<int>{2};
        QTest::newRow("backward from end") << 0u << 5u << "walk" << QList<int>{4};
        QTest::newRow("all") << 2u << 9u << "a" << QList<int>{0, 1, 4};
        QTest::newRow("current past end") << 9u << 2u << "stand" << QList<int>{0};
    }
    void search()
    {
        QFETCH(unsigned int, current);
        QFETCH(unsigned int, flags);
        QFETCH(QString, pattern);
        QFETCH(QList<int>, expected);
        Held<ItemList> list(QStringList{"stand", "walk", "run", "jump", "walk back"});
        list->current = current;
        QCOMPARE(lines(list->search(RegExp(pattern), flags)), expected);
        Held<ItemList> empty(QStringList{});
        QVERIFY(empty->search(RegExp(pattern), flags).isEmpty());
    }

    void searchResultAndReplace()
    {
        Held<ItemList> list(QStringList{"hit 10", "idle", "hit 200"});
        const auto all = list->search(RegExp("(\\w+) (\\d+)"), ProjectFile::FindAll);
        QCOMPARE(all.size(), 2);
        QCOMPARE(all[1].line, 2);
        QCOMPARE(all[1].position, 0);
        QCOMPARE(all[1].length, 7);
        QCOMPARE(all[1].text, QString("hit 200"));
        QCOMPARE(all[1].captures, QStringList({"hit", "200"}));

        list->replace(all.mid(0, 1), "%2-%1");
        QCOMPARE(list->items[0]->id, QString("10-hit"));
        QCOMPARE(list->begins + list->ends, 0); // one result: no change bracket

        list->replace(all, "x%1%2");
        QCOMPARE(list->items[0]->id, QString("xhit10"));
        QCOMPARE(list->items[2]->id, QString("xhit200"));
        QCOMPARE(list->begins, 1);
        QCOMPARE(list->ends, 1);

        ProjectFile::SearchResult missing;
        missing.line = 17;
        list->replace({missing}, "none"); // no such item: nothing happens
    }

    void regExpIterator()
    {
        RegExp expression("aa");
        RegExp::MatchIterator it = expression.globalMatch("aaaa");
        QList<int> positions;
        while (it.hasNext())
            positions.append(it.next().position);
        QCOMPARE(positions, QList<int>({0, 1, 2})); // overlapping
    }
};

QTEST_MAIN(tst_ProjectFile)
#include "tst_projectfile.moc"
