#pragma once

#include "ui/parts/ChoiceButton.h"
#include "ui/parts/Pill.h"

/// A choice in a row of its own: a ring, with a dot while it is chosen, a title, and perhaps a
/// remark. Main thread.
class RadioRow : public ChoiceButton
{
    Q_OBJECT

public:
    /// \p remark follows the title; without a text there is none.
    explicit RadioRow(const QString &title, const PillLook &remark = {}, QWidget *parent = nullptr);

    /// Greys the row out: it can be seen, but not chosen.
    void disable();

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    TextLabel *m_title;
};
