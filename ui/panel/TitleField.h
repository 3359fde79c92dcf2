#pragma once

#include <QLineEdit>

class AppState;

/// The title of the recording, as AppState has it: what is typed goes there at once, what is set
/// there is shown. Main thread.
class TitleField : public QLineEdit
{
    Q_OBJECT

public:
    /// \p app must outlive this object.
    explicit TitleField(AppState &app, QWidget *parent = nullptr);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    void refresh();

    AppState &m_app;
};
