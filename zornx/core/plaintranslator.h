#ifndef ZORNX_CORE_PLAINTRANSLATOR_H
#define ZORNX_CORE_PLAINTRANSLATOR_H

#include <zornx/core/translator.h>

#include <QtCore/QObject>

namespace Zorn {

// The library's own texts in English, by number: code-page names and the texts and tool tips
// of every action. They go through tr(), so an installed QTranslator applies to them.
class ZORNX_EXPORT PlainTranslator : public QObject, public Translator
{
    Q_OBJECT
public:
    // The one instance, made on first use.
    static const PlainTranslator &instance();

    // Empty outside 0..294.
    QString text(int id) const override;
    // Empty where a number has no tool tip (only 81..250 may have one).
    QString toolTip(int id) const override;
    // There are no variants: always empty.
    QString text(int id, int variant) const override;

private:
    PlainTranslator();
    ~PlainTranslator() override;
    Q_DISABLE_COPY(PlainTranslator)
};

} // namespace Zorn

#endif
