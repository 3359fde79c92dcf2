#pragma once

#include <QWidget>

class TextLabel;

/// One row of a pane of the preferences: what it is about at the left, the control at the right, a
/// line below. Main thread.
class PrefRow : public QWidget
{
    Q_OBJECT

public:
    /// How high a line of a control is: the label stands beside the first.
    static constexpr int lineHeight = 24;

    /// Takes \p content over. An empty \p sub is left out.
    PrefRow(const QString &label, const QString &sub, QWidget *content, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;
};

/// Small print in a pane, in several lines where it needs them.
TextLabel *makeNote(const QString &text, const QColor &color);
