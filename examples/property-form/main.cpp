// A property form as a host or an engine module shows one: a PropertyProvider describes a
// fighter's settings (every built-in value type, in four sections, the last one closed), and PropertyEdit builds
// the form. Every change is printed as the provider receives it.
//
//   property-form [--screenshot FILE]
//
// With --screenshot the form is drawn into FILE (PNG) and the program ends.

#include "host.h"

#include <zornx/core/archive.h>
#include <zornx/editor/propertyedit.h>

#include <QtCore/QDir>
#include <QtCore/QTextStream>
#include <QtCore/QTimer>
#include <QtWidgets/QApplication>
#include <QtWidgets/QScrollArea>
#include <QtWidgets/QToolButton>

namespace {

QTextStream out(stdout);

class AxisNames : public Zorn::PropertyValueEditTranslator
{
public:
    QString name(unsigned int component) const override
    {
        static const char *const names[] = {"Width", "Height", "Depth", "Time"};
        return QString::fromLatin1(names[component % 4]);
    }
};

struct Entry
{
    const char *type;
    const char *name;
    const char *section;
    QVariant value;
    QMap<QString, QVariant> options;
};

class FighterProperties : public Zorn::PropertyProvider
{
public:
    FighterProperties()
    {
        const QVariant axes = QVariant::fromValue<Zorn::PropertyValueEditTranslator *>(&names);
        entries = {
            {"string", "Name", "Fighter", QStringLiteral("Pebble"),
             {{QStringLiteral("validator"), QStringLiteral("[A-Za-z ]*")}}},
            {"bool", "Playable", "Fighter", true, {}},
            {"int", "Life", "Fighter", 1000,
             {{QStringLiteral("minimum"), 1}, {QStringLiteral("maximum"), 9999}}},
            {"float", "Walk speed", "Fighter", 2.5,
             {{QStringLiteral("minimum"), 0}, {QStringLiteral("maximum"), 20},
              {QStringLiteral("step"), 0.25}}},
            {"option", "Weight class", "Fighter", 1,
             {{QStringLiteral("items"),
               QStringList{QStringLiteral("Light"), QStringLiteral("Middle"),
                           QStringLiteral("Heavy")}}}},
            {"int2", "Size", "Body", QVariantList{48, 96},
             {{QStringLiteral("translator"), axes}, {QStringLiteral("minimum"), 1},
              {QStringLiteral("maximum"), 512}}},
            {"float3", "Scale", "Body", QVariantList{1.0, 1.0, 0.5},
             {{QStringLiteral("translator"), axes}, {QStringLiteral("minimum"), 0},
              {QStringLiteral("maximum"), 8}, {QStringLiteral("step"), 0.1},
              {QStringLiteral("maximim2"), 1}}},
            {"int4", "Hit box", "Body", QVariantList{-16, -80, 16, 0},
             {{QStringLiteral("minimum"), -999}, {QStringLiteral("maximum"), 999}}},
            {"stroption", "Voice", "Looks", QStringLiteral("calm"),
             {{QStringLiteral("items"),
               QStringList{QStringLiteral("calm"), QStringLiteral("fierce")}}}},
            {"file", "Portrait", "Looks", QStringLiteral("portrait.png"),
             {{QStringLiteral("filter"), QStringLiteral("*.png *.pcx")},
              {QStringLiteral("basePath"), QDir::homePath()}}},
            {"text", "Biography", "Looks",
             QStringLiteral("Rolled down a mountain and never stopped training."), {}},
            {"bool", "Draw boxes", "Debugging", false, {}},
            {"int", "Start round", "Debugging", 1, {}},
        };
    }

    unsigned int count() const override { return unsigned(entries.size()); }
    QString type(unsigned int i) const override { return QString::fromLatin1(entries[i].type); }
    QString name(unsigned int i) const override { return QString::fromLatin1(entries[i].name); }
    QString section(unsigned int i) const override
    {
        return QString::fromLatin1(entries[i].section);
    }
    QVariant value(unsigned int i) const override { return entries[i].value; }
    void setValue(unsigned int i, const QVariant &value) override
    {
        entries[i].value = value;
        out << entries[i].name << " = " << value.toStringList().join(QStringLiteral(", "))
            << (value.type() == QVariant::List ? "" : value.toString()) << Qt::endl;
    }
    QMap<QString, QVariant> options(unsigned int i) const override { return entries[i].options; }
    QString sectionKey(unsigned int index) const override
    {
        return QStringLiteral("fighter_section_%1").arg(index);
    }

private:
    AxisNames names;
    std::vector<Entry> entries;
};

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    MinimalHost host;
    const QStringList arguments = app.arguments();
    const int shot = arguments.indexOf(QStringLiteral("--screenshot"));

    // The host keeps which sections are open; this one was closed in an earlier session.
    host.setOption(QStringLiteral("fighter_section_3"), false);

    FighterProperties fighter;
    QScrollArea window;
    window.setWindowTitle(QStringLiteral("Fighter properties"));
    window.setWidgetResizable(true);
    auto *form = new Zorn::PropertyEdit;
    form->setProvider(&fighter);
    window.setWidget(form);
    // Unfold the size vector and the biography, to show both forms of a foldable value.
    for (const char *index : {"5", "10"})
        for (QToolButton *fold : form->findChildren<QToolButton *>(QLatin1String(index)))
            fold->click();
    window.resize(460, 800);
    window.show();

    if (shot < 0)
        return app.exec();
    const QString file = arguments.value(shot + 1, QStringLiteral("property-form.png"));
    QTimer::singleShot(300, &window, [&window, file]() {
        const bool saved = window.grab().save(file);
        out << (saved ? "Saved " : "Could not save ") << file << Qt::endl;
        QApplication::exit(saved ? 0 : 1);
    });
    return app.exec();
}
