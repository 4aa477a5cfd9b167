#include "messages.h"
#include "messages_p.h"

#include "interface.h"

#include <QtCore/QFileInfo>
#include <QtGui/QIcon>

#include <climits>

namespace Zorn {

namespace {

MessageFileNameFunction fileNameFunction = nullptr;

QIcon messageIcon(Message::Type type)
{
    if (const Interface *host = Interface::instance()) {
        switch (type) {
        case Message::Warning:
            return host->icon(QStringLiteral("warning"));
        case Message::Information:
            return host->icon(QStringLiteral("information"));
        default:
            return host->icon(QStringLiteral("error"));
        }
    }
    switch (type) {
    case Message::Warning:
        return QIcon(QStringLiteral(":/zornl_icons/icons/warn.png"));
    case Message::Information:
        return QIcon(QStringLiteral(":/zornl_icons/icons/info.png"));
    default:
        return QIcon(QStringLiteral(":/zornl_icons/icons/error.png"));
    }
}

bool isSingleType(Message::Type type)
{
    return type >= Message::Error && type <= Message::Information;
}

int clampedRows(quint32 rows)
{
    return rows > quint32(INT_MAX) ? INT_MAX : int(rows);
}

} // namespace

void setMessageFileNameFunction(MessageFileNameFunction function)
{
    fileNameFunction = function;
}

// Messages

Messages::Messages(QObject *parent) : QAbstractListModel(parent), list(nullptr)
{
}

Messages::~Messages()
{
    // The derived part is gone already; unregistering first keeps update() from asking it.
    if (list)
        list->unregisterMessages(this);
}

MessageList *Messages::messageList() const
{
    return list;
}

void Messages::notifyUpdate()
{
    if (list)
        list->update();
}

int Messages::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : clampedRows(count(Message::All));
}

QVariant Messages::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() < 0 || index.row() >= rowCount())
        return QVariant();
    switch (role) {
    case Qt::DisplayRole:
        return at(unsigned(index.row()), Message::All).text;
    case Qt::DecorationRole:
        if (index.column() != 0)
            return QIcon();
        return messageIcon(at(unsigned(index.row()), Message::All).type);
    default:
        return QVariant();
    }
}

// SimpleMessages

SimpleMessages::SimpleMessages(ProjectFile *file) : d(new SimpleMessagesPrivate)
{
    d->file = file;
}

SimpleMessages::~SimpleMessages()
{
    qDeleteAll(d->entries);
    delete d;
}

ProjectFile *SimpleMessages::file() const
{
    return d->file;
}

unsigned int SimpleMessages::count(Message::Type type) const
{
    if (type == Message::All)
        return unsigned(d->entries.size());
    return isSingleType(type) ? d->counts[type] : 0;
}

Message SimpleMessages::at(unsigned int index, Message::Type type) const
{
    if (type == Message::All)
        return index < unsigned(d->entries.size()) ? *d->entries.at(int(index)) : Message();
    if (!isSingleType(type) || index >= d->counts[type])
        return Message();
    for (const Message *message : qAsConst(d->entries)) {
        if (message->type == type && index-- == 0)
            return *message;
    }
    return Message();
}

void SimpleMessages::add(Message::Type type, const QString &text, unsigned int line,
                         unsigned int column)
{
    // Only the three real types have a counter; anything else would break count(All).
    if (!isSingleType(type))
        return;
    const int row = d->entries.size();
    beginInsertRows(QModelIndex(), row, row);
    d->entries.append(new Message(type, line, column, text));
    ++d->counts[type];
    endInsertRows();
    if (d->changing == 0)
        notifyUpdate();
}

void SimpleMessages::clear()
{
    d->counts[0] = d->counts[1] = d->counts[2] = 0;
    if (d->entries.isEmpty())
        return;
    beginRemoveRows(QModelIndex(), 0, d->entries.size() - 1);
    qDeleteAll(d->entries);
    d->entries.clear();
    endRemoveRows();
    if (d->changing == 0)
        notifyUpdate();
}

void SimpleMessages::beginChange()
{
    ++d->changing;
}

void SimpleMessages::endChange()
{
    // An unmatched end would leave the counter below zero and silence the list for good.
    if (d->changing == 0)
        return;
    if (--d->changing == 0)
        notifyUpdate();
}

// MessageList

MessageList::MessageList(Project *project) : d(new MessageListPrivate)
{
    d->project = project;
}

MessageList::~MessageList()
{
    // The objects outlive the list; they must not reach back into it.
    for (Messages *messages : qAsConst(d->messages))
        messages->list = nullptr;
    delete d;
}

void MessageList::registerMessages(Messages *messages)
{
    if (!messages)
        return;
    // An object names one list only.
    if (messages->list && messages->list != this)
        messages->list->unregisterMessages(messages);
    messages->list = this;
    if (!d->messages.contains(messages))
        d->messages.append(messages);
    update();
}

void MessageList::unregisterMessages(Messages *messages)
{
    if (!messages || messages->list != this)
        return;
    messages->list = nullptr;
    d->messages.removeAll(messages);
    update();
}

void MessageList::update()
{
    // Rebuilt rather than patched: the objects changed before anyone told us, so there is no
    // old state left to compute a difference from.
    if (d->rows > 0) {
        beginRemoveRows(QModelIndex(), 0, clampedRows(d->rows) - 1);
        d->rows = 0;
        endRemoveRows();
    }
    d->errors = d->warnings = d->informations = 0;
    d->rows = 0;
    for (const Messages *messages : qAsConst(d->messages)) {
        d->errors += messages->count(Message::Error);
        d->warnings += messages->count(Message::Warning);
        d->informations += messages->count(Message::Information);
    }
    quint32 rows = 0;
    switch (d->filter) {
    case Message::Error:
        rows = d->errors;
        break;
    case Message::Warning:
        rows = d->warnings;
        break;
    case Message::Information:
        rows = d->informations;
        break;
    default:
        rows = d->errors + d->warnings + d->informations;
        break;
    }
    if (rows > 0) {
        beginInsertRows(QModelIndex(), 0, clampedRows(rows) - 1);
        d->rows = rows;
        endInsertRows();
    }
    emit updated();
}

Message MessageList::messageAt(int row, const Messages *&owner) const
{
    if (row < 0)
        return Message();
    unsigned int rest = unsigned(row);
    for (const Messages *messages : qAsConst(d->messages)) {
        const unsigned int rows = messages->count(d->filter);
        if (rest < rows) {
            owner = messages;
            return messages->at(rest, d->filter);
        }
        rest -= rows;
    }
    return Message();
}

unsigned int MessageList::errorCount() const
{
    return d->errors;
}

unsigned int MessageList::warningCount() const
{
    return d->warnings;
}

int MessageList::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : clampedRows(d->rows);
}

int MessageList::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : 3;
}

QVariant MessageList::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() < 0 || index.row() >= rowCount() || index.column() < 0
        || index.column() >= 3)
        return QVariant();
    const Messages *owner = nullptr;
    const Message message = messageAt(index.row(), owner);
    switch (role) {
    case Qt::DisplayRole:
        switch (index.column()) {
        case 0:
            return message.text;
        case 1: {
            const ProjectFile *file = owner ? owner->file() : nullptr;
            if (!file || !fileNameFunction)
                return QString();
            return QFileInfo(fileNameFunction(file)).fileName();
        }
        default:
            return message.line + 1;
        }
    case Qt::DecorationRole:
        return index.column() == 0 ? messageIcon(message.type) : QIcon();
    default:
        return QVariant();
    }
}

} // namespace Zorn
