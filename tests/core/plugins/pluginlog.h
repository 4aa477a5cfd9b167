#ifndef ZORNX_TESTS_PLUGINLOG_H
#define ZORNX_TESTS_PLUGINLOG_H

// The test plug-ins report what happens to them, line by line, to the file named by
// ZORNX_TEST_PLUGIN_LOG: plain C I/O, since part of it runs while the library is unloaded.

#include <cstdio>
#include <cstdlib>

inline void pluginLog(const char *what, const char *label)
{
    const char *path = std::getenv("ZORNX_TEST_PLUGIN_LOG");
    if (!path)
        return;
    if (std::FILE *file = std::fopen(path, "a")) {
        std::fprintf(file, "%s %s\n", what, label);
        std::fclose(file);
    }
}

// One static object per plug-in: its destructor runs when the library is unloaded.
struct UnloadLogger
{
    explicit UnloadLogger(const char *name) : name(name) {}
    ~UnloadLogger() { pluginLog("unload", name); }
    const char *name;
};

#endif
