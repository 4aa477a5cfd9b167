#ifndef ZORNX_TESTS_CACHETEST_H
#define ZORNX_TESTS_CACHETEST_H

#include <zornx/cache/filecache.h>

#include <QtCore/QAtomicInt>
#include <QtCore/QByteArray>

#include <algorithm>

// A codec of the tests: encoding 1 stores the bytes reversed, encoding 2 always refuses.
// Files ending in ".rev" hold encoding 1. It counts decodes, so that tests can tell which
// comparisons decoded.
class TestCodec : public Zorn::FileCache::FileCodec
{
public:
    bool decode(unsigned int encoding, void *, const QByteArray &raw, QByteArray *data) override
    {
        decodes.ref();
        return transform(encoding, raw, data);
    }
    bool encode(unsigned int encoding, void *, const QByteArray &data, QByteArray *raw) override
    {
        return transform(encoding, data, raw);
    }
    unsigned int encodingForSuffix(const QString &suffix) override
    {
        return suffix == QLatin1String("rev") ? 1 : 0;
    }

    QAtomicInt decodes;

private:
    static bool transform(unsigned int encoding, const QByteArray &in, QByteArray *out)
    {
        if (encoding != 1)
            return false;
        *out = in;
        std::reverse(out->begin(), out->end());
        return true;
    }
};

inline QByteArray reversed(QByteArray bytes)
{
    std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

#endif
