#pragma once

#include <QCoroTask>
#include <QString>
#include <QStringList>

/// Asks the user something in a modal window of the informational kind. Main thread.
class UpdateAlert
{
public:
    virtual ~UpdateAlert() = default;

    /// Completes when the user has answered: with the position of the button in \p buttons, or any
    /// other number where the window was closed. The first button is the default. All texts are
    /// plain.
    virtual QCoro::Task<int> present(QString title, QString text, QStringList buttons) = 0;
};
