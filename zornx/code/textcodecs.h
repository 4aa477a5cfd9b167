#ifndef ZORNX_CODE_TEXTCODECS_H
#define ZORNX_CODE_TEXTCODECS_H

#include <zornx/global.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

class QTextCodec;

namespace Zorn {

// The table of every text codec that Qt offers, ordered and labelled for people, and the
// detection of a text's encoding. A codec id is an index into the table. All members are
// static over one global table, built once on first use from any thread.
class ZORNX_EXPORT TextCodecs
{
public:
    // Builds the table from QTextCodec::availableMibs(), sorted by label, unless it is built;
    // any number of calls, from any thread, see one table.
    static void initialize();
    static int count();

    // Position of the first codec that bears `name` (ignoring case); 0 when none does.
    static int index(const char *name);
    // The codec's own name, the first of its names.
    static QString name(int id);
    // The label and the languages of the codec, translated.
    static QString displayName(int id);
    static QString languages(int id);
    // All names of the codec joined by ", ", its own name first.
    static QString aliases(int id);

    // The codec taken for text that nothing else identifies; 0 leaves it to the locale.
    static void setDefaultCodec(int id);

    // The codec in which `data` is most likely written; null only without a locale codec.
    static QTextCodec *get(const QByteArray &data);
    // Decodes `data`. With *id below 0 the codec is detected, otherwise it is the one of *id;
    // either way *id is then set to the first id that bears the name of the codec used.
    static QString stringFromData(const QByteArray &data, int *id);
    static QByteArray stringToData(const QString &text, int id);

private:
    TextCodecs() = delete;
};

} // namespace Zorn

#endif
