#pragma once

#include <QColor>
#include <QWidget>

/// Shows one symbol beside text of a given size. Clicks go to what lies behind it; it says nothing
/// to a screen reader. Main thread.
class SymbolLabel : public QWidget
{
    Q_OBJECT

public:
    /// Takes symbolSide(\p points) in each direction. An unknown \p name leaves it blank.
    SymbolLabel(QString name, double points, QColor color, QWidget *parent = nullptr);

    void setSymbol(const QString &name, const QColor &color);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QString m_name;
    QColor m_color;
};
