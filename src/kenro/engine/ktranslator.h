#pragma once

#include <kenro/editors/interface/translator.h>

#include <QObject>

namespace Kenro {

/**
 * The library's table of action texts and tool tips. Each text passes
 * through tr() at lookup time, so the host's translators apply.
 */
class KENRO_EXPORT KTranslator : public QObject, public Translator
{
    Q_OBJECT

public:
    /// The singleton, made at first use.
    static KTranslator *instance();

    /// Texts exist for ids 0 to 217; others give an empty string.
    QString text(int id) override;
    /// Tool tips exist for some ids from 4 to 173; others give an empty string.
    QString toolTip(int id) override;

private:
    explicit KTranslator(QObject *parent = nullptr);
    ~KTranslator() override;
};

} // namespace Kenro
