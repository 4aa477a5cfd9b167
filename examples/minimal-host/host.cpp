#include "host.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QTextStream>

namespace {

class PrintingJob : public Zorn::ProviderJob
{
public:
    explicit PrintingJob(const QString &title) : title(title) {}
    void error(const QString &text) override
    {
        QTextStream(stdout) << "  [" << title << "] error: " << text << '\n';
    }
    void setMaximum(unsigned int value) override { maximum = value; }
    void setValue(unsigned int v) override { value = v; }
    void incrementValue() override { ++value; }
    bool wasCancelled() const override { return false; }
    void setBackground(bool) override {}

private:
    QString title;
    unsigned int maximum = 0;
    unsigned int value = 0;
};

} // namespace

MinimalHost::MinimalHost()
{
    // The settings a host is expected to answer.
    options.insert(QStringLiteral("enable_file_watcher"), true);
    options.insert(QStringLiteral("showmsg_reload_file"), 1);
    options.insert(QStringLiteral("use_native_open"), false);
    options.insert(QStringLiteral("sort_file_names"), true);
    Zorn::setGlobalInterface(this);
}

MinimalHost::~MinimalHost()
{
    Zorn::setGlobalInterface(nullptr);
}

QString MinimalHost::text(int id) const
{
    switch (id) {
    case 0:
        return QStringLiteral("XML error");
    case 1:
        return QStringLiteral("%1\nLine %2, column %3.");
    }
    return QString();
}

QString MinimalHost::applicationPath() const
{
    return QCoreApplication::applicationDirPath();
}

QString MinimalHost::engineDataPath() const
{
    return applicationPath() + QStringLiteral("/data");
}

QString MinimalHost::engineUserPath() const
{
    return QDir::tempPath() + QStringLiteral("/zornx-minimal-host");
}

QColor MinimalHost::colorOption(const QString &name) const
{
    return options.value(name).value<QColor>();
}

QVariant MinimalHost::option(const QString &name, const QVariant &fallback) const
{
    return options.value(name, fallback);
}

void MinimalHost::setOption(const QString &name, const QVariant &value)
{
    if (value.isNull())
        options.remove(name);
    else
        options.insert(name, value);
}

void MinimalHost::setStatus(int field, const QString &text)
{
    QTextStream(stdout) << "  status " << field << ": " << text << '\n';
}

Zorn::ProviderJob *MinimalHost::newJob(const QString &title, int)
{
    jobs.push_back(std::make_unique<PrintingJob>(title));
    return jobs.back().get();
}
