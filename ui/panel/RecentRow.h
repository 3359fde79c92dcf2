#pragma once

#include "core/RecentSession.h"
#include "ui/parts/DrawnButton.h"

#include <QList>

class PlainButton;
class StatusDot;
class TextLabel;

/// One entry of the recents list: its title, a summary or why its upload failed, what can be done
/// with it, and a dot for its state. Pressing the row asks for its file. It changes nothing itself.
/// Main thread.
class RecentRow : public DrawnButton
{
    Q_OBJECT

public:
    explicit RecentRow(QWidget *parent = nullptr);

    /// The text of the second line.
    static QString subtitle(const RecentSession &session);

    /// The height in pixels of a row that is \p width pixels wide.
    static int heightFor(const RecentSession &session, int width);

    const RecentSession &session() const { return m_session; }
    void setSession(const RecentSession &session);

    /// Whether Tab stops at the row, and then at its upload or retry button.
    void setTabStop(bool isTabStop);

    /// The row and its buttons in the order of Tab, for a row that is put between other widgets.
    QList<QWidget *> tabOrder();

    QSize sizeHint() const override;

Q_SIGNALS:
    void uploadRequested();
    void retryRequested();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void showStatus();
    void showControl();
    void arrange();

    RecentSession m_session;
    TextLabel *m_title;
    TextLabel *m_subtitle;
    TextLabel *m_progress;
    PlainButton *m_upload;
    PlainButton *m_retry;
    StatusDot *m_dot;
};
