#pragma once

#include "ui/parts/TextLabel.h"

/// How a Pill looks. What is left out is not drawn.
struct PillLook {
    QString text = {};
    QColor color = {};
    QColor fill = Qt::transparent;
    QString symbol = {}; ///< name, in front of the text
};

/// \p color on a ground of itself, at 16 %.
PillLook tintedLook(const QString &text, const QColor &color);

/// A word in a capsule, such as a state. Main thread.
class Pill : public TextLabel
{
    Q_OBJECT

public:
    explicit Pill(const PillLook &look = {}, QWidget *parent = nullptr);

    void setLook(const PillLook &look);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    PillLook m_look;
};
