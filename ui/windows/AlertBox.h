#pragma once

#include "cloud/UpdateAlert.h"

/// The alert as a window of the program, in front of everything; Escape closes it. Main thread.
class AlertBox : public UpdateAlert
{
public:
    QCoro::Task<int> present(QString title, QString text, QStringList buttons) override;
};
