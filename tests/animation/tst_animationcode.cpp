// The animation tree is the parse of the text: after any edit it must equal what a fresh
// document makes of the same text, and the whole-animation edits must give exact texts.

#include <QtCore/QRandomGenerator>
#include <QtTest/QAbstractItemModelTester>
#include <QtTest/QSignalSpy>
#include <QtTest/QtTest>

#include <zornx/core/messages.h>

// X11's None macro, defined after Qt as a host's platform code does, must not break the
// animation header (the module below uses None as a plain name and comes without it).
#if __has_include(<X11/X.h>)
#include <X11/X.h>
#include <zornx/animation/animationcode.h>
static_assert(None == 0L, "the header gives the macro back");
#undef None
#endif

#include "fixtures.h"
#include "memoryarchive.h"
#include "sampleanimation.h"
#include "spritefile.h"

using namespace Zorn;
using Sample::AnimationDocument;
using Sample::AnimationFile;

namespace
{

// A document with its animation file; both go when the fixture does.
struct Fixture {
    explicit Fixture(const QString &text = QString())
    {
        doc->setPlainText(text);
        file = new AnimationFile(doc);
    }
    ~Fixture()
    {
        doc->release();
        file->release();
    }
    AnimationDocument *doc = new AnimationDocument;
    AnimationFile *file;
};

// Everything the tree says about the animations, frames and boxes, in one line.
QString describe(const Animations *file)
{
    QStringList out;
    for (const AnimationCode *animation : file->animations()) {
        QStringList frames;
        for (const FrameCode *frame : animation->frames()) {
            if (frame->parent() != animation ||
                animation->frameAt(unsigned(frame->index())) != frame)
                return QStringLiteral("frame %1 is not where its parent says").arg(frame->index());
            // A frame's lines start behind the frame (or header) before it and hold its boxes.
            const CodeNode *before = frame->index()
                                         ? animation->frameAt(unsigned(frame->index() - 1))
                                         : static_cast<const CodeNode *>(animation);
            if (frame->firstLine() != before->block().blockNumber() + 1 ||
                frame->block().blockNumber() > animation->lastLine())
                return QStringLiteral("frame %1 is outside its lines").arg(frame->index());
            QString item = QStringLiteral("%1/%2")
                               .arg(frame->property("Identifier").toString())
                               .arg(frame->delay());
            for (const auto type : {ContactBoxCode::Attack, ContactBoxCode::Collision}) {
                const ContactBoxesCode *boxes = frame->contactBoxes(type);
                for (unsigned int i = 0; i < boxes->count(); ++i) {
                    const QRect r = boxes->at(i)->rect();
                    item += QStringLiteral("%1%2,%3,%4,%5")
                                .arg(type == ContactBoxCode::Attack ? '+' : '-')
                                .arg(r.x())
                                .arg(r.y())
                                .arg(r.width())
                                .arg(r.height());
                }
            }
            frames.append(item);
        }
        out.append(QStringLiteral("%1[%2@%3]")
                       .arg(animation->displayName(), frames.join(' '))
                       .arg(animation->loopPoint()));
    }
    return out.join(QStringLiteral(" "));
}

QString fresh(const QString &text)
{
    Fixture f(text);
    return describe(f.file);
}

void setLine(QTextDocument &doc, int line, const QString &text)
{
    QTextCursor cursor(doc.findBlockByNumber(line));
    cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
    cursor.insertText(text);
}

const char *const twoAnimations = "@10 stand\n"
                                  "hit 1,2,3,4\n"
                                  "show 0,0 | 0,0 | 4 | - | normal\n"
                                  "show 0,1 | 0,0 | 5 | - | normal\n"
                                  "\n"
                                  "@20 walk\n"
                                  "loop\n"
                                  "show 1,0 | 2,0 | -1 | h | add\n";

} // namespace

// One edit through the classes instead of the text; indices only, as pointers go stale.
void apiEdit(AnimationFile *file, QRandomGenerator &random)
{
    const unsigned int count = file->count();
    const auto pick = [&](unsigned int bound) { return bound ? random.bounded(bound) : 0u; };
    AnimationCode *animation = file->at(pick(count));
    FrameCode *frame = animation ? animation->frameAt(pick(animation->frameCount())) : nullptr;
    switch (random.bounded(9)) {
    case 0:
        file->add(QString::number(pick(50)));
        break;
    case 1:
        file->insert(pick(count + 1), QString::number(pick(50)));
        break;
    case 2:
        file->duplicate(pick(count), random.bounded(2) ? QString::number(pick(50)) : QString());
        break;
    case 3:
        file->move(pick(count), pick(count));
        break;
    case 4:
        file->remove(pick(count));
        break;
    case 5:
        if (animation)
            animation->insertFrame(pick(animation->frameCount() + 1), int(pick(9)) - 1);
        break;
    case 6:
        if (animation)
            animation->removeFrame(pick(animation->frameCount()));
        break;
    case 7:
        if (frame)
            frame->setDelay(int(pick(20)));
        break;
    default:
        if (frame)
            frame->addContactBox(ContactBoxCode::BoxType(1 + pick(2)), QRect(0, 0, 2, 3));
    }
}

class tst_AnimationCode : public QObject
{
    Q_OBJECT

private slots:
    void parse_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("tree");
        QTest::newRow("two") << twoAnimations
                             << "10 stand[0,0/4+1,2,3,4 0,1/5@0] 20 walk[1,0/-1@0]";
        QTest::newRow("frames before any header have no animation")
            << "show 0,0 | 0,0 | 1 | - | normal\n@3\nshow 0,2 | 0,0 | 2 | v | normal"
            << "3[0,2/2@0]";
        QTest::newRow("loop point")
            << "@1\nbody -1,-2,3,4\nshow 0,0|0,0|1|-|normal\nloop\nshow 0,1|0,0|1|-|sub 0.5 1"
            << "1[0,0/1--1,-2,3,4 0,1/1@1]";
        QTest::newRow("optional scale and angle")
            << "@1\nshow 0,0 | 0,0 | 1 | hv | alpha 0.25 0.75 | 2,0.5 | 90"
            << "1[0,0/1@0]";
        QTest::newRow("malformed lines make no node")
            << "@x-y\n@1\nshow 0,0 | 0,0\nshow 0,0 | 0,0 | 1 | q | normal\nhit 1,2,3\n"
               "show a | 0,0 | 1 | - | normal\nshow 0,0 | 0,0 | 1 | - | glow\nbody 1,2,-3,4\njump"
            << "1[@0]";
    }

    void parse()
    {
        QFETCH(QString, text);
        QFETCH(QString, tree);
        Fixture f(text);
        QAbstractItemModelTester tester(f.file,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QCOMPARE(describe(f.file), tree);
    }

    void frameLines_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("valid");
        QTest::newRow("least") << "0,0 | 0,0 | 1 | - | normal" << true;
        QTest::newRow("all") << "-3,12 | -5,6 | -1 | hv | dodge 0.5 2 | 0.25,4 | -33.5" << true;
        QTest::newRow("scale without angle") << "1,2 | 0,0 | 0 | v | overlay | 2,2" << true;
        QTest::newRow("spacing and case") << " 1 , 2|0 ,0| 7 |H|  HardLight  " << true;
        QTest::newRow("four fields") << "0,0 | 0,0 | 1 | -" << false;
        QTest::newRow("eight fields") << "0,0 | 0,0 | 1 | - | normal | 1,1 | 0 | 0" << false;
        QTest::newRow("sprite of one number") << "5 | 0,0 | 1 | - | normal" << false;
        QTest::newRow("offset of reals") << "0,0 | 0.5,0 | 1 | - | normal" << false;
        QTest::newRow("delay empty") << "0,0 | 0,0 |  | - | normal" << false;
        QTest::newRow("flip unknown") << "0,0 | 0,0 | 1 | x | normal" << false;
        QTest::newRow("blend with one factor") << "0,0 | 0,0 | 1 | - | add 1" << false;
        QTest::newRow("blend factor no number") << "0,0 | 0,0 | 1 | - | add 1 y" << false;
        QTest::newRow("scale of one") << "0,0 | 0,0 | 1 | - | normal | 2" << false;
        QTest::newRow("angle no number") << "0,0 | 0,0 | 1 | - | normal | 1,1 | up" << false;
        QTest::newRow("nothing") << "" << false;
    }

    // A valid line survives writing and reading; an invalid one makes no frame.
    void frameLines()
    {
        QFETCH(QString, text);
        QFETCH(bool, valid);
        Sample::FrameLine line;
        QCOMPARE(Sample::FrameLine::parse(text, line), valid);
        if (valid) {
            Sample::FrameLine back;
            QVERIFY(Sample::FrameLine::parse(line.text().mid(5), back));
            QVERIFY(back == line);
        }
        Fixture f("@1\nshow " + text + "\n");
        QCOMPARE(f.file->at(0)->frameCount(), valid ? 1u : 0u);
        QCOMPARE(f.doc->messages()->count(Message::All), valid ? 0u : 1u);
    }

    void properties()
    {
        Fixture f(
            "@7 jab\nshow 0,1 | 0,0 | 2 | - | normal\nloop\nshow 0,2 | 0,0 | 3 | - | normal\n");
        AnimationCode *animation = f.file->at(0);
        QCOMPARE(animation->propertyNames(), QStringList({"DisplayName", "Name", "Identifier"}));
        QCOMPARE(animation->property("DisplayName").toString(), QString("7 jab"));
        QCOMPARE(animation->property("Identifier"), QVariant(7));
        FrameCode *second = animation->frameAt(1);
        QCOMPARE(second->property("LoopPoint").toBool(), true);
        QCOMPARE(animation->frameAt(0)->property("LoopPoint").toBool(), false);
        second->setProperty("Identifier", "1, 0");
        second->setProperty("Offset", QPoint(4, -4));
        second->setProperty("Scale", QPointF(2, 1));
        second->setProperty("Angle", 10.5);
        second->setProperty("Flip", 2);
        second->setProperty("Delay", 6);
        second->setProperty("Identifier", "nonsense"); // refused: the line stays
        QCOMPARE(f.doc->findBlockByNumber(3).text(),
                 QString("show 1,0 | 4,-4 | 6 | v | normal | 2,1 | 10.5"));
        animation->setProperty("Identifier", "jab_light");
        animation->setProperty("Identifier", "no spaces"); // refused
        animation->setProperty("Name", "quick jab");
        QCOMPARE(f.doc->firstBlock().text(), QString("@jab_light quick jab"));
        QCOMPARE(f.file->index(0).data().toString(), QString("jab_light quick jab"));
        // Bounds: nothing behind the end.
        QVERIFY(!f.file->at(1));
        QVERIFY(!f.file->at(0)->frameAt(2));
        QCOMPARE(f.file->indexOf(nullptr), -1);
        f.file->at(0)->removeFrame(2);
        QCOMPARE(f.file->at(0)->frameCount(), 2u);
    }

    void spritesOfFrames()
    {
        ZornTest::MemoryArchive archive;
        archive.files["lantern.zspr"] =
            ZornTest::readFile(QStringLiteral(ZORNX_SAMPLE_DIR "/chars/lantern/lantern.zspr"));
        auto *sprites = new Sample::SpriteFile;
        QVERIFY(sprites->fromFile(archive, "lantern.zspr", 0, nullptr));
        Fixture f("@1\nshow 1,0 | 0,0 | 1 | - | normal\nshow 7,7 | 0,0 | 1 | - | normal\n");
        QVERIFY(!f.file->at(0)->frameAt(0)->sprite()); // no sprite source yet
        f.file->sprites = sprites;
        QCOMPARE(f.file->at(0)->frameAt(0)->sprite(),
                 sprites->at(unsigned(sprites->find(0, "1,0"))));
        QVERIFY(!f.file->at(0)->frameAt(1)->sprite());
        f.file->at(0)->frameAt(1)->setSprite(sprites->at(0));
        QCOMPARE(f.file->at(0)->frameAt(1)->sprite(), sprites->at(0));
        sprites->release();
    }

    void frameValuesRoundTrip()
    {
        Fixture f("@1\nshow 3,4 | -5,6 | 7 | hv | alpha 0.25 0.75 | 2,0.5 | 90\n");
        FrameCode *frame = f.file->at(0)->frameAt(0);
        QCOMPARE(frame->offset(), QPoint(-5, 6));
        QCOMPARE(frame->flipFlags(), 3);
        QCOMPARE(frame->blend(), FrameCode::Blend(FrameCode::Blend::Opacity, 0.25, 0.75));
        QCOMPARE(frame->scale(), QPointF(2, 0.5));
        QCOMPARE(frame->angle(), 90.0);
        frame->setDelay(-1);
        frame->setScale(QPointF(1, 1));
        frame->setAngle(0);
        frame->setBlendMode(FrameCode::Blend::Addition);
        frame->setFlipFlags(FrameCode::Horizontal);
        frame->setOffsetY(0);
        // The frame node was kept by every reparse.
        QCOMPARE(f.file->at(0)->frameAt(0), frame);
        QCOMPARE(f.doc->findBlockByNumber(1).text(),
                 QString("show 3,4 | -5,0 | -1 | h | add 0.25 0.75"));
        frame->addContactBox(ContactBoxCode::Collision, QRect(1, 2, 3, 4));
        frame->attackBoxes()->add(QRect(5, 6, 7, 8));
        QCOMPARE(frame->collisionBoxes()->count(), 1u);
        frame->collisionBoxes()->at(0)->setRect(QRect(0, 0, 9, 9));
        QCOMPARE(
            frame->contactBoxesText({frame->attackBoxes()->at(0), frame->collisionBoxes()->at(0)}),
            QString("hit 5,6,7,8\nbody 0,0,9,9"));
        frame->pasteContactBoxes("hit 1,1,1,1\nnonsense\nbody 2,2,2,2");
        QCOMPARE(describe(f.file), QString("1[3,4/-1+5,6,7,8+1,1,1,1-0,0,9,9-2,2,2,2@0]"));
        frame->attackBoxes()->clear();
        frame->collisionBoxes()->remove(0);
        QCOMPARE(describe(f.file), QString("1[3,4/-1-2,2,2,2@0]"));
        QCOMPARE(describe(f.file), fresh(f.doc->toPlainText()));
    }

    // Frames go where the text puts them: to the animation above, and back when a header
    // comes between them again.
    void editsEqualAFreshParse_data()
    {
        QTest::addColumn<int>("line");
        QTest::addColumn<QString>("text");
        QTest::newRow("second header removed: frames go to the first") << 5 << "";
        QTest::newRow("first header removed: frames left alone") << 0 << "";
        QTest::newRow("header between frames takes the later ones")
            << 3 << "@15 middle\nshow 0,1 | 0,0 | 5 | - | normal";
        QTest::newRow("frame becomes a box") << 3 << "body 0,0,1,1";
        QTest::newRow("box becomes a frame") << 1 << "show 9,9 | 0,0 | 1 | - | normal";
        QTest::newRow("frame becomes a header: its boxes stay behind") << 2 << "@12";
        QTest::newRow("header renumbered") << 5 << "@21 walk";
        QTest::newRow("loop marker moves") << 6 << "";
    }

    void editsEqualAFreshParse()
    {
        QFETCH(int, line);
        QFETCH(QString, text);
        Fixture f(twoAnimations);
        QAbstractItemModelTester tester(f.file,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        setLine(*f.doc, line, text);
        QCOMPARE(describe(f.file), fresh(f.doc->toPlainText()));
    }

    void randomEditsEqualAFreshParse()
    {
        const quint32 seed = QRandomGenerator::global()->generate();
        QRandomGenerator random(seed);
        const QStringList lines{"@1 a",
                                "@2",
                                "@x",
                                "loop",
                                "show 0,0 | 0,0 | 1 | - | normal",
                                "show 0,1 | 2,3 | -1 | hv | add 1 0.5 | 2,2 | 45",
                                "hit 0,0,10,10",
                                "body -5,-5,10,10",
                                "",
                                "; comment",
                                "show"};
        Fixture f;
        QAbstractItemModelTester tester(f.file,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        for (int step = 0; step < 600; ++step) {
            QTextCursor cursor(f.doc);
            const int blocks = f.doc->blockCount();
            cursor.setPosition(f.doc->findBlockByNumber(int(random.bounded(blocks))).position());
            const int kind = int(random.bounded(6));
            if (kind >= 4) {
                apiEdit(f.file, random);
            } else if (kind == 0 && blocks > 1) {
                const int span = int(random.bounded(3)) + 1;
                cursor.movePosition(QTextCursor::NextBlock, QTextCursor::KeepAnchor, span);
                cursor.removeSelectedText();
            } else {
                const QString text = lines.at(int(random.bounded(lines.size())));
                if (kind == 1) {
                    cursor.movePosition(QTextCursor::EndOfBlock, QTextCursor::KeepAnchor);
                    cursor.insertText(text);
                } else {
                    cursor.insertText(text + '\n');
                }
            }
            const QString expected = fresh(f.doc->toPlainText());
            if (describe(f.file) != expected)
                QFAIL(qPrintable(QStringLiteral("seed %1, step %2:\n%3")
                                     .arg(seed)
                                     .arg(step)
                                     .arg(f.doc->toPlainText())));
        }
    }

    void wholeAnimationEdits_data()
    {
        QTest::addColumn<QString>("operation");
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("identifier");
        QTest::addColumn<QString>("text");
        QString a = "@10 stand\nshow 0,0 | 0,0 | 4 | - | normal\n";
        const QString b = "@20 walk\nloop\nshow 1,0 | 2,0 | -1 | h | add\n";
        QTest::newRow("add") << "add" << 0 << "30" << a + '\n' + b + "@30\n";
        QTest::newRow("insert at count appends") << "insert" << 2 << "30" << a + '\n' + b + "@30\n";
        QTest::newRow("insert") << "insert" << 1 << "30" << a + "\n@30\n\n" + b;
        QTest::newRow("duplicate")
            << "duplicate" << 0 << "11" << a + "\n" + QString(a).replace("@10", "@11") + "\n" + b;
        QTest::newRow("exact duplicate of the last") << "duplicate" << 1 << "" << a + '\n' + b + b;
        // The moved text loses its last line end; the one before the gap stays behind.
        QTest::newRow("move last up") << "move" << 1 << "0" << b + a + '\n';
        QTest::newRow("move first down") << "move" << 0 << "1" << b + '\n' + a;
        QTest::newRow("remove") << "remove" << 0 << "" << b;
        QTest::newRow("remove behind the end") << "remove" << 5 << "" << a + '\n' + b;
    }

    void wholeAnimationEdits()
    {
        QFETCH(QString, operation);
        QFETCH(int, index);
        QFETCH(QString, identifier);
        QFETCH(QString, text);
        Fixture f("@10 stand\nshow 0,0 | 0,0 | 4 | - | normal\n\n@20 walk\nloop\n"
                  "show 1,0 | 2,0 | -1 | h | add\n");
        QAbstractItemModelTester tester(f.file,
                                        QAbstractItemModelTester::FailureReportingMode::QtTest);
        QSignalSpy moved(f.file, &QAbstractItemModel::rowsMoved);
        QSignalSpy inserted(f.file, &QAbstractItemModel::rowsInserted);
        QSignalSpy removed(f.file, &QAbstractItemModel::rowsRemoved);
        AnimationCode *result = nullptr;
        if (operation == "add")
            result = f.file->add(identifier);
        else if (operation == "insert")
            result = f.file->insert(unsigned(index), identifier);
        else if (operation == "duplicate")
            f.file->duplicate(unsigned(index), identifier);
        else if (operation == "move")
            f.file->move(unsigned(index), identifier.toUInt());
        else
            f.file->remove(unsigned(index));
        QCOMPARE(f.doc->toPlainText(), text);
        QCOMPARE(describe(f.file), fresh(text));
        if (result)
            QCOMPARE(result->property("Identifier").toString(), identifier);
        if (operation == "move") {
            QCOMPARE(moved.count(), 1);
            QCOMPARE(inserted.count() + removed.count(), 0);
        }
    }

    void frameInsertion()
    {
        Fixture f("@1\nhit 0,0,1,1\nshow 0,0 | 0,0 | 1 | - | normal\n@2\n");
        QCOMPARE(f.file->at(0)->addFrame(5)->delay(), 5);
        QCOMPARE(f.file->at(0)->insertFrame(0, 6)->delay(), 6);
        QCOMPARE(f.file->at(1)->addFrame(-1)->delay(), -1);
        QCOMPARE(describe(f.file), QString("1[0,0/6 0,0/1+0,0,1,1 0,0/5@0] 2[0,0/-1@0]"));
        f.file->at(0)->removeFrame(1);
        QCOMPARE(describe(f.file), QString("1[0,0/6 0,0/5@0] 2[0,0/-1@0]"));
    }

    void codeOfOneAnimation()
    {
        Fixture f(twoAnimations);
        QCOMPARE(f.file->at(1)->code(), QString("@20 walk\nloop\nshow 1,0 | 2,0 | -1 | h | add"));
        f.file->at(0)->setCode("@12 run\nshow 2,2 | 0,0 | 3 | - | normal");
        QCOMPARE(f.doc->toPlainText(), QString("@12 run\nshow 2,2 | 0,0 | 3 | - | normal\n\n"
                                               "@20 walk\nloop\nshow 1,0 | 2,0 | -1 | h | add\n"));
        QCOMPARE(describe(f.file), QString("12 run[2,2/3@0] 20 walk[1,0/-1@0]"));
    }

    void dataOnlyOutsideAnEditBlock()
    {
        Fixture f(twoAnimations);
        const QModelIndex row = f.file->index(1);
        QCOMPARE(row.data().toString(), QString("20 walk"));
        QVERIFY(!f.file->data(f.file->index(1), Qt::EditRole).isValid());
        f.file->beginChange();
        QVERIFY(!row.data().isValid());
        f.file->endChange();
        QCOMPARE(row.data().toString(), QString("20 walk"));
    }

    // A frame edit is a change of its animation's row, and of no other.
    void frameEditChangesOneRow()
    {
        Fixture f(twoAnimations);
        QSignalSpy changed(f.file, &QAbstractItemModel::dataChanged);
        f.file->at(1)->frameAt(0)->setDelay(9);
        QCOMPARE(changed.count(), 1);
        QCOMPARE(changed.first().at(0).toModelIndex().row(), 1);
    }

    void compare_data()
    {
        QTest::addColumn<QString>("a");
        QTest::addColumn<QString>("b");
        QTest::addColumn<int>("result");
        QTest::newRow("numbers") << "@9"
                                 << "@12" << -1;
        QTest::newRow("numbers, reversed") << "@12"
                                           << "@9" << 1;
        QTest::newRow("equal numbers") << "@5"
                                       << "@5" << 1;
        QTest::newRow("number and word") << "@12"
                                         << "@abc" << 1;
        QTest::newRow("word and number") << "@abc"
                                         << "@12" << 1;
        QTest::newRow("words ignore case") << "@Abc"
                                           << "@abd" << -1;
        QTest::newRow("words, reversed") << "@abd"
                                         << "@ABC" << 1;
    }

    void compare()
    {
        QFETCH(QString, a);
        QFETCH(QString, b);
        QFETCH(int, result);
        Fixture f(a + '\n' + b + '\n');
        QCOMPARE(f.file->compare(0, 1), result);
        QCOMPARE(f.file->find(0, b.mid(1)), a == b ? 0 : 1);
        QCOMPARE(f.file->find(2, b.mid(1)), -1);
    }

    void optimize_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<uint>("removed");
        QTest::addColumn<QString>("tree");
        const QString f = "show 0,0 | 0,0 | %1 | - | normal\n";
        QTest::newRow("runs, boxes, loop and endless delays")
            << "@1\n" + f.arg(2) + f.arg(3) + "hit 0,0,1,1\n" + f.arg(1) + f.arg(4) + "loop\n" +
                   f.arg(4) + f.arg(4) + f.arg(-1)
            << 2u << "1[0,0/5 0,0/1+0,0,1,1 0,0/4 0,0/8 0,0/-1@3]";
        QTest::newRow("equal boxes merge with their frames")
            << "@1\nhit 0,0,1,1\n" + f.arg(1) + "hit 0,0,1,1\n" + f.arg(4) << 2u
            << "1[0,0/5+0,0,1,1@0]";
        QTest::newRow("a comment or a header keeps frames apart")
            << "@1\n" + f.arg(1) + "; note\n" + f.arg(1) + "@2\n" + f.arg(1) << 0u
            << "1[0,0/1 0,0/1@0] 2[0,0/1@0]";
    }

    void optimize()
    {
        QFETCH(QString, text);
        QFETCH(uint, removed);
        QFETCH(QString, tree);
        Fixture f(text);
        QCOMPARE(f.file->optimize(), removed);
        QCOMPARE(describe(f.file), tree);
        QCOMPARE(f.file->optimize(), 0u);
    }
};

QTEST_MAIN(tst_AnimationCode)
#include "tst_animationcode.moc"
