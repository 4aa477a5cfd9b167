// The plug-ins "alpha" and "beta" of the extension manager's test, one source built twice.

#include "pluginlog.h"

#include <zornx/core/extension.h>

namespace {

UnloadLogger unloadLogger{PLUGIN_ID};

struct TestExtension : Zorn::Extension
{
    TestExtension(int type, const char *format, const char *id) : kind(type), text(format), id(id)
    {
    }
    void release() override
    {
        pluginLog("release", id);
        delete this;
    }
    Type type() const override { return Type(kind); }
    const char *format() const override { return text; }
    const char *identifier() const override { return id; }
    int kind;
    const char *text, *id;
};

// Distinct arrays: equal texts at different addresses.
const char one[] = "ONE", dup[] = "DUP", pal[] = "PAL", sameA[] = "SAME", sameB[] = "SAME";
const char t16[] = "T16", t16Other[] = "T16B", t16Identifier[] = "alpha.t16.a";

} // namespace

extern "C" Q_DECL_EXPORT void registerExtension(Zorn::ExtensionManager *manager)
{
    char text[64];
    std::snprintf(text, sizeof text, "%p", static_cast<void *>(manager));
    pluginLog("register " PLUGIN_ID, text);
    const TestExtension offers[] = {
#if defined(PLUGIN_ALPHA)
        {1, one, "alpha.one"},         {2, dup, "alpha.dup"},
        {3, pal, "alpha.pal.first"},   {3, pal, "alpha.pal.second"},
        {4, sameA, "alpha.same.a"},    {4, sameB, "alpha.same.b"},
        {16, t16, t16Identifier},      {16, t16, "alpha.t16.b"},
        {16, t16Other, t16Identifier}, {Zorn::Extension::TypeCount, one, "alpha.out.of.range"},
#else
        {1, one, "beta.one"}, {2, dup, "beta.dup"},
#endif
    };
    for (const TestExtension &offer : offers) {
        auto *extension = new TestExtension(offer);
        if (!Zorn::ExtensionManager::add(extension))
            delete extension;
    }
}
