#include "ui/panel/ErrorStrip.h"

#include "core/AppState.h"
#include "ui/parts/KeyboardFocus.h"
#include "ui/parts/MS.h"
#include "ui/parts/PlainButton.h"
#include "ui/parts/RoundedBox.h"
#include "ui/parts/Symbol.h"
#include "ui/parts/TextLabel.h"

#include <QHBoxLayout>
#include <QPainter>

using namespace Qt::StringLiterals;

namespace
{
constexpr int mostLines = 3;
constexpr double radius = 8.0;

ButtonFace closeFace()
{
    return {.radius = 5.0,
            .padding = QMargins(4, 4, 4, 4),
            .symbol = u"xmark"_s,
            .symbolPoints = 9.0,
            .symbolColor = MS::muted};
}
} // namespace

ErrorStrip::ErrorStrip(AppState &app, QWidget *parent)
    : QWidget(parent)
    , m_app(app)
    , m_message(new TextLabel({}, MS::system(11), MS::textDim, this))
{
    setObjectName(u"errorStrip"_s);
    m_message->setObjectName(u"message"_s);
    m_message->setMaximumLines(mostLines);
    auto *const icon = new SymbolLabel(u"exclamationmark.triangle.fill"_s, 11, MS::ember, this);
    auto *const close = new PlainButton(closeFace(), {}, this);
    close->setObjectName(u"closeError"_s);
    close->setAccessibleName(u"关闭提示"_s);
    connect(close, &QAbstractButton::clicked, &m_app, &AppState::clearLastError);

    auto *const row = new QHBoxLayout(this);
    row->setContentsMargins(10, 5, 5, 5);
    row->setSpacing(8);
    row->addWidget(icon);
    row->addWidget(m_message, 1);
    row->addWidget(close);

    connect(&m_app, &AppState::lastErrorChanged, this, &ErrorStrip::refresh);
    refresh();
}

void ErrorStrip::refresh()
{
    const auto &message = m_app.lastError();
    m_message->setText(message.value_or(QString()));
    setShown(*this, message.has_value());
}

void ErrorStrip::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    paintBox(painter, rect(), radius, MS::emberDim);
}
