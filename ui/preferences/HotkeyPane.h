#pragma once

#include <QWidget>

/// Shows which keys do what; they belong to the menu of the tray. Main thread.
class HotkeyPane : public QWidget
{
    Q_OBJECT

public:
    explicit HotkeyPane(QWidget *parent = nullptr);
};
