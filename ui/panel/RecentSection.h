#pragma once

#include <QWidget>

class AppState;
class RecentList;
class Workspace;

/// The recent recordings, or where there are none, how to make the first one. Main thread.
class RecentSection : public QWidget
{
    Q_OBJECT

public:
    /// The references must outlive this object.
    RecentSection(AppState &app, Workspace &workspace, QWidget *parent = nullptr);

private:
    QWidget *makeEmptyState();
    void refresh();

    AppState &m_app;
    QWidget *m_emptyState;
    RecentList *m_list;
};
