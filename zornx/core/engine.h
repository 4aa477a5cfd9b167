#ifndef ZORNX_CORE_ENGINE_H
#define ZORNX_CORE_ENGINE_H

#include <zornx/global.h>

#include <QtCore/QAbstractListModel>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QVariant>

class QWidget;
class QXmlStreamReader;
class QXmlStreamWriter;
struct lua_State;

namespace Zorn {

class Debugger;
class Emulator;
class Engine;
class EngineInstancesPrivate;
class EnginePrivateData;
class Project;
class ProjectFile;

// The installed copies of an engine that the user has registered, as a list model: the
// display role is a copy's name, the decoration role its icon.
class ZORNX_EXPORT EngineInstances : public QAbstractListModel
{
    Q_OBJECT
public:
    struct Info
    {
        QString name;   // what the user calls this copy
        QString exe;    // its executable
        QString params; // command-line parameters
        QString icon;   // an icon file, may be empty
    };

    explicit EngineInstances(const QString &name);
    ~EngineInstances() override;

    // "/engines/" and the engine's name.
    QString basePath() const;
    // <engine user path>/<name>_config.xml; empty without a host Interface.
    QString configFile() const;

    unsigned int count() const;
    // An empty Info for an index out of range.
    Info at(unsigned int index) const;
    void add(QString name, QString exe, QString params, QString icon);
    void edit(unsigned int index, QString name, QString exe, QString params, QString icon);
    void remove(unsigned int index);
    // Afterwards the entry stands at to.
    void move(unsigned int from, unsigned int to);
    void clear();

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

protected:
    // Replaces the whole list in two pairs of row signals: the removal of the old rows and
    // the insertion of the new ones. Takes ownership of the entries.
    void replaceInstances(const QList<Info *> &instances);

private:
    EngineInstancesPrivate *d;
};

// What every engine shares: its instances and configuration values, read from
// <name>_config.xml at construction and written back at destruction. Nothing here is for a
// module to override: an engine module derives the concrete engine from Engine and implements
// its operations.
class ZORNX_EXPORT EnginePrivate : public EngineInstances
{
    Q_OBJECT
public:
    // The engine's own enumeration; these values have a fixed use in the library. Others are
    // the module's to define.
    enum StringType {
        LineComment = 0,  // index 0: the line-comment marker
        GameMarkerFile = 2, // index 0: a file whose presence marks a game directory
        FileTypeName = 4,   // index: a project file type
    };

    explicit EnginePrivate(const QString &name);
    ~EnginePrivate() override;

    Engine *publicEngine();

    // The engine's value of name, else the host's, else fallback.
    QVariant option(const QString &name, const QVariant &fallback) const;
    // Stores value, also a null one.
    void setOption(const QString &name, const QVariant &value);

    bool load();
    bool save();
    bool load(QXmlStreamReader *reader);
    bool save(QXmlStreamWriter *writer);

private:
    EnginePrivateData *data;
};

// The public face of an engine description, and the class an engine module derives from. The
// library calls the operations below; the module implements the three pure ones. The
// configuration is read when the engine is made and written when it is destroyed.
class ZORNX_EXPORT Engine : public EnginePrivate
{
    Q_OBJECT
public:
    // name gives the configuration file <engine user path>/<name>_config.xml and the
    // "/engines/<name>" data directory.
    explicit Engine(const QString &name);
    ~Engine() override;

    // Adds the engine's own controls to an options page; the base adds nothing.
    virtual void registerCustomOptions(QWidget *parent);
    // Adds the engine's own script classes to the host's Lua state; the base adds nothing.
    virtual void registerScriptClasses(lua_State *lua);
    // Null (the base) when the engine has none.
    virtual Debugger *debugger() const;
    virtual Emulator *emulator() const;
    // A text of the engine: LineComment with index 0 the line-comment marker (the code uses
    // its first character in places), GameMarkerFile with index 0 the name of a file whose
    // presence makes a directory a game, FileTypeName with a project file type that type's
    // name. Other values are the module's own; an empty string where there is no answer.
    virtual QString queryString(StringType type, unsigned int index) const = 0;
    // The patterns "Save as" offers, by project file type: "*.ini", or "*.ini*.cfg" for two.
    virtual QMap<int, QString> singleFileFilters() const = 0;
    // A new, empty file of the type, with one reference that the caller owns; null when the
    // engine makes no such file. Type 4 gives the document the snippet dialog shows.
    virtual ProjectFile *createFile(int type, Project *project) = 0;
};

} // namespace Zorn

#endif
