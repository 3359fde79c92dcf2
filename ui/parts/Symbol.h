#pragma once

#include <QColor>
#include <QIcon>
#include <QStringView>
#include <QWidget>

class QColor;
class QPainter;
class QRectF;

/// The drawing \p name of the program's own set, for example "waveform", in one colour and in the
/// sizes that trays and menus ask for. Empty for an unknown name. Main thread.
QIcon symbol(QStringView name, const QColor &color);

/// The program's own icon, in its colours. Main thread.
QIcon applicationIcon();

/// The side, in pixels at scale 1, of the square that a drawing fills beside text of \p points.
int symbolSide(double points);

/// Paints the drawing centred in \p where and as large as fits, on whole pixels of the device. A
/// name that is unknown paints nothing. Main thread.
void paintSymbol(QPainter &painter, const QRectF &where, QStringView name, const QColor &color);

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
