#pragma once

#include <QWidget>

class LevelMeter;
class MSSwitch;
class SymbolLabel;

/// One source of sound: its name, how loud it is, and a switch. Main thread.
class ToggleRow : public QWidget
{
    Q_OBJECT

public:
    /// \p icon is the name of a symbol.
    ToggleRow(const QString &icon, const QString &label, const QString &sub,
              QWidget *parent = nullptr);

    void setOn(bool isOn);

    /// Whether the source is recorded now.
    void setCapturing(bool isCapturing);

    /// 0 to 1.
    void setLevel(double level);

Q_SIGNALS:
    /// The user has moved the switch.
    void switched(bool isOn);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    const QString m_iconName;
    SymbolLabel *m_icon;
    LevelMeter *m_meter;
    MSSwitch *m_switch;
};
