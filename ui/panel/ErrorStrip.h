#pragma once

#include <QWidget>

class AppState;
class TextLabel;

/// The last error of AppState, for as long as there is one, with a button that takes it away.
/// Main thread.
class ErrorStrip : public QWidget
{
    Q_OBJECT

public:
    /// \p app must outlive this object.
    explicit ErrorStrip(AppState &app, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void refresh();

    AppState &m_app;
    TextLabel *m_message;
};
