#pragma once

#include <QWidget>

class AppState;
class RecordButton;
class TextLabel;
class Timeline;
class ToggleRow;
class Waveform;

/// What moves while something is recorded: the record button, the timer above its waveform, and the
/// two sources. Main thread.
///
/// The levels are asked for while it is visible and something is recorded; while nothing is they
/// are zero.
class LiveBlock : public QWidget
{
    Q_OBJECT

public:
    /// \p app must outlive this object.
    explicit LiveBlock(AppState &app, QWidget *parent = nullptr);

private:
    void build();
    void refresh();
    void refreshTimer();
    void showLevels();

    AppState &m_app;
    Timeline *m_polling;
    RecordButton *m_record;
    TextLabel *m_timer;
    Waveform *m_waveform;
    ToggleRow *m_system;
    ToggleRow *m_mic;
};
