#include "fixtures.h"
#include "testinterface.h"

#include <zornx/core/archive.h>
#include <zornx/editor/filebrowseedit.h>
#include <zornx/editor/multivaluewidget.h>
#include <zornx/editor/propertyedit.h>
#include <zornx/editor/section.h>

#include <QtCore/QTemporaryDir>
#include <QtTest/QAbstractItemModelTester>
#include <QtTest/QtTest>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QCompleter>
#include <QtWidgets/QDoubleSpinBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPlainTextEdit>
#include <QtWidgets/QScrollArea>
#include <QtWidgets/QSpinBox>
#include <QtWidgets/QToolButton>
#include <QtWidgets/QVBoxLayout>

using namespace Zorn;

namespace {

struct Property
{
    QString type, name, section;
    QVariant value;
    QMap<QString, QVariant> options;
};

// A provider over a list, recording every value the form hands back.
class ListProvider : public PropertyProvider
{
public:
    unsigned int count() const override { return unsigned(list.size()); }
    QString type(unsigned int i) const override { return list.at(int(i)).type; }
    QString name(unsigned int i) const override { return list.at(int(i)).name; }
    QString section(unsigned int i) const override { return list.at(int(i)).section; }
    QVariant value(unsigned int i) const override { return list.at(int(i)).value; }
    void setValue(unsigned int i, const QVariant &value) override
    {
        list[int(i)].value = value;
        changes.append(qMakePair(i, value));
    }
    QMap<QString, QVariant> options(unsigned int i) const override { return list.at(int(i)).options; }
    QString sectionKey(unsigned int s) const override { return QStringLiteral("form_section%1").arg(s); }

    QList<Property> list;
    QList<QPair<unsigned int, QVariant>> changes;
};

class AxisNames : public PropertyValueEditTranslator
{
public:
    QString name(unsigned int component) const override
    {
        return prefix + QStringLiteral("XYZW").mid(int(component), 1);
    }
    QString prefix = QStringLiteral("Axis ");
};

// The widget of property index (the fold button shares its name).
template <typename T>
T *widgetOf(const PropertyEdit &form, unsigned int index)
{
    for (T *widget : form.findChildren<T *>(QString::number(index)))
        if (!qobject_cast<QToolButton *>(widget) && widget->property("provider").isValid())
            return widget;
    return nullptr;
}

QToolButton *foldButtonOf(const PropertyEdit &form, unsigned int index)
{
    return form.findChild<QToolButton *>(QString::number(index));
}

} // namespace

class tst_PropertyEdit : public QObject
{
    Q_OBJECT
private:
    ZornTest::TestInterface host;
    AxisNames axes;

    ListProvider everyType()
    {
        ListProvider p;
        const QString a = "Body", b = "Looks";
        p.list = {
            {"bool", "Solid", a, true, {}},
            {"int", "Weight", a, 40, {{"minimum", 1}, {"maximum", 99}}},
            {"float", "Bounce", a, 0.5, {{"step", 0.25}}},
            {"int2", "Size", a, QVariantList{3, 4}, {{"translator", QVariant::fromValue<PropertyValueEditTranslator *>(&axes)}}},
            {"float3", "Offset", a, QVariantList{1.5, 2.5, 3.5}, {}},
            {"string", "Tag", b, "hero", {{"validator", "[a-z]*"}}},
            {"text", "Notes", b, "line one", {}},
            {"option", "Stance", b, 1, {{"items", QStringList{"low", "mid", "high"}}}},
            {"stroption", "Mood", b, "calm", {{"items", QStringList{"calm", "angry"}}}},
            {"file", "Portrait", b, "", {}},
            {"colour", "Unknown type", b, 0, {}},
        };
        return p;
    }

private Q_SLOTS:
    void init() { host.options.clear(); }

    void changesReachTheProvider_data()
    {
        QTest::addColumn<unsigned int>("index");
        QTest::addColumn<QVariant>("expected");
        QTest::newRow("bool") << 0u << QVariant(false);
        QTest::newRow("int") << 1u << QVariant(41);
        QTest::newRow("float") << 2u << QVariant(0.75);
        QTest::newRow("int2") << 3u << QVariant(QVariantList{3, 5});
        QTest::newRow("float3") << 4u << QVariant(QVariantList{1.5, 2.6, 3.5});
        QTest::newRow("string") << 5u << QVariant("heroa");
        QTest::newRow("text") << 6u << QVariant("line one!");
        QTest::newRow("option") << 7u << QVariant(2);
        QTest::newRow("stroption") << 8u << QVariant("calmer");
        QTest::newRow("file") << 9u << QVariant("face.png");
    }
    void changesReachTheProvider()
    {
        QFETCH(unsigned int, index);
        QFETCH(QVariant, expected);
        ListProvider provider = everyType();
        PropertyEdit form;
        form.setProvider(&provider);
        form.setProvider(&provider); // refreshing sends nothing back
        form.propertyChanged(index);
        QVERIFY(provider.changes.isEmpty());

        QWidget *widget = widgetOf<QWidget>(form, index);
        QVERIFY(widget);
        // One user edit of the widget.
        if (auto *box = qobject_cast<QCheckBox *>(widget))
            box->click();
        else if (auto *spin = qobject_cast<QSpinBox *>(widget))
            spin->stepUp();
        else if (auto *real = qobject_cast<QDoubleSpinBox *>(widget))
            real->stepUp();
        else if (auto *multi = qobject_cast<MultiValueWidget *>(widget))
            static_cast<QAbstractSpinBox *>(multi->itemWidget(1))->stepUp();
        else if (auto *line = qobject_cast<QLineEdit *>(widget))
            QTest::keyClicks(line, "a");
        else if (auto *text = qobject_cast<QPlainTextEdit *>(widget)) {
            text->moveCursor(QTextCursor::End);
            text->insertPlainText("!");
        } else if (auto *combo = qobject_cast<QComboBox *>(widget)) {
            if (combo->isEditable())
                combo->setEditText(combo->currentText() + "er");
            else
                combo->setCurrentIndex(2);
        } else if (auto *file = qobject_cast<FileBrowseEdit *>(widget))
            QTest::keyClicks(file->findChild<QLineEdit *>(), "face.png");
        QVERIFY(!provider.changes.isEmpty());
        QCOMPARE(provider.changes.last().first, index);
        QCOMPARE(provider.changes.last().second, expected);
    }

    void formLayout()
    {
        ListProvider provider = everyType();
        PropertyEdit form;
        form.setProvider(&provider);
        const QList<Section *> sections = form.findChildren<Section *>();
        QCOMPARE(sections.size(), 2);
        QCOMPARE(sections.at(0)->objectName(), QString("form_section0"));
        QCOMPARE(sections.at(1)->objectName(), QString("form_section1"));
        // An unknown type has its label and no widget; enabling it does nothing.
        QVERIFY(!widgetOf<QWidget>(form, 10));
        form.setPropertyEnabled(10, false);
        form.setPropertyEnabled(1, false);
        QVERIFY(!widgetOf<QWidget>(form, 1)->isEnabled());
        // Only foldable types have a working fold button.
        QVERIFY(foldButtonOf(form, 3)->isEnabled());
        QVERIFY(foldButtonOf(form, 6)->isEnabled());
        QVERIFY(!foldButtonOf(form, 0)->isEnabled());
        QVERIFY(!foldButtonOf(form, 1)); // not the first row of its section

        // Names, titles and component names follow the provider.
        provider.list[1].name = "Mass";
        provider.list[5].section = "Style";
        axes.prefix = "Side ";
        form.updateNameStrings();
        bool relabelled = false;
        for (const QLabel *label : form.findChildren<QLabel *>())
            relabelled |= label->text() == "Mass" && label->toolTip() == "Mass";
        QVERIFY(relabelled);
        QCOMPARE(sections.at(1)->findChild<QToolButton *>()->text(), QString("Style"));
        auto *size = widgetOf<MultiValueWidget>(form, 3);
        QCOMPARE(size->itemLabel(0)->text(), QString("S")); // folded: the first letter
        QCOMPARE(size->itemWidget(1)->toolTip(), QString("Side Y"));
        axes.prefix = "Axis ";
    }

    void vectorLimits_data()
    {
        QTest::addColumn<QString>("type");
        QTest::addColumn<QVariantMap>("options");
        QTest::addColumn<QList<double>>("minimums");
        QTest::addColumn<QList<double>>("maximums");
        QTest::addColumn<QList<double>>("steps");
        const double big = double(std::numeric_limits<float>::max());
        QTest::newRow("int defaults") << "int4" << QVariantMap()
                                      << QList<double>{INT_MIN, INT_MIN, INT_MIN, INT_MIN}
                                      << QList<double>{INT_MAX, INT_MAX, INT_MAX, INT_MAX}
                                      << QList<double>{1, 1, 1, 1};
        QTest::newRow("int shared and own")
            << "int3" << QVariantMap{{"minimum", -5}, {"minimim1", 0}, {"maximum", 10}, {"maximim2", 3}}
            << QList<double>{-5, 0, -5} << QList<double>{10, 10, 3} << QList<double>{1, 1, 1};
        QTest::newRow("float defaults") << "float2" << QVariantMap()
                                        << QList<double>{-big, -big} << QList<double>{big, big}
                                        << QList<double>{0.1, 0.1};
        QTest::newRow("float own step")
            << "float4" << QVariantMap{{"step", 0.5}, {"step3", 2.0}, {"maximim0", 1.0}}
            << QList<double>{-big, -big, -big, -big} << QList<double>{1, big, big, big}
            << QList<double>{0.5, 0.5, 0.5, 2.0};
        // The usual spelling is not a component key.
        QTest::newRow("minimum1 is not a key")
            << "int2" << QVariantMap{{"minimum1", 7}} << QList<double>{INT_MIN, INT_MIN}
            << QList<double>{INT_MAX, INT_MAX} << QList<double>{1, 1};
    }
    void vectorLimits()
    {
        QFETCH(QString, type);
        QFETCH(QVariantMap, options);
        QFETCH(QList<double>, minimums);
        QFETCH(QList<double>, maximums);
        QFETCH(QList<double>, steps);
        QWidget parent;
        QScopedPointer<QWidget> widget(PropertyEdit::valueEdit(type)->createWidget(&parent, options));
        auto *multi = qobject_cast<MultiValueWidget *>(widget.data());
        QVERIFY(multi);
        QCOMPARE(multi->count(), unsigned(minimums.size()));
        for (int i = 0; i < minimums.size(); ++i) {
            QWidget *box = multi->itemWidget(unsigned(i));
            QCOMPARE(box->objectName(), QString::number(i));
            if (auto *spin = qobject_cast<QSpinBox *>(box)) {
                QCOMPARE(double(spin->minimum()), minimums.at(i));
                QCOMPARE(double(spin->maximum()), maximums.at(i));
                QCOMPARE(double(spin->singleStep()), steps.at(i));
            } else {
                auto *real = qobject_cast<QDoubleSpinBox *>(box);
                QVERIFY(real);
                QCOMPARE(real->minimum(), minimums.at(i));
                QCOMPARE(real->maximum(), maximums.at(i));
                QCOMPARE(real->singleStep(), steps.at(i));
            }
        }
        // A short list leaves the rest at the conversion of an empty value.
        PropertyEdit::valueEdit(type)->setValue(multi, QVariantList{1});
        for (int i = 0; i < minimums.size(); ++i)
            QCOMPARE(multi->itemWidget(unsigned(i))->property("value").toDouble(),
                     qBound(minimums.at(i), i == 0 ? 1.0 : 0.0, maximums.at(i)));
    }

    void multiValueWidgetFolds()
    {
        MultiValueWidget multi(7, nullptr); // at most four
        QCOMPARE(multi.count(), 4u);
        QVERIFY(multi.isFolded());
        for (unsigned int i = 0; i < 4; ++i)
            multi.setItemWidget(i, new QSpinBox);
        multi.resize(multi.sizeHint());
        multi.show();
        auto position = [&multi](unsigned int i) { return multi.itemParent(i)->pos(); };
        QApplication::processEvents();
        QCOMPARE(position(0).y(), position(3).y());
        QVERIFY(position(0).x() < position(3).x());
        multi.setFolded(false);
        multi.resize(multi.sizeHint());
        QApplication::processEvents();
        QCOMPARE(position(0).x(), position(3).x());
        QVERIFY(position(0).y() < position(3).y());
    }

    void foldingHeights()
    {
        ListProvider provider = everyType();
        PropertyEdit form;
        form.setProvider(&provider);
        form.resize(500, 900);
        form.show();
        QVERIFY(QTest::qWaitForWindowExposed(&form));
        auto *notes = widgetOf<QPlainTextEdit>(form, 6);
        QCOMPARE(notes->height(), 22);
        auto *looks = form.findChild<Section *>("form_section1");
        const int before = looks->height();

        foldButtonOf(form, 6)->click();
        QCOMPARE(notes->height(), 222);
        QCOMPARE(foldButtonOf(form, 6)->arrowType(), Qt::DownArrow);
        // The section follows the content once the layout settled: by the text's growth.
        QTRY_COMPARE(looks->height(), before + 200);

        // Refreshing with the same provider keeps the form and its fold states.
        provider.list[6].value = "changed";
        form.setProvider(&provider);
        QCOMPARE(widgetOf<QPlainTextEdit>(form, 6), notes);
        QCOMPARE(notes->height(), 222);
        QCOMPARE(notes->toPlainText(), QString("changed"));
        QVERIFY(provider.changes.isEmpty());

        // A closed section keeps only its title; its state is stored under its key.
        looks->toggle(false);
        QVERIFY(!looks->isExpanded());
        QVERIFY(looks->height() < before);
        QCOMPARE(host.options.value("form_section1"), QVariant(false));
        looks->toggle(true);
        QCOMPARE(looks->height(), before + 200);
        looks->toggle(false);

        // A new form opens the section as it was left; another provider rebuilds.
        PropertyEdit second;
        second.setProvider(&provider);
        QVERIFY(!second.findChild<Section *>("form_section1")->isExpanded());
        QVERIFY(second.findChild<Section *>("form_section0")->isExpanded());
        ListProvider other = everyType();
        form.setProvider(&other);
        QVERIFY(widgetOf<QPlainTextEdit>(form, 6) != notes);
        form.setProvider(nullptr);
        QVERIFY(form.findChildren<Section *>().isEmpty());
    }

    void oneSectionCannotClose()
    {
        ListProvider provider;
        provider.list = {{"int", "Only", "One", 1, {}}, {"bool", "Flag", "One", false, {}}};
        host.options.insert("form_section0", false); // ignored for a single section
        PropertyEdit form;
        form.setProvider(&provider);
        auto *only = form.findChild<Section *>();
        QVERIFY(only->isExpanded());
        const int open = only->height();
        only->findChild<QToolButton *>()->click();
        QVERIFY(only->isExpanded());
        QCOMPARE(only->height(), open);
        QCOMPARE(host.options.value("form_section0"), QVariant(false));
        QCOMPARE(host.options.size(), 1);
    }

    void animatedSection()
    {
        Section section("Moves", 40, false);
        QSignalSpy toggled(&section, &Section::toggled);
        auto *content = new QVBoxLayout;
        auto *block = new QWidget;
        block->setFixedHeight(100);
        content->addWidget(block);
        section.setContentLayout(content);
        auto *area = section.findChild<QScrollArea *>();
        section.toggle(true);
        QCOMPARE(toggled.count(), 1);
        const int height = content->sizeHint().height();
        QTRY_COMPARE(area->maximumHeight(), height);
        const int open = section.maximumHeight();
        QCOMPARE(section.minimumHeight(), open);
        section.toggle(false);
        QTRY_COMPARE(area->maximumHeight(), 0);
        QCOMPARE(section.maximumHeight(), open - height);
        QCOMPARE(toggled.count(), 2);
    }

    void fileBrowseEdit()
    {
        QTemporaryDir base;
        for (const char *name : {"b_dir/inner.png", "a_dir/x.txt", "z.png", "c.png", "m.txt"})
            QVERIFY(ZornTest::writeFile(base.path() + "/" + name, QByteArray()));
        FileBrowseEdit edit;
        QCOMPARE(edit.filter(), QString("*.*"));
        edit.setFilter("*.png");
        edit.setBasePath(&FileSystemArchive::instance(), base.path());
        auto *line = edit.findChild<QLineEdit *>();
        QAbstractItemModel *model = line->completer()->model();
        QAbstractItemModelTester tester(model, QAbstractItemModelTester::FailureReportingMode::QtTest);
        auto entries = [model](int role) {
            QStringList out;
            for (int row = 0; row < model->rowCount(); ++row)
                out << model->index(row, 0).data(role).toString();
            return out;
        };
        // Directories first, then the files that match the filter.
        QCOMPARE(entries(Qt::DisplayRole), QStringList({"a_dir", "b_dir", "c.png", "z.png"}));
        QSignalSpy changed(&edit, &FileBrowseEdit::valueChanged);
        QTest::keyClicks(line, "b_dir/i");
        QCOMPARE(entries(Qt::DisplayRole), QStringList({"inner.png"}));
        QCOMPARE(entries(Qt::EditRole), QStringList({"b_dir/inner.png"}));
        QCOMPARE(changed.last().first().toString(), QString("b_dir/i"));
        edit.setFilter("*.txt");
        QCOMPARE(entries(Qt::DisplayRole), QStringList());
        QCOMPARE(line->completer()->completionMode(), QCompleter::UnfilteredPopupCompletion);
        QCOMPARE(line->completer()->caseSensitivity(), Qt::CaseInsensitive);

        // Names with characters that no file name may hold are refused.
        for (const QString &text : {"a*b", "a?b", "a<b", "a|b", "a\"b"}) {
            QString probe = text;
            int at = 0;
            QCOMPARE(line->validator()->validate(probe, at), QValidator::Invalid);
        }
        QString fine = "b_dir/inner.png";
        int at = 0;
        QCOMPARE(line->validator()->validate(fine, at), QValidator::Acceptable);
    }
};

QTEST_MAIN(tst_PropertyEdit)
#include "tst_propertyedit.moc"
