#pragma once

#include <QWidget>

class AppState;

/// All that belongs to the recording under way, or to the next one. Main thread.
class CaptureSection : public QWidget
{
    Q_OBJECT

public:
    /// \p app must outlive this object.
    explicit CaptureSection(AppState &app, QWidget *parent = nullptr);

Q_SIGNALS:
    void minimiseRequested();
};
