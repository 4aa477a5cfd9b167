// The plug-ins "alpha" and "beta" of the extension manager's test, one source built twice.
// Identifiers name each extension uniquely, except where a test needs one shared pointer.

#include "pluginlog.h"

#include <zornx/core/extension.h>

namespace {

UnloadLogger unloadLogger(PLUGIN_ID);

class TestExtension : public Zorn::Extension
{
public:
    TestExtension(int type, const char *format, const char *identifier)
        : kind(type), formatText(format), id(identifier)
    {
    }
    ~TestExtension() override { pluginLog("delete", id); }
    void release() override
    {
        pluginLog("release", id);
        delete this;
    }
    Type type() const override { return Type(kind); }
    const char *format() const override { return formatText; }
    const char *identifier() const override { return id; }

private:
    int kind;
    const char *formatText;
    const char *id;
};

void offer(int type, const char *format, const char *identifier)
{
    auto *extension = new TestExtension(type, format, identifier);
    if (!Zorn::ExtensionManager::add(extension)) {
        pluginLog("refused", identifier);
        delete extension;
    }
}

// Distinct arrays: equal texts at different addresses.
const char one[] = "ONE";
const char dup[] = "DUP";
#if defined(PLUGIN_ALPHA)
const char palette[] = "PAL";
const char sameA[] = "SAME";
const char sameB[] = "SAME";
const char t16[] = "T16";
const char t16Other[] = "T16B";
const char t16Identifier[] = "alpha.t16.a";
#endif

} // namespace

extern "C" Q_DECL_EXPORT void registerExtension(Zorn::ExtensionManager *manager)
{
    char text[64];
    std::snprintf(text, sizeof text, "%p", static_cast<void *>(manager));
    pluginLog("register " PLUGIN_ID, text);
#if defined(PLUGIN_ALPHA)
    offer(Zorn::Extension::ImageReaderType, one, "alpha.one");
    offer(Zorn::Extension::ImageWriterType, dup, "alpha.dup");
    offer(Zorn::Extension::PaletteReaderType, palette, "alpha.pal.first");
    offer(Zorn::Extension::PaletteReaderType, palette, "alpha.pal.second");
    offer(Zorn::Extension::PaletteWriterType, sameA, "alpha.same.a");
    offer(Zorn::Extension::PaletteWriterType, sameB, "alpha.same.b");
    offer(Zorn::Extension::Type16, t16, t16Identifier);
    offer(Zorn::Extension::Type16, t16, "alpha.t16.b");
    offer(Zorn::Extension::Type16, t16Other, t16Identifier);
    offer(Zorn::Extension::TypeCount, one, "alpha.out.of.range");
#else
    offer(Zorn::Extension::ImageReaderType, one, "beta.one");
    offer(Zorn::Extension::ImageWriterType, dup, "beta.dup");
#endif
}
