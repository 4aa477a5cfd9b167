#include "textcodecs.h"
#include "textcodecs_p.h"

#include <zornx/core/plaintranslator.h>

#include <QtCore/QTextCodec>

#include <algorithm>

#include <uchardet.h>

namespace Zorn {

namespace {

struct CodecClass
{
    unsigned int labelId;
    unsigned int languagesId;
    const char *names;
};

// The first row that names one of a codec's names decides its label and languages. Rows with
// one label keep the order in which their codecs are preferred.
const CodecClass classTable[] = {
    {1, 0, "System"},
    {2, 39, "Windows-1257, CP1257"},
    {3, 40, "Windows-1250, CP1250"},
    {4, 41, "GBK, GB2312, csGBK, CP936, MS936, Windows-936, GB18030, csGB18030"},
    {5, 42, "Big5, Big5-ETen, CP950"},
    {5, 43, "Big5-HKSCS"},
    {6, 44, "Windows-1251, CP1251"},
    {6, 45, "IBM866, CP866, csIBM866, KOI8-R, CP878, csKOI8R"},
    {6, 46, "KOI8-U, csKOI8U"},
    {6, 47, "KOI8-RU"},
    {7, 57, "Windows-1255, CP1255"},
    {8, 48, "Shift_JIS, SJIS, Windows-932, MS932, MS_Kanji, CP93, ISO-2022-JP, JIS7, EUC-JP, UJIS"},
    {9, 49, "Windows-949, MS949, EUC-KR, iso-ir-149, korean, CP949"},
    {10, 50, "ISO-8859-6, ISO-8859-6-I, ASMO-708, ECMA-114, csISOLatinArabic, iso-ir-127, arabic"},
    {10, 51, "Windows-1256, CP1256"},
    {11, 52, "ISO-8859-13, csISOLatin7, iso-ir-179, latin7"},
    {12, 70, "iscii-bng"},
    {13, 53, "ISO-8859-14, iso-ir-199, iso-celtic, latin8"},
    {14, 54, "ISO-8859-5, csISOLatinCyrillic, cyrillic, iso-ir-144"},
    {15, 71, "iscii-dev"},
    {16, 55, "ISO-8859-2, csISOLatin2, iso-ir-101, latin2, IBM1111"},
    {17, 56, "ISO-8859-7, ECMA-118, csISOLatinGreek, greek, greek8, iso-ir-126, ELOT_928"},
    {18, 72, "iscii-gjr"},
    {19, 76, "iscii-pnj"},
    {20, 57, "ISO-8859-8, ISO 8859-8-I, csISOLatinHebrew, iso-ir-138, hebrew"},
    {21, 73, "iscii-knd"},
    {22, 74, "iscii-mlm"},
    {23, 58, "ISO-8859-10, ISO-8859-10:1992, csISOLatin6, iso-ir-157, latin6"},
    {24, 59, "ISO-8859-4, csISOLatin4, iso-ir-110, latin4"},
    {25, 75, "iscii-ori"},
    {26, 60, "ISO-8859-3, csISOLatin3, iso-ir-109, latin3"},
    {27, 61, "ISO-8859-16, iso-ir-226, latin10"},
    {28, 66, "iscii-tml"},
    {29, 77, "iscii-tlg"},
    {30, 62, "ISO 8859-11, ISO-8859-11, TIS-620, iso-ir-166, CP874, IBM874, Windows-874, MS874, "
             "CP1162, IBM1162"},
    {31, 63, "ISO-8859-9, csISOLatin5, iso-ir-148, latin5, Windows-1254, CP1254"},
    {32, 64, "Windows-1252, ISO-8859-1, csISOLatin1, iso-ir-100, latin1, CP1252, CP819, IBM819, "
             "ISO-8859-15, latin9"},
    {33, 65, "Windows-1253, CP1253"},
    {34, 66, "TSCII"},
    {35, 67, "UTF-8, UTF-16, UTF-16LE, UCS-2, UTF-16BE, UTF-32, UTF-32LE, UCS-4, UTF-32BE"},
    {36, 68, "Windows-1258, CP1258"},
    {37, 69, "CP850, IBM850, csPC850Multilingual, csHPRoman8, hp-roman8, roman8, Apple Roman, "
             "MacRoman, macintosh"},
};

const unsigned int unknownId = 38;

// The rows' names split once, for all codecs.
const QVector<QList<QByteArray>> &classNames()
{
    static const QVector<QList<QByteArray>> names = [] {
        QVector<QList<QByteArray>> rows;
        for (const CodecClass &row : classTable) {
            QList<QByteArray> list;
            const QList<QByteArray> parts = QByteArray(row.names).split(',');
            for (const QByteArray &part : parts)
                list.append(part.trimmed());
            rows.append(list);
        }
        return rows;
    }();
    return names;
}

bool validItem(int id)
{
    return id >= 0 && id < TextCodecsPrivate::items().size();
}

QTextCodec *codecOf(int id)
{
    return validItem(id) ? QTextCodec::codecForMib(TextCodecsPrivate::items().at(id).mib)
                         : nullptr;
}

// Whether the data has any byte outside 7-bit ASCII.
bool hasHighBytes(const QByteArray &data)
{
    return std::any_of(data.cbegin(), data.cend(),
                       [](char c) { return static_cast<unsigned char>(c) >= 0x80; });
}

} // namespace

int TextCodecsPrivate::defaultCodec = 0;

const QVector<TextCodecItem> &TextCodecsPrivate::items()
{
    // Built once, on first use, by whichever thread comes first; never changed afterwards,
    // so that a save worker may read it while a host initializes.
    static const QVector<TextCodecItem> list = [] {
        QVector<TextCodecItem> built;
        const QList<int> mibs = QTextCodec::availableMibs();
        for (int mib : mibs) {
            QTextCodec *codec = QTextCodec::codecForMib(mib);
            if (!codec)
                continue;
            TextCodecItem item;
            item.mib = mib;
            item.names.append(codec->name());
            item.names.append(codec->aliases());
            classify(item);
            built.append(item);
        }
        // Stable, so that ids stay the same from one run to the next on one Qt build.
        std::stable_sort(built.begin(), built.end(),
                         [](const TextCodecItem &a, const TextCodecItem &b) {
                             return a.labelId < b.labelId;
                         });
        return built;
    }();
    return list;
}

int TextCodecsPrivate::find(const char *name)
{
    if (!name)
        return -1;
    const QVector<TextCodecItem> &list = items();
    for (int i = 0; i < list.size(); ++i) {
        for (const QByteArray &n : list.at(i).names) {
            if (qstricmp(n.constData(), name) == 0)
                return i;
        }
    }
    return -1;
}

void TextCodecsPrivate::classify(TextCodecItem &item)
{
    const QVector<QList<QByteArray>> &rows = classNames();
    for (int r = 0; r < rows.size(); ++r) {
        for (const QByteArray &rowName : rows.at(r)) {
            for (const QByteArray &n : qAsConst(item.names)) {
                if (qstricmp(n.constData(), rowName.constData()) == 0) {
                    item.labelId = classTable[r].labelId;
                    item.languagesId = classTable[r].languagesId;
                    return;
                }
            }
        }
    }
    item.labelId = unknownId;
    item.languagesId = unknownId;
}

QByteArray TextCodecsPrivate::detectorAnswer(const QByteArray &data)
{
    // uchardet_new() runs every language filter.
    uchardet_t detector = uchardet_new();
    if (!detector)
        return QByteArray();
    QByteArray answer;
    if (uchardet_handle_data(detector, data.constData(), size_t(data.size())) == 0) {
        uchardet_data_end(detector);
        answer = uchardet_get_charset(detector);
    }
    uchardet_delete(detector);
    // It names 7-bit text "ASCII", which says nothing about the bytes a user may add later.
    if (answer.compare("ASCII", Qt::CaseInsensitive) == 0)
        answer.clear();
    return answer;
}

void TextCodecs::initialize()
{
    TextCodecsPrivate::items();
}

int TextCodecs::count()
{
    return TextCodecsPrivate::items().size();
}

int TextCodecs::index(const char *name)
{
    return qMax(0, TextCodecsPrivate::find(name));
}

QString TextCodecs::name(int id)
{
    if (!validItem(id) || TextCodecsPrivate::items().at(id).names.isEmpty())
        return QString();
    return QString::fromLatin1(TextCodecsPrivate::items().at(id).names.first());
}

QString TextCodecs::displayName(int id)
{
    if (!validItem(id))
        return QString();
    return PlainTranslator::instance().text(int(TextCodecsPrivate::items().at(id).labelId));
}

QString TextCodecs::languages(int id)
{
    if (!validItem(id))
        return QString();
    return PlainTranslator::instance().text(int(TextCodecsPrivate::items().at(id).languagesId));
}

QString TextCodecs::aliases(int id)
{
    if (!validItem(id))
        return QString();
    QStringList names;
    for (const QByteArray &n : TextCodecsPrivate::items().at(id).names)
        names.append(QString::fromLatin1(n));
    return names.join(QLatin1String(", "));
}

void TextCodecs::setDefaultCodec(int id)
{
    TextCodecsPrivate::defaultCodec = id;
}

QTextCodec *TextCodecs::get(const QByteArray &data)
{
    // A byte order mark decides.
    if (QTextCodec *codec = QTextCodec::codecForUtfText(data, nullptr))
        return codec;

    QTextCodec *utf8 = QTextCodec::codecForMib(106);
    bool validUtf8 = false;
    if (utf8) {
        QTextCodec::ConverterState state;
        utf8->toUnicode(data.constData(), data.size(), &state);
        validUtf8 = state.invalidChars == 0;
    }

    // uchardet cannot tell an answer it settled on from a guess made at the end of the data,
    // and it guesses a Windows code page for short UTF-8 text. On 7-bit text it only ever
    // settles (on an escape-sequence encoding), so there it goes first; text with high bytes
    // that is valid UTF-8 is UTF-8 whatever the guess.
    if (!validUtf8 || !hasHighBytes(data)) {
        const QByteArray answer = TextCodecsPrivate::detectorAnswer(data);
        if (!answer.isEmpty()) {
            // Only a codec of the table, so that its id is known.
            QTextCodec *codec = QTextCodec::codecForName(answer);
            if (codec && TextCodecsPrivate::find(codec->name().constData()) >= 0)
                return codec;
        }
    }
    if (validUtf8)
        return utf8;

    const int fallback = TextCodecsPrivate::defaultCodec;
    if (fallback > 0) {
        if (QTextCodec *codec = codecOf(fallback))
            return codec;
    }
    return QTextCodec::codecForLocale();
}

QString TextCodecs::stringFromData(const QByteArray &data, int *id)
{
    const int wanted = id ? *id : -1;
    QTextCodec *codec = wanted < 0 ? get(data) : codecOf(wanted);
    if (!codec)
        return QString();
    if (id)
        *id = index(codec->name().constData());
    return codec->toUnicode(data);
}

QByteArray TextCodecs::stringToData(const QString &text, int id)
{
    QTextCodec *codec = codecOf(id);
    return codec ? codec->fromUnicode(text) : QByteArray();
}

} // namespace Zorn
