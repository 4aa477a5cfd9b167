#ifndef ZORNX_CORE_EXTENSION_H
#define ZORNX_CORE_EXTENSION_H

#include <zornx/global.h>

#include <QtCore/QList>
#include <QtCore/QString>

namespace Zorn {

class Archive;
class ExtensionManager;

// A format added by a plug-in. The plug-in makes its objects in registerExtension() and hands
// them to ExtensionManager::add(); the manager calls release() on each when it shuts down,
// before it unloads any plug-in.
class ZORNX_EXPORT Extension
{
public:
    // The list an extension belongs to; the library asks each list where it meets a format.
    enum Type {
        ArchiveType = 0,         // ArchiveExtension
        ImageReaderType = 1,
        ImageWriterType = 2,
        PaletteReaderType = 3,
        PaletteWriterType = 4,
        SoundReaderType = 5,
        SoundWriterType = 6,
        Type7 = 7,
        Type8 = 8,
        AnimationImportType = 9,
        AnimationExportType = 10,
        Type11 = 11,
        Type12 = 12,
        Type13 = 13,
        Type14 = 14,
        SoundToolType = 15,
        Type16 = 16, // told apart by identifier(), not by format()
    };
    enum { TypeCount = 17 };

    // Base: delete this.
    virtual void release();
    virtual ~Extension();
    virtual Type type() const = 0;
    // The format's identifying string, e.g. "ZIP". Extensions are told apart by this pointer,
    // not by its characters.
    virtual const char *format() const = 0;
    // What tells extensions of type 16 apart; base: format().
    virtual const char *identifier() const;
};

// Type 0: a kind of archive file.
class ZORNX_EXPORT ArchiveExtension : public Extension
{
public:
    enum Mode { Write = 0, Read = 1 };

    Type type() const override;
    // An archive over file, or null when file cannot be opened in that mode.
    virtual Archive *createArchive(const QString &file, int mode) = 0;
};

// Loads the plug-ins of a directory and keeps one list of extensions per type. The lists and
// the loaded libraries are shared by every manager; the destructor of one releases them all.
//
// A plug-in is a shared library whose file name ends in "x" and the platform's suffix
// ("zipx.so") and which exports
//     extern "C" void registerExtension(Zorn::ExtensionManager *manager);
class ZORNX_EXPORT ExtensionManager
{
public:
    explicit ExtensionManager(const QString &directory);
    ~ExtensionManager();
    ExtensionManager(const ExtensionManager &) = delete;
    ExtensionManager &operator=(const ExtensionManager &) = delete;

    // Appends extension to the list of its type unless one there has the same format pointer
    // (identifier pointer for type 16): the first wins. false when not taken; the object then
    // stays with the caller.
    static bool add(Extension *extension);
    // Extensions of type in the order they were added; empty for a type out of range.
    static const QList<Extension *> &list(Extension::Type type);
    // Where the plug-ins that come with the library live: "zornx/extensions" beside the
    // loaded libzornx (<prefix>/lib/zornx/extensions when installed, the same directory as
    // zornx_EXTENSIONS_DIR of the CMake package), or the build tree's plug-in directory when
    // the library runs from its build tree. Empty when neither exists.
    static QString installedDirectory();
};

typedef void (*RegisterExtensionFunction)(ExtensionManager *manager);

} // namespace Zorn

#endif
