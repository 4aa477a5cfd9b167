#ifndef ZORNX_CORE_MESSAGES_P_H
#define ZORNX_CORE_MESSAGES_P_H

#include <zornx/core/messages.h>

#include <QtCore/QList>

namespace Zorn {

class SimpleMessagesPrivate
{
public:
    ProjectFile *file = nullptr;
    QList<Message *> entries; // owned
    quint32 counts[3] = {0, 0, 0}; // per type: error, warning, information
    qint32 changing = 0;
};

class MessageListPrivate
{
public:
    Project *project = nullptr;
    QList<Messages *> messages; // in registration order, not owned
    quint32 errors = 0;
    quint32 warnings = 0;
    quint32 informations = 0;
    quint32 rows = 0;
    Message::Type filter = Message::All;
};

// How the table learns the name of a message's file. Core cannot see ProjectFile, so the
// project layer installs a function that asks the file; until then the file column is empty.
using MessageFileNameFunction = QString (*)(const ProjectFile *file);
ZORNX_EXPORT void setMessageFileNameFunction(MessageFileNameFunction function);

} // namespace Zorn

#endif
