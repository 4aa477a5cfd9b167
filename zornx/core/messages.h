#ifndef ZORNX_CORE_MESSAGES_H
#define ZORNX_CORE_MESSAGES_H

#include <zornx/global.h>

#include <QtCore/QAbstractListModel>
#include <QtCore/QAbstractTableModel>
#include <QtCore/QString>

namespace Zorn {

class MessageList;
class MessageListPrivate;
class Project;
class ProjectFile;
class SimpleMessagesPrivate;

// One problem found in a file.
struct Message
{
    // All is a filter over every type; a look-up that finds nothing answers with it too.
    // A fixed underlying type: a type number out of this range is a value, not undefined.
    enum Type : int { Error = 0, Warning = 1, Information = 2, All = 3 };

    Message() = default;
    Message(Type type, unsigned int line, unsigned int column, const QString &text)
        : type(type), line(line), column(column), text(text)
    {
    }

    Type type = All;
    unsigned int line = 0; // zero-based
    unsigned int column = 0;
    QString text;
};

// The messages of one file, as a one-column list model. A file's Messages is registered with
// its project's MessageList and leaves it by itself when destroyed.
class ZORNX_EXPORT Messages : public QAbstractListModel
{
    Q_OBJECT
public:
    explicit Messages(QObject *parent = nullptr);
    ~Messages() override;

    virtual ProjectFile *file() const = 0;
    virtual unsigned int count(Message::Type type) const = 0;
    // The message number index among those of type; an empty message (type All) past the end.
    virtual Message at(unsigned int index, Message::Type type) const = 0;

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

    // The list this object is registered with, or null.
    MessageList *messageList() const;

protected:
    // Has the list, if any, rebuild its table.
    void notifyUpdate();

private:
    friend class MessageList;
    MessageList *list;
};

// The stock Messages: a plain list of entries.
class ZORNX_EXPORT SimpleMessages : public Messages
{
    Q_OBJECT
public:
    explicit SimpleMessages(ProjectFile *file);
    ~SimpleMessages() override;

    ProjectFile *file() const override;
    unsigned int count(Message::Type type) const override;
    Message at(unsigned int index, Message::Type type) const override;

    // A type other than Error, Warning or Information is ignored.
    void add(Message::Type type, const QString &text, unsigned int line, unsigned int column);
    void clear();
    // Brackets may nest; the list hears of the changes once, when the outermost one closes.
    void beginChange();
    void endChange();

private:
    Q_DISABLE_COPY(SimpleMessages)
    SimpleMessagesPrivate *d;
};

// The messages of every file of a project in one table: text, file name, line. It does not
// own the Messages it lists, and rebuilds its rows whenever one of them changes.
class ZORNX_EXPORT MessageList : public QAbstractTableModel
{
    Q_OBJECT
public:
    explicit MessageList(Project *project);
    ~MessageList() override;

    void registerMessages(Messages *messages);
    void unregisterMessages(Messages *messages);
    void update();

    // The message of a table row; owner is set to the Messages that holds it, and left alone
    // when row is past the end (the message is then empty).
    Message messageAt(int row, const Messages *&owner) const;

    unsigned int errorCount() const;
    unsigned int warningCount() const;

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    int columnCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

Q_SIGNALS:
    void updated();

private:
    Q_DISABLE_COPY(MessageList)
    MessageListPrivate *d;
};

} // namespace Zorn

#endif
