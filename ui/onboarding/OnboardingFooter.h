#pragma once

#include <QWidget>

class PlainButton;
class TextLabel;

/// Where the onboarding stands, and the buttons that lead back and on. Main thread.
class OnboardingFooter : public QWidget
{
    Q_OBJECT

public:
    explicit OnboardingFooter(QWidget *parent = nullptr);

    /// \p step is 1, 2 or 3.
    void setStep(int step, bool isWaiting);
    void setPrimary(const QString &label, bool isDisabled);

Q_SIGNALS:
    void backPressed();
    void primaryPressed();

private:
    class ProgressBars;

    ProgressBars *m_bars;
    TextLabel *m_place;
    PlainButton *m_back;
    PlainButton *m_primary;
};
