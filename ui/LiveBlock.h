#pragma once

#include <QTimer>
#include <QWidget>

class AppState;
class RecordButton;
class TextLabel;
class ToggleRow;
class Waveform;

/// What moves while something is recorded: the record button, the timer above its waveform, and the
/// two sources. Main thread.
///
/// The levels are asked for while it is visible and something is recorded; at all other times they
/// are zero.
class LiveBlock : public QWidget
{
    Q_OBJECT

public:
    /// \p app must outlive this object.
    explicit LiveBlock(AppState &app, QWidget *parent = nullptr);

protected:
    void showEvent(QShowEvent *event) override;
    void hideEvent(QHideEvent *event) override;

private:
    void build();
    void refresh();
    void refreshTimer();
    void refreshPolling();
    void showLevels();

    AppState &m_app;
    RecordButton *m_record;
    TextLabel *m_timer;
    Waveform *m_waveform;
    ToggleRow *m_system;
    ToggleRow *m_mic;
    QTimer m_polling;
};
