#pragma once

#include <QAbstractButton>
#include <QPointer>

/// A button that paints itself. Pressed by a click, the space bar or Return. Takes the keyboard
/// focus by Tab only: a click leaves the focus, and with it text being composed, where it is. Main
/// thread.
class DrawnButton : public QAbstractButton
{
    Q_OBJECT

public:
    explicit DrawnButton(QWidget *parent = nullptr);

    /// Like setEnabled(), for a button that cannot be pressed for a while: no other control gets
    /// the keyboard meanwhile, and afterwards the button has it again, unless the user has gone on.
    void setAvailable(bool isAvailable);

protected:
    /// To be laid over the button's shape: what the pointer does there; transparent where nothing.
    QColor shade() const;

    void keyPressEvent(QKeyEvent *event) override;

private:
    QPointer<QWidget> m_standIn; ///< who has the keyboard meanwhile
};
