#include <zornx/code/textcodecs.h>
#include <zornx/core/plaintranslator.h>

#include <QtCore/QRandomGenerator>
#include <QtCore/QTextCodec>
#include <QtTest/QtTest>

using Zorn::PlainTranslator;
using Zorn::TextCodecs;

namespace {

// A few lines of real text in each language, so that the detector has something to go on.
const char japanese[] =
    "吾輩は猫である。名前はまだ無い。\n"
    "どこで生れたかとんと見当がつかぬ。何でも薄暗いじめじめした所でニャーニャー泣いていた事"
    "だけは記憶している。\n"
    "吾輩はここで始めて人間というものを見た。しかもあとで聞くとそれは書生という人間中で一番"
    "獰悪な種族であったそうだ。\n";
const char chinese[] =
    "春眠不觉晓，处处闻啼鸟。夜来风雨声，花落知多少。\n"
    "床前明月光，疑是地上霜。举头望明月，低头思故乡。\n"
    "白日依山尽，黄河入海流。欲穷千里目，更上一层楼。\n"
    "这是一个用于测试字符编码检测的简短中文文本，包含常用汉字和标点符号。\n";
const char russian[] =
    "Все счастливые семьи похожи друг на друга, каждая несчастливая семья несчастлива "
    "по-своему.\n"
    "Всё смешалось в доме Облонских. Жена узнала, что муж был в связи с бывшею в их доме "
    "француженкою-гувернанткой,\n"
    "и объявила мужу, что не может жить с ним в одном доме.\n";
const char french[] =
    "Le cœur a ses raisons que la raison ne connaît point ; on le sait en mille choses.\n"
    "Où est passé l'été ? Les élèves étudient à l'école française près de la forêt.\n"
    "Déjà la nuit tombait sur le château, et la reine écoutait les chansons des garçons.\n";

QByteArray encode(const char *codecName, const QString &text)
{
    QTextCodec *codec = QTextCodec::codecForName(codecName);
    return codec ? codec->fromUnicode(text) : QByteArray();
}

// Id of the codec that bears `name`, or -1: index() alone answers 0 for unknown names.
int findCodec(const char *name)
{
    const int id = TextCodecs::index(name);
    const QStringList names = TextCodecs::aliases(id).split(QLatin1String(", "));
    for (const QString &n : names) {
        if (n.compare(QLatin1String(name), Qt::CaseInsensitive) == 0)
            return id;
    }
    return -1;
}

bool inTable(const QTextCodec *codec)
{
    return codec && findCodec(codec->name().constData()) >= 0;
}

// Label number of a row, found back from its text.
int labelNumber(const QString &label)
{
    for (int i = 0; i <= 38; ++i) {
        if (PlainTranslator::instance().text(i) == label)
            return i;
    }
    return -1;
}

QStringList snapshot()
{
    QStringList rows;
    for (int i = 0; i < TextCodecs::count(); ++i)
        rows.append(TextCodecs::aliases(i) + QLatin1Char('|') + TextCodecs::displayName(i));
    return rows;
}

} // namespace

class tst_TextCodecs : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        TextCodecs::initialize();
        QVERIFY(TextCodecs::count() > 0);
        QCOMPARE(TextCodecs::count(), QTextCodec::availableMibs().size());
    }

    void cleanup() { TextCodecs::setDefaultCodec(0); }

    void everyRowIsLabelledAndSorted()
    {
        int previous = 0;
        for (int i = 0; i < TextCodecs::count(); ++i) {
            QVERIFY2(!TextCodecs::name(i).isEmpty(), qPrintable(QString::number(i)));
            QVERIFY(!TextCodecs::languages(i).isEmpty());
            QVERIFY(TextCodecs::aliases(i).startsWith(TextCodecs::name(i)));
            const int label = labelNumber(TextCodecs::displayName(i));
            QVERIFY2(label >= 1, qPrintable(TextCodecs::displayName(i)));
            QVERIFY2(label >= previous, qPrintable(TextCodecs::aliases(i)));
            previous = label;
        }
    }

    void idsStayAcrossInitialize()
    {
        const QStringList before = snapshot();
        TextCodecs::initialize();
        QCOMPARE(snapshot(), before);
    }

    void classification_data()
    {
        QTest::addColumn<QByteArray>("codec");
        QTest::addColumn<int>("label");
        QTest::addColumn<int>("languages");
        QTest::newRow("windows-1251") << QByteArray("windows-1251") << 6 << 44;
        QTest::newRow("KOI8-R") << QByteArray("KOI8-R") << 6 << 45;
        QTest::newRow("KOI8-U") << QByteArray("KOI8-U") << 6 << 46;
        QTest::newRow("Big5") << QByteArray("Big5") << 5 << 42;
        QTest::newRow("Big5-HKSCS") << QByteArray("Big5-HKSCS") << 5 << 43;
        QTest::newRow("ISO-8859-6") << QByteArray("ISO-8859-6") << 10 << 50;
        QTest::newRow("windows-1256") << QByteArray("windows-1256") << 10 << 51;
        QTest::newRow("windows-1255") << QByteArray("windows-1255") << 7 << 57;
        QTest::newRow("ISO-8859-8") << QByteArray("ISO-8859-8") << 20 << 57;
        QTest::newRow("Shift_JIS") << QByteArray("Shift_JIS") << 8 << 48;
        QTest::newRow("GBK") << QByteArray("GBK") << 4 << 41;
        QTest::newRow("ISO-8859-15") << QByteArray("ISO-8859-15") << 32 << 64;
        QTest::newRow("UTF-16LE") << QByteArray("UTF-16LE") << 35 << 67;
        QTest::newRow("macintosh") << QByteArray("macintosh") << 37 << 69;
        QTest::newRow("US-ASCII") << QByteArray("US-ASCII") << 38 << 38;
    }

    void classification()
    {
        QFETCH(QByteArray, codec);
        QFETCH(int, label);
        QFETCH(int, languages);
        const int id = findCodec(codec.constData());
        if (id < 0)
            QSKIP("This Qt build has no such codec");
        QCOMPARE(TextCodecs::displayName(id), PlainTranslator::instance().text(label));
        QCOMPARE(TextCodecs::languages(id), PlainTranslator::instance().text(languages));
    }

    void index()
    {
        const int utf8 = TextCodecs::index("UTF-8");
        QCOMPARE(TextCodecs::name(utf8), QStringLiteral("UTF-8"));
        QCOMPARE(TextCodecs::index("utf-8"), utf8);
        QCOMPARE(TextCodecs::index("no-such-codec"), 0);
        QCOMPARE(TextCodecs::index(""), 0);
        QCOMPARE(TextCodecs::index(nullptr), 0);
        // An alias finds its codec; ids sharing a name lead back to the first of them.
        QCOMPARE(TextCodecs::name(TextCodecs::index("cp1251")), QStringLiteral("windows-1251"));
        for (int i = 0; i < TextCodecs::count(); ++i) {
            const int first = TextCodecs::index(TextCodecs::name(i).toLatin1().constData());
            QVERIFY(first <= i);
            QCOMPARE(TextCodecs::name(first), TextCodecs::name(i));
        }
    }

    void detect_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("codecs");

        const QString ja = QString::fromUtf8(japanese);
        const QString zh = QString::fromUtf8(chinese);
        const QString ru = QString::fromUtf8(russian);
        const QString fr = QString::fromUtf8(french);
        const QString mixed = fr + ru + ja;

        QTest::newRow("utf-8") << mixed.toUtf8() << mixed << QStringList{"UTF-8"};
        QTest::newRow("utf-8 bom") << QByteArray("\xEF\xBB\xBF") + fr.toUtf8() << fr
                                   << QStringList{"UTF-8"};
        // Qt's UTF-16 codecs of one byte order keep the mark as U+FEFF, so that it is written
        // back on save; the UTF-8 codec drops it.
        const QString mark(QChar::ByteOrderMark);
        QTest::newRow("utf-16le bom") << QByteArray("\xFF\xFE") + encode("UTF-16LE", ru)
                                      << mark + ru << QStringList{"UTF-16LE"};
        QTest::newRow("utf-16be bom") << QByteArray("\xFE\xFF") + encode("UTF-16BE", zh)
                                      << mark + zh << QStringList{"UTF-16BE"};
        QTest::newRow("shift-jis") << encode("Shift_JIS", ja) << ja << QStringList{"Shift_JIS"};
        // GB18030 contains GBK and decodes it alike.
        QTest::newRow("gbk") << encode("GBK", zh) << zh << QStringList{"GBK", "GB18030"};
        QTest::newRow("windows-1251") << encode("windows-1251", ru) << ru
                                      << QStringList{"windows-1251"};
        QTest::newRow("windows-1252") << encode("windows-1252", fr) << fr
                                      << QStringList{"windows-1252"};
        // A detector guesses a Windows code page for this; valid UTF-8 wins over the guess.
        QTest::newRow("short utf-8") << QByteArray("caf\xC3\xA9\n") << QString::fromUtf8("café\n")
                                     << QStringList{"UTF-8"};
        QTest::newRow("ascii") << QByteArray("[Data]\nlife = 1000\n")
                               << QStringLiteral("[Data]\nlife = 1000\n") << QStringList{"UTF-8"};
        QTest::newRow("empty") << QByteArray() << QString() << QStringList{"UTF-8"};
        // 7-bit text that the detector recognises by its escape sequences.
        const QByteArray jis = encode("ISO-2022-JP", ja);
        if (!jis.isEmpty())
            QTest::newRow("iso-2022-jp") << jis << ja << QStringList{"ISO-2022-JP"};
    }

    void detect()
    {
        QFETCH(QByteArray, data);
        QFETCH(QString, text);
        QFETCH(QStringList, codecs);
        // A default codec must not override what the data says.
        TextCodecs::setDefaultCodec(findCodec("windows-1251"));

        QTextCodec *codec = TextCodecs::get(data);
        QVERIFY(codec);
        QVERIFY2(codecs.contains(QString::fromLatin1(codec->name())), codec->name().constData());

        int id = -1;
        QCOMPARE(TextCodecs::stringFromData(data, &id), text);
        QVERIFY(id >= 0 && id < TextCodecs::count());
        QCOMPARE(TextCodecs::name(id), QString::fromLatin1(codec->name()));
    }

    void fallback_data()
    {
        QTest::addColumn<QByteArray>("data");
        // Invalid UTF-8 that the detector has no opinion on.
        QTest::newRow("stray high bytes") << QByteArray("\x80\x81");
        QByteArray noise(1 << 16, '\0');
        QRandomGenerator random(4711);
        for (char &c : noise)
            c = char(random.bounded(256));
        QTest::newRow("noise") << noise;
    }

    void fallback()
    {
        QFETCH(QByteArray, data);
        // Only meaningful where the detector stays silent: then the default, else the locale.
        TextCodecs::setDefaultCodec(0);
        QTextCodec *codec = TextCodecs::get(data);
        if (codec != QTextCodec::codecForLocale())
            QSKIP("The detector named a codec for this data");
        const int cyrillic = findCodec("windows-1251");
        QVERIFY(cyrillic > 0);
        TextCodecs::setDefaultCodec(cyrillic);
        QCOMPARE(TextCodecs::get(data)->name(), QByteArray("windows-1251"));
        int id = -1;
        QCOMPARE(TextCodecs::stringFromData(data, &id),
                 QTextCodec::codecForName("windows-1251")->toUnicode(data));
        QCOMPARE(id, cyrillic);
    }

    void malformed_data()
    {
        QTest::addColumn<QByteArray>("data");
        QTest::newRow("lone EF") << QByteArray("\xEF");
        QTest::newRow("half utf-8 bom") << QByteArray("\xEF\xBB");
        QTest::newRow("lone FE") << QByteArray("\xFE");
        QTest::newRow("lone FF") << QByteArray("\xFF");
        QTest::newRow("utf-16 bom only") << QByteArray("\xFF\xFE");
        QTest::newRow("utf-16 odd length") << QByteArray("\xFE\xFF\x00\x41\x00");
        QTest::newRow("utf-32 bom only") << QByteArray("\xFF\xFE\x00\x00", 4);
        QTest::newRow("invalid utf-8") << QByteArray("ok \xC3\x28 \xE2\x82 \xF0\x90\x28\xBC");
        QTest::newRow("truncated utf-8") << QByteArray("caf\xC3");
        QTest::newRow("overlong utf-8") << QByteArray("\xC0\xAF\xE0\x80\xAF");
        QTest::newRow("nul bytes") << QByteArray(4096, '\0');
        QByteArray garbage(2 << 20, '\0');
        QRandomGenerator random(1234);
        random.fillRange(reinterpret_cast<quint32 *>(garbage.data()), garbage.size() / 4);
        QTest::newRow("huge garbage") << garbage;
    }

    void malformed()
    {
        QFETCH(QByteArray, data);
        QTextCodec *codec = TextCodecs::get(data);
        QVERIFY(inTable(codec));
        int id = -1;
        const QString text = TextCodecs::stringFromData(data, &id);
        QVERIFY(id >= 0 && id < TextCodecs::count());
        QCOMPARE(TextCodecs::name(id), QString::fromLatin1(codec->name()));
        QVERIFY(!text.isNull() || data.isEmpty());
    }

    void explicitCodecIsNormalised()
    {
        const QByteArray data = encode("windows-1251", QString::fromUtf8(russian));
        for (int i = 0; i < TextCodecs::count(); ++i) {
            int id = i;
            TextCodecs::stringFromData(data, &id);
            QCOMPARE(id, TextCodecs::index(TextCodecs::name(i).toLatin1().constData()));
        }
        // An explicit codec is used even where detection would pick another.
        int id = findCodec("KOI8-R");
        if (id < 0)
            QSKIP("This Qt build has no KOI8-R");
        QCOMPARE(TextCodecs::stringFromData(data, &id),
                 QTextCodec::codecForName("KOI8-R")->toUnicode(data));
    }

    void roundTrip_data()
    {
        QTest::addColumn<QByteArray>("codec");
        QTest::addColumn<QString>("text");
        QTest::newRow("shift-jis") << QByteArray("Shift_JIS") << QString::fromUtf8(japanese);
        QTest::newRow("windows-1251") << QByteArray("windows-1251") << QString::fromUtf8(russian);
    }

    void roundTrip()
    {
        QFETCH(QByteArray, codec);
        QFETCH(QString, text);
        int id = findCodec(codec.constData());
        QVERIFY(id >= 0);
        const QByteArray bytes = TextCodecs::stringToData(text, id);
        QCOMPARE(bytes, encode(codec.constData(), text));
        QCOMPARE(TextCodecs::stringFromData(bytes, &id), text);
    }
};

QTEST_GUILESS_MAIN(tst_TextCodecs)
#include "tst_textcodecs.moc"
