#pragma once

#include <QWidget>

/// The first step of the onboarding: what the program is for. Main thread.
class WelcomeStep : public QWidget
{
    Q_OBJECT

public:
    explicit WelcomeStep(QWidget *parent = nullptr);
};
