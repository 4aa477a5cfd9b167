#include <zornx/core/plaintranslator.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QTranslator>
#include <QtTest/QtTest>

using Zorn::PlainTranslator;

namespace {

// Answers only in the translator's own context: the texts must really pass through tr().
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
    // Any slip in an entry, a shift by one or a lost character changes these. Tool tips are
    // asked of every number: outside 81..250 there must be none.
    void wholeTables()
    {
        const PlainTranslator &translator = PlainTranslator::instance();
        QCryptographicHash texts(QCryptographicHash::Sha1);
        for (int id = 0; id < 295; ++id)
            texts.addData(translator.text(id).toUtf8() + '\0');
        QCOMPARE(texts.result().toHex(), QByteArray("63594b7f87b74d212f9c605ddeddb09f07a2f594"));
        for (int id : {-1, 295, 100000})
            QVERIFY(translator.text(id).isEmpty());

        QCryptographicHash tips(QCryptographicHash::Sha1);
        for (int id = -1; id <= 300; ++id) {
            const QString tip = translator.toolTip(id);
            QVERIFY(translator.text(id, 0).isEmpty()); // no variants
            if (!tip.isEmpty())
                tips.addData(QByteArray::number(id) + ':' + tip.toUtf8() + '\0');
        }
        QCOMPARE(tips.result().toHex(), QByteArray("65d5daae5b469d0e683c942edccb87748191db72"));
    }

    void textsGoThroughTr()
    {
        const PlainTranslator &translator = PlainTranslator::instance();
        GermanAdd german;
        QVERIFY(QCoreApplication::installTranslator(&german));
        QCOMPARE(translator.text(113), QStringLiteral("Hinzuf\u00fcgen"));
        QCOMPARE(translator.text(238), QStringLiteral("Hinzuf\u00fcgen")); // same source text
        QCoreApplication::removeTranslator(&german);
        QCOMPARE(translator.text(113), QString("Add"));
    }
};

QTEST_MAIN(tst_Translator)
#include "tst_translator.moc"
