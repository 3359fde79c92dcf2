#pragma once

#include <QWidget>

class AppState;
class SectionLabel;
class StatusDot;
class TextLabel;

/// The heading of the capture section, with a pill that says what the recorder does, and a button
/// that puts the panel away. Main thread.
class CaptureHeader : public QWidget
{
    Q_OBJECT

public:
    /// \p app must outlive this object.
    explicit CaptureHeader(AppState &app, QWidget *parent = nullptr);

Q_SIGNALS:
    void minimiseRequested();

private:
    void refresh();

    AppState &m_app;
    SectionLabel *m_heading;
    StatusDot *m_dot;
    TextLabel *m_word;
};
