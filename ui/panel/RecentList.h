#pragma once

#include <QHash>
#include <QList>
#include <QUuid>
#include <QWidget>

class AppState;
class RecentRow;
struct RecentSession;
class QScrollBar;
class Workspace;

/// The recents list of AppState, newest first, as rows that scroll. Main thread.
///
/// Rows exist only for what is visible, and for the entry that has or had the keyboard last; they
/// are used again for other entries. An entry is known by its identifier: what is in view, and
/// where the keyboard is, stay with it when the list changes. An entry with the keyboard is always
/// in view: when the list is scrolled, the keyboard moves on to an entry that stays there. While
/// the list is hidden it follows nothing.
class RecentList : public QWidget
{
    Q_OBJECT

public:
    /// The references must outlive this object.
    RecentList(AppState &app, Workspace &workspace, QWidget *parent = nullptr);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;
    void showEvent(QShowEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;

private:
    /// The place of an entry in the whole list; the entry ends shortly above the next one.
    struct Slot {
        QUuid id;
        int top = 0;
    };
    struct Anchor {
        QUuid id;
        int offset = 0;
    };

    void refresh();
    void measure();
    int heightOf(const RecentSession &session);
    void scrollTo(const Anchor &anchor);
    void place();
    void assignRows(const QList<qsizetype> &wanted);
    QList<qsizetype> wantedSlots() const;
    RecentRow *makeRow();
    void reveal(RecentRow &row);
    void goTo(qsizetype index);
    void showCurrent();
    void followScroll();
    bool hasKeyboard() const;

    Anchor anchor() const;
    qsizetype indexOf(const QUuid &id) const;
    qsizetype slotAt(int y) const;
    int bottomOf(qsizetype index) const;

    AppState &m_app;
    Workspace &m_workspace;
    QWidget *m_viewport;
    QScrollBar *m_bar;
    QList<Slot> m_slots;
    int m_total = 0;                       // height of all entries
    QHash<QString, int> m_measuredHeights; // of rows that failed, by their subtitle
    int m_measuredWidth = 0;
    QUuid m_current; // where Tab stops
    QHash<QUuid, RecentRow *> m_rows;
    QList<RecentRow *> m_spareRows;
};
