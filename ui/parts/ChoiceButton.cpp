#include "ui/parts/ChoiceButton.h"

ChoiceButton::ChoiceButton(QWidget *parent)
    : DrawnButton(parent)
{
    setCheckable(true);
    setAutoExclusive(true);
    setFocusPolicy(Qt::NoFocus);
    connect(this, &QAbstractButton::toggled, this, &ChoiceButton::follow);
}

// Chosen by a click or by the program, while another one of them has the keyboard, it takes that
// over.
void ChoiceButton::follow(bool isChosen)
{
    setFocusPolicy(isChosen ? Qt::TabFocus : Qt::NoFocus);
    const auto *const focused = qobject_cast<ChoiceButton *>(window()->focusWidget());
    if (isChosen && focused && focused->parent() == parent())
        setFocus();
}
