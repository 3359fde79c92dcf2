#include "ui/panel/TitleField.h"

#include "core/AppState.h"
#include "ui/parts/MS.h"
#include "ui/parts/PlainButton.h"
#include "ui/parts/RoundedBox.h"

#include <QPainter>
#include <QPalette>

using namespace Qt::StringLiterals;

namespace
{
constexpr double radius = 8.0;
} // namespace

TitleField::TitleField(AppState &app, QWidget *parent)
    : QLineEdit(parent)
    , m_app(app)
{
    setObjectName(u"sessionTitle"_s);
    setAccessibleName(u"会议标题"_s);
    setPlaceholderText(u"给这次会议起个名字…"_s);
    setFont(MS::serifItalicBig());
    setFrame(false);
    setTextMargins(8, 5, 8, 5);
    QPalette colors = palette();
    colors.setColor(QPalette::Base, Qt::transparent);
    colors.setColor(QPalette::Text, MS::text);
    colors.setColor(QPalette::PlaceholderText, MS::faint);
    colors.setColor(QPalette::Highlight, MS::borderAmber);
    colors.setColor(QPalette::HighlightedText, MS::text);
    setPalette(colors);

    connect(this, &QLineEdit::textChanged, &m_app, &AppState::setSessionTitle);
    connect(&m_app, &AppState::sessionChanged, this, &TitleField::refresh);
    refresh();
}

void TitleField::refresh()
{
    // The same text set again would end what an input method composes, and move the cursor.
    if (text() != m_app.sessionTitle())
        setText(m_app.sessionTitle());
}

void TitleField::paintEvent(QPaintEvent *event)
{
    {
        QPainter painter(this);
        paintBox(painter, rect(), radius, MS::bg, hasFocus() ? MS::borderAmber : MS::border);
        if (hasFocus())
            paintFocusRing(painter, rect(), radius);
    }
    QLineEdit::paintEvent(event);
}
