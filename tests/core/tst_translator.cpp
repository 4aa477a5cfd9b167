#include <zornx/core/plaintranslator.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QTranslator>
#include <QtTest/QtTest>

using Zorn::PlainTranslator;

namespace {

// Answers only in the translator's own context, so the test sees whether the texts really
// pass through tr() under that context.
class GermanAdd : public QTranslator
{
public:
    QString translate(const char *context, const char *source, const char *, int) const override
    {
        if (qstrcmp(context, "Zorn::PlainTranslator") == 0 && qstrcmp(source, "Add") == 0)
            return QStringLiteral("Hinzuf\u00fcgen");
        return QString();
    }
    bool isEmpty() const override { return false; }
};

} // namespace

class tst_Translator : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void oneInstance()
    {
        QCOMPARE(&PlainTranslator::instance(), &PlainTranslator::instance());
    }

    void bounds_data()
    {
        QTest::addColumn<int>("id");
        QTest::addColumn<bool>("hasText");
        QTest::addColumn<bool>("hasToolTip");

        QTest::newRow("negative") << -1 << false << false;
        QTest::newRow("first") << 0 << true << false;
        QTest::newRow("before tool tips") << 80 << true << false;
        QTest::newRow("first tool tip") << 81 << true << true;
        QTest::newRow("gap in tool tips") << 90 << true << false;
        QTest::newRow("last tool tip") << 250 << true << true;
        QTest::newRow("after tool tips") << 251 << true << false;
        QTest::newRow("last text") << 294 << true << false;
        QTest::newRow("one past") << 295 << false << false;
        QTest::newRow("far past") << 100000 << false << false;
    }

    void bounds()
    {
        QFETCH(int, id);
        QFETCH(bool, hasText);
        QFETCH(bool, hasToolTip);
        const PlainTranslator &translator = PlainTranslator::instance();
        QCOMPARE(!translator.text(id).isEmpty(), hasText);
        QCOMPARE(!translator.toolTip(id).isEmpty(), hasToolTip);
        // No variants, whatever the number.
        QVERIFY(translator.text(id, 0).isEmpty());
        QVERIFY(translator.text(id, 1).isEmpty());
    }

    void repeatedEntries_data()
    {
        QTest::addColumn<int>("id");
        QTest::addColumn<int>("same");
        QTest::addColumn<QString>("text");

        QTest::newRow("192") << 192 << 113 << "Add";
        QTest::newRow("238 through 192") << 238 << 113 << "Add";
        QTest::newRow("239 through 212") << 239 << 114 << "Delete";
        QTest::newRow("243 through 218") << 243 << 132 << "Duplicate";
        QTest::newRow("219") << 219 << 152 << "Export...";
        QTest::newRow("248") << 248 << 152 << "Export...";
        QTest::newRow("220") << 220 << 153 << "Import...";
        QTest::newRow("249") << 249 << 153 << "Import...";
        QTest::newRow("221") << 221 << 154 << "Import from another project...";
        QTest::newRow("250") << 250 << 154 << "Import from another project...";
        QTest::newRow("244") << 244 << 135 << "Play";
        QTest::newRow("247") << 247 << 136 << "Stop";
        QTest::newRow("252") << 252 << 232 << "Select";
        QTest::newRow("254") << 254 << 233 << "All";
        QTest::newRow("255") << 255 << 234 << "Deselect";
    }

    void repeatedEntries()
    {
        QFETCH(int, id);
        QFETCH(int, same);
        QFETCH(QString, text);
        const PlainTranslator &translator = PlainTranslator::instance();
        QCOMPARE(translator.text(id), text);
        QCOMPARE(translator.text(same), text);
    }

    void exactTexts_data()
    {
        QTest::addColumn<bool>("toolTip");
        QTest::addColumn<int>("id");
        QTest::addColumn<QString>("text");

        QTest::newRow("gurmukhi") << false << 19 << QStringLiteral("Latin/Gurmukh\u012b");
        QTest::newRow("gurmukhi script") << false << 76 << QStringLiteral("Gurmukh\u012b script");
        QTest::newRow("sami") << false << 59
                              << QStringLiteral("Estonian, Latvian, Lithuanian, Greenlandic, "
                                                "S\u00e1mi");
        QTest::newRow("capital sharp s") << false << 55
            << QStringLiteral("Albanian, Bosnian, Croatian, Czech, German (missing uppercase "
                              "\u1e9e), Hungarian, Polish, Rotokas, Serbian Latin, Slovak, "
                              "Slovene, Upper Sorbian, Lower Sorbian, Turkmen");
        QTest::newRow("apostrophe") << false << 61
            << QStringLiteral("Albanian, Gaj's Latin alphabet (Croatian, Bosnian, Serbian), "
                              "Hungarian, Polish, Romanian, Slovene (also French, German, "
                              "Italian, Irish)");
        QTest::newRow("two lines") << false << 80
            << QStringLiteral("Do you want to reload the file using the specified encoding?\n"
                              "This will make the editor display characters using this "
                              "encoding, otherwise characters will remain unchanged and only "
                              "saved using this encoding.");
        QTest::newRow("coded blocks") << false << 102 << "Unfold all coded blocks";
        QTest::newRow("last") << false << 294 << "Emulator";
        QTest::newRow("specifed") << true << 95 << "Go to the specifed line";
        QTest::newRow("boxs") << true << 147 << "Remove all Contact boxs of current animation";
        QTest::newRow("tip of a repeat") << true << 192 << "Add one or more sprites";
        QTest::newRow("tip of 250") << true << 250
            << "Import one or more sounds from another opened project...";
    }

    void exactTexts()
    {
        QFETCH(bool, toolTip);
        QFETCH(int, id);
        QFETCH(QString, text);
        const PlainTranslator &translator = PlainTranslator::instance();
        QCOMPARE(toolTip ? translator.toolTip(id) : translator.text(id), text);
    }

    // A fingerprint of both tables: any slip in an entry, a shift by one or a lost character
    // changes it.
    void wholeTables()
    {
        const PlainTranslator &translator = PlainTranslator::instance();
        QCryptographicHash texts(QCryptographicHash::Sha1);
        for (int id = 0; id < 295; ++id)
            texts.addData(translator.text(id).toUtf8() + '\0');
        QCOMPARE(texts.result().toHex(), QByteArray("63594b7f87b74d212f9c605ddeddb09f07a2f594"));

        QCryptographicHash tips(QCryptographicHash::Sha1);
        int count = 0;
        for (int id = 81; id <= 250; ++id) {
            const QString tip = translator.toolTip(id);
            if (tip.isEmpty())
                continue;
            ++count;
            tips.addData(QByteArray::number(id) + ':' + tip.toUtf8() + '\0');
        }
        QCOMPARE(count, 99);
        QCOMPARE(tips.result().toHex(), QByteArray("65d5daae5b469d0e683c942edccb87748191db72"));
    }

    void textsGoThroughTr()
    {
        GermanAdd german;
        QVERIFY(QCoreApplication::installTranslator(&german));
        const PlainTranslator &translator = PlainTranslator::instance();
        const QString add = QStringLiteral("Hinzuf\u00fcgen");
        QCOMPARE(translator.text(113), add);
        QCOMPARE(translator.text(238), add); // a repeat is the same source text
        QCOMPARE(translator.text(114), QString("Delete"));
        QCoreApplication::removeTranslator(&german);
        QCOMPARE(translator.text(113), QString("Add"));
    }
};

QTEST_MAIN(tst_Translator)
#include "tst_translator.moc"
