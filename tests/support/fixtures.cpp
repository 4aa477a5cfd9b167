#include "fixtures.h"

#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <csignal>

#include <sys/resource.h>

namespace ZornTest {

FileSizeLimit::FileSizeLimit(long long limit)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit cap;
    getrlimit(RLIMIT_FSIZE, &cap);
    previous = cap.rlim_cur;
    cap.rlim_cur = rlim_t(limit);
    setrlimit(RLIMIT_FSIZE, &cap);
}

FileSizeLimit::~FileSizeLimit()
{
    rlimit cap;
    getrlimit(RLIMIT_FSIZE, &cap);
    cap.rlim_cur = rlim_t(previous);
    setrlimit(RLIMIT_FSIZE, &cap);
}

QString testData(const QString &name)
{
    return QStringLiteral(ZORNX_TEST_DATA "/") + name;
}

bool copyTree(const QString &from, const QString &to)
{
    QDirIterator it(from, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString source = it.next();
        const QString target = to + source.mid(from.size());
        QDir().mkpath(QFileInfo(target).absolutePath());
        if (!QFile::copy(source, target))
            return false;
    }
    return true;
}

QByteArray readFile(const QString &name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

bool writeFile(const QString &name, const QByteArray &bytes)
{
    QDir().mkpath(QFileInfo(name).absolutePath());
    QFile file(name);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

} // namespace ZornTest
