#pragma once

#include "ui/parts/ChoiceButton.h"

/// An entry of a sidebar. Main thread.
class SidebarButton : public ChoiceButton
{
    Q_OBJECT

public:
    /// \p symbol is the name of a symbol.
    SidebarButton(const QString &symbol, const QString &label, QWidget *parent = nullptr);

    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    const QString m_symbol;
};
