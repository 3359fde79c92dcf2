#pragma once

#include <QColor>
#include <QWidget>

/// How a SymbolTile looks, in points.
struct TileLook {
    int side = 32;
    double symbolPoints = 16.0;
    double radius = 10.0;
    QColor symbolColor = {};
    QColor fill = {};
    QColor outline = Qt::transparent; ///< one point wide
};

/// A symbol in a rounded square. Main thread.
class SymbolTile : public QWidget
{
    Q_OBJECT

public:
    /// Muted, of 16 points in a square of 32.
    explicit SymbolTile(const QString &symbol, QWidget *parent = nullptr);
    SymbolTile(const QString &symbol, const TileLook &look, QWidget *parent = nullptr);

    void setLook(const TileLook &look);

    /// Amber on an amber ground, as the program presents itself.
    static TileLook amberLook(int side, double symbolPoints, double radius);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    const QString m_symbol;
    TileLook m_look;
};
