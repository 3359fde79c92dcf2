#include "ui/TrayIcon.h"

#include "core/AppState.h"
#include "ui/Symbol.h"

#include <QGuiApplication>
#include <QPalette>

using namespace Qt::StringLiterals;

namespace
{

QString symbolName(RecordingState state)
{
    switch (state) {
    case RecordingState::idle:
        return u"waveform"_s;
    case RecordingState::starting:
    case RecordingState::recording:
        return u"waveform.circle.fill"_s;
    case RecordingState::stopping:
        return u"waveform.badge.magnifyingglass"_s;
    }
    Q_UNREACHABLE();
}

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

} // namespace

TrayIcon::TrayIcon(AppState &appState, QObject *parent)
    : QObject(parent)
    , m_appState(appState)
{
    buildMenu();
    connect(&m_appState, &AppState::stateChanged, this, &TrayIcon::refresh);
    connect(&m_appState, &AppState::lastErrorChanged, this, &TrayIcon::refreshMessage);
    refresh();
    m_icon.setContextMenu(&m_menu);
    m_icon.show();
    refreshMessage();
}

void TrayIcon::buildMenu()
{
    m_record = m_menu.addAction(QString());
    connect(m_record, &QAction::triggered, &m_appState, &AppState::toggleRecording);
    m_menu.addSeparator();
    const QAction *const quit = m_menu.addAction(u"退出 Parlovance"_s);
    connect(quit, &QAction::triggered, this, &TrayIcon::quitRequested);
}

void TrayIcon::refresh()
{
    const RecordingState state = m_appState.state();
    m_record->setText(recordText(state));
    m_record->setEnabled(state != RecordingState::stopping);
    const QColor color = QGuiApplication::palette().color(QPalette::WindowText);
    m_icon.setIcon(symbol(symbolName(state), color));
}

void TrayIcon::refreshMessage()
{
    const auto &message = m_appState.lastError();
    m_icon.setToolTip(message ? u"Parlovance\n"_s + *message : u"Parlovance"_s);
    if (message && message != m_toldMessage)
        m_icon.showMessage(u"Parlovance"_s, *message, m_icon.icon());
    m_toldMessage = message;
}
