#pragma once

#include <QWidget>

/// A symbol of 16 points in a rounded square of 32. Main thread.
class SymbolTile : public QWidget
{
    Q_OBJECT

public:
    explicit SymbolTile(const QString &symbol, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    const QString m_symbol;
};
