#include "ui/panel/RecentRow.h"

#include "cloud/PresentableText.h"
#include "ui/parts/KeyboardFocus.h"
#include "ui/parts/MS.h"
#include "ui/parts/PlainButton.h"
#include "ui/parts/RoundedBox.h"
#include "ui/parts/StatusDot.h"
#include "ui/parts/TextLabel.h"

#include <QFontMetrics>
#include <QKeyEvent>
#include <QPainter>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{
using Status = RecentSession::Status;

constexpr int spacing = 10;
constexpr int horizontalPadding = 8;
constexpr int verticalPadding = 7;
constexpr int dotSide = 6;
constexpr double radius = 7.0;
constexpr int reasonLines = 3;
constexpr int longestProgress = 120;

const auto retryTitle = u"重试"_s;

QFont smallFont()
{
    return MS::monospaced(10);
}

ButtonFace actionFace(const QString &symbol)
{
    return {.font = MS::system(10.5),
            .textColor = MS::amber,
            .fill = MS::amberDim,
            .outline = MS::borderAmber,
            .radius = 5.0,
            .padding = QMargins(9, 3, 9, 3),
            .symbol = symbol,
            .symbolPoints = 9.0,
            .symbolColor = MS::amber};
}

bool needsUpload(const RecentSession &session)
{
    return session.status == Status::ready && !session.isUploaded();
}

bool isFailed(const RecentSession &session)
{
    return session.status == Status::failed;
}

/// Of the text in a row that failed: what its button and its dot leave.
int reasonWidth(int rowWidth)
{
    static const int button =
        PlainButton(actionFace(u"arrow.clockwise"_s), retryTitle).sizeHint().width();
    return rowWidth - (2 * horizontalPadding) - dotSide - button - (2 * spacing);
}

int titleHeight()
{
    return QFontMetrics(MS::serifItalic()).height();
}

QColor dotColor(const RecentSession &session)
{
    switch (session.status) {
    case Status::processing:
        return MS::amber;
    case Status::failed:
        return MS::ember;
    case Status::ready:
        return session.isUploaded() ? MS::moss : MS::faint;
    }
    Q_UNREACHABLE();
}
} // namespace

RecentRow::RecentRow(QWidget *parent)
    : DrawnButton(parent)
    , m_title(new TextLabel({}, MS::serifItalic(), MS::text, this))
    , m_subtitle(new TextLabel({}, smallFont(), MS::faint, this))
    , m_progress(new TextLabel({}, smallFont(), MS::amber, this))
    , m_upload(new PlainButton(actionFace(u"arrow.up.to.line"_s), u"上传"_s, this))
    , m_retry(new PlainButton(actionFace(u"arrow.clockwise"_s), retryTitle, this))
    , m_dot(new StatusDot(dotSide, this))
{
    setObjectName(u"recentRow"_s);
    m_title->setObjectName(u"title"_s);
    m_subtitle->setObjectName(u"subtitle"_s);
    m_progress->setObjectName(u"progress"_s);
    m_upload->setObjectName(u"upload"_s);
    m_retry->setObjectName(u"retry"_s);
    m_dot->setObjectName(u"dot"_s);
    setAttribute(Qt::WA_Hover);
    setTabStop(false);
    connect(m_upload, &QAbstractButton::clicked, this, &RecentRow::uploadRequested);
    connect(m_retry, &QAbstractButton::clicked, this, &RecentRow::retryRequested);
    showStatus();
}

QString RecentRow::subtitle(const RecentSession &session)
{
    const auto separator = u" · "_s;
    // The reason may be the service's own text.
    if (isFailed(session)) {
        return presentable(session.uploadProgress.value_or(u"上传失败"_s).simplified()) +
               separator + session.when;
    }
    if (needsUpload(session))
        return session.duration + separator + u"待上传"_s + separator + session.when;
    return session.duration + separator + session.when;
}

int RecentRow::heightFor(const RecentSession &session, int width)
{
    static const int single = (2 * verticalPadding) + titleHeight() + 1;
    static const int line = QFontMetrics(smallFont()).height();
    if (!isFailed(session))
        return single + line;
    const int lines =
        TextLabel::lineCount(smallFont(), subtitle(session), reasonWidth(width), reasonLines);
    return single + (lines * line);
}

void RecentRow::setSession(const RecentSession &session)
{
    if (session == m_session)
        return;
    m_session = session;
    showStatus();
}

void RecentRow::setTabStop(bool isTabStop)
{
    const Qt::FocusPolicy policy = isTabStop ? Qt::TabFocus : Qt::NoFocus;
    setFocusPolicy(policy);
    m_upload->setFocusPolicy(policy);
    m_retry->setFocusPolicy(policy);
}

QList<QWidget *> RecentRow::tabOrder()
{
    return {this, m_upload, m_retry};
}

QSize RecentRow::sizeHint() const
{
    return {width(), heightFor(m_session, width())};
}

void RecentRow::showStatus()
{
    const bool failed = isFailed(m_session);
    m_title->setText(m_session.title);
    m_title->setColor(failed ? MS::textDim : MS::text);
    m_subtitle->setText(subtitle(m_session));
    m_subtitle->setColor(failed ? MS::ember : MS::faint);
    m_subtitle->setMaximumLines(failed ? reasonLines : 1);
    const QColor color = dotColor(m_session);
    const bool isProcessing = m_session.status == Status::processing;
    m_dot->setColors(color, isProcessing ? color : QColor(Qt::transparent));
    m_progress->setText(m_session.uploadProgress.value_or(u"处理中"_s));
    showControl();
    QString spoken = m_session.title + u"，"_s + m_subtitle->text();
    if (isProcessing)
        spoken += u"，"_s + m_progress->text();
    setAccessibleName(spoken);
    arrange();
    update();
}

void RecentRow::showControl()
{
    const bool hasUpload = needsUpload(m_session);
    const bool hasRetry = isFailed(m_session);
    m_progress->setVisible(m_session.status == Status::processing);
    setShown(*m_upload, hasUpload);
    setShown(*m_retry, hasRetry);
}

void RecentRow::arrange()
{
    int right = width() - horizontalPadding;
    const int glow = StatusDot::glowRadius;
    m_dot->move(right - dotSide - glow, (height() - m_dot->height()) / 2);
    right -= dotSide + spacing;
    for (QWidget *const control : std::initializer_list<QWidget *>{m_progress, m_upload, m_retry}) {
        if (control->isHidden())
            continue;
        const QSize wanted = control->sizeHint().boundedTo(
            QSize(control == m_progress ? longestProgress : width(), height()));
        right -= wanted.width();
        control->setGeometry(QRect(QPoint(right, (height() - wanted.height()) / 2), wanted));
        right -= spacing;
    }
    const int textWidth = std::max(0, right - horizontalPadding);
    m_title->setGeometry(horizontalPadding, verticalPadding, textWidth, titleHeight());
    const int below = verticalPadding + titleHeight() + 1;
    m_subtitle->setGeometry(horizontalPadding, below, textWidth,
                            std::max(0, height() - below - verticalPadding));
}

void RecentRow::resizeEvent(QResizeEvent *)
{
    arrange();
}

void RecentRow::keyPressEvent(QKeyEvent *event)
{
    // The list moves then.
    if (event->key() == Qt::Key_Up || event->key() == Qt::Key_Down)
        event->ignore();
    else
        DrawnButton::keyPressEvent(event);
}

void RecentRow::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (isFailed(m_session))
        paintBox(painter, rect(), radius, MS::faded(MS::ember, 0.06));
    if (underMouse() || isDown())
        paintBox(painter, rect(), radius, MS::faded(MS::text, isDown() ? 0.07 : 0.035));
    if (hasFocus())
        paintFocusRing(painter, rect(), radius);
}
