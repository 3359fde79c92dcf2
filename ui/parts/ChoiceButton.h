#pragma once

#include "ui/parts/DrawnButton.h"

/// One of several buttons with the same parent of which exactly one is checked, the chosen one. Tab
/// stops at that one only; the arrow keys choose another. Main thread.
class ChoiceButton : public DrawnButton
{
    Q_OBJECT

public:
    explicit ChoiceButton(QWidget *parent = nullptr);

private:
    void follow(bool isChosen);
};
