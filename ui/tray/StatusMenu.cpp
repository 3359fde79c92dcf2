#include "ui/tray/StatusMenu.h"

#include "cloud/PresentableText.h"
#include "core/AppState.h"
#include "ui/parts/Symbol.h"

#include <QKeyEvent>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

constexpr qsizetype mostRecents = 10;
constexpr int widestTitle = 320; // points
constexpr qsizetype longestMeasured = 400;

QString recordText(RecordingState state)
{
    switch (state) {
    case RecordingState::idle:
    case RecordingState::starting:
        return u"开始录音"_s;
    case RecordingState::recording:
        return u"停止录音"_s;
    case RecordingState::stopping:
        return u"停止中…"_s;
    }
    Q_UNREACHABLE();
}

/// \p text as one line of a menu, where a tab would begin the column of the shortcuts.
QString menuLine(const QString &text, const QFontMetrics &metrics)
{
    const QString line = presentable(text.left(longestMeasured).simplified());
    return metrics.elidedText(line, Qt::ElideRight, widestTitle);
}

/// What shows as \p line: an ampersand would underline a letter here.
QString ownText(QString line)
{
    return line.replace(u'&', u"&&"_s);
}

/// The same where the desktop draws the menu. There an underscore would underline a letter, and the
/// toolkit makes one of the first ampersand, unless it comes last; it leaves all else as it is.
QString exportedText(QString line)
{
    line.replace(u'_', u"__"_s);
    const qsizetype first = line.indexOf(u'&');
    return first >= 0 && first < line.size() - 1 ? line.insert(first, u'&') : line;
}

} // namespace

StatusMenu::StatusMenu(AppState &appState)
    : m_appState(appState)
{
    setObjectName(u"statusMenu"_s);
    buildMenu();
    refreshRecord();
    connect(this, &QMenu::aboutToShow, this, &StatusMenu::refresh);
    connect(this, &QMenu::aboutToHide, this, [this] { m_isShownHere = false; });
    connect(&m_appState, &AppState::stateChanged, this, &StatusMenu::refreshRecord);
}

void StatusMenu::setExported(bool isExported)
{
    m_isExported = isExported;
}

void StatusMenu::prepare()
{
    if (m_recents->isEmpty())
        refresh();
}

void StatusMenu::popUpAt(const QPoint &place)
{
    m_isShownHere = true;
    popup(place);
}

void StatusMenu::buildMenu()
{
    const auto add = [this](const QString &text, const QKeySequence &keys, auto signal) {
        QAction *const action = addAction(text);
        action->setShortcut(keys);
        action->setShortcutVisibleInContextMenu(true);
        connect(action, &QAction::triggered, this, signal);
        return action;
    };
    m_record = add({}, Qt::CTRL | Qt::ALT | Qt::Key_R, &StatusMenu::recordRequested);
    add(u"打开主面板"_s, Qt::CTRL | Qt::ALT | Qt::Key_M, &StatusMenu::panelRequested);
    m_web = add(u"打开网页版"_s, {}, &StatusMenu::webRequested);
    m_web->setIconVisibleInMenu(true);
    addSeparator();
    m_recents = addMenu(u"最近会议"_s);
    m_recents->setObjectName(u"recentsMenu"_s);
    add(u"偏好设置…"_s, Qt::CTRL | Qt::Key_Comma, &StatusMenu::preferencesRequested);
    addSeparator();
    add(u"退出 Parlovance"_s, Qt::CTRL | Qt::Key_Q, &StatusMenu::quitRequested);
    installEventFilter(this);
    m_recents->installEventFilter(this);
}

/// The keys of an open menu come to it, or to its submenu, and the toolkit takes no shortcuts then.
bool StatusMenu::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::KeyPress && obey(*static_cast<QKeyEvent *>(event)))
        return true;
    return QMenu::eventFilter(watched, event);
}

bool StatusMenu::obey(const QKeyEvent &key)
{
    if (key.key() == Qt::Key_Alt)
        return true; // it would close the menu before the letter that it is held for
    for (QAction *const command : actions()) {
        if (command->shortcut() != QKeySequence(key.keyCombination()))
            continue;
        m_recents->close();
        close();
        if (!key.isAutoRepeat())
            command->trigger();
        return true;
    }
    return false;
}

void StatusMenu::changeEvent(QEvent *event)
{
    QMenu::changeEvent(event);
    if (event->type() == QEvent::PaletteChange && m_web)
        refreshWebIcon();
}

void StatusMenu::refresh()
{
    refreshRecord();
    refreshWebIcon();
    m_recents->menuAction()->setEnabled(!m_appState.recents().isEmpty());
    refillRecents();
}

void StatusMenu::refreshRecord()
{
    const RecordingState state = m_appState.state();
    m_record->setText(recordText(state));
    m_record->setEnabled(state != RecordingState::stopping);
}

void StatusMenu::refreshWebIcon()
{
    m_web->setIcon(symbol(u"link", palette().color(QPalette::WindowText)));
}

void StatusMenu::refillRecents()
{
    m_recents->clear();
    const QList<RecentSession> &sessions = m_appState.recents();
    if (sessions.isEmpty())
        m_recents->addAction(u"暂无记录"_s)->setEnabled(false);
    const QFontMetrics metrics = m_recents->fontMetrics();
    const bool isExported = m_isExported && !m_isShownHere;
    for (const RecentSession &session : sessions.first(std::min(sessions.size(), mostRecents))) {
        const QString line =
            menuLine(session.title, metrics) + u"  ·  "_s + menuLine(session.duration, metrics);
        QAction *const item = m_recents->addAction(isExported ? exportedText(line) : ownText(line));
        item->setEnabled(session.isUploaded());
        // The action keeps the identifier: the entry's place in the list may change while the menu
        // is open.
        connect(item, &QAction::triggered, this,
                [this, id = session.id] { Q_EMIT recentRequested(id); });
    }
}
