#include "extension.h"
#include "extension_p.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QLibrary>

#include <dlfcn.h>

namespace Zorn {

namespace {

const char *pluginSuffix()
{
#if defined(Q_OS_WIN)
    return "dll";
#elif defined(Q_OS_DARWIN)
    return "dylib";
#else
    return "so";
#endif
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Extension

Extension::~Extension() = default;

void Extension::release()
{
    delete this;
}

const char *Extension::identifier() const
{
    return format();
}

Extension::Type ArchiveExtension::type() const
{
    return ArchiveType;
}

// ---------------------------------------------------------------------------------------------
// ExtensionManager

ExtensionRegistry &ExtensionRegistry::instance()
{
    static ExtensionRegistry registry;
    return registry;
}

ExtensionManager::ExtensionManager(const QString &directory)
{
    const QString pattern =
        QStringLiteral("*%1.%2").arg(QLatin1String("x"), QLatin1String(pluginSuffix()));
    const QStringList names = QDir(directory).entryList(
        QStringList(pattern), QDir::Files | QDir::NoDotAndDotDot, QDir::NoSort);
    for (const QString &name : names) {
        auto *library = new QLibrary(directory + QLatin1Char('/') + name);
        const auto entry =
            reinterpret_cast<RegisterExtensionFunction>(library->resolve("registerExtension"));
        if (!entry) {
            // resolve() loaded it; a library that is no plug-in goes again at once.
            library->unload();
            delete library;
            continue;
        }
        // Kept before the call, so that the destructor unloads it whatever the entry point did.
        ExtensionRegistry::instance().libraries.append(library);
        entry(this);
    }
}

ExtensionManager::~ExtensionManager()
{
    ExtensionRegistry &registry = ExtensionRegistry::instance();
    // Every extension's code lives in its library: all are released before any is unloaded.
    for (QList<Extension *> &list : registry.lists)
        while (!list.isEmpty())
            list.takeFirst()->release();
    while (!registry.libraries.isEmpty()) {
        QLibrary *library = registry.libraries.takeFirst();
        library->unload();
        delete library;
    }
}

bool ExtensionManager::add(Extension *extension)
{
    if (!extension)
        return false;
    const int type = extension->type();
    if (type < 0 || type >= Extension::TypeCount)
        return false;
    QList<Extension *> &list = ExtensionRegistry::instance().lists[type];
    // The pointers are compared, not the texts: one format object, one extension.
    const bool byIdentifier = type == Extension::Type16;
    const char *key = byIdentifier ? extension->identifier() : extension->format();
    for (const Extension *member : qAsConst(list))
        if ((byIdentifier ? member->identifier() : member->format()) == key)
            return false;
    list.append(extension);
    return true;
}

const QList<Extension *> &ExtensionManager::list(Extension::Type type)
{
    static const QList<Extension *> none;
    if (int(type) < 0 || int(type) >= Extension::TypeCount)
        return none;
    return ExtensionRegistry::instance().lists[type];
}

QString ExtensionManager::installedDirectory()
{
    Dl_info info;
    if (dladdr(reinterpret_cast<void *>(&ExtensionManager::installedDirectory), &info)
        && info.dli_fname) {
        const QString beside = QFileInfo(QString::fromLocal8Bit(info.dli_fname)).absolutePath()
            + QStringLiteral("/zornx/extensions");
        if (QFileInfo(beside).isDir())
            return beside;
    }
#ifdef ZORNX_BUILD_EXTENSIONS_DIR
    if (QFileInfo(QStringLiteral(ZORNX_BUILD_EXTENSIONS_DIR)).isDir())
        return QStringLiteral(ZORNX_BUILD_EXTENSIONS_DIR);
#endif
    return QString();
}

} // namespace Zorn
