#include "codeeditfixture.h"

#include <zornx/code/codedocument.h>
#include <zornx/codeedit/snippets.h>

#include <QtCore/QProcess>
#include <QtCore/QStandardPaths>
#include <QtCore/QTranslator>
#include <QtTest/QAbstractItemModelTester>
#include <QtTest/QtTest>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDoubleSpinBox>
#include <QtWidgets/QGridLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QListView>
#include <QtWidgets/QPlainTextEdit>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QSpinBox>

using namespace Zorn;
using ZornTest::DialogResponder;

namespace {

const char snippetBytes[] =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<snippet>\r\n\r\n"
    "\t<field name=\"power\" title=\"Power\" type=\"int\" />\r\n"
    "\t<field name=\"side\" title=\"Side\" type=\"items\" value=\"l,r\" "
    "value_title=\"Left,Right\"/>\r\n"
    "\r\n\t<code>\r\n"
    "\t\t  go = @power\r\n"
    "\t\t  side = @side\r\n"
    "\t</code>\r\n\r\n</snippet>";

QString message(const QString &source)
{
    return "\t<message>\n\t\t<source>" + source +
           "</source>\n\t\t<comment>kick</comment>\n"
           "\t\t<translation type=\"unfinished\"></translation>\n\t</message>\n";
}

// The dialog on screen, for the responder's callbacks.
QDialog *modal()
{
    return qobject_cast<QDialog *>(QApplication::activeModalWidget());
}

} // namespace

class tst_Snippets : public QObject
{
    Q_OBJECT
private:
    std::unique_ptr<ZornTest::CodeGame> game;
    std::unique_ptr<DialogResponder> dialogs;

    // A snippet editor with the two fields of snippetBytes and its text.
    void fill(SnipDlg &dialog)
    {
        auto *power = new RegularSnipField(QStringLiteral("int"));
        power->name = "power";
        power->title = "Power";
        auto *side = new ComboSnipField;
        side->name = "side";
        side->title = "Side";
        side->value = "l,r";
        side->valueTitle = "Left,Right";
        dialog.fields.add(power);
        dialog.fields.add(side);
    }

private Q_SLOTS:
    void init()
    {
        game = std::make_unique<ZornTest::CodeGame>();
        dialogs = std::make_unique<DialogResponder>();
    }
    void cleanup()
    {
        dialogs.reset();
        game.reset();
    }

    void listing()
    {
        const QString dir = game->snippetDir();
        for (const char *name : {"zeta.xml", "a.b.xml", "notes.txt", "sub/inner.xml"})
            ZornTest::writeFile(dir + "/" + name, "<snippet/>");
        // A string reader: the declaration is not looked at, the bytes are UTF-8.
        ZornTest::writeFile(dir + "/accent.xml", "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>"
                                                 "<x><code>name = \xc3\xa9</code></x>");
        SnippetManager *manager = SnippetManager::instance();
        QAbstractItemModelTester tester(manager);
        QSignalSpy inserted(manager, &QAbstractItemModel::rowsInserted);
        manager->load(dir);
        QStringList names;
        for (int row = 0; row < manager->rowCount(); ++row)
            names << manager->index(row).data().toString();
        QCOMPARE(names, QStringList({"a.b", "accent", "notes", "zeta"}));
        QCOMPARE(inserted.count(), 4);
        QCOMPARE(manager->text(&game->host, 1), QString::fromUtf8("name = \xc3\xa9\n"));
        manager->load(dir + "/missing");
        QCOMPARE(manager->rowCount(), 0);
        QCOMPARE(manager->text(nullptr, 0), QString());
    }

    void evaluate_data()
    {
        QTest::addColumn<QString>("xml");
        QTest::addColumn<QStringList>("values"); // what is typed, by field object name
        QTest::addColumn<QString>("result");
        QTest::addColumn<int>("dialogs");
        QTest::newRow("no fields, no dialog")
            << "<x><code>\n   a = 1\n\n    b = 2   \n  </code></x>" << QStringList()
            << "a = 1\n\nb = 2\n" << 0;
        QTest::newRow("cancelled") << "<x><field name=\"n\" title=\"N\"/><code>v = @n</code></x>"
                                   << QStringList() << "" << 1;
        QTest::newRow("string") << "<x><field name=\"n\" title=\"N\"/><code>v = @n, @n</code></x>"
                                << QStringList({"n=abc"}) << "v = abc, abc\n" << 1;
        QTest::newRow("the earlier field takes the longer name")
            << "<x><field name=\"a\" title=\"A\"/><field name=\"ab\" title=\"AB\"/>"
               "<code>v = @ab @a</code></x>"
            << QStringList({"a=1", "ab=2"}) << "v = 1b 1\n" << 1;
        QTest::newRow("numbers") << "<x><field name=\"i\" title=\"I\" type=\"int\"/>"
                                    "<field name=\"f\" title=\"F\" type=\"float\"/>"
                                    "<code>v = @i, @f</code></x>"
                                 << QStringList({"i=-12", "f=2.5"}) << "v = -12, 2.5\n" << 1;
        QTest::newRow("items give the value")
            << "<x><field name=\"s\" title=\"S\" type=\"items\" value=\"l,,r\" "
               "value_title=\"Left,None,Right\"/><code>v = @s</code></x>"
            << QStringList({"s=2"}) << "v = r\n" << 1;
        QTest::newRow("items of different lengths")
            << "<x><field name=\"s\" title=\"S\" type=\"items\" value=\"l,r\" "
               "value_title=\"Left\"/><code>v = @s</code></x>"
            << QStringList() << "v = @s\n" << 0;
        QTest::newRow("unknown type") << "<x><field name=\"s\" title=\"S\" type=\"colour\"/>"
                                         "<code>v = @s</code></x>"
                                      << QStringList() << "v = @s\n" << 0;
        QTest::newRow("two code elements") << "<x><code>a</code><y><code>b</code></y></x>"
                                           << QStringList() << "a\nb\n" << 0;
    }
    void evaluate()
    {
        QFETCH(QString, xml);
        QFETCH(QStringList, values);
        QFETCH(QString, result);
        QFETCH(int, dialogs);
        QStringList labels;
        this->dialogs->answer(values.isEmpty() ? QMessageBox::Cancel : QMessageBox::Ok, [&] {
            QDialog *dialog = modal();
            QVERIFY(dialog);
            QCOMPARE(dialog->windowTitle(), QStringLiteral("kick"));
            for (QLabel *label : dialog->findChildren<QLabel *>())
                labels << label->text();
            for (const QString &value : values) {
                const QString name = value.section('=', 0, 0);
                const QString text = value.section('=', 1);
                QWidget *widget = dialog->findChild<QWidget *>(name);
                QVERIFY2(widget, qPrintable(name));
                if (auto *edit = qobject_cast<QLineEdit *>(widget))
                    edit->setText(text);
                else if (auto *spin = qobject_cast<QSpinBox *>(widget))
                    spin->setValue(text.toInt());
                else if (auto *real = qobject_cast<QDoubleSpinBox *>(widget))
                    real->setValue(text.toDouble());
                else if (auto *box = qobject_cast<QComboBox *>(widget))
                    box->setCurrentIndex(text.toInt());
            }
        });
        QCOMPARE(SnippetManager::evaluate(&game->host, xml, "kick"), result);
        QCOMPARE(this->dialogs->seen.size(), dialogs);
        // One label per widget.
        QCOMPARE(labels.size(), dialogs ? xml.count("<field") : 0);
    }

    void columns_data()
    {
        QTest::addColumn<QString>("column");
        QTest::addColumn<int>("expected");
        QTest::newRow("in range") << "3" << 3;
        QTest::newRow("past the last") << "12" << 9;
        QTest::newRow("negative") << "-3" << 0;
    }
    void columns()
    {
        QFETCH(QString, column);
        QFETCH(int, expected);
        const QString xml = "<x><field name=\"p\" title=\"P\"/><field name=\"q\" title=\"Q\" "
                            "column=\"" + column + "\"/><code>@p@q</code></x>";
        int row = -1, col = -1, span;
        dialogs->answer(QMessageBox::Cancel, [&] {
            auto *grid = modal()->findChild<QGridLayout *>();
            grid->getItemPosition(grid->indexOf(modal()->findChild<QWidget *>("q")), &row, &col,
                                  &span, &span);
        });
        SnippetManager::evaluate(&game->host, xml, "kick");
        QCOMPARE(col, expected);
        // Below its label; below the first field when both share column 0.
        QCOMPARE(row, expected == 0 ? 3 : 1);
    }

    void readerErrors_data()
    {
        QTest::addColumn<QByteArray>("xml");
        QTest::addColumn<QString>("kept");
        QTest::newRow("truncated")
            << QByteArray("<x><code>a = 1</code><field name=\"n\"") << "a = 1\n";
        QTest::newRow("mismatched") << QByteArray("<x><code>a</code></y>") << "a\n";
        QTest::newRow("empty") << QByteArray() << "";
        QTest::newRow("not xml") << QByteArray("\x00\xff\xfe<<&&", 7) << "";
        QTest::newRow("unescaped") << QByteArray("<x><code>a < b</code></x>") << "a\n";
    }
    void readerErrors()
    {
        QFETCH(QByteArray, xml);
        QFETCH(QString, kept);
        const SnippetContent content = SnippetContent::fromBytes(xml);
        QVERIFY(!content.errorString.isEmpty());
        QCOMPARE(content.code, kept);
        // The message names the place; what was read stays.
        QCOMPARE(SnippetManager::evaluate(&game->host, QString::fromUtf8(xml), "kick"), kept);
        QCOMPARE(dialogs->seen.size(), 1);
        QCOMPARE(dialogs->seen.first().title, QStringLiteral("XML error"));
        QVERIFY(dialogs->seen.first().text.contains(QStringLiteral("(line ")));
    }

    void everyTruncationFails()
    {
        const QByteArray whole(snippetBytes);
        QVERIFY(SnippetContent::fromBytes(whole).errorString.isEmpty());
        for (int length = 0; length < whole.size(); ++length)
            QVERIFY2(!SnippetContent::fromBytes(whole.left(length)).errorString.isEmpty(),
                     qPrintable(QString::number(length)));
    }

    void savedBytes()
    {
        const QString file = game->dir.path() + "/kick.xml";
        SnipDlg dialog(&game->host, QStringLiteral("  go = @power\n\n  side = @side\n"));
        QVERIFY(dialog.fileName.isEmpty() && dialog.name.isEmpty());
        // The engine's script file colours the text.
        QVERIFY(qobject_cast<CodeDocument *>(dialog.snipEdit->document()));
        fill(dialog);
        dialogs->answerFile(file);
        dialog.on_saveBut_clicked();
        QCOMPARE(ZornTest::readFile(file), QByteArray(snippetBytes));
        QCOMPARE(dialog.fileName, QString()); // asking does not bind the dialog
    }

    void translationExport()
    {
        const QString expected =
            "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!DOCTYPE TS>\n<TS version=\"2.0\">\n"
            "<context>\n\t<name>Zorn::SnippetManager</name>\n" +
            message("kick") + message("Power") + message("Left") + message("Right") +
            message("Side") + "</context>\n</TS>";
        QCOMPARE(SnippetManager::translationSource(&game->host, QString::fromUtf8(snippetBytes),
                                                   "kick"),
                 expected);

        // The export, translated and compiled by Qt's own tool, translates the dialog.
        const QString lrelease = QStandardPaths::findExecutable("lrelease");
        if (lrelease.isEmpty())
            QSKIP("lrelease is not installed");
        ZornTest::writeFile(game->snippetDir() + "/kick.xml", snippetBytes);
        SnipDlg dialog(&game->host, game->snippetDir() + "/kick.xml");
        QCOMPARE(dialog.name, QStringLiteral("kick"));
        const QString ts = game->dir.path() + "/kick.ts";
        dialogs->answerFile(ts);
        dialog.on_saveTSBut_clicked();
        QByteArray source = ZornTest::readFile(ts);
        source.replace("<source>Power</source>\n\t\t<comment>kick</comment>\n"
                       "\t\t<translation type=\"unfinished\"></translation>",
                       "<source>Power</source>\n\t\t<comment>kick</comment>\n"
                       "\t\t<translation>Kraft</translation>");
        ZornTest::writeFile(ts, source);
        const QString qm = game->dir.path() + "/kick.qm";
        QCOMPARE(QProcess::execute(lrelease, {"-silent", ts, "-qm", qm}), 0);
        QTranslator translator;
        QVERIFY(translator.load(qm));
        QCoreApplication::installTranslator(&translator);
        QStringList labels;
        dialogs->answer(QMessageBox::Cancel, [&] {
            for (QLabel *label : modal()->findChildren<QLabel *>())
                labels << label->text();
        });
        SnippetManager::evaluate(&game->host, QString::fromUtf8(snippetBytes), "kick");
        QCoreApplication::removeTranslator(&translator);
        QVERIFY2(labels.contains("Kraft"), qPrintable(labels.join(',')));
    }

    void saveAndReadBack()
    {
        const QString file = game->snippetDir() + "/odd.xml";
        ZornTest::writeFile(file, "<snippet/>");
        {
            SnipDlg dialog(&game->host, file);
            QCOMPARE(dialog.fileName, file);
            auto *field = new RegularSnipField("string");
            field->name = "n";
            field->title = "Tom & \"Jerry\" <3";
            dialog.fields.add(field);
            dialog.snipEdit->setPlainText("\t  if a < b && c:\n\n    go = @n\n");
            dialog.on_saveBut_clicked();
        }
        SnipDlg again(&game->host, file);
        QCOMPARE(again.fields.rowCount(), 1);
        QCOMPARE(again.fields.at(0)->title, QStringLiteral("Tom & \"Jerry\" <3"));
        QCOMPARE(again.fields.at(0)->type(), QStringLiteral("string"));
        QCOMPARE(again.snipEdit->toPlainText(), QStringLiteral("if a < b && c:\ngo = @n\n"));
        QVERIFY(dialogs->seen.isEmpty());
    }

    void fieldOrder()
    {
        SnipDlg dialog(&game->host, QString());
        QAbstractItemModelTester tester(&dialog.fields);
        for (const char *title : {"one", "two", "three"}) {
            dialogs->answer(QMessageBox::Ok, [title] {
                modal()->findChild<QLineEdit *>("name")->setText(title);
                modal()->findChild<QLineEdit *>("title")->setText(title);
            });
            dialog.findChild<QPushButton *>("add")->click();
        }
        auto order = [&dialog](int select, void (SnipDlg::*slot)()) {
            dialog.snipFields->selectionModel()->select(dialog.fields.index(select),
                                                        QItemSelectionModel::ClearAndSelect);
            (dialog.*slot)();
            QStringList out;
            for (int row = 0; row < dialog.fields.rowCount(); ++row)
                out << dialog.fields.index(row).data().toString();
            return out.join(' ');
        };
        QCOMPARE(order(0, &SnipDlg::on_up_clicked), QStringLiteral("one two three"));
        QCOMPARE(order(0, &SnipDlg::on_down_clicked), QStringLiteral("two one three"));
        QCOMPARE(order(2, &SnipDlg::on_down_clicked), QStringLiteral("two one three"));
        QCOMPARE(order(2, &SnipDlg::on_up_clicked), QStringLiteral("two three one"));
        QCOMPARE(order(0, &SnipDlg::on_insertBut_clicked), QStringLiteral("two three one"));
        QCOMPARE(dialog.snipEdit->toPlainText(), QStringLiteral("@two"));
        QCOMPARE(order(0, &SnipDlg::on_del_clicked), QStringLiteral("three one"));
        dialog.fields.remove(7);
        QCOMPARE(dialog.fields.rowCount(), 2);
    }

    void fieldDialog()
    {
        SnipFieldDlg dialog;
        dialog.show();
        QStringList written;
        for (int type = 0; type < 4; ++type) {
            dialog.type->setCurrentIndex(type);
            QCOMPARE(dialog.values->isVisible(), type == 3);
            QCOMPARE(dialog.titlesLb->isVisible(), type == 3);
            dialog.values->setPlainText("l\nr");
            dialog.titles->setPlainText("Left\nRight");
            std::unique_ptr<SnipField> field(dialog.field());
            written << field->type() + ' ' + field->extra();
        }
        QCOMPARE(written, QStringList({"string ", "int ", "float ",
                                       "items value=\"l,r\" value_title=\"Left,Right\""}));
    }
};

QTEST_MAIN(tst_Snippets)
#include "tst_snippets.moc"
