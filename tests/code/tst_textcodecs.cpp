#include <zornx/code/textcodecs.h>

#include <QtCore/QRandomGenerator>
#include <QtCore/QTextCodec>
#include <QtTest/QtTest>

#include <atomic>
#include <thread>

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

    // A host's later calls change nothing, not even under a worker that encodes meanwhile.
    void idsStayAcrossInitialize()
    {
        const QStringList before = snapshot();
        const int utf8 = TextCodecs::index("UTF-8");
        const QString text = QString::fromUtf8(french);
        std::atomic<bool> stop(false);
        int wrong = 0;
        std::thread worker([&] {
            while (!stop)
                wrong += TextCodecs::stringToData(text, utf8) != text.toUtf8();
        });
        for (int i = 0; i < 300; ++i)
            TextCodecs::initialize();
        stop = true;
        worker.join();
        QCOMPARE(wrong, 0);
        QCOMPARE(snapshot(), before);
    }

    void index()
    {
        QCOMPARE(TextCodecs::name(TextCodecs::index("utf-8")), QStringLiteral("UTF-8"));
        QCOMPARE(TextCodecs::index("no-such-codec"), 0);
        QCOMPARE(TextCodecs::index(nullptr), 0);
        QCOMPARE(TextCodecs::name(TextCodecs::index("cp1251")), QStringLiteral("windows-1251"));
        // Ids sharing a name lead back to the first of them, also when given explicitly.
        const QByteArray data = encode("windows-1251", QString::fromUtf8(russian));
        for (int i = 0; i < TextCodecs::count(); ++i) {
            const int first = TextCodecs::index(TextCodecs::name(i).toLatin1().constData());
            QVERIFY(first <= i);
            QCOMPARE(TextCodecs::name(first), TextCodecs::name(i));
            int id = i;
            TextCodecs::stringFromData(data, &id);
            QCOMPARE(id, first);
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
        QTest::newRow("utf-8") << (fr + ru + ja).toUtf8() << fr + ru + ja << QStringList{"UTF-8"};
        QTest::newRow("utf-8 bom") << QByteArray("\xEF\xBB\xBF") + fr.toUtf8() << fr
                                   << QStringList{"UTF-8"};
        // Qt's UTF-16 codecs write a mark of their own: the codec drops the first, and the
        // second stays as U+FEFF (a document drops that one too).
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
        QTest::newRow("empty") << QByteArray() << QString() << QStringList{"UTF-8"};
        // 7-bit text that the detector recognises by its escape sequences.
        const QByteArray jis = encode("ISO-2022-JP", ja);
        if (!jis.isEmpty())
            QTest::newRow("iso-2022-jp") << jis << ja << QStringList{"ISO-2022-JP"};

        // Malformed data: any codec of the list, and some text.
        auto malformed = [](const char *name, const QByteArray &data) {
            QTest::newRow(name) << data << QString() << QStringList();
        };
        malformed("half utf-8 bom", QByteArray("\xEF\xBB"));
        malformed("lone FF", QByteArray("\xFF"));
        malformed("utf-16 odd length", QByteArray("\xFE\xFF\x00\x41\x00"));
        malformed("utf-32 bom only", QByteArray("\xFF\xFE\x00\x00", 4));
        malformed("invalid utf-8", QByteArray("ok \xC3\x28 \xE2\x82 \xF0\x90\x28\xBC"));
        malformed("truncated utf-8", QByteArray("caf\xC3"));
        malformed("nul bytes", QByteArray(4096, '\0'));
        QByteArray garbage(2 << 20, '\0');
        QRandomGenerator random(1234);
        random.fillRange(reinterpret_cast<quint32 *>(garbage.data()), garbage.size() / 4);
        malformed("huge garbage", garbage);
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
        QVERIFY2(codecs.isEmpty() || codecs.contains(QString::fromLatin1(codec->name())),
                 codec->name().constData());

        int id = -1;
        const QString decoded = TextCodecs::stringFromData(data, &id);
        if (!codecs.isEmpty())
            QCOMPARE(decoded, text);
        QVERIFY(!decoded.isNull() || data.isEmpty());
        QVERIFY(id >= 0 && id < TextCodecs::count());
        QCOMPARE(TextCodecs::name(id), QString::fromLatin1(codec->name()));
    }

    void fallback()
    {
        // Invalid UTF-8 that the detector has no opinion on: the default, else the locale.
        const QByteArray data("\x80\x81");
        if (TextCodecs::get(data) != QTextCodec::codecForLocale())
            QSKIP("The detector named a codec for this data");
        const int cyrillic = findCodec("windows-1251");
        TextCodecs::setDefaultCodec(cyrillic);
        QCOMPARE(TextCodecs::get(data)->name(), QByteArray("windows-1251"));
        int id = -1;
        TextCodecs::stringFromData(data, &id);
        QCOMPARE(id, cyrillic);
    }

    void explicitCodecAndRoundTrip()
    {
        // An explicit codec is used even where detection would pick another.
        const QString text = QString::fromUtf8(japanese);
        int id = findCodec("Shift_JIS");
        QVERIFY(id >= 0);
        const QByteArray bytes = TextCodecs::stringToData(text, id);
        QCOMPARE(bytes, encode("Shift_JIS", text));
        QCOMPARE(TextCodecs::stringFromData(bytes, &id), text);
        id = findCodec("windows-1251");
        QCOMPARE(TextCodecs::stringFromData(bytes, &id),
                 QTextCodec::codecForName("windows-1251")->toUnicode(bytes));
    }
};

QTEST_GUILESS_MAIN(tst_TextCodecs)
#include "tst_textcodecs.moc"
