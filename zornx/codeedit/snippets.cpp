#include "snippets.h"

#include <zornx/code/codedocument.h>
#include <zornx/core/archive.h>
#include <zornx/core/engine.h>
#include <zornx/core/interface.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QTextStream>
#include <QtCore/QXmlStreamReader>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QDoubleSpinBox>
#include <QtWidgets/QFormLayout>
#include <QtWidgets/QGridLayout>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QListView>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPlainTextEdit>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QSpinBox>
#include <QtWidgets/QVBoxLayout>

namespace Zorn {

namespace {

// What the snippet writers escape: '&' and '<' everywhere, and '"' inside attributes, so that
// any text reads back; text without those characters is written as it stands.
QString escaped(QString text, bool attribute)
{
    text.replace(QLatin1Char('&'), QLatin1String("&amp;"));
    text.replace(QLatin1Char('<'), QLatin1String("&lt;"));
    if (attribute)
        text.replace(QLatin1Char('"'), QLatin1String("&quot;"));
    return text;
}

// tr() of the snippet manager's context with a runtime text.
QString translated(const QString &text, const QString &comment)
{
    return QCoreApplication::translate(SnippetManager::staticMetaObject.className(),
                                       text.toUtf8().constData(),
                                       comment.toUtf8().constData());
}

void showReaderError(Interface *iface, const SnippetContent &content)
{
    if (content.errorString.isEmpty() || !iface)
        return;
    QMessageBox::critical(iface->mainWidget(), iface->text(0),
                          iface->text(1).arg(content.errorString,
                                             QString::number(content.errorLine),
                                             QString::number(content.errorColumn)),
                          QMessageBox::Ok);
}

Interface *host(Interface *iface)
{
    return iface ? iface : Interface::instance();
}

} // namespace

// ---- reading ----

QString SnippetContent::codeText(const QString &text)
{
    QStringList lines = text.split(QLatin1Char('\n'));
    if (!lines.isEmpty() && lines.first().trimmed().isEmpty())
        lines.removeFirst();
    if (!lines.isEmpty() && lines.last().trimmed().isEmpty())
        lines.removeLast();
    QString out;
    for (const QString &line : qAsConst(lines))
        out += line.trimmed() + QLatin1Char('\n');
    return out;
}

SnippetContent SnippetContent::read(QXmlStreamReader &reader)
{
    SnippetContent content;
    reader.setNamespaceProcessing(false);
    while (!reader.atEnd() && !reader.hasError()) {
        if (reader.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (reader.name() == QLatin1String("code")) {
            content.code +=
                codeText(reader.readElementText(QXmlStreamReader::IncludeChildElements));
        } else if (reader.name() == QLatin1String("field")) {
            const QXmlStreamAttributes attributes = reader.attributes();
            Field field;
            field.name = attributes.value(QLatin1String("name")).toString();
            field.title = attributes.value(QLatin1String("title")).toString();
            field.type = attributes.value(QLatin1String("type")).toString();
            field.value = attributes.value(QLatin1String("value")).toString();
            field.valueTitle = attributes.value(QLatin1String("value_title")).toString();
            field.column = qBound(0, attributes.value(QLatin1String("column")).toInt(), 9);
            content.fields.append(field);
        }
    }
    if (reader.hasError()) {
        content.errorString = reader.errorString();
        content.errorLine = reader.lineNumber();
        content.errorColumn = reader.columnNumber();
    }
    return content;
}

SnippetContent SnippetContent::fromBytes(const QByteArray &xml)
{
    QXmlStreamReader reader(xml);
    return read(reader);
}

SnippetContent SnippetContent::fromText(const QString &xml)
{
    QXmlStreamReader reader(xml);
    return read(reader);
}

// ---- manager ----

SnippetManager::SnippetManager() = default;

SnippetManager *SnippetManager::instance()
{
    // Lives as long as the library; views hold it as their model.
    static SnippetManager *manager = new SnippetManager;
    return manager;
}

void SnippetManager::load(const QString &path)
{
    directory = path;
    const QStringList entries =
        QDir(path).entryList(QDir::Files | QDir::NoSymLinks | QDir::Readable, QDir::Name);
    if (!names.isEmpty()) {
        beginRemoveRows(QModelIndex(), 0, names.size() - 1);
        names.clear();
        endRemoveRows();
    }
    for (const QString &entry : entries) {
        beginInsertRows(QModelIndex(), names.size(), names.size());
        names.append(QFileInfo(entry).completeBaseName());
        endInsertRows();
    }
}

QString SnippetManager::path() const
{
    return directory;
}

QString SnippetManager::name(int row) const
{
    return names.at(row);
}

QString SnippetManager::text(Interface *iface, int row)
{
    if (row < 0 || row >= names.size())
        return QString();
    QFile file(directory + QLatin1Char('/') + names.at(row) + QStringLiteral(".xml"));
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    // A string reader: the declaration plays no part, the bytes are taken as UTF-8.
    return evaluate(iface, QString::fromUtf8(file.readAll()), names.at(row));
}

QString SnippetManager::evaluate(Interface *iface, const QString &xml, const QString &name)
{
    iface = host(iface);
    const SnippetContent content = SnippetContent::fromText(xml);

    QDialog dialog(iface ? iface->mainWidget() : nullptr);
    dialog.setWindowTitle(name);
    auto *column = new QVBoxLayout(&dialog);
    auto *grid = new QGridLayout;
    column->addLayout(grid);
    QList<QWidget *> widgets;
    int rows[10] = {};
    for (const SnippetContent::Field &field : content.fields) {
        const QString type = field.type.isEmpty() ? QStringLiteral("string") : field.type;
        QWidget *widget = nullptr;
        if (type == QLatin1String("string")) {
            widget = new QLineEdit(&dialog);
        } else if (type == QLatin1String("int")) {
            auto *box = new QSpinBox(&dialog);
            box->setRange(-99999999, 99999999);
            widget = box;
        } else if (type == QLatin1String("float")) {
            auto *box = new QDoubleSpinBox(&dialog);
            box->setRange(-99999999.0, 99999999.0);
            widget = box;
        } else if (type == QLatin1String("items")) {
            const QStringList values = field.value.split(QLatin1Char(','));
            const QStringList titles = field.valueTitle.split(QLatin1Char(','));
            if (values.size() == titles.size()) {
                auto *box = new QComboBox(&dialog);
                for (int i = 0; i < values.size(); ++i)
                    box->addItem(translated(titles.at(i), name), values.at(i));
                widget = box;
            }
        }
        if (!widget)
            continue;
        int &row = rows[field.column];
        grid->addWidget(new QLabel(translated(field.title, name), &dialog), row, field.column);
        widget->setObjectName(field.name);
        grid->addWidget(widget, row + 1, field.column);
        row += 2;
        widgets.append(widget);
    }
    showReaderError(iface, content);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    column->addWidget(buttons);
    dialog.adjustSize();
    if (!widgets.isEmpty() && dialog.exec() != QDialog::Accepted)
        return QString();

    QString result = content.code;
    for (QWidget *widget : qAsConst(widgets)) {
        QString value;
        if (auto *edit = qobject_cast<QLineEdit *>(widget))
            value = edit->text();
        else if (auto *box = qobject_cast<QSpinBox *>(widget))
            value = QString::number(box->value());
        else if (auto *box = qobject_cast<QDoubleSpinBox *>(widget))
            value = QString::number(box->value());
        else if (auto *box = qobject_cast<QComboBox *>(widget))
            value = box->currentData().toString();
        result.replace(QLatin1Char('@') + widget->objectName(), value);
    }
    return result;
}

QString SnippetManager::translationSource(Interface *iface, const QString &xml,
                                          const QString &name)
{
    const QString comment = escaped(name, false);
    auto message = [&comment](const QString &source) {
        return QStringLiteral("\t<message>\n\t\t<source>") + escaped(source, false) +
               QStringLiteral("</source>\n\t\t<comment>") + comment +
               QStringLiteral("</comment>\n\t\t<translation type=\"unfinished\"></translation>\n"
                              "\t</message>\n");
    };
    QString out = QStringLiteral("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<!DOCTYPE TS>\n"
                                 "<TS version=\"2.0\">\n<context>\n\t<name>") +
                  QLatin1String(staticMetaObject.className()) + QStringLiteral("</name>\n");
    out += message(name);
    const SnippetContent content = SnippetContent::fromText(xml);
    for (const SnippetContent::Field &field : content.fields) {
        if (field.type == QLatin1String("items"))
            for (const QString &title : field.valueTitle.split(QLatin1Char(',')))
                out += message(title);
        out += message(field.title);
    }
    showReaderError(host(iface), content);
    return out + QStringLiteral("</context>\n</TS>");
}

int SnippetManager::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : names.size();
}

QVariant SnippetManager::data(const QModelIndex &index, int role) const
{
    if (role != Qt::DisplayRole || !index.isValid() || index.row() >= names.size())
        return QVariant();
    const QString &name = names.at(index.row());
    return translated(name, name);
}

// ---- fields ----

SnipField::~SnipField() = default;

QString SnipField::extra() const
{
    return QString();
}

QString ComboSnipField::type() const
{
    return QStringLiteral("items");
}

QString ComboSnipField::extra() const
{
    return QStringLiteral("value=\"%1\" value_title=\"%2\"")
        .arg(escaped(value, true), escaped(valueTitle, true));
}

SnipFieldsModel::~SnipFieldsModel()
{
    qDeleteAll(list);
}

void SnipFieldsModel::add(SnipField *field)
{
    beginInsertRows(QModelIndex(), list.size(), list.size());
    list.append(field);
    endInsertRows();
}

void SnipFieldsModel::remove(unsigned int row)
{
    if (row >= unsigned(list.size()))
        return;
    beginRemoveRows(QModelIndex(), int(row), int(row));
    delete list.takeAt(int(row));
    endRemoveRows();
}

void SnipFieldsModel::move(unsigned int from, unsigned int to)
{
    const int count = list.size();
    if (from >= unsigned(count) || to >= unsigned(count) || from == to)
        return;
    // beginMoveRows names the row before which the moved one lands.
    beginMoveRows(QModelIndex(), int(from), int(from), QModelIndex(),
                  int(to > from ? to + 1 : to));
    list.move(int(from), int(to));
    endMoveRows();
}

SnipField *SnipFieldsModel::at(int row) const
{
    return list.value(row);
}

int SnipFieldsModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : list.size();
}

QVariant SnipFieldsModel::data(const QModelIndex &index, int role) const
{
    if (role != Qt::DisplayRole || !index.isValid() || index.row() >= list.size())
        return QVariant();
    return list.at(index.row())->title;
}

// ---- snippet editor ----

SnipDlg::SnipDlg(Interface *iface, const QString &fileOrText)
    : iface(host(iface)), documentFile(nullptr)
{
    resize(558, 272);
    setWindowTitle(QStringLiteral("Code snippet editor"));
    if (this->iface)
        setWindowIcon(this->iface->icon(QStringLiteral("code_snippet_insert")));

    snipEdit = new QPlainTextEdit(this);
    snipEdit->setObjectName(QStringLiteral("snipEdit"));
    snipEdit->setLineWrapMode(QPlainTextEdit::NoWrap);
    snipFields = new QListView(this);
    snipFields->setObjectName(QStringLiteral("snipFields"));
    snipFields->setModel(&fields);
    auto button = [this](const char *name, const QString &text) {
        auto *made = new QPushButton(text, this);
        made->setObjectName(QString::fromLatin1(name));
        return made;
    };
    auto *side = new QVBoxLayout;
    auto *order = new QHBoxLayout;
    order->addWidget(button("add", QStringLiteral("+")));
    order->addWidget(button("del", QStringLiteral("-")));
    order->addWidget(button("up", QStringLiteral("\u02C4")));
    order->addWidget(button("down", QStringLiteral("\u02C5")));
    side->addWidget(snipFields);
    side->addLayout(order);
    side->addWidget(button("insertBut", QStringLiteral("Insert selected")));
    auto *actions = new QHBoxLayout;
    actions->addStretch();
    actions->addWidget(button("previewBut", QStringLiteral("Preview")));
    actions->addWidget(button("saveTSBut", QStringLiteral("Save for translation")));
    actions->addWidget(button("saveBut", QStringLiteral("Save")));
    auto *top = new QHBoxLayout;
    top->addWidget(snipEdit, 1);
    top->addLayout(side);
    auto *column = new QVBoxLayout(this);
    column->addLayout(top);
    column->addLayout(actions);
    QMetaObject::connectSlotsByName(this);

    // The engine's script file colours the snippet's text.
    Engine *engine = this->iface ? this->iface->currentEngine() : nullptr;
    if (engine)
        documentFile = engine->createFile(4, this->iface->currentProject());
    if (auto *document = dynamic_cast<CodeDocument *>(documentFile))
        snipEdit->setDocument(document);

    if (QFileInfo(fileOrText).isFile()) {
        fileName = fileOrText;
        name = QFileInfo(fileOrText).completeBaseName();
        QFile file(fileOrText);
        if (!file.open(QIODevice::ReadOnly))
            return;
        const SnippetContent content = SnippetContent::fromBytes(file.readAll());
        for (const SnippetContent::Field &read : content.fields) {
            SnipField *field;
            if (read.type == QLatin1String("items")) {
                auto *combo = new ComboSnipField;
                combo->value = read.value;
                combo->valueTitle = read.valueTitle;
                field = combo;
            } else {
                field = new RegularSnipField(read.type.isEmpty() ? QStringLiteral("string")
                                                                 : read.type);
            }
            field->name = read.name;
            field->title = read.title;
            fields.add(field);
        }
        snipEdit->setPlainText(content.code);
        showReaderError(this->iface, content);
    } else {
        snipEdit->setPlainText(fileOrText);
    }
}

SnipDlg::~SnipDlg()
{
    if (documentFile) {
        // The edit must not keep a document that is about to go.
        snipEdit->setDocument(nullptr);
        documentFile->release();
    }
}

QString SnipDlg::xml() const
{
    QString out = QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<snippet>\r\n\r\n");
    for (const SnipField *field : fields.fields())
        out += QStringLiteral("\t<field name=\"%1\" title=\"%2\" type=\"%3\" %4/>\r\n")
                   .arg(escaped(field->name, true), escaped(field->title, true),
                        escaped(field->type(), true), field->extra());
    out += QStringLiteral("\r\n\t<code>\r\n");
    const QStringList lines = snipEdit->toPlainText().split(QLatin1Char('\n'));
    for (const QString &line : lines)
        if (!line.isEmpty())
            out += QStringLiteral("\t\t") + escaped(line, false) + QStringLiteral("\r\n");
    return out + QStringLiteral("\t</code>\r\n\r\n</snippet>");
}

bool SnipDlg::write(const QString &file, const QString &text)
{
    Archive &archive = FileSystemArchive::instance();
    QIODevice *device = archive.openFile(file, QIODevice::WriteOnly);
    if (!device)
        return false;
    QTextStream stream(device);
    stream.setCodec("UTF-8");
    stream << text;
    stream.flush();
    if (stream.status() != QTextStream::Ok) {
        archive.discardFile(device);
        return false;
    }
    return archive.closeFile(device);
}

void SnipDlg::on_saveBut_clicked()
{
    QString target = fileName;
    if (target.isEmpty())
        target = getSaveFileName(this, tr("Save code snippet"), QString(),
                                 QStringLiteral("Extensible Markup Language (*.xml)"));
    if (!target.isEmpty())
        write(target, xml());
}

void SnipDlg::on_previewBut_clicked()
{
    SnippetManager::evaluate(iface, xml(), name);
}

void SnipDlg::on_saveTSBut_clicked()
{
    const QString target = getSaveFileName(this, tr("Save for translation"), QString(),
                                           QStringLiteral("Qt translation sources (*.ts)"));
    if (!target.isEmpty())
        write(target, SnippetManager::translationSource(iface, xml(), name));
}

int SnipDlg::selectedRow() const
{
    const QModelIndexList rows = snipFields->selectionModel()->selectedRows();
    return rows.isEmpty() ? -1 : rows.first().row();
}

void SnipDlg::on_insertBut_clicked()
{
    if (const SnipField *field = fields.at(selectedRow()))
        snipEdit->insertPlainText(QLatin1Char('@') + field->name);
}

void SnipDlg::on_add_clicked()
{
    SnipFieldDlg dialog(this);
    if (dialog.exec() == QDialog::Accepted)
        fields.add(dialog.field());
}

void SnipDlg::on_del_clicked()
{
    const int row = selectedRow();
    if (row >= 0)
        fields.remove(unsigned(row));
}

void SnipDlg::on_up_clicked()
{
    const int row = selectedRow();
    if (row > 0)
        fields.move(unsigned(row), unsigned(row - 1));
}

void SnipDlg::on_down_clicked()
{
    const int row = selectedRow();
    if (row >= 0 && row + 1 < fields.rowCount())
        fields.move(unsigned(row), unsigned(row + 1));
}

// ---- field dialog ----

SnipFieldDlg::SnipFieldDlg(QWidget *parent) : QDialog(parent)
{
    setWindowTitle(QStringLiteral("Add field"));
    if (Interface *iface = Interface::instance())
        setWindowIcon(iface->icon(QStringLiteral("code_snippet_edit")));
    name = new QLineEdit(this);
    name->setObjectName(QStringLiteral("name"));
    title = new QLineEdit(this);
    title->setObjectName(QStringLiteral("title"));
    type = new QComboBox(this);
    type->setObjectName(QStringLiteral("type"));
    type->addItems({QStringLiteral("String"), QStringLiteral("Integer"), QStringLiteral("Float"),
                    QStringLiteral("Items")});
    values = new QPlainTextEdit(this);
    values->setObjectName(QStringLiteral("values"));
    titles = new QPlainTextEdit(this);
    titles->setObjectName(QStringLiteral("titles"));
    valuesLb = new QLabel(QStringLiteral("Values:"), this);
    valuesLb->setObjectName(QStringLiteral("valuesLb"));
    titlesLb = new QLabel(QStringLiteral("Values (title):"), this);
    titlesLb->setObjectName(QStringLiteral("titlesLb"));
    auto *form = new QFormLayout;
    form->addRow(QStringLiteral("Name:"), name);
    form->addRow(QStringLiteral("Title:"), title);
    form->addRow(QStringLiteral("Type:"), type);
    form->addRow(valuesLb, values);
    form->addRow(titlesLb, titles);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto *column = new QVBoxLayout(this);
    column->addLayout(form);
    column->addWidget(buttons);
    for (QWidget *hidden : {static_cast<QWidget *>(values), static_cast<QWidget *>(titles),
                            static_cast<QWidget *>(valuesLb), static_cast<QWidget *>(titlesLb)})
        hidden->hide();
    QMetaObject::connectSlotsByName(this);
}

void SnipFieldDlg::on_type_currentIndexChanged(int index)
{
    const bool items = index == 3;
    values->setVisible(items);
    titles->setVisible(items);
    valuesLb->setVisible(items);
    titlesLb->setVisible(items);
    adjustSize();
}

SnipField *SnipFieldDlg::field() const
{
    SnipField *made;
    const int index = type->currentIndex();
    if (index == 3) {
        auto *combo = new ComboSnipField;
        combo->value = values->toPlainText().replace(QLatin1Char('\n'), QLatin1Char(','));
        combo->valueTitle = titles->toPlainText().replace(QLatin1Char('\n'), QLatin1Char(','));
        made = combo;
    } else {
        static const char *const types[] = {"string", "int", "float"};
        made = new RegularSnipField(QString::fromLatin1(types[qBound(0, index, 2)]));
    }
    made->name = name->text();
    made->title = title->text();
    return made;
}

} // namespace Zorn
