#include "ui/panel/LiveBlock.h"

#include "core/AppState.h"
#include "ui/panel/RecordButton.h"
#include "ui/panel/RecordingLook.h"
#include "ui/panel/ToggleRow.h"
#include "ui/panel/Waveform.h"
#include "ui/parts/MS.h"
#include "ui/parts/TextLabel.h"
#include "ui/parts/Timeline.h"

#include <QFontMetrics>
#include <QHBoxLayout>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{
constexpr Timeline::Frames levelInterval{3};
constexpr int waveformBars = 40;
constexpr double waveformSeed = 1.0;
constexpr int waveformHeight = 28;

RecordButton::Look buttonLook(const AppState &app)
{
    if (isStopping(app.state()))
        return RecordButton::Look::stopping;
    if (isLive(app.state()))
        return RecordButton::Look::live;
    const bool hasSource = app.systemAudioOn() || app.micOn();
    return hasSource ? RecordButton::Look::idle : RecordButton::Look::disabled;
}
} // namespace

LiveBlock::LiveBlock(AppState &app, QWidget *parent)
    : QWidget(parent)
    , m_app(app)
    , m_polling(new Timeline(*this, [this] { showLevels(); }))
    , m_record(new RecordButton(this))
    , m_timer(new TextLabel({}, MS::timerFont(), MS::muted, this))
    , m_waveform(new Waveform(waveformBars, waveformSeed, this))
    , m_system(new ToggleRow(u"speaker.wave.2.fill"_s, u"系统声音"_s, u"System Audio"_s, this))
    , m_mic(new ToggleRow(u"mic.fill"_s, u"麦克风"_s, u"Microphone"_s, this))
{
    m_record->setObjectName(u"record"_s);
    m_timer->setObjectName(u"timer"_s);
    m_waveform->setObjectName(u"waveform"_s);
    m_system->setObjectName(u"systemAudio"_s);
    m_mic->setObjectName(u"microphone"_s);
    build();

    connect(m_record, &QAbstractButton::clicked, &m_app, &AppState::toggleRecording);
    connect(m_system, &ToggleRow::switched, &m_app, &AppState::setSystemAudioOn);
    connect(m_mic, &ToggleRow::switched, &m_app, &AppState::setMicOn);
    connect(&m_app, &AppState::stateChanged, this, &LiveBlock::refresh);
    connect(&m_app, &AppState::sourcesChanged, this, &LiveBlock::refresh);
    connect(&m_app, &AppState::elapsedChanged, this, &LiveBlock::refreshTimer);
    refresh();
}

void LiveBlock::build()
{
    m_timer->setFixedHeight(QFontMetrics(MS::timerFont()).height());
    m_waveform->setFixedHeight(waveformHeight);
    auto *const clock = new QVBoxLayout;
    clock->setSpacing(4);
    clock->addStretch();
    clock->addWidget(m_timer);
    clock->addWidget(m_waveform);
    clock->addStretch();
    auto *const top = new QHBoxLayout;
    top->setSpacing(16);
    top->addWidget(m_record);
    top->addLayout(clock, 1);

    auto *const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(6);
    column->addLayout(top);
    column->addWidget(m_system);
    column->addWidget(m_mic);
}

void LiveBlock::refresh()
{
    const bool live = isLive(m_app.state());
    m_record->setLook(buttonLook(m_app));
    m_waveform->setLive(live);
    m_waveform->setColors(MS::ghost, live ? MS::amber : MS::ghost);
    m_waveform->setPlayed(live ? 1.0 : 0.0);
    m_system->setOn(m_app.systemAudioOn());
    m_system->setCapturing(live && m_app.systemAudioOn());
    m_mic->setOn(m_app.micOn());
    m_mic->setCapturing(live && m_app.micOn());
    m_polling->setInterval(live ? levelInterval : Timeline::Frames(0));
    refreshTimer();
    showLevels();
}

void LiveBlock::refreshTimer()
{
    const auto show = [this](const QString &text, const QFont &font, const QColor &color) {
        m_timer->setText(text);
        m_timer->setFont(font);
        m_timer->setColor(color);
    };
    if (isStopping(m_app.state()))
        show(u"正在合并音频…"_s, MS::system(14, QFont::Medium), MS::amber);
    else if (isLive(m_app.state()))
        show(m_app.elapsedFormatted(), MS::timerFont(), MS::text);
    else
        show(u"00:00:00"_s, MS::timerFont(), MS::muted);
}

void LiveBlock::showLevels()
{
    const auto levels =
        isLive(m_app.state()) ? m_app.recorder().currentLevels() : AudioRecorder::Levels();
    m_waveform->setLevel(std::max(levels.system, levels.mic));
    m_system->setLevel(levels.system);
    m_mic->setLevel(levels.mic);
}
