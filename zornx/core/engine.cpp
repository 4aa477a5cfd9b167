#include "engine.h"
#include "engine_p.h"

#include "archive.h"
#include "interface.h"

#include <QtCore/QFile>
#include <QtCore/QRegularExpression>
#include <QtCore/QXmlStreamReader>
#include <QtCore/QXmlStreamWriter>
#include <QtGui/QColor>
#include <QtGui/QIcon>
#include <QtWidgets/QMessageBox>

namespace Zorn {

// ---------------------------------------------------------------------------------------------
// EngineInstances

EngineInstances::EngineInstances(const QString &name) : d(new EngineInstancesPrivate)
{
    d->basePath = QStringLiteral("/engines/") + name;
    // A host without a user directory keeps no configuration file, rather than one at the root.
    Interface *host = Interface::instance();
    const QString userPath = host ? host->engineUserPath() : QString();
    if (!userPath.isEmpty())
        d->configFile = userPath + QLatin1Char('/') + name + QStringLiteral("_config.xml");
}

EngineInstances::~EngineInstances()
{
    qDeleteAll(d->instances);
    delete d;
}

QString EngineInstances::basePath() const
{
    return d->basePath;
}

QString EngineInstances::configFile() const
{
    return d->configFile;
}

unsigned int EngineInstances::count() const
{
    return unsigned(d->instances.size());
}

EngineInstances::Info EngineInstances::at(unsigned int index) const
{
    return index < count() ? *d->instances.at(int(index)) : Info();
}

void EngineInstances::add(QString name, QString exe, QString params, QString icon)
{
    const int row = d->instances.size();
    beginInsertRows(QModelIndex(), row, row);
    d->instances.append(new Info{name, exe, params, icon});
    endInsertRows();
}

void EngineInstances::edit(unsigned int index, QString name, QString exe, QString params,
                           QString icon)
{
    if (index >= count())
        return;
    *d->instances.at(int(index)) = Info{name, exe, params, icon};
    const QModelIndex changed = createIndex(int(index), 0);
    emit dataChanged(changed, changed);
}

void EngineInstances::remove(unsigned int index)
{
    if (index >= count())
        return;
    beginRemoveRows(QModelIndex(), int(index), int(index));
    delete d->instances.takeAt(int(index));
    endRemoveRows();
}

void EngineInstances::move(unsigned int from, unsigned int to)
{
    if (from >= count() || to >= count() || from == to)
        return;
    // The model's destination is the row before which the entry lands, counted before the move.
    const int destination = int(to > from ? to + 1 : to);
    beginMoveRows(QModelIndex(), int(from), int(from), QModelIndex(), destination);
    d->instances.move(int(from), int(to));
    endMoveRows();
}

void EngineInstances::clear()
{
    if (d->instances.isEmpty())
        return;
    beginRemoveRows(QModelIndex(), 0, d->instances.size() - 1);
    qDeleteAll(d->instances);
    d->instances.clear();
    endRemoveRows();
}

void EngineInstances::replaceInstances(const QList<Info *> &instances)
{
    clear();
    if (instances.isEmpty())
        return;
    beginInsertRows(QModelIndex(), 0, instances.size() - 1);
    d->instances = instances;
    endInsertRows();
}

int EngineInstances::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : d->instances.size();
}

QVariant EngineInstances::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.column() != 0 || index.row() >= d->instances.size())
        return QVariant();
    const Info *info = d->instances.at(index.row());
    switch (role) {
    case Qt::DisplayRole:
        return info->name;
    case Qt::DecorationRole:
        if (!info->icon.isEmpty())
            return QIcon(info->icon);
        if (Interface *host = Interface::instance())
            return QIcon(host->engineDataPath() + d->basePath + QStringLiteral("/icon.png"));
        return QIcon(d->basePath + QStringLiteral("/icon.png"));
    }
    return QVariant();
}

// ---------------------------------------------------------------------------------------------
// EnginePrivate

namespace {

const char configurationTitle[] = "Configuration error!";

void configurationError(const QString &text)
{
    QMessageBox::critical(nullptr, QString::fromLatin1(configurationTitle), text,
                          QMessageBox::Ok);
}

QString configValue(const QVariant &value)
{
    switch (value.userType()) {
    case QMetaType::QRect: {
        const QRect rect = value.toRect();
        return QStringLiteral("%1,%2,%3,%4")
            .arg(rect.x())
            .arg(rect.y())
            .arg(rect.width())
            .arg(rect.height());
    }
    case QMetaType::QColor: {
        const QColor color = value.value<QColor>();
        return QStringLiteral("%1,%2,%3").arg(color.red()).arg(color.green()).arg(color.blue());
    }
    }
    return value.toString();
}

QVariant parseConfigValue(const QString &text)
{
    static const QRegularExpression numbers(
        QStringLiteral("^(\\d+)\\,(\\d+)\\,(\\d+)(?:\\,(\\d+))?$"));
    const QRegularExpressionMatch match = numbers.match(text);
    if (!match.hasMatch())
        return text;
    const int a = match.captured(1).toInt();
    const int b = match.captured(2).toInt();
    const int c = match.captured(3).toInt();
    if (match.capturedLength(4) > 0)
        return QRect(a, b, c, match.captured(4).toInt());
    return QColor(a, b, c, 255);
}

} // namespace

EnginePrivate::EnginePrivate(const QString &name)
    : EngineInstances(name), data(new EnginePrivateData)
{
    load();
}

EnginePrivate::~EnginePrivate()
{
    if (!data->loadFailed)
        save();
    delete data;
}

Engine *EnginePrivate::publicEngine()
{
    return static_cast<Engine *>(this);
}

QVariant EnginePrivate::option(const QString &name, const QVariant &fallback) const
{
    const auto it = data->options.constFind(name);
    if (it != data->options.constEnd())
        return it.value();
    if (Interface *host = Interface::instance())
        return host->option(name, fallback);
    return fallback;
}

void EnginePrivate::setOption(const QString &name, const QVariant &value)
{
    data->options.insert(name, value);
}

bool EnginePrivate::save()
{
    const QString fileName = configFile();
    const QString failure = QStringLiteral("Can't save engine configuration to '%1'!");
    if (fileName.isEmpty())
        return true;

    // The archive writes beside an existing file and replaces it only once all is written.
    Archive &archive = FileSystemArchive::instance();
    QIODevice *device = archive.openFile(fileName, QIODevice::WriteOnly);
    if (!device) {
        configurationError(failure.arg(fileName));
        return false;
    }
    QXmlStreamWriter writer(device);
    writer.setAutoFormatting(true);
    writer.writeStartDocument();
    save(&writer);
    writer.writeEndDocument();
    if (writer.hasError()) {
        archive.discardFile(device);
        configurationError(failure.arg(fileName));
        return false;
    }
    if (!archive.closeFile(device)) {
        configurationError(failure.arg(fileName));
        return false;
    }
    data->loadFailed = false;
    return true;
}

bool EnginePrivate::load()
{
    const QString fileName = configFile();
    if (fileName.isEmpty() || !QFile::exists(fileName))
        return true;

    Archive &archive = FileSystemArchive::instance();
    QIODevice *device = archive.openFile(fileName, QIODevice::ReadOnly);
    if (!device) {
        data->loadFailed = true;
        configurationError(
            QStringLiteral("Can't open engine configuration from '%1'!").arg(fileName));
        return false;
    }
    QXmlStreamReader reader(device);
    reader.setNamespaceProcessing(false);
    if (!load(&reader)) {
        Interface *host = Interface::instance();
        QString title = host ? host->text(0) : QString();
        if (title.isEmpty())
            title = QString::fromLatin1(configurationTitle);
        QString format = host ? host->text(1) : QString();
        if (format.isEmpty())
            format = QStringLiteral("%1\nLine %2, column %3.");
        const QString text =
            format.arg(reader.errorString()).arg(reader.lineNumber()).arg(reader.columnNumber());
        QMessageBox::critical(host ? host->mainWidget() : nullptr, title, text, QMessageBox::Ok);
    }
    archive.closeFile(device);
    data->loadFailed = reader.hasError();
    return !reader.hasError();
}

bool EnginePrivate::load(QXmlStreamReader *reader)
{
    clear();

    QList<Info *> read;
    while (!reader->atEnd() && !reader->hasError()) {
        const QXmlStreamReader::TokenType token = reader->readNext();
        if (token == QXmlStreamReader::EndElement
            && reader->name() == QLatin1String("configuration"))
            break;
        if (token != QXmlStreamReader::StartElement)
            continue;

        const QXmlStreamAttributes attributes = reader->attributes();
        if (reader->name() == QLatin1String("engine")) {
            Info info;
            info.name = attributes.value(QLatin1String("name")).toString();
            while (reader->readNextStartElement()) {
                if (reader->name() == QLatin1String("param")) {
                    const QXmlStreamAttributes param = reader->attributes();
                    const QStringRef key = param.value(QLatin1String("name"));
                    const QString value = param.value(QLatin1String("value")).toString();
                    if (key == QLatin1String("exe"))
                        info.exe = value;
                    else if (key == QLatin1String("icon"))
                        info.icon = value;
                    else if (key == QLatin1String("params"))
                        info.params = value;
                }
                reader->skipCurrentElement();
            }
            // An engine cut short by an error is not a finished entry.
            if (!reader->hasError())
                read.append(new Info(info));
        } else if (reader->name() == QLatin1String("config")) {
            setOption(attributes.value(QLatin1String("name")).toString(),
                      parseConfigValue(attributes.value(QLatin1String("value")).toString()));
        }
    }

    replaceInstances(read);
    return !reader->hasError();
}

bool EnginePrivate::save(QXmlStreamWriter *writer)
{
    writer->writeStartElement(QStringLiteral("configuration"));
    for (unsigned int i = 0; i < count(); ++i) {
        const Info info = at(i);
        writer->writeStartElement(QStringLiteral("engine"));
        writer->writeAttribute(QStringLiteral("name"), info.name);
        const QPair<QString, QString> params[] = {
            {QStringLiteral("exe"), info.exe},
            {QStringLiteral("icon"), info.icon},
            {QStringLiteral("params"), info.params},
        };
        for (const auto &param : params) {
            writer->writeStartElement(QStringLiteral("param"));
            writer->writeAttribute(QStringLiteral("name"), param.first);
            writer->writeAttribute(QStringLiteral("value"), param.second);
            writer->writeEndElement();
        }
        writer->writeEndElement();
    }
    for (auto it = data->options.cbegin(); it != data->options.cend(); ++it) {
        writer->writeStartElement(QStringLiteral("config"));
        writer->writeAttribute(QStringLiteral("name"), it.key());
        writer->writeAttribute(QStringLiteral("value"), configValue(it.value()));
        writer->writeEndElement();
    }
    writer->writeEndElement();
    return !writer->hasError();
}

void Engine::registerCustomOptions(QWidget *) {}

void Engine::registerScriptClasses(lua_State *) {}

Debugger *Engine::debugger() const
{
    return nullptr;
}

Emulator *Engine::emulator() const
{
    return nullptr;
}

// ---------------------------------------------------------------------------------------------
// Engine

Engine::Engine(const QString &name) : EnginePrivate(name) {}

Engine::~Engine() = default;

} // namespace Zorn
