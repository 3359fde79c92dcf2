#pragma once

#include <QWidget>

/// A small circle that turns while something is waited for, and while it is visible. 14 x 14. Main
/// thread.
class Spinner : public QWidget
{
    Q_OBJECT

public:
    explicit Spinner(const QColor &color, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    const QColor m_color;
};
