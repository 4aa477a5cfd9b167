// The "ZIP" archive extension: backups of whole projects as one .zip file.

#include "ziparchive.h"

#include <zornx/core/extension.h>

namespace {

// The manager tells archive kinds apart by this pointer.
const char zipFormat[] = "ZIP";

class ZipExtension : public Zorn::ArchiveExtension
{
public:
    const char *format() const override { return zipFormat; }
    Zorn::Archive *createArchive(const QString &file, int mode) override
    {
        return ZornZip::ZipArchive::open(file, mode);
    }
};

} // namespace

extern "C" Q_DECL_EXPORT void registerExtension(Zorn::ExtensionManager *)
{
    auto *extension = new ZipExtension;
    if (!Zorn::ExtensionManager::add(extension))
        extension->release();
}
