#ifndef ZORNX_CODEEDIT_SNIPPETS_H
#define ZORNX_CODEEDIT_SNIPPETS_H

#include <zornx/global.h>

#include <QtCore/QAbstractListModel>
#include <QtCore/QList>
#include <QtCore/QStringList>
#include <QtWidgets/QDialog>

class QComboBox;
class QLabel;
class QLineEdit;
class QListView;
class QPlainTextEdit;
class QPushButton;
class QXmlStreamReader;

namespace Zorn {

class CodeDocument;
class Interface;
class ProjectFile;

// What a snippet file holds, as its readers see it. Elements are recognised wherever they
// stand; the root's name is not checked.
struct ZORNX_EXPORT SnippetContent
{
    struct Field
    {
        QString name;
        QString title;
        QString type; // as written; "" counts as "string"
        QString value;      // "items": comma-separated values
        QString valueTitle; // "items": comma-separated titles
        int column = 0;     // clipped to 0..9
    };

    QList<Field> fields;
    // The text of every code element, trimmed line by line (see SnippetManager).
    QString code;
    // The reader's error, empty when it read to the end.
    QString errorString;
    qint64 errorLine = 0;
    qint64 errorColumn = 0;

    // Reads until the end or the first error; what came before an error stays.
    static SnippetContent read(QXmlStreamReader &reader);
    // From the bytes of a file: the XML declaration chooses the encoding.
    static SnippetContent fromBytes(const QByteArray &xml);
    // From text: any declaration is ignored.
    static SnippetContent fromText(const QString &xml);
    // A code element's text: split at "\n", a blank first and last line dropped, every line
    // trimmed and ended with "\n".
    static QString codeText(const QString &text);
};

// The snippets of the current engine's data directory ("<data>/snippets/*.xml"), as a list
// model of their names. One instance for the life of the library.
class ZORNX_EXPORT SnippetManager : public QAbstractListModel
{
    Q_OBJECT
public:
    static SnippetManager *instance();

    // Lists every readable file of path (no name filter), by complete base name.
    void load(const QString &path);
    QString path() const;
    // The caller keeps row in range.
    QString name(int row) const;
    // The text to insert, after asking for the field values: empty for no such row or file,
    // or a cancelled dialog.
    QString text(Interface *iface, int row);
    // The text of the snippet xml, with the placeholders replaced by what the user enters in
    // a dialog titled name (shown only when the snippet has fields).
    static QString evaluate(Interface *iface, const QString &xml, const QString &name);
    // A Qt translation source with the snippet's name and its titles.
    static QString translationSource(Interface *iface, const QString &xml, const QString &name);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

private:
    SnippetManager();
    QString directory;
    QStringList names;
};

// One field of a snippet being edited.
class ZORNX_EXPORT SnipField
{
public:
    virtual ~SnipField();
    // The type attribute.
    virtual QString type() const = 0;
    // Further attributes, written as they stand; empty by default.
    virtual QString extra() const;

    QString name;
    QString title;
};

class ZORNX_EXPORT RegularSnipField : public SnipField
{
public:
    explicit RegularSnipField(const QString &type) : fieldType(type) {}
    QString type() const override { return fieldType; }

    QString fieldType;
};

class ZORNX_EXPORT ComboSnipField : public SnipField
{
public:
    QString type() const override;
    // value="..." value_title="..."
    QString extra() const override;

    QString value;      // comma-separated
    QString valueTitle; // comma-separated
};

// The fields of the snippet editor, owned; rows show the titles.
class ZORNX_EXPORT SnipFieldsModel : public QAbstractListModel
{
    Q_OBJECT
public:
    using QAbstractListModel::QAbstractListModel;
    ~SnipFieldsModel() override;

    void add(SnipField *field);
    // Out of range: nothing.
    void remove(unsigned int row);
    // Afterwards the field stands at to.
    void move(unsigned int from, unsigned int to);
    SnipField *at(int row) const;
    const QList<SnipField *> &fields() const { return list; }

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

private:
    QList<SnipField *> list;
};

// The editor of one snippet: its text (coloured by the engine's script file) and its fields.
class ZORNX_EXPORT SnipDlg : public QDialog
{
    Q_OBJECT
public:
    // fileOrText: an existing snippet file to edit, or the text of a new snippet.
    SnipDlg(Interface *iface, const QString &fileOrText);
    ~SnipDlg() override;

    // The snippet file of the text and fields, byte for byte as it is saved.
    QString xml() const;
    // The file written by "Save" when set; otherwise "Save" asks every time.
    QString fileName;
    // The snippet's name: the file's base name.
    QString name;
    SnipFieldsModel fields;
    QPlainTextEdit *snipEdit;
    QListView *snipFields;

public Q_SLOTS:
    void on_saveBut_clicked();
    void on_previewBut_clicked();
    void on_saveTSBut_clicked();
    void on_insertBut_clicked();
    void on_add_clicked();
    void on_del_clicked();
    void on_up_clicked();
    void on_down_clicked();

private:
    int selectedRow() const;
    bool write(const QString &file, const QString &text);

    Interface *iface;
    ProjectFile *documentFile;
};

// Asks for one field of a snippet.
class ZORNX_EXPORT SnipFieldDlg : public QDialog
{
    Q_OBJECT
public:
    explicit SnipFieldDlg(QWidget *parent = nullptr);

    // A new field of what was entered; the caller owns it.
    SnipField *field() const;

    QLineEdit *name;
    QLineEdit *title;
    QComboBox *type;
    QPlainTextEdit *values;
    QPlainTextEdit *titles;
    QLabel *valuesLb;
    QLabel *titlesLb;

public Q_SLOTS:
    void on_type_currentIndexChanged(int index);
};

} // namespace Zorn

#endif
