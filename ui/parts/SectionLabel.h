#pragma once

#include <QLabel>

/// A small heading in capitals, widely spaced. Main thread.
class SectionLabel : public QLabel
{
    Q_OBJECT

public:
    SectionLabel(const QString &text, const QColor &color, QWidget *parent = nullptr);

    void setColor(const QColor &color);
};
