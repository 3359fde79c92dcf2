#pragma once

#include "ui/parts/DrawnButton.h"
#include "ui/parts/MS.h"

#include <QColor>
#include <QFont>
#include <QMargins>

/// How a PlainButton looks; without a name there is no symbol. Lengths in points.
struct ButtonFace {
    QFont font = MS::system(11);
    QColor textColor = MS::text;
    QColor fill = Qt::transparent;
    QColor outline = Qt::transparent; ///< one point wide
    double radius = 0.0;
    QMargins padding = QMargins(0, 0, 0, 0);
    QString symbol = QStringLiteral(""); ///< name
    double symbolPoints = 0.0;           ///< of the text that it stands beside
    QColor symbolColor = MS::muted;
    bool symbolTrails = false;         ///< behind the title, not in front
    QColor dotColor = Qt::transparent; ///< of a circle of 5 points in front
};

/// A button without anything of the desktop's style: a symbol, a title, or both, on a shape. Main
/// thread.
///
/// The title is plain text: an ampersand in it is no mnemonic. Where it does not fit it is cut.
class PlainButton : public DrawnButton
{
    Q_OBJECT

public:
    PlainButton(const ButtonFace &face, const QString &title, QWidget *parent = nullptr);

    void setFace(const ButtonFace &face);

    const QString &title() const { return m_title; }

    /// Sets the title, which a screen reader says as well.
    void setTitle(const QString &title);

    /// A text in front of the title in a colour of its own.
    void setCaption(const QString &caption, const QColor &color);

    /// Where the title is cut: at its end unless set.
    void setElideMode(Qt::TextElideMode mode) { m_elideMode = mode; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    double contentWidth(double titleWidth) const;
    QString shownTitle() const;
    void paintShape(QPainter &painter) const;
    void paintContent(QPainter &painter) const;

    ButtonFace m_face;
    QString m_title;
    QString m_caption;
    QColor m_captionColor;
    Qt::TextElideMode m_elideMode = Qt::ElideRight;
};

/// Shows that the control of this shape has the keyboard, on every ground: a light line with a dark
/// one in it, both within the shape.
void paintFocusRing(QPainter &painter, const QRectF &shape, double radius);

/// The two looks that most buttons in windows have, with a text of \p points.

/// Leads on: dark on amber.
ButtonFace amberFace(double points, const QMargins &padding);

/// Stands back: \p textColor on a raised ground with an outline.
ButtonFace raisedFace(double points, const QColor &textColor, const QMargins &padding);
