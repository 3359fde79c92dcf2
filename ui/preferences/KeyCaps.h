#pragma once

#include <QStringList>
#include <QWidget>

/// The keys of a shortcut, each as a key cap. Main thread.
class KeyCaps : public QWidget
{
    Q_OBJECT

public:
    explicit KeyCaps(const QStringList &keys, QWidget *parent = nullptr);
};
