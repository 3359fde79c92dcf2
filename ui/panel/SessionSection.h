#pragma once

#include "core/RecentSession.h"

#include <QWidget>

class AppState;
class PlainButton;

/// What the user says about the recording: its title, and what kind it is. Main thread.
class SessionSection : public QWidget
{
    Q_OBJECT

public:
    /// \p app must outlive this object.
    explicit SessionSection(AppState &app, QWidget *parent = nullptr);

private:
    PlainButton *makeChip(SessionTag tag);
    void refresh();
    void toggle(SessionTag tag);

    AppState &m_app;
    std::array<PlainButton *, sessionTags.size()> m_chips; // in the order of the tags
};
