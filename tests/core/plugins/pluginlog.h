#ifndef ZORNX_TESTS_PLUGINLOG_H
#define ZORNX_TESTS_PLUGINLOG_H

// The test plug-ins append what happens to them to the file named by ZORNX_TEST_PLUGIN_LOG,
// with plain C I/O, since part of it runs while the library is being unloaded.

#include <cstdio>
#include <cstdlib>

inline void pluginLog(const char *what, const char *label)
{
    const char *path = std::getenv("ZORNX_TEST_PLUGIN_LOG");
    if (std::FILE *file = path ? std::fopen(path, "a") : nullptr) {
        std::fprintf(file, "%s %s\n", what, label);
        std::fclose(file);
    }
}

// One static object per plug-in: its destructor runs when the library is unloaded.
struct UnloadLogger
{
    const char *name;
    ~UnloadLogger() { pluginLog("unload", name); }
};

#endif
