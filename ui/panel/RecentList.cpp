#include "ui/panel/RecentList.h"

#include "core/AppState.h"
#include "platform/Workspace.h"
#include "ui/panel/RecentRow.h"
#include "ui/parts/ParlovanceScroller.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QSignalBlocker>
#include <QWheelEvent>

#include <algorithm>
#include <iterator>
#include <utility>

using namespace Qt::StringLiterals;

namespace
{
constexpr int wheelStep = 16;
constexpr int gap = 2; // between two rows
} // namespace

RecentList::RecentList(AppState &app, Workspace &workspace, QWidget *parent)
    : QWidget(parent)
    , m_app(app)
    , m_workspace(workspace)
    , m_viewport(new QWidget(this))
    , m_bar(new ParlovanceScroller(this))
{
    setObjectName(u"recentList"_s);
    setAccessibleName(u"最近录音"_s);
    m_bar->setSingleStep(wheelStep);
    connect(m_bar, &QScrollBar::valueChanged, this, &RecentList::followScroll);
    connect(&m_app, &AppState::recentsChanged, this, &RecentList::refresh);
}

void RecentList::refresh()
{
    if (!isVisible())
        return;
    const Anchor seen = anchor();
    measure();
    if (indexOf(m_current) < 0 && !m_slots.isEmpty())
        m_current = m_slots.constFirst().id;
    scrollTo(seen);
    place();
    if (hasKeyboard())
        showCurrent();
}

void RecentList::measure()
{
    m_slots.clear();
    m_slots.reserve(m_app.recents().size());
    m_total = 0;
    for (const RecentSession &session : m_app.recents()) {
        m_slots.append(Slot{.id = session.id, .top = m_total});
        m_total += heightOf(session) + gap;
    }
    m_total = std::max(0, m_total - gap);
}

/// The heights of wrapped texts are kept: laying out ten thousand of them at every change takes too
/// long.
int RecentList::heightOf(const RecentSession &session)
{
    const int width = m_viewport->width();
    if (session.status != RecentSession::Status::failed)
        return RecentRow::heightFor(session, width);
    if (width != std::exchange(m_measuredWidth, width))
        m_measuredHeights.clear();
    const QString text = RecentRow::subtitle(session);
    auto height = m_measuredHeights.constFind(text);
    if (height == m_measuredHeights.cend())
        height = m_measuredHeights.insert(text, RecentRow::heightFor(session, width));
    return *height;
}

/// The first entry in view. None at the very top, where new entries are to be seen.
RecentList::Anchor RecentList::anchor() const
{
    if (m_bar->value() == 0 || m_slots.isEmpty())
        return {};
    const Slot &first = m_slots.at(slotAt(m_bar->value()));
    return {.id = first.id, .offset = m_bar->value() - first.top};
}

void RecentList::scrollTo(const Anchor &anchor)
{
    const QSignalBlocker blocker(m_bar);
    m_bar->setRange(0, std::max(0, m_total - m_viewport->height()));
    m_bar->setPageStep(std::max(1, m_viewport->height()));
    m_bar->setVisible(m_bar->maximum() > 0);
    if (const qsizetype index = indexOf(anchor.id); index >= 0)
        m_bar->setValue(m_slots.at(index).top + anchor.offset);
}

void RecentList::place()
{
    const QList<qsizetype> wanted = wantedSlots();
    assignRows(wanted);
    for (const qsizetype index : wanted) {
        const auto &[id, top] = m_slots.at(index);
        RecentRow *const row = m_rows.value(id);
        if (!row)
            continue; // the row before took the keyboard, and with it the view, elsewhere
        row->setSession(m_app.recents().at(index));
        row->setTabStop(id == m_current);
        row->setGeometry(0, top - m_bar->value(), m_viewport->width(), bottomOf(index) - top);
        row->show();
    }
}

/// An entry that is already shown keeps its widget, so that focus and hover stay.
void RecentList::assignRows(const QList<qsizetype> &wanted)
{
    QHash<QUuid, RecentRow *> rows;
    for (const qsizetype index : wanted) {
        const QUuid &id = m_slots.at(index).id;
        rows.insert(id, m_rows.take(id));
    }
    for (RecentRow *const row : std::as_const(m_rows)) {
        row->hide();
        m_spareRows.append(row);
    }
    for (RecentRow *&row : rows) {
        if (!row)
            row = m_spareRows.isEmpty() ? makeRow() : m_spareRows.takeLast();
    }
    m_rows = rows;
}

QList<qsizetype> RecentList::wantedSlots() const
{
    QList<qsizetype> wanted;
    const int bottom = m_bar->value() + m_viewport->height();
    for (qsizetype index = slotAt(m_bar->value());
         index < m_slots.size() && m_slots.at(index).top < bottom; ++index)
        wanted.append(index);
    if (const qsizetype current = indexOf(m_current); current >= 0 && !wanted.contains(current))
        wanted.append(current);
    return wanted;
}

RecentRow *RecentList::makeRow()
{
    auto *const row = new RecentRow(m_viewport);
    connect(row, &RecentRow::clicked, this, [this, row] { reveal(*row); });
    connect(row, &RecentRow::uploadRequested, this,
            [this, row] { m_app.startUpload(row->session().id); });
    connect(row, &RecentRow::retryRequested, this,
            [this, row] { m_app.retryUpload(row->session().id); });
    row->installEventFilter(this);
    // A new widget comes last in the window's order of Tab; only those that Tab reaches can move.
    row->setTabStop(true);
    QWidget *previous = this;
    setFocusPolicy(Qt::TabFocus);
    for (QWidget *const next : row->tabOrder()) {
        setTabOrder(previous, next);
        previous = next;
    }
    setFocusPolicy(Qt::NoFocus);
    return row;
}

void RecentList::reveal(RecentRow &row)
{
    m_current = row.session().id;
    if (hasKeyboard())
        row.setFocus();
    place();
    if (const auto &file = row.session().fileURL)
        m_workspace.revealFile(file->toLocalFile());
}

bool RecentList::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::FocusIn) {
        m_current = static_cast<RecentRow *>(watched)->session().id;
        place();
        // When only the window comes back the user may have scrolled away from the row.
        if (static_cast<QFocusEvent *>(event)->reason() != Qt::ActiveWindowFocusReason)
            showCurrent();
    }
    return QWidget::eventFilter(watched, event);
}

void RecentList::keyPressEvent(QKeyEvent *event)
{
    const qsizetype current = indexOf(m_current);
    const qsizetype last = m_slots.size() - 1;
    if (current < 0) {
        QWidget::keyPressEvent(event);
        return;
    }
    const int page = m_viewport->height();
    switch (event->key()) {
    case Qt::Key_Up:
        goTo(current - 1);
        return;
    case Qt::Key_Down:
        goTo(current + 1);
        return;
    case Qt::Key_PageUp:
        goTo(std::min(current - 1, slotAt(m_slots.at(current).top - page)));
        return;
    case Qt::Key_PageDown:
        goTo(std::max(current + 1, slotAt(m_slots.at(current).top + page)));
        return;
    case Qt::Key_Home:
        goTo(0);
        return;
    case Qt::Key_End:
        goTo(last);
        return;
    default:
        QWidget::keyPressEvent(event);
    }
}

void RecentList::goTo(qsizetype index)
{
    const qsizetype target = std::clamp(index, qsizetype(0), m_slots.size() - 1);
    m_current = m_slots.at(target).id;
    place(); // the row may not exist yet
    m_rows.value(m_current)->setFocus(Qt::OtherFocusReason);
}

bool RecentList::hasKeyboard() const
{
    const QWidget *const focused = window()->focusWidget();
    return focused && m_viewport->isAncestorOf(focused);
}

/// The keyboard goes with the view: a key must not act on an entry that nobody sees.
void RecentList::followScroll()
{
    place();
    const qsizetype current = indexOf(m_current);
    if (current < 0 || !hasKeyboard())
        return;
    const int top = m_bar->value();
    const int bottom = top + m_viewport->height();
    if (m_slots.at(current).top < top) {
        const qsizetype first = slotAt(top);
        goTo(m_slots.at(first).top < top ? first + 1 : first);
    } else if (bottomOf(current) > bottom) {
        const qsizetype last = slotAt(bottom);
        goTo(bottomOf(last) > bottom ? last - 1 : last);
    }
}

void RecentList::showCurrent()
{
    const qsizetype index = indexOf(m_current);
    if (index < 0)
        return;
    const int top = m_slots.at(index).top;
    const int lowest = bottomOf(index) - m_viewport->height();
    if (top < m_bar->value())
        m_bar->setValue(top);
    else if (lowest > m_bar->value())
        m_bar->setValue(std::min(top, lowest));
}

void RecentList::resizeEvent(QResizeEvent *)
{
    const int barWidth = m_bar->sizeHint().width();
    m_viewport->setGeometry(0, 0, std::max(0, width() - barWidth), height());
    m_bar->setGeometry(width() - barWidth, 0, barWidth, height());
    refresh();
}

void RecentList::showEvent(QShowEvent *)
{
    refresh();
}

void RecentList::wheelEvent(QWheelEvent *event)
{
    QCoreApplication::sendEvent(m_bar, event);
}

qsizetype RecentList::indexOf(const QUuid &id) const
{
    const auto found = std::ranges::find(m_slots, id, &Slot::id);
    return found == m_slots.cend() ? -1 : std::distance(m_slots.cbegin(), found);
}

/// The entry at \p y of the whole list, or the nearest one.
qsizetype RecentList::slotAt(int y) const
{
    const auto after = std::ranges::upper_bound(m_slots, y, {}, &Slot::top);
    return std::max(qsizetype(0), std::distance(m_slots.cbegin(), after) - 1);
}

int RecentList::bottomOf(qsizetype index) const
{
    return index + 1 < m_slots.size() ? m_slots.at(index + 1).top - gap : m_total;
}
