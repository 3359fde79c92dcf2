#pragma once

#include "ui/preferences/FolderChooser.h"

#include <QCoroTask>
#include <QWidget>

class PrefsStore;
class TextLabel;

/// Where recordings are saved: the path, a button that changes it, and what speaks against it.
/// Main thread.
///
/// The folder is looked at in the background, whenever it is another one and whenever the field is
/// shown: one that cannot be written to is the user's choice all the same.
class SaveLocationField : public QWidget
{
    Q_OBJECT

public:
    /// \p prefs must outlive this object.
    SaveLocationField(PrefsStore &prefs, const FolderChooser &chooser, QWidget *parent = nullptr);

protected:
    void showEvent(QShowEvent *event) override;

private:
    void pickFolder();
    void refresh();
    QCoro::Task<> judgeFolder();

    PrefsStore &m_prefs;
    const FolderChooser m_chooser;
    TextLabel *m_path;
    TextLabel *m_problem;
};
