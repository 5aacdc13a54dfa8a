#pragma once

#include <QObject>

namespace Kenro::Cli {

/**
 * Keeps the tool free of windows. The library shows a few boxes of its own
 * (a failed replace of a file, a broken engine configuration); installed on
 * the application, this filter answers each as soon as it is shown: a
 * message box with its escape button, the safe "no", or else its default
 * one, after printing its text as a warning; any other dialog is rejected.
 */
class DialogGuard : public QObject
{
    Q_OBJECT

public:
    explicit DialogGuard(QObject *parent = nullptr);

    /// How many dialogs were answered.
    int answered() const;

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    int m_answered = 0;
};

} // namespace Kenro::Cli
