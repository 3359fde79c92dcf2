#pragma once

#include "ui/parts/DrawnButton.h"

#include <QVariantAnimation>

/// A switch, 30 x 17: on while checked. The knob slides whenever that changes. Main thread.
class MSSwitch : public DrawnButton
{
    Q_OBJECT

public:
    explicit MSSwitch(QWidget *parent = nullptr);

    QSize sizeHint() const override;

protected:
    void checkStateSet() override;
    void nextCheckState() override;
    void hideEvent(QHideEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    void slide();
    void arrive();

    QVariantAnimation m_slide;
    double m_position = 0; // of the knob: 0 off, 1 on
};
