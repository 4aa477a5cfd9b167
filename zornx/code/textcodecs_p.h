#ifndef ZORNX_CODE_TEXTCODECS_P_H
#define ZORNX_CODE_TEXTCODECS_P_H

#include <zornx/code/textcodecs.h>

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QVector>

namespace Zorn {

// One codec of the table. The codec itself is found again through its MIB only.
struct TextCodecItem
{
    int mib = 0;
    unsigned int labelId = 0;
    unsigned int languagesId = 0;
    // The codec's name() followed by its aliases(), as Qt gives them.
    QList<QByteArray> names;
};

struct TextCodecsPrivate
{
    // The table, built on first use.
    static const QVector<TextCodecItem> &items();
    static int defaultCodec;

    // Position of the first item bearing `name`, ignoring case; -1 when none does.
    static int find(const char *name);
    // The name uchardet settles on or guesses for `data`, or empty.
    static QByteArray detectorAnswer(const QByteArray &data);
    static void classify(TextCodecItem &item);
};

} // namespace Zorn

#endif
